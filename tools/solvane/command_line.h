/// The command line: what the user asked for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace host {

struct Request {
    std::string command;
    std::string library; ///< path; empty: Solvane.dll beside this program
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
    std::string report;   ///< file to write; empty: none
    std::string baseline; ///< file with an earlier check; empty: none
    bool anonymous = false;

    std::string line; ///< the line to hold
    unsigned holdSeconds = 0;

    std::uint32_t timerParameter = 0;
    std::uint64_t timerContext = 0;
    unsigned events = 0; ///< 0: until Ctrl-C
};

/// Exit codes of the program.
enum ExitCode {
    kSuccess = 0,
    kFailedStatus = 1,
    kUsageError = 2,
    kNoLibrary = 3,
    kAnswerLost = 4,
    kStopped = 130 ///< 128 + SIGINT, as shells use it
};

/// Reads the arguments, the program's name first. On a mistake or a request for help it prints the
/// text and returns the exit code.
std::variant<Request, ExitCode> ReadCommandLine(std::vector<std::string> arguments);

} // namespace host
