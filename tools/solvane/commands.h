/// The commands of the program.
#pragma once

#include <span>
#include <string>

#include "command_line.h"
#include "library.h"
#include "library_log.h"
#include "output.h"
#include "progress.h"

namespace host {

/// What a command works with.
struct Session {
    const Request& request;
    const Library& library;
    LibraryLog& log;
    Progress& progress;
};

enum class CommandArguments { none, onOffState, trigger, timer, watch, check, hold };

struct Command {
    const char* name;
    const char* help;
    CommandArguments arguments;
    ExitCode (*run)(const Session& session); ///< runs the command and prints its report
    const char* linesAfterEnd;               ///< sentence: levels an aborted process may leave
};

std::span<const Command> Commands();

/// The command of that name. The command line accepts no other names.
const Command& FindCommand(const std::string& name);

// Shared by the commands that have files of their own.

ExitCode CheckInstallation(const Session& session);
ExitCode Doctor(const Session& session);
ExitCode Hold(const Session& session);
ExitCode Probe(const Session& session);
ExitCode Trigger(const Session& session);
ExitCode RunTimer(const Session& session);
ExitCode Watch(const Session& session);

/// Adds advice when there is no hardware, prints the report, and returns its exit code.
ExitCode Finish(Report report, const Session& session);

/// Adds a heading when the hardware is virtual.
void AddRig(Report& report);

/// Adds the kind of hardware that the library chose.
void AddController(Report& report, const LibraryLog& log);

} // namespace host
