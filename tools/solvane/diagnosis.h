/// Explains the library's log to the user: why hardware was not found, or what is wrong with the
/// hardware that was.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "first_port.h"
#include "library_log.h"
#include "machine.h"

namespace host {

/// Facts that the log of the selection does not contain.
struct Facts {
    std::optional<std::string_view> serving; ///< the kind in use
    std::string unreadLine;        ///< first line of that kind that could not be read; empty: none
    std::optional<FirstPort> port; ///< the parallel port, if Windows knows one
    DriverState inpout = DriverState::unknown; ///< of the port-I/O driver
    std::optional<bool> memoryIntegrity;
};

/// The result for one kind of hardware, in sentences.
struct Diagnosis {
    std::string_view kind;
    bool asked = false;  ///< false: an earlier kind answered, so this one was not tried
    bool serves = false; ///< the library chose this kind
    bool isIll = false;  ///< it serves, but something is wrong
    int status = 0;      ///< of the availability check, if it was asked
    std::string tried;   ///< which device, if known
    std::string found;   ///< what was found, or why not
    std::string page;    ///< where the documents explain that
    std::string advice;  ///< what to do; empty when nothing is to be done
};

/// The place in the documents that explains a sentence, whose "%" stands for what differs:
/// "docs/doctor.md#no-ftdi-chip-is-connected". Headings there are the sentences with an N.
std::string PageOf(std::string_view sentence);

/// One diagnosis for each kind, in the library's order, from the last selection in the log.
std::vector<Diagnosis> Diagnose(const LibraryLog& log, const Facts& facts);

} // namespace host
