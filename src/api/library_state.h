/// The one state of the library: which kinds of hardware may serve the host, and which one does.
#pragma once

#include <vector>

#include "controller_ptr.h"

namespace SLV::Internal {

struct LibraryState {
    /// Tries the candidates in their order; the first that answers stays, else the last one tried.
    LibraryState(Logger& processLogger, std::vector<ControllerFactory> factories);

    Logger& logger;
    const std::vector<ControllerFactory> candidates;
    ControllerPtr controller; ///< never null once the state is there (given one candidate)
};

/// Makes a controller, installs it in place of the present one and asks it whether its hardware is
/// there. It stays installed in either case.
short TryCandidate(LibraryState& state, const ControllerFactory& factory);

/// One selection pass: tries the candidates from the first one until one answers. The status of
/// the last one tried.
short SelectController(LibraryState& state);

/// The kinds of hardware in the order in which they are looked for.
std::vector<ControllerFactory> MakeCandidates();

/// The process-wide state. The first call creates it and with it looks for the hardware; of several
/// first calls at once all but one wait for that.
LibraryState& GetLibraryState();

} // namespace SLV::Internal
