/// A picture as text, for terminals and for prose.
#pragma once

#include <cstddef>
#include <string>

#include "wave_picture.h"

namespace rig::wave {

struct TextStyle {
    std::size_t columns = 100;
    bool ascii = false;
};

/// One row a line under a row with the times, as many blocks of them as it takes, and the lines
/// that do not change behind them.
std::string DrawText(const Picture& picture, const TextStyle& style);

} // namespace rig::wave
