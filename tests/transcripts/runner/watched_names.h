/// Compares the names by which the rig's journal shows handles with those that are learned from the
/// calls alone, which is all that a recording of real hardware has.
#pragma once

namespace transcript {

/// Begins; on a rig in this process.
void WatchNames();

/// Whether every call was written down in the same words. What was not is on standard output.
bool AreNamesRight();

} // namespace transcript
