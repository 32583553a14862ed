#include "commands.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench_commands.h"
#include "environment.h"
#include "host_guard.h"
#include "pipe.h"
#include "placement.h"
#include "rig_state.h"
#include "this_program.h"
#include "tool.h"

namespace rig {

namespace {

constexpr const char* kRigVariable = "SOLVANE_RIG";

/// What is asked for on the command line.
struct Request {
    std::string scenario;
    std::string name = kDefaultBench;
    std::string folder;
    bool quiet = false;
};

std::atomic<bool> isToStop{false};

/// `stop` ends the process, all other commands are about its hardware.
bench::CommandAnswer Perform(const bench::Command& command) {
    if (command.words == Texts{"stop"}) {
        isToStop = true;
        return {0, command.json ? "{\"stopped\":true}\n" : "The bench stops.\n"};
    }
    return bench::PerformCommand(command);
}

/// The hardware of this process, and everybody who asks for it.
void StartBench(const Request& request) {
    static bench::Hosts hosts;
    SetVariable(kRigVariable, std::nullopt); // this process has the hardware itself
    {
        Access rig;
        if (request.scenario.empty()) {
            rig->LoadDefault();
        } else if (!rig->LoadFile(PathOf(request.scenario))) {
            throw std::runtime_error(rig->Error());
        }
    }
    bench::ServePipe(request.name, hosts, Perform);
}

/// Everything that is in a file at the end must have happened, and be written, by now.
void EndBench() {
    Access rig;
    rig->trace.EndWaveform();
}

/// Shows what happens until somebody stops the bench.
void ShowUntilStopped(bool isQuiet, std::ostream& out) {
    constexpr std::chrono::milliseconds kGlance{20};
    std::uint64_t shown = 0;
    bool isLast = false;
    while (!isLast) {
        isLast = isToStop;
        std::string lines;
        {
            Access rig;
            shown = rig->trace.journal.LinesSince(shown, lines);
        }
        if (!isQuiet && !lines.empty() && !(out << lines << std::flush)) {
            isToStop = true; // nobody looks any more
        }
        std::this_thread::sleep_for(isLast ? std::chrono::milliseconds{0} : kGlance);
    }
}

void RunBench(const Request& request, std::ostream& out) {
    StartBench(request);
    StopWhenInterrupted(isToStop);
    out << "The bench \"" << request.name << "\" runs. Hosts join it by SOLVANE_RIG=bench"
        << (request.name == kDefaultBench ? "" : ':' + request.name) << ".\n"
        << std::flush;
    ShowUntilStopped(request.quiet, out);
    EndBench();
}

/// The rig's DLLs in a folder, as long as this lives. Who has placed them there before keeps them.
class Placed {
  public:
    Placed(const std::filesystem::path& place) : folder(place) {
        isOurs = !std::filesystem::exists(folder / kPlacementRecord) &&
                 !std::filesystem::equivalent(PathBesideThisProgram(""), folder);
        if (isOurs) {
            std::ostringstream ignored;
            Place(PathBesideThisProgram(""), folder, false, ignored);
        }
    }
    ~Placed() {
        if (isOurs) {
            try {
                std::ostringstream ignored;
                Unplace(folder, ignored);
            } catch (const std::exception&) { // the record in the folder tells what is there
            }
        }
    }
    Placed(const Placed&) = delete;
    Placed& operator=(const Placed&) = delete;

  private:
    const std::filesystem::path folder;
    bool isOurs;
};

int RunHost(Request request, const std::vector<std::string>& host) {
    if (host.empty()) {
        throw CLI::RequiredError("-- HOST");
    }
    try {
        const std::filesystem::path program = FindProgram(host.front());
        request.name = NameOfThisProcess();
        StartBench(request);
        const Placed placed(request.folder.empty() ? program.parent_path()
                                                   : PathOf(request.folder));
        SetVariable(kRigVariable, "bench:" + request.name);
        const int code = RunGuarded(host);
        EndBench();
        return code;
    } catch (const std::runtime_error& failure) {
        throw GuardFailure(failure.what());
    }
}

int Command(const std::string& name, bench::Command command, std::ostream& out, std::ostream& err) {
    const auto connection = bench::ConnectPipe(name);
    bench::DecodedHostNumber(connection->Exchange(Encoded(bench::ThisProcess(false))));
    const bench::CommandAnswer answer =
        bench::DecodedCommandAnswer(connection->Exchange(Encoded(command)));
    (answer.exitCode == kUsageError ? err : out) << answer.text;
    return static_cast<int>(answer.exitCode);
}

} // namespace

void AddBenchCommands(CLI::App& app, std::ostream& out, std::ostream& err,
                      const std::vector<std::string>& host, int& exitCode) {
    const auto request = std::make_shared<Request>();
    CLI::App& bench =
        *app.add_subcommand("bench", "Is the virtual PC with its camera, for hosts that join it");
    bench.add_option("scenario", request->scenario, "The hardware; one FT2232H without it");
    bench.add_option("--name", request->name, "What hosts call it")->capture_default_str();
    bench.add_flag("--quiet", request->quiet, "Do not show what happens");
    bench.footer("Runs until `solvane-rig stop` or Ctrl-C. A host joins it by SOLVANE_RIG=bench, "
                 "or bench:NAME.");
    bench.callback([request, &out] { RunBench(*request, out); });

    CLI::App& run = *app.add_subcommand("run", "Runs a host on a bench of its own");
    run.add_option("scenario", request->scenario, "The hardware; one FT2232H without it");
    run.add_option("--place", request->folder,
                   "Where the host keeps the vendors' DLLs, if not beside its program");
    run.footer(
        "After -- come the host and its arguments. The exit code is the host's, or 125 if it was\n"
        "not started or was ended.");
    run.callback([request, &host, &exitCode] { exitCode = RunHost(*request, host); });

    for (const bench::CommandName& known : bench::kCommands) {
        const auto named = std::make_shared<std::string>(kDefaultBench);
        CLI::App& command = *app.add_subcommand(known.name, known.about);
        command.prefix_command();
        command.add_option("--bench", *named, "Which bench")->capture_default_str();
        const auto json = std::make_shared<bool>(false);
        command.add_flag("--json", *json, "Answer as a JSON object");
        command.callback([named, json, &command, &out, &err, &exitCode] {
            Texts words{command.get_name()};
            for (const std::string& word : command.remaining()) {
                words.push_back(word);
            }
            exitCode = Command(*named, {words, *json}, out, err);
        });
    }
}

} // namespace rig
