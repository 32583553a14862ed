/// Starting a host and watching which of the vendors' DLLs it loads.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace rig {

/// Runs a host, given as program and arguments, and returns its exit code. If the host, or a
/// program that it starts, loads a DLL with the name of one of the rig's but other content than the
/// DLL beside this program, all of them are ended before any code of that DLL runs. In that case,
/// and if the host cannot be started, throws std::runtime_error with the reason.
int RunGuarded(const std::vector<std::string>& command);

/// What became of a host that was left to itself.
struct WatchedRun {
    int exitCode = 0;
    std::vector<std::filesystem::path> loaded; ///< files with the name of a vendor's DLL
    bool isRecorded = false;                   ///< it has loaded the DLL that records
};

/// Runs a host until it, and what it started, has ended. It is watched until it loads the DLL that
/// records, and from then on nothing slows it down. Throws std::runtime_error with the reason if it
/// cannot be started.
WatchedRun RunWatched(const std::vector<std::string>& command);

} // namespace rig
