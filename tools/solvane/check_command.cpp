#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <optional>

#include <windows.h>

#include "check_output.h"
#include "commands.h"
#include "log_echo.h"
#include "stop.h"
#include "windows_text.h"

namespace host {

namespace {

void PrintObject(const Json& object) {
    LogEcho::WaitUntilWritten();
    std::cout << object.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
    FlushAnswer();
}

void PrintText(const std::string& text) {
    LogEcho::WaitUntilWritten();
    std::cout << text;
    FlushAnswer();
}

/// What the user has allowed, by options or by answering on the console.
class Permissions {
  public:
    explicit Permissions(const Session& ofSession) : session(ofSession) {}

    std::string WhyNot(Needs needs, const char* question) const {
        const Request& request = session.request;
        if (request.yes) {
            return needs == Needs::power && !request.power
                       ? "Switching power was not allowed: --power does."
                       : "";
        }
        if (!IsConsole(STD_INPUT_HANDLE) || !IsConsole(STD_ERROR_HANDLE)) {
            return "Nobody could be asked: --yes allows it.";
        }
        session.progress.End(); // or its text would mix with the user's answer
        std::cerr << question << " [y/n] " << std::flush;
        std::string answer;
        while (std::getline(std::cin, answer) && answer.empty()) {
            std::cerr << "[y/n] " << std::flush;
        }
        EndIfStopped();
        return answer.starts_with('y') || answer.starts_with('Y') ? "" : "It was not allowed.";
    }

  private:
    const Session& session;
};

/// Prints the check while it runs, and collects it for the report.
class CheckPrinter {
  public:
    CheckPrinter(const Session& ofSession, const std::vector<Json>& ofBaseline)
        : session(ofSession), baseline(ofBaseline) {}

    Machine LookAtMachine() {
        Machine machine = host::LookAtMachine(session.library);
        anonymiser.emplace(machine, session.log.Lines(), baseline);
        if (!session.request.json) {
            PrintText(Public("Solvane " SOLVANE_VERSION " · " + machine.system + " · " +
                             machine.time +
                             (session.request.anonymous ? "" : " · machine " + machine.computer) +
                             "\n" + machine.rig.value_or("") + (machine.rig ? "\n" : "") + "\n"));
        }
        return machine;
    }

    void Add(const StepResult& step) {
        all.push_back(ToJson(step));
        steps.push_back(Public(all.back()));
        session.progress.Restart();
        Print(steps.back(), StepText(steps.back(), static_cast<unsigned>(steps.size())));
    }

    /// Prints the last object, which has the verdict, and returns it.
    Json Conclude(const CheckResult& result) const {
        Json verdict = ToJson(result);
        if (!baseline.empty()) {
            std::vector<Json> comparable = all;
            if (baseline.back().value("anonymous", Json()) == true) {
                std::ranges::transform(all, comparable.begin(), std::cref(*anonymiser));
            }
            verdict["changed"] = Changes(baseline, comparable);
        }
        verdict = Public(verdict);
        Print(verdict, VerdictText(verdict));
        return verdict;
    }

    std::string Page(const Json& verdict) const {
        std::vector<std::string> log;
        for (const std::string& line : session.log.Lines()) {
            log.push_back(Public(line));
        }
        return ReportPage(steps, verdict, log);
    }

  private:
    template <typename Output>
    Output Public(const Output& output) const {
        return session.request.anonymous ? (*anonymiser)(output) : output;
    }

    void Print(const Json& object, const std::string& text) const {
        if (session.request.json) {
            PrintObject(object);
        } else {
            PrintText(text);
        }
    }

    const Session& session;
    const std::vector<Json>& baseline;
    std::optional<Anonymiser> anonymiser; ///< set once the machine is known
    std::vector<Json> all;
    std::vector<Json> steps; ///< as printed
};

std::vector<Json> LoadBaseline(const std::string& path) {
    if (path.empty()) {
        return {};
    }
    std::ifstream stream(std::filesystem::path(Wide(path)), std::ios::binary);
    if (!stream) {
        throw BaselineError("it cannot be read");
    }
    return ReadBaseline(std::string{std::istreambuf_iterator<char>(stream), {}});
}

} // namespace

ExitCode CheckInstallation(const Session& session) {
    const Request& request = session.request;
    session.log.KeepLines();
    std::vector<Json> baseline;
    try {
        baseline = LoadBaseline(request.baseline);
    } catch (const BaselineError& error) {
        PrintError(request.command, request.baseline + ": " + error.what() + ".", request.json);
        return kUsageError;
    }
    // Opened before the check: the user learns early that the page cannot be written.
    std::ofstream page;
    if (!request.report.empty()) {
        page.open(std::filesystem::path(Wide(request.report)), std::ios::binary);
        if (!page) {
            PrintError(request.command, request.report + ": it cannot be written.", request.json);
            return kUsageError;
        }
    }

    CheckPrinter printer(session, baseline);
    const Permissions permissions(session);
    const CheckResult result = RunCheck(
        {session.library, session.log, [&] { return printer.LookAtMachine(); },
         [&](Needs needs, const char* question) { return permissions.WhyNot(needs, question); },
         [&](const StepResult& step) { printer.Add(step); }, request.captures, request.checkTimer,
         std::chrono::seconds(request.timerLimitSeconds)});
    const Json verdict = printer.Conclude(result);
    if (result.hasFailed && request.report.empty() && !request.json) {
        PrintText("for whoever is asked for help: the same once more, with --report check.html\n");
    }
    if (!request.report.empty() && !(page << printer.Page(verdict) << std::flush)) {
        throw AnswerLost();
    }
    return result.hasFailed ? kFailedStatus : kSuccess;
}

} // namespace host
