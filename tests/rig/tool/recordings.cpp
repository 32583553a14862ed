#include "recordings.h"

#include <sstream>

std::string TwoLines(std::string_view values) {
    return "$timescale 1 us $end\n"
           "$var wire 1 ! a $end\n"
           "$var wire 1 \" b $end\n"
           "$enddefinitions $end\n" +
           std::string(values);
}

std::string OneCapture() {
    return "$version Solvane rig $end\n"
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
}

rig::wave::Recording Read(const std::string& vcd) {
    std::istringstream stream(vcd);
    return rig::wave::ReadVcd(stream);
}

rig::wave::Picture Take(const std::string& vcd, const rig::wave::Excerpt& excerpt) {
    return rig::wave::TakePicture(Read(vcd), excerpt);
}
