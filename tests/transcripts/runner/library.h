/// The library as this program reaches it: linked in natively, a DLL on Windows. Each case has a
/// fresh one.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "library_functions.h"

namespace transcript {

/// Whether the system calls of the library are seen too, and time is virtual.
extern const bool kIsNative;

/// The library of the case that is being played.
const test::LibraryFunctions& Loaded();

/// What the case must not leave behind; one line each.
std::vector<std::string> LeftBehind();

/// Lets time pass.
void Wait(unsigned milliseconds);

/// Plays a case on a fresh library: `body`, then the library is unloaded, then `afterUnload`, each
/// of which tells whether all was well. False also when the case took the process with it.
bool OnFreshLibrary(const std::string& title, const std::function<bool()>& body,
                    const std::function<bool()>& afterUnload);

/// What cases have printed so far.
std::string TakeOutput();

} // namespace transcript
