/// COM itself. The functions are in com_stand_in.cpp.
#pragma once

#include <objidl.h>

enum COINIT { COINIT_MULTITHREADED = 0, COINIT_APARTMENTTHREADED = 2 };
enum CLSCTX { CLSCTX_INPROC_SERVER = 1 };

struct SOLE_AUTHENTICATION_SERVICE;

extern "C" {

HRESULT CoInitializeEx(void* reserved, DWORD model);
void CoUninitialize();
HRESULT CoInitializeSecurity(void* descriptor, LONG services, SOLE_AUTHENTICATION_SERVICE* list,
                             void* reserved, DWORD level, DWORD impersonation, void* identities,
                             DWORD capabilities, void* reservedToo);
HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID id,
                         void** object);
HRESULT CoSetProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization,
                          OLECHAR* principal, DWORD level, DWORD impersonation, void* identity,
                          DWORD capabilities);

} // extern "C"
