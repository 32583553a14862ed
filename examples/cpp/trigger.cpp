// Triggers one capture, if the system is ready for it.

#include <iostream>

#include <solvane/solvane.hpp>

int main() try {
    // One call does it all: it finds the hardware, asks whether the system is ready, clears a
    // latched MEP flag, gives the pulse, and returns when the trigger line is low again.
    solvane::TriggerCapture();
    std::cout << "triggered\n"; // the MEP flag tells whether a picture was taken
    return 0;
} catch (const solvane::Error& error) {
    if (error.code() == solvane::Status::NotReady) {
        std::cerr << "not ready: try again later\n"; // and no line was touched
    } else {
        std::cerr << error.what() << '\n';
    }
    return 1;
}
