/// The exported functions over the real candidates, in a process that never reloads the library.
#pragma once

#include <string>

#include "library_state.h"
#include "on_the_rig.h"

namespace proof {

class LibraryOnTheRig : public test::OnTheRig {
  protected:
    ~LibraryOnTheRig() override { SLV::Internal::GetLibraryState().controller.reset(); }

    /// The library as its first call finds it: one pass over the candidates.
    static void StartLibrary(const std::string& scenario) {
        SLV::Internal::GetLibraryState().controller.reset();
        Load(scenario);
        RestartLibrary();
    }

    /// The same in a new process, on hardware that the last one has released.
    static void RestartLibrary() {
        SLV::Internal::LibraryState& state = SLV::Internal::GetLibraryState();
        state.controller.reset();
        test::ResetProcessState();
        SelectController(state);
    }
};

} // namespace proof
