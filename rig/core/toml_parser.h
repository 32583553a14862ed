/// toml++, made safe for text of any kind. Some of its assertions are all that stands between
/// malformed text and undefined behaviour, so they stay in every build, as exceptions.
#pragma once

#include <stdexcept>

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
