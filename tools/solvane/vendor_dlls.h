/// The vendors' DLLs that the library needs.
#pragma once

#include <array>

#include <windows.h>

namespace host {

/// A vendor's DLL, and a function in it by which the rig's DLL can be recognised.
struct VendorDll {
    const wchar_t* file;
    const char* name;
    const char* function; ///< name, or ordinal where the library imports by ordinal
};

inline const std::array kVendorDlls{
    VendorDll{L"FTD2XX.dll", "FTD2XX.dll", MAKEINTRESOURCEA(1)},
    VendorDll{L"inpoutx64.dll", "inpoutx64.dll", MAKEINTRESOURCEA(1)},
    VendorDll{L"EAPI_Library.dll", "EAPI_Library.dll", "EApiLibInitialize"},
};

} // namespace host
