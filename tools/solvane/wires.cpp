#include "wires.h"

#include <algorithm>
#include <array>

namespace host {

namespace {

using enum ReadBack;

constexpr std::array kKinds{
    KindOfWires{"parallel port", "pin 3", "pin 12", "pin 10", "pin 1", "pin 2", "pin 8", "pin 7",
                latch, latch, latch, false},
    KindOfWires{"Super I/O", "pin 0", "pin 1", "pin 2", "pin 3", "pin 4", "pin 6", "pin 5", latch,
                wire, memory, true},
    KindOfWires{"Embedded API", "pin 0", "pin 1", "pin 2", "pin 3", "pin 4", "pin 6", "pin 5",
                latch, wire, memory, true},
    KindOfWires{"FT2232H", "BCBUS0", "BCBUS4", "BCBUS5", "BCBUS6", "BCBUS1", "BCBUS2", "BCBUS3",
                wire, wire, wire, false},
};

} // namespace

const KindOfWires& WiresOf(std::string_view kind) {
    const auto* const found =
        std::find_if(kKinds.begin(), kKinds.end() - 1,
                     [&](const KindOfWires& each) { return each.kind == kind; });
    return *found;
}

} // namespace host
