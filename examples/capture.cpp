// Triggers one capture, with the library's log. The exit code is 0 if it was taken: if the MEP
// flag, which the trigger clears, is latched afterwards.

#include <chrono>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

#include <solvane/solvane.h>

namespace {

void SOLVANE_CALL OnLine(void* /*context*/, const char* line) {
    std::clog << line << '\n';
}

void Check(int16_t status, const std::string& operation) {
    if (status != SOLVANE_OK) {
        throw std::runtime_error(operation + " answered with status " + std::to_string(status));
    }
}

// Asks for the MEP flag until it is latched, for 2 s: an exposure takes less.
bool WaitForFlag() {
    int16_t flag = 0;
    for (int i = 0; i < 200 && flag == 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        Check(Solvane_CheckAndResetMepFlag(&flag), "Solvane_CheckAndResetMepFlag");
    }
    return flag != 0;
}

} // namespace

int main() {
    Solvane_SetLogger(nullptr, OnLine);
    try {
        Check(Solvane_CheckAvailable(), "Solvane_CheckAvailable");
        Check(Solvane_TriggerCapture(), "Solvane_TriggerCapture");
        if (!WaitForFlag()) {
            throw std::runtime_error("triggered, but no picture was taken");
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    std::cout << "captured\n";
    return 0;
}
