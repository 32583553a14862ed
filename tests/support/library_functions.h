/// The functions of the library under their names.
#pragma once

#include "operations.h"

#include <solvane/solvane.h>

namespace test {

struct LibraryFunctions {
#define SOLVANE_MEMBER(name, ...) decltype(&::Solvane_##name) name = nullptr;
    SOLVANE_FUNCTIONS(SOLVANE_MEMBER)
#undef SOLVANE_MEMBER
};

} // namespace test
