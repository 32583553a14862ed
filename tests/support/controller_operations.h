/// The operations of controllers, from the table in operations.h.
#pragma once

#include <array>
#include <cstdint>

#include "operations.h"
#include "solvane_interface.h"

namespace test {

#define SOLVANE_OP(name, ...) name,
enum class Op : std::uint8_t { SOLVANE_OPERATIONS(SOLVANE_OP, SOLVANE_OP, SOLVANE_OP) };
#undef SOLVANE_OP

struct Operation {
    Op op;
    const char* name;
    /// `out` is for questions. Null for what controllers do not have.
    short (*run)(SLV::Internal::SolvaneInterface& controller, short* out);
    bool hasAnswer;
    unsigned failures;
    int line;    ///< its line, or NO_LINE
    short level; ///< the level that it leaves the line at, or its answer at rest

    bool IsGated() const { return (failures & IS_GATED) == IS_GATED; }
    bool MayAnswer(short status) const {
        return status == 0 || (status < 0 && status > -15 && (failures >> -status & 1) != 0);
    }
};

/// All of them, in the order of Op.
#define SOLVANE_COMMAND(name, failures, line, level)                                               \
    Operation{                                                                                     \
        Op::name,                                                                                  \
        #name,                                                                                     \
        [](SLV::Internal::SolvaneInterface& controller, short*) { return controller.name(); },     \
        false,                                                                                     \
        failures,                                                                                  \
        line,                                                                                      \
        level},
#define SOLVANE_QUESTION(name, failures, line, level)                                              \
    Operation{Op::name,                                                                            \
              #name,                                                                               \
              [](SLV::Internal::SolvaneInterface& controller, short* out) {                        \
                  return controller.name(out);                                                     \
              },                                                                                   \
              true,                                                                                \
              failures,                                                                            \
              line,                                                                                \
              level},
#define SOLVANE_CHOICE(name, failures, line, level)                                                \
    Operation{Op::name, #name, nullptr, false, failures, line, level},
inline constexpr std::array kOperations{SOLVANE_CONTROLLER_OPERATIONS(
    SOLVANE_COMMAND, SOLVANE_QUESTION) SOLVANE_CHOOSING_OPERATIONS(SOLVANE_CHOICE, SOLVANE_CHOICE)};
inline constexpr std::array kControllerOperations{
    SOLVANE_CONTROLLER_OPERATIONS(SOLVANE_COMMAND, SOLVANE_QUESTION)};
#undef SOLVANE_COMMAND
#undef SOLVANE_QUESTION
#undef SOLVANE_CHOICE

constexpr const Operation& Of(Op op) {
    return kOperations[static_cast<std::size_t>(op)];
}

} // namespace test
