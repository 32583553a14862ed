/// solvane-rig: the virtual hardware's command-line tool.

#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "this_program.h"
#include "tool.h"

namespace {

int Run(std::vector<std::string> arguments) {
    return rig::RunTool(std::move(arguments), std::cout, std::cerr);
}

} // namespace

int main(int count, char** values) {
    try {
        return rig::RunInUtf8(count, values, Run);
    } catch (const std::exception& failure) {
        std::cerr << "solvane-rig: " << failure.what() << '\n';
        return rig::kFailure;
    }
}
