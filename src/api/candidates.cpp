#include "library_state.h"
#include "solvane_eapi.h"
#include "solvane_kontron.h"
#include "solvane_lpt.h"
#include "solvane_usb.h"

namespace SLV::Internal {

std::vector<ControllerFactory> MakeCandidates() {
    // The FT2232H is last on purpose: it is the one that stays when nothing answers, and a chip
    // that is plugged in later is found by the next operation.
    return {MakeController<SolvaneLpt>, MakeController<SolvaneKontron>, MakeController<SolvaneEApi>,
            MakeController<SolvaneUsb>};
}

} // namespace SLV::Internal
