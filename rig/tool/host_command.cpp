#include "host_command.h"

#include <memory>
#include <string>

#include "placement.h"
#include "this_program.h"
#include "utf8_path.h"

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

} // namespace

void AddHostCommands(CLI::App& app, std::ostream& out) {
    const auto request = std::make_shared<Request>();
    CLI::App& place =
        AddCommand(app, "place", "Puts the rig's DLLs into the folder of a host", request);
    place.add_flag("--set-aside", request->setAside,
                   "Keep files of the same names under another one until `unplace`");
    place.callback([request, &out] {
        Place(PathBesideThisProgram(""), PathOf(request->folder), request->setAside, out);
    });
    AddCommand(app, "unplace", "Takes them away, and puts back what was there before", request)
        .callback([request, &out] { Unplace(PathOf(request->folder), out); });
}

} // namespace rig
