/// What the library's log means for somebody who wants to know why hardware was not found, or what
/// is wrong with the one that was.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "first_port.h"
#include "library_log.h"
#include "machine.h"

namespace host {

/// What the log of the selection does not tell.
struct Facts {
    std::optional<std::string_view> serving; ///< the kind that serves
    std::string unreadLine;                  ///< which of its lines could not be read; empty: none
    std::optional<FirstPort> port;           ///< the parallel port, if Windows knows one
    DriverState inpout = DriverState::unknown; ///< of the port-I/O driver
    std::optional<bool> memoryIntegrity;
};

/// What became of one kind of hardware, in sentences.
struct Diagnosis {
    std::string_view kind;
    bool asked = false;  ///< else a kind before it answered, and it was not looked for
    bool serves = false; ///< it is the kind that the library settled on
    bool isIll = false;  ///< although it serves, something is wrong
    int status = 0;      ///< of the availability check, if it was asked
    std::string tried;   ///< which piece of hardware it was, if that is known
    std::string found;   ///< what was found, or why not
    std::string advice;  ///< what to do; empty when nothing is to be done
};

/// One for each kind, in the order in which they are looked for, from the last selection in the
/// log.
std::vector<Diagnosis> Diagnose(const LibraryLog& log, const Facts& facts);

} // namespace host
