#include "pipe.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <stdexcept>
#include <system_error>
#include <type_traits>
#include <utility>

#include <windows.h>

#include <sddl.h>

#include "detached_thread.h"
#include "environment.h"
#include "frames.h"

namespace fs = std::filesystem;

namespace rig::bench {

namespace {

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

struct LocalMemory {
    void operator()(void* memory) const { LocalFree(memory); }
};

constexpr std::size_t kLongestName = 60;
constexpr DWORD kPipeBytes = 65'536;
/// Simultaneous connections. A host needs one for each thread that calls at the same time.
constexpr int kMostConnections = 250;

std::wstring Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

std::wstring PathOfPipe(const std::string& name) {
    return L"\\\\.\\pipe\\solvane-rig-" + Wide(name);
}

/// The mutex that exists while the bench runs: FILE_FLAG_FIRST_PIPE_INSTANCE does not refuse a
/// second bench on every system. As the pipe it is the same in every session, and for small and
/// capital letters.
std::wstring NameOfMutex(std::string name) {
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return L"Global\\solvane-rig-" + Wide(name);
}

std::runtime_error Failure(const std::string& what) {
    return std::runtime_error(what + ": Windows error " + std::to_string(GetLastError()));
}

std::string NoName(const std::string& name) {
    return '"' + name + "\" is no name for a bench: at most " + std::to_string(kLongestName) +
           " letters from A to Z, digits, full stops, hyphens and underscores make one";
}

/// Security attributes that let only the current user open the pipe.
class OwnersAlone {
  public:
    OwnersAlone() {
        HANDLE token = nullptr;
        if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) {
            throw Failure("the user is not known");
        }
        const Handle closer(token);
        alignas(TOKEN_USER) std::array<char, 256> user{};
        DWORD size = 0;
        LPWSTR text = nullptr;
        if (!GetTokenInformation(token, TokenUser, user.data(), static_cast<DWORD>(user.size()),
                                 &size) ||
            !ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid, &text)) {
            throw Failure("the user is not known");
        }
        const std::unique_ptr<void, LocalMemory> textFreer(text);
        const std::wstring rule = L"D:P(A;;GA;;;" + std::wstring(text) + L")";
        PSECURITY_DESCRIPTOR made = nullptr;
        if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(rule.c_str(), SDDL_REVISION_1,
                                                                  &made, nullptr)) {
            throw Failure("the pipe cannot be protected");
        }
        descriptor.reset(made);
        attributes = {sizeof attributes, made, FALSE};
    }

    SECURITY_ATTRIBUTES* Get() { return &attributes; }

  private:
    std::unique_ptr<void, LocalMemory> descriptor;
    SECURITY_ATTRIBUTES attributes{};
};

bool Send(HANDLE pipe, std::string_view message) {
    const std::string bytes = Framed(message);
    DWORD written = 0; // WriteFile blocks until all bytes are written
    return WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
           written == bytes.size();
}

/// Returns nullopt when the other end has closed. May throw Malformed.
std::optional<std::string> Receive(HANDLE pipe, Frames& frames) {
    std::array<char, 4096> piece;
    for (;;) {
        if (std::optional<std::string> message = frames.Take()) {
            return message;
        }
        DWORD size = 0;
        if (!ReadFile(pipe, piece.data(), static_cast<DWORD>(piece.size()), &size, nullptr) ||
            size == 0) {
            return std::nullopt;
        }
        frames.Add({piece.data(), size});
    }
}

std::atomic<bool> isEnding{false};
std::atomic<int> busy{0}; ///< threads that do something for somebody

/// What a thread does from here on, StopServing() waits for. There is nothing to do at the end: a
/// thread that the end of the process meets while it allocates memory may leave a lock behind that
/// the process then waits for.
class Busy {
  public:
    Busy() {
        ++busy;
        if (isEnding) {
            --busy;
            Sleep(INFINITE);
        }
    }
    ~Busy() { --busy; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
};

bool HasGone(HANDLE pipe) {
    return !PeekNamedPipe(pipe, nullptr, 0, nullptr, nullptr, nullptr);
}

/// False when the connection is over.
bool AnswerNext(HANDLE pipe, Frames& frames, BenchSide& bench) {
    std::optional<std::string> message;
    try {
        message = Receive(pipe, frames);
    } catch (const Malformed& reason) {
        Send(pipe, Refusal(reason.what()));
    }
    const Busy answering;
    return message && Send(pipe, bench.Answer(*message)) && !bench.IsOver();
}

void ServeConnection(HANDLE pipe, Hosts& hosts, PerformWhile perform) {
    Frames frames;
    std::optional<BenchSide> bench(std::in_place, hosts, [=](const Command& command) {
        return perform(command, [pipe] { return isEnding || HasGone(pipe); });
    });
    while (AnswerNext(pipe, frames, *bench)) {
    }
    {
        const Busy leaving;
        bench.reset();
    }
    FlushFileBuffers(pipe); // disconnecting discards unread data
    DisconnectNamedPipe(pipe);
}

Handle MakePipe(const std::string& name, bool isFirst) {
    static OwnersAlone& owners = *new OwnersAlone; // never destroyed: threads still use it at exit
    const DWORD first = isFirst ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0;
    const HANDLE pipe =
        CreateNamedPipeW(PathOfPipe(name).c_str(), PIPE_ACCESS_DUPLEX | first,
                         PIPE_TYPE_BYTE | PIPE_REJECT_REMOTE_CLIENTS, PIPE_UNLIMITED_INSTANCES,
                         kPipeBytes, kPipeBytes, 0, owners.Get());
    if (pipe == INVALID_HANDLE_VALUE) {
        throw Failure("the pipe of the bench cannot be made");
    }
    return Handle(pipe);
}

Handle NextPipe(const std::string& name) {
    for (;;) {
        try {
            return MakePipe(name, false);
        } catch (const std::runtime_error&) { // too many handles: retry until some are closed
            Sleep(10);
        }
    }
}

/// Accepts connections. Creates the next pipe before serving an opened one, so that a host always
/// finds a pipe.
[[noreturn]] void Accept(const std::string& name, Handle pipe, Hosts& hosts, PerformWhile perform) {
    static std::atomic<int> connections{0};
    for (;;) {
        const bool isOpened =
            ConnectNamedPipe(pipe.get(), nullptr) || GetLastError() == ERROR_PIPE_CONNECTED;
        const Busy accepting;
        Handle opened = std::exchange(pipe, NextPipe(name));
        if (!isOpened) {
            continue;
        }
        if (connections >= kMostConnections) {
            Send(opened.get(), Refusal("the bench has " + std::to_string(kMostConnections) +
                                       " connections, and takes no more"));
            continue;
        }
        ++connections;
        try {
            StartDetached([opened = std::shared_ptr<void>(std::move(opened)), &hosts, perform] {
                try {
                    ServeConnection(opened.get(), hosts, perform);
                } catch (...) { // no memory: only this connection ends
                }
                --connections;
            });
        } catch (const std::exception&) {
            --connections;
        }
    }
}

/// The directory for the names of the benches and the last reason.
fs::path Notes() {
    std::array<wchar_t, MAX_PATH + 1> folder{};
    GetTempPathW(static_cast<DWORD>(folder.size()), folder.data());
    return fs::path(folder.data()) / "solvane-rig";
}

constexpr const char* kBenchNote = ".bench";

fs::path ReasonNote() {
    return Notes() / "no-hardware.txt";
}

void Note(const fs::path& path, const std::string& text) {
    std::error_code ignored;
    fs::create_directories(path.parent_path(), ignored);
    std::ofstream(path, std::ios::binary) << text;
}

class Pipe final : public Connection {
  public:
    Pipe(Handle opened, std::string bench) : pipe(std::move(opened)), name(std::move(bench)) {}

    std::string Exchange(std::string_view question) override {
        if (Send(pipe.get(), question)) {
            if (std::optional<std::string> answer = Receive(pipe.get(), frames)) {
                return *std::move(answer);
            }
        }
        throw NoBench("the bench \"" + name + "\" has ended");
    }

  private:
    Handle pipe;
    Frames frames;
    const std::string name;
};

} // namespace

bool IsBenchName(std::string_view name) {
    return !name.empty() && name.size() <= kLongestName &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '.' || c == '-' || c == '_';
           });
}

void ClaimName(const std::string& name) {
    if (!IsBenchName(name)) {
        throw std::runtime_error(NoName(name));
    }
    static Handle running;
    running.reset(CreateMutexW(nullptr, FALSE, NameOfMutex(name).c_str()));
    if (running == nullptr || GetLastError() == ERROR_ALREADY_EXISTS) {
        throw std::runtime_error("a bench \"" + name +
                                 "\" runs already: end it by `solvane-rig stop`, or give this one "
                                 "another name by --name");
    }
}

void ServePipe(const std::string& name, Hosts& hosts, PerformWhile perform) {
    StartDetached([name, pipe = MakePipe(name, true), &hosts, perform]() mutable {
        Accept(name, std::move(pipe), hosts, perform);
    });
    Note(Notes() / (name + kBenchNote), "process " + std::to_string(GetCurrentProcessId()) + '\n');
}

void StopServing() {
    constexpr int kPatience = 2000; // ms: a host may wait for something, or not take its answer
    isEnding = true;
    for (int waited = 0; busy > 0 && waited < kPatience; ++waited) {
        Sleep(1);
    }
}

std::unique_ptr<Connection> ConnectPipe(const std::string& name) {
    constexpr DWORD kPatience = 5000; // ms
    const std::string bench = "the bench \"" + name + '"';
    if (!IsBenchName(name)) {
        throw NoBench(NoName(name));
    }
    for (;;) {
        // SECURITY_IDENTIFICATION: the bench can identify the user but not impersonate them.
        const HANDLE pipe =
            CreateFileW(PathOfPipe(name).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                        OPEN_EXISTING, SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr);
        if (pipe != INVALID_HANDLE_VALUE) {
            return std::make_unique<Pipe>(Handle(pipe), name);
        }
        switch (GetLastError()) {
        case ERROR_PIPE_BUSY:
            if (WaitNamedPipeW(PathOfPipe(name).c_str(), kPatience)) {
                continue;
            }
            throw NoBench(bench + " does not answer");
        case ERROR_FILE_NOT_FOUND:
            throw NoBench("there is no bench \"" + name + "\": `solvane-rig bench --name " + name +
                          "` starts it");
        case ERROR_ACCESS_DENIED:
            throw NoBench(bench + " belongs to another user, or was started as administrator");
        default:
            throw NoBench(bench + " cannot be reached: Windows error " +
                          std::to_string(GetLastError()));
        }
    }
}

Introduction ThisProcess(bool isHost) {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    Introduction introduction;
    introduction.process = GetCurrentProcessId();
    introduction.program = Utf8FromPath(fs::path(path).filename());
    if (isHost) {
        std::random_device random;
        introduction.key = (std::uint64_t{random()} << 32 | random()) | 1;
    }
    return introduction;
}

std::vector<std::string> BenchesThatRun() {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(Notes(), ignored)) {
        if (entry.path().extension() == kBenchNote) {
            const std::string name = Utf8FromPath(entry.path().stem());
            const Handle runs(OpenMutexW(SYNCHRONIZE, FALSE, NameOfMutex(name).c_str()));
            if (runs != nullptr) {
                names.push_back(name);
            } else {
                fs::remove(entry.path(), ignored);
            }
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

void KeepReason(const std::string& reason) {
    Note(ReasonNote(), reason + '\n');
}

std::string KeptReason() {
    std::ifstream file(ReasonNote(), std::ios::binary);
    std::string line;
    std::getline(file, line);
    return line;
}

} // namespace rig::bench
