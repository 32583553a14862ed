/// Messages of each kind of hardware in the library's log, explained for a user who wants to know
/// why that kind is not in use.
#pragma once

#include <span>
#include <string_view>

namespace host {

/// Words in the log and their meaning. A "%" in `found` stands for the text that follows the words
/// in the log line.
struct Symptom {
    std::string_view words;
    std::string_view found;
    std::string_view advice;
    std::string_view alsoEnding{}; ///< the log must also have a line that ends like this
};

struct KindSymptoms {
    std::string_view kind;
    std::span<const Symptom> whenRefused; ///< the first one found in the log counts
    std::span<const Symptom> whenServing; ///< likewise
    std::string_view whenUnread;          ///< advice when it answers, but a line cannot be read
};

inline constexpr std::string_view kParallelPort = "parallel port";
inline constexpr std::string_view kFt2232h = "FT2232H";

/// Advice when InpOut's driver is not open. The log does not show in which state the driver is.
inline constexpr std::string_view kOpenInpout =
    "Run solvane probe once as an administrator, so that InpOut can install its driver; memory "
    "integrity (core isolation) of Windows can keep the driver out.";

/// The symptoms of each kind, in the order in which the library looks for them.
std::span<const KindSymptoms> Symptoms();

/// For a parallel port without an I/O range. In the log it looks like a port where nothing answers.
extern const Symptom kPortWithoutRange;

} // namespace host
