#include "real_dlls.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>

#include <windows.h>

#include "this_recording.h"

namespace rig::record {

namespace {

HMODULE ModuleOf(const void* address) {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<LPCWSTR>(address), &module);
    return module;
}

/// Loads a vendor's DLL. The one of its name that records stays in the process from now on, or a
/// host that loads that name again would get the vendor's.
HMODULE Load(const ThisRecording& recording, const RealDll& dll) {
    HMODULE placed = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, (recording.Folder() / dll.name).c_str(),
                       &placed);
    const std::filesystem::path path = std::u8string(dll.path.begin(), dll.path.end());
    // The DLLs that it needs itself are beside it, or where the host's are.
    HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) {
        module = LoadLibraryExW(path.c_str(), nullptr, 0);
    }
    return module;
}

/// A vendor's DLL; null if it cannot be loaded. It stays loaded.
HMODULE RealModule(const std::string& name) {
    static std::mutex access;
    static std::map<std::string, HMODULE> modules;
    {
        const std::lock_guard lock(access);
        if (const auto known = modules.find(name); known != modules.end()) {
            return known->second;
        }
    }
    // Nothing is locked while a DLL is loaded: the loader has a lock of its own, and whoever holds
    // that, in a DllMain, may call a vendor's function too. Then both load the same DLL.
    ThisRecording& recording = ThisRecording::Instance();
    const auto& dlls = recording.Setup().dlls;
    const auto real = std::find_if(dlls.begin(), dlls.end(),
                                   [&](const RealDll& dll) { return dll.name == name; });
    HMODULE module = nullptr;
    if (real == dlls.end()) {
        recording.Complain("nobody said where the real " + name + " is");
    } else if (module = Load(recording, *real); module == nullptr) {
        recording.Complain(real->path + " cannot be loaded: Windows error " +
                           std::to_string(GetLastError()));
    }
    const std::lock_guard lock(access);
    return modules[name] = module;
}

void* AddressIn(const std::string& dll, const char* nameOrOrdinal, const std::string& shown) {
    const HMODULE module = RealModule(dll);
    if (module == nullptr) {
        return nullptr;
    }
    void* const address = reinterpret_cast<void*>(GetProcAddress(module, nameOrOrdinal));
    if (address == nullptr) {
        ThisRecording::Instance().Complain("the real " + dll + " has no " + shown);
        return nullptr;
    }
    if (ModuleOf(address) == ModuleOf(reinterpret_cast<const void*>(&AddressIn))) {
        ThisRecording::Instance().Complain("the real " + dll +
                                           " is the one that records, and no vendor's");
        return nullptr;
    }
    return address;
}

} // namespace

void* RealFunction(const VendorFunction& function) noexcept {
    try {
        static auto* const known = new std::atomic<void*>[VendorFunctions().size()]();
        std::atomic<void*>& address = known[static_cast<std::size_t>(function.id)];
        if (address == nullptr) {
            address = AddressIn(function.library.name, function.name, function.name);
        }
        return address;
    } catch (const std::exception&) { // no memory: the next call tries again
        return nullptr;
    }
}

void* RealExport(unsigned slot) {
    ThisRecording& recording = ThisRecording::Instance();
    const auto& passed = recording.Setup().passed;
    if (slot >= passed.size()) {
        recording.Complain("slot " + std::to_string(slot) + " is nobody's");
        return nullptr;
    }
    const PassedExport& mine = passed[slot];
    const std::string shown =
        mine.name.empty() ? "ordinal " + std::to_string(mine.ordinal) : mine.name;
    void* const address =
        AddressIn(mine.dll, MAKEINTRESOURCEA(static_cast<WORD>(mine.ordinal)), shown);
    if (address != nullptr && recording.recorder != nullptr) {
        recording.recorder->Remark(mine.dll + ' ' + shown +
                                   " is called for the first time; its calls are not recorded");
    }
    return address;
}

} // namespace rig::record
