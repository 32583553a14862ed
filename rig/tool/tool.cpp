#include "tool.h"

#include <algorithm>
#include <exception>
#include <set>

#include <CLI/CLI.hpp>

#include "command_line.h"

namespace rig {

namespace {

int Run(CLI::App& app, std::vector<std::string> arguments, std::ostream& out, std::ostream& err) {
    try {
        app.parse(std::move(arguments));
        return kSuccess;
    } catch (const CLI::ParseError& stopped) {
        return app.exit(stopped, out, err) == 0 ? kSuccess : kUsageError; // 0: help was asked for
    } catch (const GuardFailure& failure) {
        err << "solvane-rig: " << failure.what() << '\n';
        return kGuardFailure;
    } catch (const std::exception& failure) {
        err << "solvane-rig: " << failure.what() << '\n';
        return kFailure;
    }
}

/// Takes the host and its arguments, which follow `--`, out of the arguments.
std::vector<std::string> TakeHost(std::vector<std::string>& arguments) {
    static const std::set<std::string> withHost = {"run", "record", "replay", "panel"};
    const bool hasHost = arguments.size() > 1 && withHost.contains(arguments[1]);
    const auto dashes = std::find(arguments.begin(), arguments.end(), "--");
    if (!hasHost || dashes == arguments.end()) {
        return {};
    }
    std::vector<std::string> host(std::next(dashes), arguments.end());
    arguments.resize(static_cast<std::size_t>(dashes - arguments.begin()));
    return host;
}

std::vector<std::string> NamesOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* const command : app.get_subcommands(nullptr)) {
        names.push_back(command->get_name());
    }
    return names;
}

} // namespace

int RunTool(std::vector<std::string> arguments, std::ostream& out, std::ostream& err) {
    CLI::App app("The virtual hardware's tool.", "solvane-rig");
    app.allow_windows_style_options(false); // "/tmp/x" is a path
    app.footer("Exit codes: 0 done, 1 it cannot be done, 2 wrong usage, 4 the output could not be "
               "written (the disk is full, the output is closed, nobody reads the pipe).");
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.require_subcommand(1);
    AddWaveCommand(app, out, err);
    AddPcCommands(app, out, err);
    int hostExit = kSuccess;
    AddHostCommands(app, out, hostExit);
    const std::vector<std::string> host = TakeHost(arguments);
    AddBenchCommands(app, out, err, host, hostExit);
    AddCompareCommand(app, out, err, hostExit);
    AddRecordCommand(app, out, err, host, hostExit);

    if (!arguments.empty()) {
        arguments.erase(arguments.begin());
    }
    const std::vector<std::string> names = NamesOf(app);
    if (!arguments.empty() && !arguments[0].starts_with("-") &&
        std::find(names.begin(), names.end(), arguments[0]) == names.end()) {
        err << "solvane-rig: '" << arguments[0] << "' is no command; there are";
        for (const std::string& name : names) {
            err << (name == names.front() ? " " : ", ") << name;
        }
        err << '\n';
        return kUsageError;
    }
    std::reverse(arguments.begin(), arguments.end()); // CLI11 expects them so
    const int code = Run(app, std::move(arguments), out, err);
    if (!out.flush()) {
        err << "solvane-rig: the output could not be written.\n";
        return kOutputLost;
    }
    return code != kSuccess ? code : hostExit;
}

} // namespace rig
