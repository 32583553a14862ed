/// COM's first words: result codes, identifiers and the interfaces that every object has.
#pragma once

#include <windows.h>

// As on Windows, where these decide about calling conventions.
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE

using LONG = std::int32_t;
using ULONG = std::uint32_t;
using WORD = std::uint16_t;
using HRESULT = std::int32_t;
using OLECHAR = wchar_t;
using LPCWSTR = const wchar_t*;

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    bool operator==(const GUID&) const = default;
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

#define S_OK (HRESULT{0})
#define S_FALSE (HRESULT{1})
#define E_NOTIMPL (static_cast<HRESULT>(0x80004001u))
#define E_NOINTERFACE (static_cast<HRESULT>(0x80004002u))
#define E_POINTER (static_cast<HRESULT>(0x80004003u))
#define E_FAIL (static_cast<HRESULT>(0x80004005u))
#define E_ACCESSDENIED (static_cast<HRESULT>(0x80070005u))
#define E_OUTOFMEMORY (static_cast<HRESULT>(0x8007000Eu))
#define E_INVALIDARG (static_cast<HRESULT>(0x80070057u))
#define CLASS_E_NOAGGREGATION (static_cast<HRESULT>(0x80040110u))
#define CLASS_E_CLASSNOTAVAILABLE (static_cast<HRESULT>(0x80040111u))
#define REGDB_E_CLASSNOTREG (static_cast<HRESULT>(0x80040154u))
#define CO_E_NOTINITIALIZED (static_cast<HRESULT>(0x800401F0u))
#define RPC_E_CHANGED_MODE (static_cast<HRESULT>(0x80010106u))
#define RPC_E_TOO_LATE (static_cast<HRESULT>(0x80010119u))
#define SUCCEEDED(result) (static_cast<HRESULT>(result) >= 0)
#define FAILED(result) (static_cast<HRESULT>(result) < 0)

inline constexpr IID IID_IUnknown = {0, 0, 0, {0xc0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IClassFactory = {1, 0, 0, {0xc0, 0, 0, 0, 0, 0, 0, 0x46}};

struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

struct IClassFactory : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;
};
