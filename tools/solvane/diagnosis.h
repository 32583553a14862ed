/// What the library's log means for somebody who wants to know why hardware was not found.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "library_log.h"

namespace host {

/// What became of one kind of hardware, in sentences.
struct Diagnosis {
    std::string_view kind;
    bool asked = false; ///< else a kind before it answered, and it was not looked for
    int status = 0;     ///< of the availability check, if it was asked
    std::string found;  ///< what was found, or why not
    std::string advice; ///< what to do; empty when nothing is wrong
};

/// One for each kind, in the order in which they are looked for, from the last selection in the
/// log.
std::vector<Diagnosis> Diagnose(const LibraryLog& log);

} // namespace host
