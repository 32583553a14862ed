#include "console.h"

namespace rig {

Utf8Console::Utf8Console() : codePage(0) {}

Utf8Console::~Utf8Console() = default;

std::vector<std::string> Utf8Arguments(int count, char** values) {
    return {values, values + count};
}

} // namespace rig
