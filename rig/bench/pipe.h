/// Connects a bench and its hosts by a named pipe, for the same user on the same machine only.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench_side.h"
#include "commands.h"
#include "host_side.h"

namespace rig::bench {

/// Names have letters, digits, full stops, hyphens and underscores, at most 60 in all.
bool IsBenchName(std::string_view name);

/// Carries out a command of somebody who may go away while it waits.
using PerformWhile = Reply (*)(const Command& command, const IsUnwanted& isUnwanted);

/// Reserves the name for this process. Throws std::runtime_error if it is none, or if a bench of
/// this name is running.
void ClaimName(const std::string& name);

/// Serves connections until StopServing(), each in a thread of its own. Returns as soon as hosts
/// can connect. Throws std::runtime_error when that cannot be.
void ServePipe(const std::string& name, Hosts& hosts, PerformWhile perform);

/// Ends the waits of commands and answers nobody any more. Returns when the answers that are being
/// given have been given, after two seconds at the latest. The threads remain, but do nothing.
void StopServing();

/// Throws NoBench with the reason when it cannot connect.
std::unique_ptr<Connection> ConnectPipe(const std::string& name);

/// The introduction of this process, as a host or as a program that only sends commands.
Introduction ThisProcess(bool isHost);

/// The names of this user's running benches.
std::vector<std::string> BenchesThatRun();

/// Keeps the reason why a host found no hardware, for `solvane-rig status`. KeptReason() is empty
/// if there is none.
void KeepReason(const std::string& reason);
std::string KeptReason();

} // namespace rig::bench
