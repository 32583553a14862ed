/// Recordings that several tests of the tool use.
#pragma once

#include <string>
#include <string_view>

#include "wave_picture.h"

/// A recording of two lines, a and b, with the short names ! and ", in µs, and the given values.
inline std::string TwoLines(std::string_view values) {
    return "$timescale 1 us $end\n"
           "$var wire 1 ! a $end\n"
           "$var wire 1 \" b $end\n"
           "$enddefinitions $end\n" +
           std::string(values);
}

/// One capture as the rig records it: a trigger pulse of 10.06 ms, a clear-MEP pulse of 4 µs.
inline constexpr const char* kOneCapture = "$version Solvane rig $end\n"
                                           "$timescale 1 us $end\n"
                                           "$scope module camera $end\n"
                                           "$var wire 1 ! trigger $end\n"
                                           "$var wire 1 \" ready $end\n"
                                           "$var wire 1 # mep $end\n"
                                           "$var wire 1 $ clear_mep $end\n"
                                           "$var wire 1 % dark $end\n"
                                           "$var wire 1 & camera_power $end\n"
                                           "$upscope $end\n"
                                           "$enddefinitions $end\n"
                                           "#0\n$dumpvars\n0!\n1\"\n0#\n0$\n0%\n1&\n$end\n"
                                           "#66400\n1!\n0\"\n"
                                           "#76460\n0!\n"
                                           "#91400\n1#\n1\"\n"
                                           "#150000\n1$\n"
                                           "#150004\n0$\n0#\n"
                                           "#200000\n";

/// A pulse cut short by an unplugged chip, an ignored trigger, and failed calls.
inline constexpr const char* kEventful = "$timescale 1 us $end\n"
                                         "$scope module camera $end\n"
                                         "$var wire 1 ! trigger $end\n"
                                         "$var wire 1 \" ready $end\n"
                                         "$upscope $end\n"
                                         "$scope module events $end\n"
                                         "$var event 1 ( capture $end\n"
                                         "$var event 1 ) ignored $end\n"
                                         "$var event 1 * unplug $end\n"
                                         "$var event 1 . fault $end\n"
                                         "$upscope $end\n"
                                         "$enddefinitions $end\n"
                                         "#0\n$dumpvars\n0!\n1\"\n$end\n"
                                         "#10000\n1!\n1(\n0\"\n"
                                         "#13500\n1*\n0!\n1.\n"
                                         "#14000\n1.\n#15000\n1.\n"
                                         "#20000\n1!\n1)\n"
                                         "#21000\n1.\n"
                                         "#30000\n0!\n"
                                         "#35000\n1\"\n"
                                         "#40000\n";

/// A raw string literal without the line break at its beginning.
constexpr std::string_view Below(std::string_view literal) {
    return literal.substr(1);
}

inline rig::wave::Picture Take(std::string_view vcd, const rig::wave::Excerpt& excerpt = {},
                               rig::wave::Form form = rig::wave::Form::text) {
    return rig::wave::TakePicture(rig::wave::ReadVcd(vcd), excerpt, form);
}
