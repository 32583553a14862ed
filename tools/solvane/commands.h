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
    ExitCode (*run)(const Session& session); ///< prints its report
    const char* linesAfterEnd; ///< what a process that ends in its midst may leave; a sentence
};

std::span<const Command> Commands();

/// The command of that name, which the command line has made sure of.
const Command& FindCommand(const std::string& name);

// The longer commands have files of their own; these are the pieces that all of them share.

ExitCode CheckInstallation(const Session& session);
ExitCode Doctor(const Session& session);
ExitCode Hold(const Session& session);
ExitCode Probe(const Session& session);
ExitCode Trigger(const Session& session);
ExitCode RunTimer(const Session& session);
ExitCode Watch(const Session& session);

/// Completes the report with what to do when there is no hardware, and prints it; its exit code.
ExitCode Finish(Report report, const Session& session);

/// Says so above everything else when the hardware is virtual.
void AddRig(Report& report);

/// Adds the kind of hardware that the library settled on.
void AddController(Report& report, const LibraryLog& log);

} // namespace host
