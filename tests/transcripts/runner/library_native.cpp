#include "library.h"

#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

#include <solvane/rig.h>
#include <sys/wait.h>
#include <unistd.h>

#include "com_stand_in.h"
#include "host_platform.h"
#include "watched_names.h"

namespace transcript {

namespace {

/// A case that hangs is ended by SIGALRM after this time.
constexpr unsigned kMostSeconds = 20;

std::string output;

const std::function<bool()>* whenUnloaded = nullptr;
bool isWell = true;

/// Called at exit, after the library's static state was destroyed. Objects of the main thread are
/// gone by then too, so the work is done on another thread.
void Finish() {
    std::thread([] { isWell = (*whenUnloaded)() && AreNamesRight() && isWell; }).join();
    if (!isWell) {
        std::fflush(nullptr);
        _exit(1);
    }
}

} // namespace

const bool kIsNative = true;

const test::LibraryFunctions& Loaded() {
    static const test::LibraryFunctions functions = [] {
        test::LibraryFunctions linked;
#define SOLVANE_LINKED(name, ...) linked.name = Solvane_##name;
        SOLVANE_FUNCTIONS(SOLVANE_LINKED)
#undef SOLVANE_LINKED
        return linked;
    }();
    return functions;
}

std::vector<std::string> LeftBehind() {
    std::vector<std::string> left;
    const auto check = [&](int count, const char* what) {
        if (count != 0) {
            left.push_back(std::to_string(count) + ' ' + what);
        }
    };
    check(host::RaisedTimerPeriods(), "raised timer resolutions");
    check(rig_wbem_interfaces(), "interfaces of WMI");
    check(host::com::AliveStrings(), "texts of COM");
    check(host::com::Initialisations(), "initialisations of COM");
    return left;
}

void Wait(unsigned milliseconds) {
    host::Advance(std::uint64_t{milliseconds} * 1'000'000);
}

/// Plays the case in a forked process, because this one has never used the library.
bool OnFreshLibrary(const std::string& title, const std::function<bool()>& body,
                    const std::function<bool()>& afterUnload) {
    std::FILE* const printed = std::tmpfile();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(printed), STDOUT_FILENO);
        dup2(fileno(printed), STDERR_FILENO);
        alarm(kMostSeconds);
        whenUnloaded = &afterUnload;
        rig_load(""); // created before the library, so destroyed after it
        std::atexit(Finish);
        WatchNames();
        isWell = body();
        std::exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::rewind(printed);
    for (int character; (character = std::fgetc(printed)) != EOF;) {
        output += static_cast<char>(character);
    }
    std::fclose(printed);
    if (WIFSIGNALED(status)) {
        output +=
            title + ": the process ended with signal " + std::to_string(WTERMSIG(status)) + '\n';
    } else if (WEXITSTATUS(status) > 1) {
        output += title + ": the process ended with " + std::to_string(WEXITSTATUS(status)) + '\n';
    }
    return status == 0;
}

std::string TakeOutput() {
    return std::exchange(output, {});
}

} // namespace transcript
