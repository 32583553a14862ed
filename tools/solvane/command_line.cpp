#include "command_line.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "output.h"

namespace host {

namespace {

constexpr const char* kDescription =
    R"(Drives the electrical lines round a camera, by way of Solvane.dll.

What may surprise:
  - Each run is a process of its own. Its first use of the library looks for the hardware,
    configures it afresh and sets the lines to rest: trigger low, clear-MEP at rest. Dark and
    power stay as they are on an FT2232H and a parallel port; on a mainboard both powers go on
    and dark goes off. This takes some tenths of a second, and more than 3 s when an FT2232H must
    be recovered.
  - For the same reason accessories-power state on a mainboard always answers "on": the line is
    not read back, and each run begins with switching it on.
  - mep clears the flag that it reads. probe and watch therefore leave the flag alone.
  - wake flashes the dark line: there is no wake line, and a camera that shows a picture sees
    10 ms of black.
  - Closing, also at the end of every run, leaves the lines at their levels.
  - The library answers for a line that it cannot read: not ready, not dark, no flag, but powered.
    This program finds out from the log, and says "could not be read".
  - trigger says "triggered" when the pulse was given. Whether a picture was taken, the MEP flag
    tells afterwards.
  - check and hold put dark and the powers back as they found them, at Ctrl-C too.
  - timer needs the kernel driver and none of the hardware of the other commands. The driver
    performs a trigger of its own at each event. The unit of --parameter is the driver's
    (microseconds in the rig's driver). The run ends at the driver's next event.
  - Ctrl-C, closing the console and logging off let the operation finish that is in progress, so
    that the trigger is low and clear-MEP at rest, and begin no other. A second Ctrl-C ends the
    program at once and says in what state the lines may be. When the console is closed or the
    session ends, Windows grants about 5 s, and an operation that has to recover a lost FT2232H
    may take 9 s: the process then ends in its midst, and the next command sets the lines to
    rest.)";

constexpr const char* kFooter =
    R"(Exit codes: 0 done, 1 the library answered with a status other than 0, or a line could not
be read, or doctor found something wrong, or check failed, 2 wrong usage, 3 the library cannot be loaded, 4 the
answer could not be written (the disk is full, the output is closed, nobody reads the pipe),
130 the program was told to stop. "no" and "off" are answers like any other and end with 0.

With --json each command prints one object in one line on standard output (trigger: one a trigger;
timer: one an event; watch: one a change, and into a pipe one every 5 s at least; check: one a step,
and one with the verdict):
  every command      command; status (0: done); meaning (text, unless status is 0); advice (text,
                     what to do, where that is known); or in place of these: error (text: wrong
                     usage, where command may be null, or the library cannot be loaded)
  probe              rig (text, or null: the hardware is real); candidates (list of number,
                     kind, status); controller (kind or null); available, power_control,
                     ready, dark, camera_power, accessories_power (true, false, or null when
                     it could not be asked or read)
  trigger            trigger, of (counted from 1); start_ms (since the first was due);
                     duration_ms
  doctor             rig (text, or null: the hardware is real); controller (kind or null); kinds
                     (list of kind, asked, status, tried, found, advice: status is null when it was
                     not asked, tried when it is not known, advice when nothing is to be done)
                     and timer_driver (state, advice)
  check              step, title, done, expected; outcome (ok, FAIL, not tested, note); seen (list);
                     advice (text or null); duration_ms; facts (what stays while the installation
                     does); times. The last one: verdict (PASS, FAIL, INCOMPLETE PASS, INCOMPLETE
                     FAIL); cause, says, likely, tell_apart (text or null); not_seen (list); rig,
                     system, machine, user, time, anonymous; changed (list, with --baseline)
  hold               on (true or false: as read back while it was held)
  watch              since_start_ms; ready, dark, camera_power, accessories_power (true, false, or
                     null when it could not be read); changed (list of their keys)
  dark, camera-power, accessories-power
                     on (true or false: as read, or as set; null when it could not be read)
  ready              ready (true, false, or null when it could not be read)
  mep                flag (true or false: before it was cleared; null when it could not be read)
  recheck            controller (kind or null)
  enforce-ftdi       available (true or false)
  timer              event (counted from 1); status and meaning (of the driver's trigger at that
                     event); initial_status_ok (true or false: as the run began); data (list of
                     the driver's four words); since_last_ms (since the last event, or since the
                     run began); context
When the status is not 0 there are no other keys, but for those of probe and watch (whose status is
the first that is not 0), those of doctor, those of a trigger that failed, those of an event, and available. An event whose
status is not 0 is an event like any other and leaves the exit code at 0.)";

constexpr unsigned kMost = 1'000'000'000; // 11 days in ms

void AddTriggerArguments(CLI::App& app, Request& request) {
    app.add_option("-n", request.triggers, "How many triggers; stops at the first that fails")
        ->type_name("N")
        ->capture_default_str()
        ->check(CLI::Range(1U, kMost).description(""));
    app.add_option("--interval", request.intervalMilliseconds,
                   "At least so many ms from one start to the next")
        ->type_name("MS")
        ->capture_default_str()
        ->check(CLI::Range(0U, kMost).description(""));
    app.add_option("--wait-ready", request.waitReadyMilliseconds,
                   "Wait up to so many ms before each trigger for the system to be ready")
        ->type_name("MS")
        ->capture_default_str()
        ->check(CLI::Range(0U, kMost).description(""));
    app.add_flag("--keep-going", request.keepGoing,
                 "Go on after a trigger that failed; --wait-ready then waits for hardware that was "
                 "lost, too");
}

/// Why a text is not an unsigned 64-bit number; empty if it is one. CLI11 would accept -1 and 2^64
/// as the largest number.
std::string WhyNotUnsigned64(const std::string& text) {
    errno = 0;
    std::strtoull(text.c_str(), nullptr, 0);
    const bool fits = errno != ERANGE && text.find('-') == text.npos;
    return fits ? "" : "Value " + text + " is not a number from 0 to 2^64 - 1";
}

void AddTimerArguments(CLI::App& app, Request& request) {
    app.add_option("--parameter", request.timerParameter,
                   "Passed to the driver, whose unit it has (microseconds in the rig's driver)")
        ->required()
        ->type_name("N");
    app.add_option("--count", request.events, "Stop after so many events; else at Ctrl-C")
        ->type_name("K")
        ->check(CLI::Range(1U, kMost).description(""));
    app.add_option("--context", request.timerContext, "A number that comes back with each event")
        ->type_name("X")
        ->capture_default_str()
        ->check(WhyNotUnsigned64);
}

void AddWatchArguments(CLI::App& app, Request& request) {
    app.add_flag("--once", request.once, "Show the lines as they are, and end");
    app.add_option("--interval", request.watchMilliseconds, "So many ms from one look to the next")
        ->type_name("MS")
        ->capture_default_str()
        ->check(CLI::Range(1U, kMost).description(""));
    app.add_option("--duration", request.watchSeconds, "End after so many seconds")
        ->type_name("S")
        ->check(CLI::Range(1U, kMost).description(""));
}

void AddCheckArguments(CLI::App& app, Request& request) {
    app.add_flag("--yes", request.yes, "Do not ask before something is done to the lines");
    app.add_flag("--power", request.power,
                 "With --yes: switch camera power and accessories power, too");
    app.add_option("--captures", request.captures, "How many pictures after the first one")
        ->type_name("N")
        ->capture_default_str()
        ->check(CLI::Range(1U, kMost).description(""));
    app.add_option("--timer", request.checkTimer,
                   "Run a timer of the driver with this parameter; its events trigger the camera")
        ->type_name("PARAMETER");
    app.add_option("--timer-limit", request.timerLimitSeconds,
                   "How many seconds its three events may take")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(CLI::Range(1U, kMost / 1000).description(""));
    app.add_option("--report", request.report, "Write everything into one page, to be kept or sent")
        ->type_name("FILE.html");
    app.add_flag("--anonymous", request.anonymous,
                 "Leave out the user, the machine, and serial numbers but for their last letter");
    app.add_option("--baseline", request.baseline,
                   "What --json printed when the installation was accepted: tell what has changed")
        ->type_name("OLD.json");
}

void AddHoldArguments(CLI::App& app, Request& request) {
    app.add_option("line", request.line, "The trigger and clear-MEP can only be given a pulse")
        ->required()
        ->type_name("dark|camera-power|accessories-power")
        ->check(CLI::IsMember({"dark", "camera-power", "accessories-power"}).description(""));
    app.add_option("--for", request.holdSeconds, "So many seconds, or until Ctrl-C")
        ->required()
        ->type_name("SECONDS")
        ->check(CLI::Range(1U, kMost / 1000).description(""));
}

void AddArguments(CLI::App& app, const Command& command, Request& request) {
    if (command.arguments == CommandArguments::onOffState) {
        app.add_option("setting", request.setting, "Switch it, or ask for its state")
            ->capture_default_str()
            ->type_name("on|off|state")
            ->check(CLI::IsMember({"on", "off", "state"}).description(""));
    } else if (command.arguments == CommandArguments::trigger) {
        AddTriggerArguments(app, request);
    } else if (command.arguments == CommandArguments::timer) {
        AddTimerArguments(app, request);
    } else if (command.arguments == CommandArguments::watch) {
        AddWatchArguments(app, request);
    } else if (command.arguments == CommandArguments::check) {
        AddCheckArguments(app, request);
    } else if (command.arguments == CommandArguments::hold) {
        AddHoldArguments(app, request);
    }
}

void AddOptions(CLI::App& app, Request& request) {
    app.add_option("--library", request.library,
                   "The library to load, if not Solvane.dll beside this program")
        ->type_name("PATH")
        ->check([](const std::string& path) {
            return path.empty() ? std::string("an empty path names no library") : "";
        });
    app.add_flag("--log", request.log, "Show the library's log on standard error as it comes");
    app.add_flag("--json", request.json, "Answer in JSON on standard output");
    app.set_version_flag("--version", "solvane " SOLVANE_VERSION, "Print the version and exit");
}

/// Prints a mistake for people as CLI11 words it, and as a JSON object if --json was given.
void PrintMistake(const CLI::App& app, const CLI::ParseError& mistake, bool json) {
    app.exit(mistake, std::cerr, std::cerr);
    if (json) {
        const std::vector<const CLI::App*> commands = app.get_subcommands({});
        const auto command = std::find_if(commands.begin(), commands.end(),
                                          [](const CLI::App* each) { return each->parsed(); });
        PrintErrorObject(command != commands.end() ? (*command)->get_name() : "", mistake.what());
    }
}

} // namespace

std::variant<Request, ExitCode> ReadCommandLine(std::vector<std::string> arguments) {
    Request request;
    CLI::App app(kDescription, "solvane");
    app.allow_windows_style_options(false); // "/tmp/x" is a path
    app.footer(kFooter);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.require_subcommand(1);
    app.fallthrough(); // accept the common options before and after the command
    AddOptions(app, request);
    for (const Command& command : Commands()) {
        CLI::App* part = app.add_subcommand(command.name, command.help);
        part->group("Commands");
        part->footer("");
        part->callback([&request, &command] { request.command = command.name; });
        AddArguments(*part, command, request);
    }

    if (!arguments.empty()) {
        arguments.erase(arguments.begin());
    }
    const bool json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
    std::reverse(arguments.begin(), arguments.end()); // CLI11 expects them reversed
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& stopped) {
        // CLI11 ignores an unknown command when help is asked for, and otherwise reports only that
        // a command is missing.
        if (const std::vector<std::string> unknown = app.remaining(); !unknown.empty()) {
            PrintMistake(app, CLI::ExtrasError(unknown), json);
            return kUsageError;
        }
        if (stopped.get_exit_code() == 0) {
            app.exit(stopped);
            FlushAnswer();
            return kSuccess;
        }
        PrintMistake(app, stopped, json);
        return kUsageError;
    }
    return request;
}

} // namespace host
