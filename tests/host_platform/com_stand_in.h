/// COM as a process meets it: whether it is there already, and what is still held of it at the end.
/// The only class that is registered is the rig's WMI. Every Co... call goes into the rig's
/// journal; texts and values do not, for there are too many of them.
#pragma once

#include <objbase.h>
#include <oleauto.h>

namespace host::com {

struct Script {
    HRESULT initialize = S_OK;         ///< a failure: CoInitializeEx() answers it and does nothing
    HRESULT initializeSecurity = S_OK; ///< the answer of CoInitializeSecurity()
    bool hostIsSingleThreaded = false; ///< the host initialised COM in the other way before
};

/// What the next calls are answered with.
extern Script script;

/// Forgets script and counts.
void Reset();

/// Successful CoInitializeEx() calls that no CoUninitialize() followed yet; negative when there
/// was one too many.
int Initialisations();

/// Texts of SysAllocString() and the like that were not freed, those in values included.
int AliveStrings();

/// Calls that the real COM does not survive: of an object or of COM while nobody has initialised
/// it, with a text that is not one of COM's, its end once too often or while an object is held.
int Misuses();

} // namespace host::com
