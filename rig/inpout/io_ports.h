/// The machine's I/O space, as far as something is there.
#pragma once

#include <cstdint>
#include <optional>

#include "parallel_port.h"
#include "super_io.h"

namespace rig::io {

class IoPorts {
  public:
    IoPorts(const Scenario& scenario, Installation& camera);

    std::uint8_t Read(std::uint16_t port) const;
    void Write(std::uint16_t port, std::uint8_t value);

    void SetAsleep(bool asleep);

  private:
    std::optional<SuperIo> superIo;
    std::optional<ParallelPort> lpt;
};

} // namespace rig::io
