#include "library.h"

#include "dll_files.h"
#include "driver_timer.h"
#include "missing_imports.h"
#include "windows_text.h"

namespace host {

namespace {

namespace fs = std::filesystem;

/// One sentence for each DLL that keeps the library from loading; empty when there is none.
std::string DescribeMissingImports(const fs::path& path) {
    std::string sentences;
    int absent = 0;
    for (const MissingImport& import : FindMissingImports(path)) {
        sentences += (sentences.empty() ? "" : " ") + import.importer + " needs " + import.dll +
                     ", which " + import.reason + ".";
        absent += import.absent ? 1 : 0;
    }
    if (absent > 0) {
        sentences += absent == 1 ? " Put it" : " Put them";
        sentences += " beside solvane.exe or into a directory of PATH.";
    }
    return sentences;
}

std::string DescribeFailure(const fs::path& path, DWORD error) {
    const std::string text = Utf8(path.native());
    std::error_code ignored;
    if (!fs::exists(path, ignored)) {
        return text + " was not found.";
    }
    if (fs::is_directory(path, ignored)) {
        return text + " is a directory, not a DLL.";
    }
    // Check the imports first: if one of them is a 32-bit DLL, Windows reports the library itself
    // as not valid.
    if (std::string missing = DescribeMissingImports(path); !missing.empty()) {
        return missing;
    }
    if (error == ERROR_BAD_EXE_FORMAT) {
        return text + " is not a 64-bit DLL.";
    }
    return text + " cannot be loaded: " + SystemMessage(error) + ".";
}

Module Load(const fs::path& given) {
    const fs::path programDirectory = ProgramFolder();
    // Adds the program's folder to the search for vendor DLLs and removes the current directory, in
    // which anybody could have put a DLL.
    SetDllDirectoryW(programDirectory.c_str());

    const fs::path path = given.empty() ? programDirectory / L"Solvane.dll" : fs::absolute(given);
    Module module = Module::LoadPath(path);
    if (!module) {
        throw LoadFailure(DescribeFailure(path, GetLastError()));
    }
    return module;
}

template <typename Function>
void Resolve(const Module& module, Function& function, const char* name) {
    function = module.Find<Function>(name);
    if (function == nullptr) {
        throw LoadFailure(std::string("The library has no function ") + name +
                          ": it is another DLL, or another version than this program needs.");
    }
}

template <typename Function>
void Resolve(const Module& module, Operation<Function>& operation, const char* name) {
    Resolve(module, operation.function, name);
}

} // namespace

void KeepLoaded(const Functions& library) {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<const wchar_t*>(library.RunTimer.function), &module);
}

Library::Library(const fs::path& path) : module(Load(path)) {
    Resolve(module, SetLogger, "Solvane_SetLogger");
    Resolve(module, CheckAvailable, "Solvane_CheckAvailable");
    Resolve(module, CheckPowerControlAvailable, "Solvane_CheckPowerControlAvailable");
    Resolve(module, RecheckStatus, "Solvane_RecheckStatus");
    Resolve(module, EnforceFTDI, "Solvane_EnforceFTDI");
    Resolve(module, TriggerCapture, "Solvane_TriggerCapture");
    Resolve(module, CheckSystemReady, "Solvane_CheckSystemReady");
    Resolve(module, CheckAndResetMepFlag, "Solvane_CheckAndResetMepFlag");
    Resolve(module, WakeCamera, "Solvane_WakeCamera");
    Resolve(module, EnableForcedBlackUpdate, "Solvane_EnableForcedBlackUpdate");
    Resolve(module, DisableForcedBlackUpdate, "Solvane_DisableForcedBlackUpdate");
    Resolve(module, CheckForcedBlackUpdate, "Solvane_CheckForcedBlackUpdate");
    Resolve(module, EnableCameraPower, "Solvane_EnableCameraPower");
    Resolve(module, DisableCameraPower, "Solvane_DisableCameraPower");
    Resolve(module, CheckCameraPower, "Solvane_CheckCameraPower");
    Resolve(module, EnableAccessoriesPower, "Solvane_EnableAccessoriesPower");
    Resolve(module, DisableAccessoriesPower, "Solvane_DisableAccessoriesPower");
    Resolve(module, CheckAccessoriesPower, "Solvane_CheckAccessoriesPower");
    Resolve(module, CloseDevice, "Solvane_CloseDevice");
    Resolve(module, ResetComPort, "Solvane_ResetComPort");
    Resolve(module, CreateTimer, "Solvane_CreateTimer");
    Resolve(module, RunTimer, "Solvane_RunTimer");
    Resolve(module, StopTimer, "Solvane_StopTimer");
    Resolve(module, DisposeTimer, "Solvane_DisposeTimer");
}

} // namespace host
