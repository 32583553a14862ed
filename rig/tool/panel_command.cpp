#include "command_line.h"

#include <cctype>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

#include "host_side.h"
#include "own_bench.h"
#include "panel_file.h"
#include "pipe.h"
#include "server.h"
#include "this_program.h"
#include "tool.h"

namespace rig {

namespace {

constexpr const char* kFooter =
    "Prints the address of the page, which is for this user alone, and opens it. After `--` come a "
    "host\nand its arguments, which runs on the bench. The panel stays until `solvane-rig stop` or "
    "Ctrl-C.";

struct Request {
    std::string scenario;
    std::string name = kDefaultBench;
    std::string folder;
    std::string bench;
    std::string file;
    bool hasNoBrowser = false;
};

/// "The bench has ended." for "the bench has ended".
std::string Sentence(std::string text) {
    if (!text.empty()) {
        text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    }
    return text + '.';
}

/// The bench of this process.
panel::Source OwnBench(const std::string& name) {
    return {.name = name,
            .ask =
                [name](const bench::Command& command) {
                    if (isToStop) {
                        throw panel::NotThere("The bench \"" + name + "\" has ended.");
                    }
                    return PerformOnBench(command);
                },
            .draw = DrawWaveform};
}

/// A bench of another process, which may end and come back.
panel::Source OtherBench(const std::string& name) {
    const auto bench =
        std::make_shared<bench::HostSide>([name] { return bench::ConnectPipe(name); },
                                          bench::ThisProcess(false), [](const std::string&) {});
    bench->Ask({{"status"}, false}); // throws when there is none
    return {.name = name,
            .ask =
                [bench](const bench::Command& command) {
                    try {
                        return bench->Ask(command);
                    } catch (const std::runtime_error& reason) {
                        throw panel::NotThere(Sentence(reason.what()));
                    }
                },
            .draw = DrawWaveform};
}

int RunHost(const Request& request, const std::vector<std::string>& host, const std::string& folder,
            std::ostream& err) {
    try {
        const int code = RunOnBench(host, folder, request.name);
        err << "solvane-rig: the host has ended with exit code " << code
            << "; the panel stays until `solvane-rig stop` or Ctrl-C.\n";
        return code;
    } catch (const std::runtime_error& failure) {
        throw GuardFailure(failure.what());
    }
}

int RunPanel(const Request& request, const std::vector<std::string>& host, std::ostream& out,
             std::ostream& err) {
    constexpr std::chrono::milliseconds kPollInterval{20};
    constexpr std::chrono::milliseconds kGoodbye{300}; // pages are told that the bench has ended
    const bool isOwn = request.bench.empty() && request.file.empty();
    if (!isOwn && !host.empty()) {
        throw CLI::ValidationError("-- HOST", "a host runs on a bench of the panel's own");
    }
    const std::string folder = host.empty() ? "" : FolderOfHost(host, request.folder);
    if (isOwn) {
        StartBench(request.name, [&] { LoadScenario(request.scenario); });
    }
    auto server =
        std::make_unique<const panel::Server>(isOwn                  ? OwnBench(request.name)
                                              : request.file.empty() ? OtherBench(request.bench)
                                                                     : SourceOfFile(request.file));
    out << server->Address() << '\n' << std::flush;
    if (!request.hasNoBrowser && !OpenInBrowser(server->Address())) {
        err << "solvane-rig: no browser opens; open this address in one.\n";
    }
    const int code = host.empty() ? kSuccess : RunHost(request, host, folder, err);
    StopWhenInterrupted(isToStop);
    while (!isToStop) {
        std::this_thread::sleep_for(kPollInterval);
    }
    std::this_thread::sleep_for(kGoodbye);
    server.reset(); // it asks the bench
    if (isOwn) {
        EndBench();
    }
    return code;
}

} // namespace

void AddPanelCommand(CLI::App& app, std::ostream& out, std::ostream& err,
                     const std::vector<std::string>& host, int& exitCode) {
    const auto request = std::make_shared<Request>();
    CLI::App& panel = *app.add_subcommand("panel", "Shows a bench in the browser, to be touched");
    CLI::Option* const scenario =
        panel
            .add_option("scenario", request->scenario,
                        "A file with the hardware; without it one FT2232H")
            ->type_name("SCENARIO");
    CLI::Option* const name =
        panel.add_option("--name", request->name, "What hosts call its bench")
            ->capture_default_str();
    panel
        .add_option("--place", request->folder,
                    "Where the host keeps the vendors' DLLs, when not beside its program")
        ->type_name("FOLDER");
    CLI::Option* const bench =
        panel.add_option("--bench", request->bench, "Show this bench, which runs already")
            ->type_name("NAME")
            ->excludes(scenario)
            ->excludes(name);
    panel
        .add_option("--file", request->file,
                    "Show a waveform (VCD), or a recording of vendor calls")
        ->type_name("FILE")
        ->excludes(scenario)
        ->excludes(name)
        ->excludes(bench);
    panel.add_flag("--no-browser", request->hasNoBrowser, "Only print the address");
    panel.footer(kFooter);
    panel.callback(
        [request, &host, &out, &err, &exitCode] { exitCode = RunPanel(*request, host, out, err); });
}

} // namespace rig
