#include "command_line.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "file_content.h"
#include "host_dlls.h"
#include "host_guard.h"
#include "installed_dlls.h"
#include "mapped_file.h"
#include "placement.h"
#include "recording_plan.h"
#include "recording_result.h"
#include "this_program.h"
#include "tool.h"

namespace fs = std::filesystem;

namespace rig {

namespace {

/// The options of the command line.
struct Request {
    std::string file;
    std::string real;
    std::string folder;
    bool isAnonymous = false;
};

/// Throws std::runtime_error unless a recording can be made under this name.
void CheckWritable(const fs::path& file) {
    std::error_code ignored;
    for (const unsigned number : {1U, 2U}) { // the second would be taken for one of these
        if (const fs::path one = record::Numbered(file, number); fs::exists(one, ignored)) {
            throw std::runtime_error(Utf8(one) +
                                     " exists already; no recording is ever written over.");
        }
    }
    const bool isWritable = std::ofstream(file).is_open();
    fs::remove(file, ignored);
    if (!isWritable) {
        throw std::runtime_error(Utf8(file) + " cannot be written.");
    }
}

std::string ContentBesideThisProgram(const char* name) {
    std::optional<std::string> bytes = host::ContentOf(PathBesideThisProgram(name));
    if (!bytes) {
        throw std::runtime_error(std::string(name) + " is not beside this program.");
    }
    return *std::move(bytes);
}

void PlaceRecorder(const Request& request, const fs::path& folder, std::ostream& out,
                   std::ostream& err) {
    std::error_code ignored;
    if (fs::exists(folder / kPlacementRecord, ignored)) {
        throw std::runtime_error(Utf8(folder) + " has DLLs of the rig already. `solvane-rig "
                                                "unplace` takes them away.");
    }
    const fs::path file = fs::absolute(PathOf(request.file));
    CheckWritable(file);
    record::RecordingSetup setup;
    setup.file = Utf8(file);
    setup.head.system = SystemVersion();
    setup.head.ports = ReportedParallelPorts();
    setup.head.isAnonymous = request.isAnonymous;
    RecordingPlan plan = PlanRecording(FindVendorDlls(PathOf(request.real), folder), folder, setup);
    for (const std::string& warning : plan.warnings) {
        err << "solvane-rig: " << warning << '\n';
    }
    plan.files.insert(plan.files.begin(), {kRecordDll, ContentBesideThisProgram(kRecordDll)});
    Place(plan.files, folder, true, out);
}

/// Takes the recorder away again when the host has ended, whatever happens.
class PlacedRecorder {
  public:
    PlacedRecorder(const Request& request, fs::path place, std::ostream& messages)
        : folder(std::move(place)), err(messages) {
        std::ostringstream discarded; // only the host's output is to be shown
        PlaceRecorder(request, folder, discarded, err);
    }
    ~PlacedRecorder() {
        try {
            std::ostringstream discarded;
            Unplace(folder, discarded);
        } catch (const std::exception& failure) {
            err << "solvane-rig: " << failure.what() << " When the programs have ended, "
                << "`solvane-rig unplace` with " << Utf8(folder) << " takes it away.\n";
        }
    }
    PlacedRecorder(const PlacedRecorder&) = delete;
    PlacedRecorder& operator=(const PlacedRecorder&) = delete;

  private:
    const fs::path folder;
    std::ostream& err;
};

/// Why nothing was recorded, and what to do.
std::string WhyNothing(const WatchedRun& run, const fs::path& folder) {
    if (run.isRecorded) {
        return "nothing was recorded: the host loaded the DLLs that record, and called none of "
               "their functions.";
    }
    std::string foreign;
    std::error_code ignored;
    for (const fs::path& file : run.loaded) {
        if (!fs::equivalent(file.parent_path(), folder, ignored)) {
            foreign += (foreign.empty() ? "" : " and ") + Utf8(file);
        }
    }
    if (!foreign.empty()) {
        return "nothing was recorded: the host loaded " + foreign +
               ", and not what was placed in " + Utf8(folder) +
               ". --place FOLDER names the folder in which it looks first: that of " +
               "its program, or of the DLL that needs the vendor's.";
    }
    return "nothing was recorded: the host loaded none of the vendors' DLLs. If another program "
           "drives its hardware, or starts later, `record` with --place and without a host records "
           "whatever starts in that folder.";
}

int Record(const Request& request, const std::vector<std::string>& host, std::ostream& err) {
    try {
        const fs::path program = FindProgram(host.front());
        const fs::path folder =
            fs::absolute(request.folder.empty() ? program.parent_path() : PathOf(request.folder));
        WatchedRun run;
        {
            const PlacedRecorder placed(request, folder, err);
            run = RunWatched(host);
        }
        if (PrintRecordings(fs::absolute(PathOf(request.file)), err) == 0) {
            throw std::runtime_error(WhyNothing(run, folder));
        }
        return run.exitCode;
    } catch (const std::runtime_error& failure) {
        throw GuardFailure(failure.what());
    }
}

} // namespace

void AddRecordCommand(CLI::App& app, std::ostream& out, std::ostream& err,
                      const std::vector<std::string>& host, int& exitCode) {
    const auto request = std::make_shared<Request>();
    CLI::App& record =
        *app.add_subcommand("record", "Writes down what a host does with real hardware");
    record.add_option("-o,--output", request->file, "The recording, a new file")
        ->required()
        ->type_name("FILE");
    record
        .add_option("--real", request->real,
                    "Where the vendors' DLLs are, when the host would not find them")
        ->type_name("FOLDER");
    record.add_flag("--anonymous", request->isAnonymous,
                    "Leaves out serial numbers and users' names");
    record
        .add_option("--place", request->folder,
                    "Where the host keeps the vendors' DLLs, when not beside its program")
        ->type_name("FOLDER");
    record.footer("After `--` come the host and its arguments. The exit code is the host's, or 125 "
                  "if it was\nnot started or nothing was recorded. Without a host, every program "
                  "that starts in FOLDER is\nrecorded until `solvane-rig unplace FOLDER`.");
    record.callback([request, &out, &err, &host, &exitCode] {
        if (!host.empty()) {
            exitCode = Record(*request, host, err);
        } else if (!request->folder.empty()) {
            PlaceRecorder(*request, fs::absolute(PathOf(request->folder)), out, err);
        } else {
            throw CLI::RequiredError("-- HOST or --place FOLDER");
        }
    });
}

} // namespace rig
