#include "library_state.h"
#include "solvane_eapi.h"
#include "solvane_kontron.h"
#include "solvane_lpt.h"
#include "solvane_usb.h"

namespace SLV::Internal {

std::vector<ControllerFactory> MakeCandidates() {
    // The last one stays when none answers, and only the FT2232H can be plugged in later.
    return {MakeController<SolvaneLpt>, MakeController<SolvaneKontron>, MakeController<SolvaneEApi>,
            MakeController<SolvaneUsb>};
}

} // namespace SLV::Internal
