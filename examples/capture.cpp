// Triggers one capture, with the library's log. The exit code is 0 if it was taken.

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

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

} // namespace

int main() {
    Solvane_SetLogger(nullptr, OnLine);
    try {
        Check(Solvane_CheckAvailable(), "Solvane_CheckAvailable");
        Check(Solvane_TriggerCapture(), "Solvane_TriggerCapture");
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    std::cout << "captured\n";
    return 0;
}
