#include "command_line.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "file_content.h"
#include "host_dlls.h"
#include "host_guard.h"
#include "placement.h"
#include "recording_result.h"
#include "recording_setup.h"
#include "this_program.h"
#include "tool.h"

namespace rig {

namespace {

struct Request {
    std::string folder;
    bool setAside = false;
};

CLI::App& AddCommand(CLI::App& app, const char* name, const char* about,
                     const std::shared_ptr<Request>& request) {
    CLI::App& command = *app.add_subcommand(name, about);
    command.add_option("folder", request->folder, "Where the host keeps the vendors' DLLs")
        ->required()
        ->type_name("FOLDER");
    return command;
}

/// Unplace(), and tells what was recorded if that was what the DLLs did.
void TakeAway(const std::filesystem::path& folder, std::ostream& out) {
    const std::optional<std::string> setup = host::ContentOf(folder / kRecordSetup);
    Unplace(folder, out);
    if (setup) {
        PrintRecordings(PathOf(record::ReadSetup(*setup).file), out);
    }
}

int Guard(const CLI::App& command) {
    if (command.remaining_size() == 0) {
        throw CLI::RequiredError("HOST");
    }
    try {
        return RunGuarded(command.remaining());
    } catch (const std::runtime_error& failure) {
        throw GuardFailure(failure.what());
    }
}

} // namespace

void AddHostCommands(CLI::App& app, std::ostream& out, int& hostExit) {
    const auto request = std::make_shared<Request>();
    CLI::App& place =
        AddCommand(app, "place", "Puts the rig's DLLs into the folder of a host", request);
    place.add_flag("--set-aside", request->setAside,
                   "Keep files of the same names under another one until `unplace`");
    place.callback([request, &out] {
        Place(PathBesideThisProgram(""), PathOf(request->folder), request->setAside, out);
    });
    AddCommand(app, "unplace", "Takes them away, and puts back what was there before", request)
        .callback([request, &out] { TakeAway(PathOf(request->folder), out); });

    CLI::App& guard = *app.add_subcommand("guard", "Runs a host that must not reach real hardware");
    guard.footer(
        "After `guard` come the host and its arguments. Should it load a vendor's DLL that "
        "is not the\nrig's, it is ended before that does anything. The exit code is the "
        "host's, or 125 if it was\nnot started or was ended.");
    guard.prefix_command();
    guard.callback([&guard, &hostExit] { hostExit = Guard(guard); });
}

} // namespace rig
