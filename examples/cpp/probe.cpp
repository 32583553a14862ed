// Finds the hardware and prints the state of every line that can be read.
//
// It asks and switches nothing, but finding the hardware sets trigger and clear-MEP to rest, and on
// a mainboard switches both powers on and dark off.

#include <iostream>

#include <solvane/solvane.hpp>

int main() try {
    // The first call looks for the hardware and configures it; later calls use what it found. It
    // throws when there is none.
    solvane::CheckAvailable();
    std::cout << "available: yes\n";

    // "No" is no failure here, so take the status instead of an exception.
    std::error_code error;
    solvane::CheckPowerControlAvailable(error);
    std::cout << "power control: " << (error ? "no" : "yes") << '\n';

    // Asking for the MEP flag would clear it, so a probe leaves it alone.
    std::cout << "ready: " << (solvane::CheckSystemReady() ? "yes" : "no") << '\n'
              << "dark: " << (solvane::CheckForcedBlackUpdate() ? "on" : "off") << '\n'
              << "camera power: " << (solvane::CheckCameraPower() ? "on" : "off") << '\n'
              << "accessories power: " << (solvane::CheckAccessoriesPower() ? "on" : "off") << '\n';
    return 0;
} catch (const solvane::Error& error) {
    std::cerr << error.what() << '\n'; // the function, the status and what it means
    return 1;
}
