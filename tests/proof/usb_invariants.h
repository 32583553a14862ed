/// Which channels of the chip are open, and whether the library can still close them, worked out
/// from the vendor calls alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <solvane/rig.h>

namespace proof {

/// A handle that nobody closes keeps its channel from every later FT_Open, until the chip is
/// plugged in anew or the process ends.
class UsbInvariants {
  public:
    /// Goes through the journal. `fault` is the kind of the faults in it (RIG_FAULT_...).
    explicit UsbInvariants(std::uint32_t fault);

    /// The next operation finds channel B configured, or can open it.
    bool ServesAtOnce() const { return !isOpen || isConfigured; }

    bool IsConfigured() const { return isConfigured; }
    bool IsHeld() const { return isHeld; }

    /// So can a new controller at the latest: the old one closes what it holds.
    bool ServesANewController() const { return !isOpen || isHeld; }

    /// Channel A was left open.
    bool isSerialClaimed = false;

  private:
    void See(const std::string& call, bool isAtFault);
    void SeeOpen(const std::string& call, bool isDone);
    void SeeClose(const std::string& call, bool isDone);

    const bool doesItsWork; ///< a call that is at fault
    bool isOpen = false;    ///< channel B
    bool isHeld = false;    ///< by the handle that the library keeps
    bool isConfigured = false;
    bool isInitialising = false;
};

/// How many channels of the bus are open.
std::size_t OpenChannels();

} // namespace proof
