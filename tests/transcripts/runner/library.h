/// Access to the library: linked in natively, a DLL on Windows. Each case gets a fresh one.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "library_functions.h"

namespace transcript {

/// Whether this is a native build, where system calls are recorded and time is virtual.
extern const bool kIsNative;

/// The functions of the current case's library.
const test::LibraryFunctions& Loaded();

/// Resources that the case has leaked; one line each.
std::vector<std::string> LeftBehind();

/// Lets time pass.
void Wait(unsigned milliseconds);

/// Plays a case on a fresh library: runs `body`, unloads the library, runs `afterUnload`. Both
/// return whether they succeeded. False also when the case crashed.
bool OnFreshLibrary(const std::string& title, const std::function<bool()>& body,
                    const std::function<bool()>& afterUnload);

/// Takes what the cases have printed so far.
std::string TakeOutput();

} // namespace transcript
