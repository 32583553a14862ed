/// How a client tells COM what a server may know of it.
#pragma once

#include <unknwn.h>

#define RPC_C_AUTHN_WINNT 10u
#define RPC_C_AUTHZ_NONE 0u
#define RPC_C_AUTHN_LEVEL_DEFAULT 0u
#define RPC_C_AUTHN_LEVEL_CALL 3u
#define RPC_C_IMP_LEVEL_IMPERSONATE 3u

enum EOLE_AUTHENTICATION_CAPABILITIES { EOAC_NONE = 0 };

inline constexpr IID IID_IClientSecurity = {0x13d, 0, 0, {0xc0, 0, 0, 0, 0, 0, 0, 0x46}};

struct IClientSecurity : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryBlanket(IUnknown* proxy, DWORD* authentication,
                                                   DWORD* authorization, OLECHAR** principal,
                                                   DWORD* level, DWORD* impersonation,
                                                   void** identity, DWORD* capabilities) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetBlanket(IUnknown* proxy, DWORD authentication,
                                                 DWORD authorization, OLECHAR* principal,
                                                 DWORD level, DWORD impersonation, void* identity,
                                                 DWORD capabilities) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyProxy(IUnknown* proxy, IUnknown** copy) = 0;
};
