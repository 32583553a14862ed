/// What each kind of hardware says in the library's log, and what that means to somebody who wants
/// to know why it does not serve.
#pragma once

#include <span>
#include <string_view>

namespace host {

/// Words in the log, and what they mean. `found` may have a "%", for what stands in the line behind
/// the words.
struct Symptom {
    std::string_view words;
    std::string_view found;
    std::string_view advice;
    std::string_view alsoEnding{}; ///< a line that ends so must be in the log, too
};

struct KindSymptoms {
    std::string_view kind;
    std::span<const Symptom> whenRefused; ///< the first that is in the log counts
    std::span<const Symptom> whenServing; ///< likewise
    std::string_view whenUnread;          ///< what to do when it answers, but a line is not read
};

inline constexpr std::string_view kParallelPort = "parallel port";
inline constexpr std::string_view kFt2232h = "FT2232H";

/// What to do when InpOut's driver is not open; which of its states that is, the log does not tell.
inline constexpr std::string_view kOpenInpout =
    "Run solvane probe once as an administrator, so that InpOut can install its driver; memory "
    "integrity (core isolation) of Windows can keep the driver out.";

/// Of each kind, in the order in which the library looks for them.
std::span<const KindSymptoms> Symptoms();

/// The parallel port logs the same whether nothing answers or there is nowhere to ask: this is the
/// second.
extern const Symptom kPortWithoutRange;

} // namespace host
