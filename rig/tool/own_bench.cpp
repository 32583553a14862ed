#include "own_bench.h"

#include <filesystem>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "commands.h"
#include "host_dlls.h"
#include "host_guard.h"
#include "pipe.h"
#include "placement.h"
#include "rig_state.h"
#include "this_program.h"

namespace rig {

namespace {

constexpr const char* kRigVariable = "SOLVANE_RIG";

/// Keeps the rig's DLLs in a host's folder during its lifetime. DLLs placed before stay there.
class Placed {
  public:
    explicit Placed(std::filesystem::path place) : folder(std::move(place)) {
        std::error_code ignored;
        const std::filesystem::path rig = PathBesideThisProgram("");
        isOurs = !std::filesystem::exists(folder / kPlacementRecord, ignored) &&
                 !std::filesystem::equivalent(rig / kHostDlls.front(), folder / kHostDlls.front(),
                                              ignored);
        if (isOurs) {
            std::ostringstream discarded; // only the host's output is to be shown
            Place(rig, folder, false, discarded);
        }
    }
    ~Placed() {
        if (isOurs) {
            try {
                std::ostringstream discarded;
                Unplace(folder, discarded);
            } catch (const std::exception&) { // the record in the folder lists what is left
            }
        }
    }
    Placed(const Placed&) = delete;
    Placed& operator=(const Placed&) = delete;

  private:
    const std::filesystem::path folder;
    bool isOurs = false;
};

} // namespace

Reply PerformOnBench(const bench::Command& command, const IsUnwanted& isUnwanted) {
    const bool isStop = !command.words.empty() && command.words[0] == "stop";
    if (!isStop) {
        return Perform(command.words, command.json, isUnwanted);
    }
    if (command.words.size() > 1) {
        return {2, command.json ? "{\"error\":\"usage: stop\"}" : "usage: stop"};
    }
    isToStop = true;
    return {0, command.json ? "{\"done\":\"stop\"}" : "stop"};
}

void LoadScenario(const std::string& file) {
    Access rig;
    if (file.empty()) {
        rig->LoadDefault();
    } else if (!rig->LoadFile(PathOf(file))) {
        throw std::runtime_error(rig->Error());
    }
}

void StartBench(const std::string& name, const std::function<void()>& load, Answerer answer) {
    static bench::Hosts& hosts = *new bench::Hosts(answer); // threads still use it at exit
    SetVariable(kRigVariable, std::nullopt); // the bench itself uses its own hardware
    bench::ClaimName(name); // first: loading begins the files that a bench of this name may write
    load();
    bench::ServePipe(name, hosts, PerformOnBench);
}

void EndBench() {
    bench::StopServing();
    const Access& rig =
        *new Access; // never unlocked: a call that still waits finds nothing any more
    rig->trace.EndWaveform();
}

std::string FolderOfHost(const std::vector<std::string>& host, const std::string& folder) {
    const std::filesystem::path program = FindProgram(host.front());
    return folder.empty() ? Utf8(program.parent_path()) : folder;
}

int RunOnBench(const std::vector<std::string>& host, const std::string& folder,
               const std::string& name) {
    const Placed placed(PathOf(folder));
    SetVariable(kRigVariable, "bench:" + name);
    return RunGuarded(host);
}

} // namespace rig
