/// A bench and its hosts over a named pipe: for the same user, from this machine alone.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench_side.h"
#include "host_side.h"

namespace rig::bench {

/// Letters, digits, full stops, hyphens and low lines, 60 at most.
bool IsBenchName(std::string_view name);

/// Serves whoever comes until the process ends, each connection in a thread of its own; returns
/// once the bench can be found. Throws std::runtime_error when one of the name runs already.
void ServePipe(const std::string& name, Hosts& hosts, Perform perform);

/// Throws NoBench, with the reason.
std::unique_ptr<Connection> ConnectPipe(const std::string& name);

/// How this process introduces itself: as a host, or as somebody who only gives commands.
Introduction ThisProcess(bool isHost);

/// The names of this user's benches.
std::vector<std::string> BenchesThatRun();

/// Why a host of this user last found no hardware, as it has left it for people; empty if none has.
void KeepReason(const std::string& reason);
std::string KeptReason();

} // namespace rig::bench
