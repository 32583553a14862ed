/// Mainboards that answer at once and remember nothing but their pins, for measuring what the
/// library itself costs: the Embedded API, and behind I/O ports a Super I/O chip and a parallel
/// port that Windows does not know of.
#pragma once

namespace test::instant_board {

/// How often a port or the Embedded API was called.
unsigned Calls();

} // namespace test::instant_board
