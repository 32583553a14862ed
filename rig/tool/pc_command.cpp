#include "command_line.h"

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "host_dlls.h"
#include "pc_parts.h"
#include "this_program.h"

namespace rig {

namespace {

/// What a command does to one part of the virtual PC.
using Action = void (*)(std::ostream& out);

/// The parts selected by options. No option selects all parts.
struct Choice {
    bool driver = false;
    bool wmi = false;

    bool IsAll() const { return driver == wmi; }
};

void DoEach(const std::vector<Action>& actions, std::ostream& out, std::ostream& err) {
    std::string failure;
    for (const Action action : actions) {
        try {
            action(out);
        } catch (const std::runtime_error& reason) {
            if (!failure.empty()) {
                err << "solvane-rig: " << failure << '\n';
            }
            failure = reason.what();
        }
    }
    if (!failure.empty()) {
        throw std::runtime_error(failure);
    }
}

/// Prints what needs no installation: the vendor DLLs, which a host finds in its folder or on its
/// search path, and the benches.
void PrintOtherParts(std::ostream& out) {
    std::string found;
    for (const char* file : kVendorDlls) {
        std::error_code ignored;
        if (std::filesystem::exists(PathBesideThisProgram(file), ignored)) {
            found += found.empty() ? file : std::string(", ") + file;
        }
    }
    out << "Vendor DLLs beside this program: " << (found.empty() ? "none" : found) << ".\n";
    PrintBenches(out);
}

/// Adds a command whose options select parts.
CLI::App& AddCommand(CLI::App& app, const char* name, const std::string& about,
                     const std::shared_ptr<Choice>& choice) {
    CLI::App& command = *app.add_subcommand(name, about);
    command.add_flag("--driver", choice->driver, "The kernel driver alone");
    command.add_flag("--wmi", choice->wmi, "The WMI class alone");
    return command;
}

} // namespace

void AddPcCommands(CLI::App& app, std::ostream& out, std::ostream& err) {
    const auto choice = std::make_shared<Choice>();
    const auto doToParts = [choice, &out, &err](Action toDriver, Action toWmi, Action toAll) {
        std::vector<Action> actions;
        if (choice->driver || choice->IsAll()) {
            actions.push_back(toDriver);
        }
        if (choice->wmi || choice->IsAll()) {
            actions.push_back(toWmi);
        }
        if (toAll != nullptr && choice->IsAll()) {
            actions.push_back(toAll);
        }
        DoEach(actions, out, err);
    };
    AddCommand(app, "install", "Installs the kernel driver and the WMI class (in Wine)", choice)
        .callback([doToParts] { doToParts(InstallDriver, InstallWmiClass, nullptr); });
    AddCommand(app, "remove", "Removes the kernel driver and the WMI class", choice)
        .callback([doToParts] { doToParts(RemoveDriver, RemoveWmiClass, nullptr); });
    AddCommand(app, "status", "Tells what is installed", choice).callback([doToParts] {
        doToParts(PrintDriverState, PrintWmiClassState, PrintOtherParts);
    });
}

} // namespace rig
