/// The parts of the virtual PC that must be registered with Windows: the kernel driver as a
/// service, and the rig's WMI as a COM class.
#pragma once

#include <ostream>

namespace rig {

// Each prints the result as a sentence, or throws std::runtime_error with the reason for a failure.

/// Installs and starts the driver that lies beside this program; does nothing when it runs.
void InstallDriver(std::ostream& out);

/// Stops and removes the driver; does nothing when there is none.
void RemoveDriver(std::ostream& out);

/// Prints that the driver runs; throws if it does not.
void PrintDriverState(std::ostream& out);

/// Registers the rig_wbem.dll beside this program in place of the system's own class, whose
/// registration it saves. Does not save it again if the rig's class is registered already.
void InstallWmiClass(std::ostream& out);

/// Restores the system's own class; does nothing if that is registered.
void RemoveWmiClass(std::ostream& out);

/// Prints that the rig's class is registered; throws if it is not.
void PrintWmiClassState(std::ostream& out);

} // namespace rig
