/// solvane-rig: the virtual hardware's command-line tool.

#include <exception>
#include <iostream>

#include "console.h"
#include "tool.h"

int main(int count, char** values) {
    const rig::Utf8Console console;
    try {
        return rig::RunTool(rig::Utf8Arguments(count, values), std::cout, std::cerr);
    } catch (const std::exception& failure) {
        std::cerr << "solvane-rig: " << failure.what() << '\n';
        return rig::kFailure;
    }
}
