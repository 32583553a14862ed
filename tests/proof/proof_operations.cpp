#include "proof_operations.h"

#define SOLVANE_NO_IMPORT
#include <solvane/solvane.h>

namespace proof {

std::int16_t CallExport(const Operation& operation, std::int16_t* out) {
    switch (operation.op) {
#define SOLVANE_COMMAND(name, ...)                                                                 \
    case Op::name:                                                                                 \
        return Solvane_##name();
#define SOLVANE_QUESTION(name, ...)                                                                \
    case Op::name:                                                                                 \
        return Solvane_##name(out);
#define SOLVANE_ORDER(name, ...)                                                                   \
    case Op::name:                                                                                 \
        Solvane_##name();                                                                          \
        return 0;
        SOLVANE_OPERATIONS(SOLVANE_COMMAND, SOLVANE_QUESTION, SOLVANE_ORDER)
    }
    return 0;
}

} // namespace proof
