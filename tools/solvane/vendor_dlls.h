/// The vendors' libraries that the library needs.
#pragma once

#include <array>

#include <windows.h>

namespace host {

/// A vendor's library, and a function of it: D2XX and InpOut are imported by ordinal.
struct VendorDll {
    const wchar_t* file;
    const char* name;
    const char* function;
};

inline const std::array kVendorDlls{
    VendorDll{L"FTD2XX.dll", "FTD2XX.dll", MAKEINTRESOURCEA(1)},
    VendorDll{L"inpoutx64.dll", "inpoutx64.dll", MAKEINTRESOURCEA(1)},
    VendorDll{L"EAPI_Library.dll", "EAPI_Library.dll", "EApiLibInitialize"},
};

} // namespace host
