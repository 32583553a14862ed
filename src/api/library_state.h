/// The state of the library: which kinds of hardware may serve the host, and which one does.
#pragma once

#include <vector>

#include "controller_ptr.h"

namespace SLV::Internal {

struct LibraryState {
    /// Tries the candidates in their order; the first that answers stays, else the last one tried.
    LibraryState(Logger& processLogger, std::vector<ControllerFactory> factories);

    Logger& logger;
    const std::vector<ControllerFactory> candidates;
    ControllerPtr controller; ///< never null, given at least one candidate
};

/// Replaces the controller by a new one and asks that whether its hardware is there. It stays
/// installed either way.
short TryCandidate(LibraryState& state, const ControllerFactory& factory);

/// Tries the candidates in their order until one answers. Returns the status of the last one tried.
short SelectController(LibraryState& state);

/// The kinds of hardware in the order in which they are looked for.
std::vector<ControllerFactory> MakeCandidates();

/// The process-wide state. The first call creates it, which looks for the hardware; concurrent
/// first calls wait for that.
LibraryState& GetLibraryState();

} // namespace SLV::Internal
