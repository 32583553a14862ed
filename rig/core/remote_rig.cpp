#include "remote_rig.h"

#include "environment.h"

namespace rig {

std::optional<std::string> BenchInEnvironment() {
    const std::string value = Utf8FromPath(PathFromEnvironment("SOLVANE_RIG"));
    const std::string prefix = "bench:";
    if (value == "bench") {
        return kDefaultBench;
    }
    return value.starts_with(prefix) ? std::optional(value.substr(prefix.size())) : std::nullopt;
}

const RemoteRig* FindRemoteRig() {
    static const RemoteRig* const remote = []() -> const RemoteRig* {
        const std::optional<std::string> bench = BenchInEnvironment();
        return bench && connectToBench != nullptr ? connectToBench(*bench) : nullptr;
    }();
    return remote;
}

} // namespace rig
