/// Compares two texts line by line.
#pragma once

#include <string>
#include <vector>

namespace transcript {

struct ExpectedLine {
    std::string place;
    std::string text;
};

/// The differences with some lines of context: "-" marks lines that were only expected, "+" lines
/// that only happened. Empty when the texts are equal.
std::string Difference(const std::vector<ExpectedLine>& expected,
                       std::vector<std::string> happened);

} // namespace transcript
