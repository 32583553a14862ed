/// solvane: drives the lines round a camera from the command line.

#include <exception>
#include <iostream>

#include <windows.h>

#include "commands.h"
#include "windows_text.h"

namespace {

using namespace host;

int Run(const Request& request) {
    LibraryLog log(request.log); // outlives the library, which logs while it is unloaded
    try {
        const Library library(Wide(request.library));
        library.SetLogger(&log, LibraryLog::Receive);
        Progress progress(request.command, !request.json && !request.log);
        const int status = FindCommand(request.command).run({request, library, log, progress});
        return status == SOLVANE_OK ? kSuccess : kFailedStatus;
    } catch (const LoadFailure& failure) {
        PrintError(request.command, failure.what(), request.json);
        return kNoLibrary;
    }
}

} // namespace

int main() {
    // What is wrong with a DLL is told in words, not in a box that waits for a click.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    const Utf8Console console;
    try {
        const std::variant<Request, ExitCode> asked = ReadCommandLine(Arguments());
        const auto* request = std::get_if<Request>(&asked);
        return request != nullptr ? Run(*request) : std::get<ExitCode>(asked);
    } catch (const std::exception& failure) {
        std::cerr << "solvane: " << failure.what() << std::endl;
        return kFailedStatus;
    }
}
