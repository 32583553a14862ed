/// Which channels of the chip are open, and whether the library can still close them, derived from
/// the vendor calls alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <solvane/rig.h>

namespace proof {

/// A handle that is not closed blocks its channel for every later FT_Open, until the chip is
/// replugged or the process ends.
class UsbInvariants {
  public:
    /// From the journal. `fault` is the kind of the faults in it (RIG_FAULT_...).
    explicit UsbInvariants(std::uint32_t fault);

    /// The next operation finds channel B configured, or can open it.
    bool ServesAtOnce() const { return !isOpen || isConfigured; }

    bool IsConfigured() const { return isConfigured; }
    bool IsHeld() const { return isHeld; }

    /// The same for a new controller, after the old one has closed its handle.
    bool ServesANewController() const { return !isOpen || isHeld; }

    /// Channel A was left open.
    bool isSerialClaimed = false;

  private:
    void See(const std::string& call, bool isAtFault);
    void SeeOpen(const std::string& call, bool isDone);
    void SeeClose(const std::string& call, bool isDone);

    const bool doesItsWork; ///< whether a call at fault does
    bool isOpen = false;    ///< channel B
    bool isHeld = false;    ///< by the handle that the library keeps
    bool isConfigured = false;
    bool isInitialising = false;
};

/// How many channels of the bus are open.
std::size_t OpenChannels();

} // namespace proof
