/// A stand-in for COM that counts what a process still holds of it. The only registered class is
/// the rig's WMI. The rig's journal gets every Co... call, but not the many texts and values.
#pragma once

#include <objbase.h>
#include <oleauto.h>

namespace host::com {

struct Script {
    HRESULT initialize = S_OK;         ///< a failure of CoInitializeEx(), which then does nothing
    HRESULT initializeSecurity = S_OK; ///< the result of CoInitializeSecurity()
    bool hostIsSingleThreaded = false; ///< the host initialised COM as single-threaded before
};

/// For the next calls.
extern Script script;

/// Forgets script and counts.
void Reset();

/// Successful CoInitializeEx() calls minus CoUninitialize() calls.
int Initialisations();

/// Texts that were not freed, those in values included.
int AliveStrings();

/// Calls that the real COM does not survive: of an object or of COM while it is not initialised,
/// with a foreign text, of CoUninitialize() too often or while an object is held.
int Misuses();

} // namespace host::com
