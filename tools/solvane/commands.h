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
    const LibraryLog& log;
    Progress& progress;
};

enum class CommandArguments { none, onOffState, trigger, timer, watch };

struct Command {
    const char* name;
    const char* help;
    CommandArguments arguments;
    int (*run)(const Session& session); ///< prints its report; the status of the library
};

std::span<const Command> Commands();

/// The command of that name, which the command line has made sure of.
const Command& FindCommand(const std::string& name);

// The longer commands have files of their own; these are the pieces that all of them share.

int Doctor(const Session& session);
int Probe(const Session& session);
int Trigger(const Session& session);
int RunTimer(const Session& session);
int Watch(const Session& session);

/// Prints the report; its status.
int Finish(const Report& report, const Session& session);

/// Adds the kind of hardware that the library settled on.
void AddController(Report& report, const LibraryLog& log);

} // namespace host
