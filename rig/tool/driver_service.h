/// The kernel driver of the rig as a service of the system.
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

} // namespace rig
