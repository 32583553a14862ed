#include "library_state.h"

#include <utility>

namespace SLV::Internal {

LibraryState::LibraryState(Logger& processLogger, std::vector<ControllerFactory> factories)
    : logger(processLogger), candidates(std::move(factories)) {
    SelectController(*this);
}

short TryCandidate(LibraryState& state, const ControllerFactory& factory) {
    // The old controller goes only when the new one exists: if its construction fails, the host
    // still has the old one.
    state.controller = factory(state.logger);
    state.logger.Line("Controller candidate been created. Checking H/W availability...");

    const short status = state.controller->CheckAvailable();
    if (status != kOk) {
        state.logger.Line("... not available. Error ", status);
    } else {
        state.logger.Line("... succeeded!");
    }
    return status;
}

short SelectController(LibraryState& state) {
    short status = kOk;
    for (const ControllerFactory& candidate : state.candidates) {
        status = TryCandidate(state, candidate);
        if (status == kOk) {
            break;
        }
    }
    return status;
}

LibraryState& GetLibraryState() {
    static LibraryState state(s_logger, MakeCandidates());
    return state;
}

} // namespace SLV::Internal
