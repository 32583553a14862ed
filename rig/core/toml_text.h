/// Parses text that may be malformed as TOML. The parser is toml++. For some malformed texts only
/// its assertions prevent undefined behaviour, so they stay enabled in every build and throw
/// exceptions.
#pragma once

#include <stdexcept>
#include <string_view>

namespace rig {

/// An assertion of toml++ failed.
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

/// Throws ScenarioError, with the line, if the text is not TOML or has characters beyond ASCII
/// outside comments.
toml::table ParseToml(std::string_view text);

} // namespace rig
