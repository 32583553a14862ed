/// The parts of the virtual PC that Windows must know of: the kernel driver of the rig as a
/// service, and the rig's WMI as a registered class.
#pragma once

#include <ostream>

namespace rig {

// Each tells in a sentence what is, or throws std::runtime_error with the reason why it is not.

/// Installs and starts the driver that lies beside this program; does nothing when it runs.
void InstallDriver(std::ostream& out);

/// Stops and removes it; does nothing when there is none.
void RemoveDriver(std::ostream& out);

/// Whether it runs. That it does not is an exception too.
void TellDriver(std::ostream& out);

/// Registers the rig_wbem.dll that lies beside this program in the place of the system's own class,
/// which is remembered; does nothing more when that was done before.
void InstallWmiClass(std::ostream& out);

/// Gives the system its own class back; does nothing when it has it.
void RemoveWmiClass(std::ostream& out);

/// Whether it is registered. That it is not is an exception too.
void TellWmiClass(std::ostream& out);

} // namespace rig
