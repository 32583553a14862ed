/// The rig's WMI as a registered class of the system.
#pragma once

#include <ostream>

namespace rig {

// Each tells in a sentence what is, or throws std::runtime_error with the reason why it is not.

/// Registers the rig_wbem.dll that lies beside this program in the place of the system's own class,
/// which is remembered; does nothing more when that was done before.
void InstallWmiClass(std::ostream& out);

/// Gives the system its own class back; does nothing when it has it.
void RemoveWmiClass(std::ostream& out);

/// Whether it is registered. That it is not is an exception too.
void TellWmiClass(std::ostream& out);

} // namespace rig
