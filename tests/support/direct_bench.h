/// A bench in this process, whose hosts are one call away: what they say goes over in bytes, and no
/// time passes.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "bench_side.h"
#include "host_side.h"

namespace test {

inline rig::bench::Hosts& HostsOfTheBench() {
    static rig::bench::Hosts hosts;
    return hosts;
}

class DirectConnection final : public rig::bench::Connection {
  public:
    explicit DirectConnection(rig::bench::Perform perform) : bench(HostsOfTheBench(), perform) {}

    std::string Exchange(std::string_view question) override { return bench.Answer(question); }

  private:
    rig::bench::BenchSide bench;
};

inline rig::Reply PerformNothing(const rig::bench::Command&) {
    return {};
}

} // namespace test
