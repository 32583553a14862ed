/// From text of any kind to a TOML document. The parser is toml++, and some of its assertions are
/// all that stands between malformed text and undefined behaviour: they stay in every build, as
/// exceptions.
#pragma once

#include <stdexcept>
#include <string_view>

namespace rig {

/// Text that toml++ takes for impossible.
struct ImpossibleToml : std::logic_error {
    using logic_error::logic_error;
};

[[noreturn]] inline void FailImpossible(const char* assertion) {
    throw ImpossibleToml(assertion);
}

} // namespace rig

#undef NDEBUG
#define TOML_ASSERT(assertion)                                                                     \
    ((assertion) ? static_cast<void>(0) : ::rig::FailImpossible(#assertion))
/// A scenario nests no deeper than a table in an array; the parser is recursive.
#define TOML_MAX_NESTED_VALUES 8
#define TOML_ENABLE_FORMATTERS 0
#define TOML_ENABLE_WINDOWS_COMPAT 0
#include <toml++/toml.h>

namespace rig {

/// Throws ScenarioError, with the line, for whatever is no TOML. Characters beyond ASCII are
/// refused outside comments.
toml::table ParseToml(std::string_view text);

} // namespace rig
