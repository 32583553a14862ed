// A host's own test on the rig, which asks what the camera has seen. The exit code is 0 if
// everything holds.

#include <chrono>
#include <exception>
#include <iostream>

#include <solvane/rig.hpp>
#include <solvane/solvane.hpp>

namespace {

using namespace std::chrono_literals;
using solvane::Line;

int failures = 0;

void Check(bool holds, const char* what) {
    std::cout << (holds ? "holds  " : "FAILS  ") << what << '\n';
    failures += holds ? 0 : 1;
}

} // namespace

int main() try {
    solvane::Rig rig;
    const std::uint64_t start = rig.Mark();
    solvane::TriggerCapture();                          // throws if the camera is not triggered
    rig.ExpectPulse(Line::Trigger, 9ms, 1s, 5s, start); // throws for any other pulse
    Check(true, "a camera that is ready is triggered");
    Check(rig.Captures() == 1 && !rig.Level(Line::Trigger), "it takes one picture");

    rig.Force(Line::Ready, false);
    std::error_code error;
    solvane::TriggerCapture(error);
    Check(error == solvane::Status::NotReady, "one that is not ready is left alone");
    Check(rig.Captures() == 1, "it takes no picture");
    return failures;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
