#include "console.h"

namespace rig {

int RunInUtf8(int count, char** values, Program program) {
    return program({values, values + count});
}

} // namespace rig
