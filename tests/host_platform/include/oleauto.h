/// Automation's texts and values. The functions are in com_stand_in.cpp.
#pragma once

#include <unknwn.h>

using BSTR = OLECHAR*;
using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;

enum VARENUM { VT_EMPTY = 0, VT_NULL = 1, VT_I4 = 3, VT_BSTR = 8, VT_BOOL = 11 };

struct VARIANT {
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LONG lVal;
        VARIANT_BOOL boolVal;
        BSTR bstrVal;
    };
};

#define DISP_E_TYPEMISMATCH (static_cast<HRESULT>(0x80020005u))
#define DISP_E_BADVARTYPE (static_cast<HRESULT>(0x80020008u))

extern "C" {

BSTR SysAllocString(const OLECHAR* text);
BSTR SysAllocStringLen(const OLECHAR* text, unsigned length);
void SysFreeString(BSTR text);
unsigned SysStringLen(BSTR text);
void VariantInit(VARIANT* value);
HRESULT VariantClear(VARIANT* value);

} // extern "C"
