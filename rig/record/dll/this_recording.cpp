#include "this_recording.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

#include <windows.h>

namespace rig::record {

namespace {

namespace fs = std::filesystem;

std::atomic<ThisRecording*> begun{nullptr};

std::uint64_t Ticks() {
    LARGE_INTEGER ticks{};
    QueryPerformanceCounter(&ticks);
    return static_cast<std::uint64_t>(ticks.QuadPart);
}

std::uint64_t TicksPerSecond() {
    LARGE_INTEGER ticks{};
    QueryPerformanceFrequency(&ticks);
    return static_cast<std::uint64_t>(ticks.QuadPart);
}

Microseconds Now() {
    static const std::uint64_t perSecond = TicksPerSecond();
    static const std::uint64_t start = Ticks();
    const std::uint64_t ticks = Ticks() - start;
    constexpr std::uint64_t kMicro = 1'000'000;
    return ticks / perSecond * kMicro + ticks % perSecond * kMicro / perSecond;
}

fs::path PathOfModule(HMODULE module) {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

/// What the loader is asked for when it loads this DLL, and never later: a thread that asks it
/// waits for every DllMain, and one of those may call a vendor's function and wait for the
/// recording.
struct Modules {
    fs::path thisDll;
    fs::path program;
};
Modules* modules = nullptr;

std::string Utf8(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

fs::path PathOf(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

} // namespace

ThisRecording& ThisRecording::Instance() {
    static ThisRecording& instance = *new ThisRecording;
    return instance;
}

ThisRecording* ThisRecording::Begun() {
    return begun;
}

ThisRecording::ThisRecording() : folder(modules->thisDll.parent_path()) {
    try {
        std::ifstream file(folder / kSetupFile, std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        if (!file) {
            throw std::runtime_error(Utf8(folder / kSetupFile) + " cannot be read");
        }
        setup = ReadSetup(text);
        setup.head.program = Utf8(modules->program.filename());
        auto recording = std::make_unique<RecordingFile>(PathOf(setup.file));
        recorder = new Recorder(*recording, setup.head,
                                {Now, [] { return std::uint64_t{GetCurrentThreadId()}; }});
        static_cast<void>(recording.release()); // nobody may destroy it
    } catch (const std::exception& reason) {
        Complain("there is no recording: " + std::string(reason.what()));
    }
    begun = this;
}

void ThisRecording::Complain(const std::string& what) {
    {
        const std::lock_guard lock(access);
        if (!complaints.insert(what).second) {
            return;
        }
    }
    const std::string line = "solvane_record: " + what + '\n';
    std::fputs(line.c_str(), stderr);
    OutputDebugStringA(line.c_str());
    if (recorder != nullptr) {
        recorder->Remark(what);
    }
}

} // namespace rig::record

/// Keeps this DLL in the process once it is loaded, and finishes the recording when the process
/// ends in an orderly way.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    using namespace rig::record;
    if (reason == DLL_PROCESS_ATTACH) {
        HMODULE kept = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                           reinterpret_cast<LPCWSTR>(&DllMain), &kept);
        modules = new Modules{PathOfModule(module), PathOfModule(nullptr)};
    }
    rig::record::ThisRecording* const recording = rig::record::ThisRecording::Begun();
    if (reason == DLL_PROCESS_DETACH && recording != nullptr && recording->recorder != nullptr) {
        recording->recorder->Finish();
    }
    return TRUE;
}
