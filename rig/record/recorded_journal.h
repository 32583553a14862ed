/// What happened in a recording, as the rig's journal shows it.
#pragma once

#include <vector>

#include "journal.h"
#include "recorded_lines.h"

namespace rig::record {

/// Calls, edges, events and remarks in their order. An edge stands before the call by which it
/// came, for a call is shown when it has returned.
std::vector<Journal::Entry> JournalOf(const Recording& recording, const RecordedLines& lines);

} // namespace rig::record
