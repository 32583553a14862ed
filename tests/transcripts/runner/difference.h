/// What differs between two texts, line by line.
#pragma once

#include <string>
#include <vector>

namespace transcript {

struct ExpectedLine {
    std::string place;
    std::string text;
};

/// Both texts side by side below each other: what stands in one alone is marked "-" (expected) or
/// "+" (happened), with some lines round it. Empty when they are equal.
std::string Difference(const std::vector<ExpectedLine>& expected,
                       std::vector<std::string> happened);

} // namespace transcript
