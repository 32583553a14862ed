#include "virtual_rig.h"

#include "vendor_dlls.h"

namespace host {

namespace {

FARPROC Find(HMODULE module, const char* function) {
    return module != nullptr ? GetProcAddress(module, function) : nullptr;
}

/// The module that implements a vendor's function; null if there is none. It is the rig where the
/// vendor's DLL only forwards to it.
HMODULE OwnerOf(const VendorDll& vendor) {
    HMODULE owner = nullptr;
    if (const FARPROC function = Find(GetModuleHandleW(vendor.file), vendor.function)) {
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                               GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<LPCWSTR>(function), &owner);
    }
    return owner;
}

} // namespace

std::optional<std::string> DescribeVirtualRig() {
    const HMODULE rig = GetModuleHandleW(L"solvane_rig.dll");
    const FARPROC scenario = Find(rig, "rig_scenario");
    if (scenario == nullptr) {
        return std::nullopt;
    }
    std::string real;
    std::size_t virtualDlls = 0;
    for (const VendorDll& vendor : kVendorDlls) {
        if (OwnerOf(vendor) == rig) {
            ++virtualDlls;
        } else {
            real += std::string(real.empty() ? "" : ", ") + vendor.name;
        }
    }
    if (virtualDlls == 0) { // the rig is loaded for its WMI only
        return std::nullopt;
    }
    using ScenarioName = const char* (*)();
    const std::string name = reinterpret_cast<ScenarioName>(reinterpret_cast<void*>(scenario))();
    return "the virtual rig, scenario " + name + (real.empty() ? "" : "; not the rig's: " + real);
}

} // namespace host
