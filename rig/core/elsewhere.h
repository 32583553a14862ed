/// The hardware of this process may be elsewhere: with another process, which many share. Calls of
/// the vendor functions, and of those of solvane/rig.h, go there as messages then.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "call.h"

namespace rig {

/// The functions of solvane/rig.h that ask or change something.
enum class RigFunction : std::uint8_t {
    Load,
    LoadFile,
    Error,
    Scenario,
    Level,
    Force,
    Captures,
    SetPlugged,
    AddFault,
    ClearFaults,
    Calls,
    JournalSize,
    JournalEntry,
    JournalClear,
    Note,
    Time,
    WriteVcd
};

/// A call of one of them: its numbers in their order, and its text, where a null pointer is none.
struct RigQuestion {
    RigFunction function;
    std::array<std::uint64_t, 5> numbers{};
    std::optional<std::string> text;
};

struct RigAnswer {
    std::int64_t number = 0; ///< what the function returns, or the kind of a journal's entry
    std::uint64_t time = 0;  ///< ns
    std::string text;
};

/// What this process's own hardware answers.
RigAnswer AnswerHere(const RigQuestion& question);
void AnswerHere(Call& call);

/// What came of a command: lines of text, or one JSON object without a line break at its end.
struct Reply {
    int exitCode = 0; ///< 1: it came to nothing; 2: words that are no command
    std::string text;
    std::uint64_t next = 0; ///< of `journal`: the number of the entry to go on with
};

struct Elsewhere {
    Answerer answer;
    RigAnswer (*ask)(const RigQuestion&);
    Reply (*command)(const Texts& words, bool json);
};

/// The name of a bench that has been given none.
inline constexpr const char* kDefaultBench = "default";

/// The name in SOLVANE_RIG when it says so: "bench", or "bench:NAME".
std::optional<std::string> BenchInEnvironment();

/// The way to a bench. Whoever is linked in that knows one sets it.
inline const Elsewhere* (*wayToBench)(const std::string& name) = nullptr;

/// Where the hardware of this process is, as its environment said at the first question; null:
/// here.
const Elsewhere* WhereTheHardwareIs();

} // namespace rig
