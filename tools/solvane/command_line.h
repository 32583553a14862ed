/// What the user asked for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace host {

struct Request {
    std::string command;
    std::string library; ///< path; empty: beside this program
    bool log = false;
    bool json = false;

    std::string setting = "state"; ///< or "on", "off"
    unsigned triggers = 1;
    bool keepGoing = false;
    unsigned intervalMilliseconds = 0;
    unsigned waitReadyMilliseconds = 0;

    bool once = false;
    unsigned watchMilliseconds = 100;
    unsigned watchSeconds = 0; ///< 0: until Ctrl-C

    bool yes = false;
    bool power = false;
    unsigned captures = 5;
    std::optional<std::uint32_t> checkTimer;
    unsigned timerLimitSeconds = 30;
    std::string report;   ///< a file to be written; empty: none
    std::string baseline; ///< a file of an earlier check; empty: none
    bool anonymous = false;

    std::string line; ///< to be held
    unsigned holdSeconds = 0;

    std::uint32_t timerParameter = 0;
    std::uint64_t timerContext = 0;
    unsigned events = 0; ///< 0: until Ctrl-C
};

/// The codes with which the program ends.
enum ExitCode {
    kSuccess = 0,
    kFailedStatus = 1,
    kUsageError = 2,
    kNoLibrary = 3,
    kAnswerLost = 4,
    kStopped = 130 ///< as shells have it
};

/// Reads the arguments, the program's name first. When there is nothing to do, because of a mistake
/// or because help was asked for, that was told and the exit code is the result.
std::variant<Request, ExitCode> ReadCommandLine(std::vector<std::string> arguments);

} // namespace host
