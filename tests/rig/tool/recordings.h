/// Recordings for the tests of the tool.
#pragma once

#include <string>
#include <string_view>

#include "vcd_reader.h"
#include "wave_picture.h"

/// A header of two lines, a and b, with the short names ! and ", in µs, and the values behind it.
std::string TwoLines(std::string_view values);

/// One capture as the rig writes it: a trigger pulse of 10.06 ms, a clear pulse of 4 µs.
std::string OneCapture();

/// A raw string literal whose text begins in the line below.
constexpr std::string_view Below(std::string_view literal) {
    return literal.substr(1);
}

rig::wave::Recording Read(const std::string& vcd);

rig::wave::Picture Take(const std::string& vcd, const rig::wave::Excerpt& excerpt = {});
