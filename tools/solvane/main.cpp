/// solvane: drives the control lines of a camera from the command line.

#include <exception>
#include <iostream>

#include <windows.h>

#include "commands.h"
#include "stop.h"
#include "windows_text.h"

namespace {

using namespace host;

ExitCode Run(const Request& request) {
    const Command& command = FindCommand(request.command);
    SetLinesAfterEnd(command.linesAfterEnd);
    LibraryLog log(request.log); // must outlive the library, which still logs during its unload
    try {
        const Library library(Wide(request.library));
        library.SetLogger(&log, LibraryLog::Receive);
        Progress progress(request.command, !request.json && !request.log);
        return command.run({request, library, log, progress});
    } catch (const LoadFailure& failure) {
        PrintError(request.command, failure.what(), request.json);
        return kNoLibrary;
    }
}

ExitCode RunCommandLine() {
    try {
        const std::variant<Request, ExitCode> asked = ReadCommandLine(Arguments());
        const auto* request = std::get_if<Request>(&asked);
        return request != nullptr ? Run(*request) : std::get<ExitCode>(asked);
    } catch (const Stopped&) {
        return kStopped;
    } catch (const AnswerLost&) {
        std::cerr << "solvane: the answer could not be written." << std::endl;
        return kAnswerLost;
    } catch (const std::exception& failure) {
        std::cerr << "solvane: " << failure.what() << std::endl;
        return kFailedStatus;
    }
}

} // namespace

int main() {
    // Report DLL errors as text instead of a message box that waits for a click.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    ListenForStop();
    const Utf8Console console;
    const ExitCode code = RunCommandLine();
    return IsStopRequested() ? kStopped : code;
}
