#include "command_line.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "commands.h"
#include "environment.h"
#include "file_content.h"
#include "json.h"
#include "own_bench.h"
#include "pipe.h"
#include "recording_command.h"
#include "replay.h"
#include "this_program.h"
#include "tool.h"

namespace rig {

namespace {

/// The options of the command line.
struct Request {
    std::string scenario;
    std::string name = kDefaultBench;
    std::string folder;
    bool isQuiet = false;
    ReplayRequest replay;

    bool IsReplay() const { return !replay.recording.empty(); }
};

/// Offers the hardware of this process, simulated or recorded, to all hosts.
void Start(const Request& request, std::ostream& err) {
    if (request.IsReplay()) {
        StartBench(
            request.name, [&] { StartReplay(request.replay, request.scenario, err); },
            AnswerFromRecording);
    } else {
        StartBench(request.name, [&] { LoadScenario(request.scenario); });
    }
}

int RunBench(const Request& request, std::ostream& out, std::ostream& err) {
    constexpr std::chrono::milliseconds kPollInterval{20};
    Start(request, err);
    StopWhenInterrupted(isToStop);
    out << "The bench \"" << request.name << "\" runs. Hosts join it by SOLVANE_RIG=bench"
        << (request.name == kDefaultBench ? "" : ':' + request.name) << ".\n"
        << std::flush;
    std::uint64_t next = 0;
    for (bool isLast = false; !isLast;) {
        isLast = isToStop;
        const Reply journal = Perform({"journal", "--since", std::to_string(next)}, false);
        next = journal.next;
        if (!request.isQuiet && !journal.text.empty()) {
            out << journal.text << '\n' << std::flush;
            isToStop = isToStop || !out; // nobody reads the output any more
        }
        std::this_thread::sleep_for(isLast ? std::chrono::milliseconds{0} : kPollInterval);
    }
    EndBench();
    return request.IsReplay() ? PrintReplay(out) : kSuccess;
}

/// Returns the host's exit code or, of a replay, whether it was followed to the end.
int RunHost(Request request, const std::vector<std::string>& host, std::ostream& out,
            std::ostream& err) {
    if (host.empty()) {
        throw CLI::RequiredError("-- HOST");
    }
    try {
        const std::string folder = FolderOfHost(host, request.folder);
        request.name = NameOfThisProcess();
        Start(request, err);
        const int code = RunOnBench(host, folder, request.name);
        EndBench();
        if (!request.IsReplay()) {
            return code;
        }
        out << (code != 0 ? "The host's exit code was " + std::to_string(code) + ".\n" : "");
        return PrintReplay(out);
    } catch (const std::runtime_error& failure) {
        throw GuardFailure(failure.what());
    }
}

Reply Ask(bench::Connection& connection, const bench::Command& command) {
    return bench::DecodedReply(connection.Exchange(Encoded(command)));
}

std::unique_ptr<bench::Connection> Join(const std::string& name) {
    auto connection = bench::ConnectPipe(name);
    bench::DecodedHostNumber(connection->Exchange(Encoded(bench::ThisProcess(false))));
    return connection;
}

/// Prints the journal from entry `since` on as it grows, until the bench ends or nobody reads the
/// output any more.
int Follow(bench::Connection& connection, bench::Command command, const std::string& since,
           std::ostream& out) {
    command.words = {"journal", "--since", since, "--within", "1000"};
    while (out) {
        const Reply answer = Ask(connection, command);
        if (answer.exitCode != kSuccess) {
            throw std::runtime_error(answer.text);
        }
        if (!answer.text.empty()) {
            out << answer.text << '\n' << std::flush;
        }
        command.words[2] = std::to_string(answer.next);
    }
    return kSuccess;
}

/// Prints a reply: one that says that the words were wrong as an error, but JSON always as the
/// output.
int Print(const Reply& reply, bool isJson, std::ostream& out, std::ostream& err) {
    if (!reply.text.empty()) {
        (reply.exitCode == kUsageError && !isJson ? err : out) << reply.text << '\n';
    }
    return reply.exitCode;
}

/// What a command does beyond what a bench can be asked.
struct Addition {
    std::string_view command;
    std::string_view help;
};
constexpr std::array kAdditions = {
    Addition{"stop", "stop\n    ends the bench"},
    Addition{"journal",
             "journal --follow [--since N]\n    what happened, and what happens from now on"},
    Addition{"journal", "journal FILE\n    what happened in a recording of vendor calls"},
    Addition{"scenario", "scenario FILE [-o FILE]\n    makes a scenario of a recording"},
};

/// All commands, or one.
int PrintHelp(const std::string& about, bool isJson, std::ostream& out, std::ostream& err) {
    if (about == "stop" && isJson) {
        return Print({kSuccess, R"({"command":"stop"})"}, isJson, out, err);
    }
    if (about != "stop") {
        const Texts words = about.empty() ? Texts{"help"} : Texts{"help", about};
        const int code = Print(Perform(words, isJson), isJson, out, err);
        if (code != kSuccess || isJson) {
            return code;
        }
    }
    for (const Addition& addition : kAdditions) {
        if (about.empty() || about == addition.command) {
            out << addition.help << '\n';
        }
    }
    out << "\nEach command has --bench NAME and --json.\n";
    return kSuccess;
}

/// Writes what `keep` and `vcd` answer to a file.
Reply Save(bench::Connection& connection, const bench::Command& command) {
    const std::string& file = command.words[1];
    const Reply answer = Ask(connection, {command.words, false});
    if (answer.exitCode != kSuccess) {
        return command.json ? Ask(connection, command) : answer;
    }
    std::ofstream saved(PathOf(file), std::ios::binary);
    if (!(saved << answer.text << '\n' << std::flush)) {
        throw std::runtime_error(file + ": cannot be written");
    }
    const std::string what = command.words[0] == "keep" ? "The session is kept" : "The waveform is";
    return {kSuccess, command.json ? Json().Add("done", command.words[0]).Add("file", file).Text()
                                   : what + " in " + file + "."};
}

/// Sends a command to a bench. Scenarios are sent and received as text: this program reads and
/// writes the files, so that paths are relative to the user's directory and not to the bench's.
int Command(const std::string& name, bench::Command command, std::ostream& out, std::ostream& err) {
    Texts& words = command.words;
    const bool wantsHelp = std::find(words.begin(), words.end(), "--help") != words.end();
    if (wantsHelp || words[0] == "help") { // needs no bench
        const std::string about = words[0] != "help" ? words[0] : words.size() > 1 ? words[1] : "";
        return PrintHelp(wantsHelp && words[0] == "help" ? "" : about, command.json, out, err);
    }
    const auto connection = Join(name);
    const auto follow = std::find(words.begin(), words.end(), "--follow");
    if (words[0] == "journal" && follow != words.end()) {
        words.erase(follow);
        const bool hasSince = words.size() == 3 && words[1] == "--since";
        if (words.size() == 1 || hasSince) {
            return Follow(*connection, std::move(command), hasSince ? words[2] : "0", out);
        }
        throw CLI::ValidationError("journal --follow", "takes --since N alone");
    }
    if (words.size() == 2 && (words[0] == "keep" || words[0] == "vcd")) {
        return Print(Save(*connection, command), command.json, out, err);
    }
    if (words.size() == 2 && words[0] == "scenario") {
        std::optional<std::string> text = host::ContentOf(PathOf(words[1]));
        if (!text) {
            throw std::runtime_error(words[1] + ": cannot be read");
        }
        words.push_back(*std::move(text));
    }
    return Print(Ask(*connection, command), command.json, out, err);
}

void AddCommand(CLI::App& app, const std::string& verb, std::ostream& out, std::ostream& err,
                int& exitCode) {
    CLI::App& command = *app.add_subcommand(verb);
    command.group(""); // `help` lists them
    command.prefix_command();
    command.set_help_flag();
    command.callback([&command, &out, &err, &exitCode] {
        bench::Command asked{{command.get_name()}, false};
        std::string name = kDefaultBench;
        bool isNamed = false;
        const std::vector<std::string> words = command.remaining();
        constexpr std::string_view kBench = "--bench=";
        for (std::size_t i = 0; i < words.size(); ++i) {
            if (words[i] == "--json") {
                asked.json = true;
            } else if (words[i].starts_with(kBench)) {
                name = words[i].substr(kBench.size());
                isNamed = true;
            } else if (words[i] == "--bench") {
                if (++i == words.size()) {
                    throw CLI::ArgumentMismatch("--bench needs a name");
                }
                name = words[i];
                isNamed = true;
            } else {
                asked.words.push_back(words[i]);
            }
        }
        const bool isJson = asked.json;
        try {
            if (const auto done = CommandOnRecording(asked.words, isNamed || isJson, out, err)) {
                exitCode = *done;
            } else {
                exitCode = Command(name, std::move(asked), out, err);
            }
        } catch (const std::runtime_error& failure) {
            if (!isJson || dynamic_cast<const CLI::Error*>(&failure) != nullptr) {
                throw;
            }
            exitCode =
                Print({kFailure, Json().Add("error", failure.what()).Text()}, true, out, err);
        }
    });
}

} // namespace

void PrintBenches(std::ostream& out) {
    const std::vector<std::string> names = bench::BenchesThatRun();
    if (names.empty()) {
        out << "No bench runs.\n";
    }
    for (const std::string& name : names) {
        out << "Bench \"" << name << "\":\n";
        try {
            out << Ask(*Join(name), {{"status"}, false}).text << '\n';
        } catch (const std::runtime_error& reason) {
            out << reason.what() << ".\n";
        }
    }
    if (const std::string reason = bench::KeptReason(); !reason.empty()) {
        out << "The last host without its bench: " << reason << ".\n";
    }
}

void AddBenchCommands(CLI::App& app, std::ostream& out, std::ostream& err,
                      const std::vector<std::string>& host, int& exitCode) {
    const auto request = std::make_shared<Request>();
    const auto addScenario = [&](CLI::App& command) {
        command
            .add_option("scenario", request->scenario,
                        "A file with the hardware; without it one FT2232H")
            ->type_name("SCENARIO");
    };
    const auto addReplayOptions = [&](CLI::App& command) {
        command.add_flag("--fast", request->replay.isFast,
                         "Answers at once, not after the recorded waits");
        command
            .add_option("--then", request->replay.then,
                        "What the hardware is after the first call that differs: gone, or "
                        "simulated from\nSCENARIO or from what the recording shows")
            ->check(CLI::IsMember({"gone", "simulate"}))
            ->capture_default_str();
    };
    const auto addReplay = [&](CLI::App& command) {
        command
            .add_option("--replay", request->replay.recording,
                        "Answers as the hardware of this recording did")
            ->type_name("FILE");
        addReplayOptions(command);
    };
    const auto addPlace = [&](CLI::App& command) {
        command
            .add_option("--place", request->folder,
                        "Where the host keeps the vendors' DLLs, when not beside its program")
            ->type_name("FOLDER");
    };
    CLI::App& bench =
        *app.add_subcommand("bench", "Is the virtual PC and its camera, for hosts that join it");
    addScenario(bench);
    bench.add_option("--name", request->name, "What hosts call it")->capture_default_str();
    bench.add_flag("--quiet", request->isQuiet, "Does not show what happens");
    bench.footer("A host joins it by SOLVANE_RIG=bench, or bench:NAME. It runs until "
                 "`solvane-rig stop` or Ctrl-C.");
    addReplay(bench);
    bench.callback([request, &out, &err, &exitCode] { exitCode = RunBench(*request, out, err); });

    CLI::App& run = *app.add_subcommand("run", "Runs a host on a bench of its own");
    addScenario(run);
    addPlace(run);
    run.footer("After `--` come the host and its arguments. The exit code is the host's, or 125 "
               "if it was\nnot started or was ended.");
    run.callback(
        [=, &host, &out, &err, &exitCode] { exitCode = RunHost(*request, host, out, err); });

    CLI::App& replay = *app.add_subcommand("replay", "Runs a host on recorded hardware");
    replay.add_option("recording", request->replay.recording, "The file with the recording")
        ->type_name("FILE")
        ->required();
    addScenario(replay);
    addReplayOptions(replay);
    addPlace(replay);
    replay.footer("After `--` come the host and its arguments. The exit code is 0 if the host made "
                  "the calls of\nthe recording, 1 if it made others, and 125 if it was not "
                  "started or was ended.");
    replay.callback(
        [=, &host, &out, &err, &exitCode] { exitCode = RunHost(*request, host, out, err); });

    AddPanelCommand(app, out, err, host, exitCode);

    for (const std::string& verb : CommandNames()) {
        if (verb != "status") { // `status` shows the whole virtual PC
            AddCommand(app, verb, out, err, exitCode);
        }
    }
    AddCommand(app, "stop", out, err, exitCode);
    app.get_subcommand("help")
        ->description("Lists what can be done to a bench that runs, and asked of it")
        ->group("SUBCOMMANDS");
}

} // namespace rig
