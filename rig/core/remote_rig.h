/// The hardware may be in another process, a bench, which many hosts share. Calls of the vendor
/// functions and of those in solvane/rig.h then go there as messages.
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

/// A call of one of them: its numbers in order, and its text unless that is a null pointer.
struct RigQuestion {
    RigFunction function;
    std::array<std::uint64_t, 5> numbers{};
    std::optional<std::string> text;
};

struct RigAnswer {
    std::int64_t number = 0; ///< what the function returns, or the kind of a journal entry
    std::uint64_t time = 0;  ///< ns
    std::string text;
};

/// Answers with the hardware of this process.
RigAnswer AnswerLocally(const RigQuestion& question);
void AnswerLocally(Call& call);

/// The result of a command: lines of text, or one JSON object without a final line break.
struct Reply {
    int exitCode = 0; ///< 1: the command failed; 2: unknown command or wrong arguments
    std::string text;
    std::uint64_t next = 0; ///< after `journal`: the number of the entry to continue with
};

struct RemoteRig {
    Answerer answer;
    RigAnswer (*ask)(const RigQuestion&);
    Reply (*command)(const Texts& words, bool json);
};

/// The name of a bench that was started without one.
inline constexpr const char* kDefaultBench = "default";

/// The bench that SOLVANE_RIG names: "bench" for the default one, or "bench:NAME".
std::optional<std::string> BenchInEnvironment();

/// Connects to a bench. Null unless a transport that is linked in has set it.
inline const RemoteRig* (*connectToBench)(const std::string& name) = nullptr;

/// The bench that has the hardware, or null if this process has it. The environment is read once,
/// at the first call.
const RemoteRig* FindRemoteRig();

} // namespace rig
