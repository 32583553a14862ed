#include "command_line.h"

#include <memory>
#include <stdexcept>
#include <string>

#include "compare.h"
#include "file_content.h"
#include "json.h"
#include "remote_rig.h"
#include "replay.h"
#include "this_program.h"
#include "tool.h"

namespace rig {

namespace {

struct Request {
    std::string recording;
    std::string scenario;
    bool json = false;
};

void PrintAsJson(const record::Comparison& comparison, std::ostream& out) {
    std::string list;
    for (const record::Difference& difference : comparison.differences) {
        list += (list.empty() ? "" : ",") + Json()
                                                .Add("number", difference.number)
                                                .Add("question", difference.question)
                                                .Add("recorded", difference.recorded)
                                                .Add("simulated", difference.simulated)
                                                .Text();
    }
    out << Json()
               .Add("compared", std::uint64_t{comparison.compared})
               .Add("unreturned", std::uint64_t{comparison.unreturned})
               .Add("unopened", std::uint64_t{comparison.unopened})
               .AddRaw("differences", "[" + list + "]")
               .Text()
        << '\n';
}

void PrintAsText(const record::Comparison& comparison, std::ostream& out) {
    for (const record::Difference& difference : comparison.differences) {
        out << "call " << difference.number << ' ' << difference.question
            << "\n    recorded:  " << difference.recorded
            << "\n    simulated: " << difference.simulated << '\n';
    }
    out << "compared: " << comparison.compared << ", different: " << comparison.differences.size();
    if (comparison.unreturned != 0) {
        out << ", without an answer: " << comparison.unreturned;
    }
    if (comparison.unopened != 0) {
        out << ", on devices that the simulation did not open: " << comparison.unopened;
    }
    out << '\n';
}

int Compare(const Request& request, std::ostream& out, std::ostream& err) {
    // This program itself has the hardware.
    SetVariable("SOLVANE_RIG", std::nullopt);
    const record::Recording recording = RecordingIn(request.recording, err);
    std::optional<std::string> scenario;
    if (!request.scenario.empty()) {
        scenario = host::ContentOf(PathOf(request.scenario));
        if (!scenario) {
            throw std::runtime_error(request.scenario + ": cannot be read");
        }
    }
    const record::Comparison comparison = record::Compare(recording, scenario);
    request.json ? PrintAsJson(comparison, out) : PrintAsText(comparison, out);
    return comparison.differences.empty() ? kSuccess : kFailure;
}

} // namespace

void AddCompareCommand(CLI::App& app, std::ostream& out, std::ostream& err, int& exitCode) {
    const auto request = std::make_shared<Request>();
    CLI::App& command = *app.add_subcommand(
        "compare", "Lists where the simulated hardware answers otherwise than a recording");
    command.add_option("recording", request->recording, "The file with the recording")
        ->type_name("FILE")
        ->required();
    command
        .add_option("scenario", request->scenario,
                    "A file with the hardware that was there; without it, what the recording shows")
        ->type_name("SCENARIO");
    command.add_flag("--json", request->json, "One JSON object");
    command.footer("The exit code is 1 if an answer differs.");
    command.callback([request, &out, &err, &exitCode] { exitCode = Compare(*request, out, err); });
}

} // namespace rig
