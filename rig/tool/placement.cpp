#include "placement.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "file_content.h"
#include "folder_changes.h"
#include "host_dlls.h"
#include "placement_record.h"
#include "this_program.h"

namespace fs = std::filesystem;

namespace rig {

namespace {

// A file in a host's folder belongs to the rig if it has one of these names, or the checksum in the
// record. The record is written before and removed after all other files.
constexpr const char* kRecord = kPlacementRecord;
constexpr const char* kAside = kAsideEnding;
constexpr const char* kUnfinished = ".unfinished-by-solvane-rig";

struct RigDll {
    std::string name;
    std::string bytes;
    std::string sum;
};

std::vector<HostFile> ReadRig(const fs::path& rig) {
    std::vector<HostFile> dlls;
    for (const char* name : kHostDlls) {
        std::optional<std::string> bytes = host::ContentOf(rig / name);
        if (!bytes) {
            throw std::runtime_error(Utf8(rig / name) + " is missing.");
        }
        dlls.push_back({name, std::move(*bytes)});
    }
    return dlls;
}

std::vector<RigDll> WithSums(const std::vector<HostFile>& files) {
    std::vector<RigDll> dlls;
    for (const HostFile& file : files) {
        dlls.push_back({file.name, file.bytes, host::Sha256(file.bytes)});
    }
    return dlls;
}

std::string Listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

class HostFolder {
  public:
    explicit HostFolder(const fs::path& folder) : path(folder) {
        std::error_code ignored;
        if (!fs::is_directory(path, ignored)) {
            throw std::runtime_error(Utf8(path) + " is not a folder.");
        }
    }

    fs::path operator/(const std::string& name) const { return path / name; }

    /// The file's name as spelled in the folder; empty when there is no such file.
    std::string Find(std::string_view name) const {
        std::error_code failure;
        for (const fs::directory_entry& entry : fs::directory_iterator(path, failure)) {
            if (std::string found = Utf8(entry.path().filename()); IsSameName(found, name)) {
                return found;
            }
        }
        return {};
    }

    bool Has(std::string_view name) const { return !Find(name).empty(); }

    /// The checksum of a file; empty when it does not exist or cannot be read.
    std::string SumOf(std::string_view name) const {
        const std::string found = Find(name);
        const std::optional<std::string> bytes =
            found.empty() ? std::nullopt : host::ContentOf(path / found);
        return bytes ? host::Sha256(*bytes) : std::string();
    }

    /// Temporary and set-aside files of a placement.
    std::vector<std::string> UnfinishedFiles() const {
        std::vector<std::string> names;
        for (const std::string name : kPlacedFiles) {
            for (const char* ending : {kAside, kUnfinished}) {
                if (std::string found = Find(name + ending); !found.empty()) {
                    names.push_back(found);
                }
            }
        }
        return names;
    }

    const fs::path path;
};

[[noreturn]] void FailWithoutRecord(const std::string& what,
                                    const std::vector<std::string>& files) {
    throw std::runtime_error(
        std::string(kRecord) + what +
        (files.empty() ? "" : ", so that nobody knows whose these are: " + Listed(files)) +
        ". Rename what belongs to you, and remove the rest and the record.");
}

/// Reads the record; empty without one. Removes an incomplete record, which a crash left before any
/// other change.
std::vector<PlacedDll> TakeRecord(const HostFolder& folder) {
    if (folder.Has(std::string(kRecord) + kUnfinished)) {
        RemoveFile(folder / (std::string(kRecord) + kUnfinished));
    }
    std::vector<std::string> files = folder.UnfinishedFiles();
    if (!folder.Has(kRecord)) {
        if (!files.empty()) {
            FailWithoutRecord(" is gone", files);
        }
        return {};
    }
    const auto record = ReadRecord(host::ContentOf(folder / kRecord).value_or(""));
    if (!record) {
        for (const char* name : kPlacedFiles) {
            if (std::string found = folder.Find(name); !found.empty()) {
                files.push_back(found);
            }
        }
        FailWithoutRecord(" is damaged", files);
    }
    return *record;
}

/// Undoes the placement of one DLL. Returns a sentence about what cannot be undone, or "".
std::string TakeAway(const HostFolder& folder, const PlacedDll& dll, std::ostream& out) {
    if (folder.Has(dll.name + kUnfinished)) {
        RemoveFile(folder / (dll.name + kUnfinished));
    }
    const std::string aside = dll.original + kAside;
    const bool isSetAside = !dll.original.empty() && folder.Has(aside);
    if (folder.SumOf(dll.name) == dll.sum) {
        RemoveFile(folder / folder.Find(dll.name));
        out << dll.name << " is removed.\n";
    }
    if (folder.Has(dll.name)) {
        if (isSetAside) {
            return dll.name + " has been changed since, and stays. What was there before it is " +
                   aside + ".";
        }
        // With an original, this file is it: not yet set aside, or already restored.
        return dll.original.empty() ? dll.name + " has been changed since, and stays." : "";
    }
    if (isSetAside) {
        RenameFile(folder / aside, folder / dll.original);
        out << dll.original << " is back.\n";
        return "";
    }
    return dll.original.empty() ? "" : aside + ", which was set aside, is gone.";
}

void TakeAway(const HostFolder& folder, const std::vector<PlacedDll>& record, std::ostream& out) {
    std::string failures;
    const auto note = [&](const std::string& failure) {
        failures += (failures.empty() || failure.empty() ? "" : " ") + failure;
    };
    bool isOver = true;
    for (const PlacedDll& dll : record) {
        try {
            note(TakeAway(folder, dll, out));
        } catch (const std::runtime_error& failure) {
            note(failure.what());
            isOver = false;
        }
    }
    if (isOver && folder.UnfinishedFiles().empty()) {
        RemoveFile(folder / kRecord);
        out << kRecord << " is removed.\n";
    }
    if (!failures.empty()) {
        throw std::runtime_error(failures);
    }
}

bool IsPlaced(const HostFolder& folder, const std::vector<RigDll>& dlls) {
    return std::all_of(dlls.begin(), dlls.end(), [&](const RigDll& dll) {
        return folder.SumOf(dll.name) == dll.sum && !folder.Has(dll.name + kUnfinished);
    });
}

/// The DLLs to be placed: those that are not in the folder yet. Refuses where others are than those
/// of the record, which is of an earlier placement.
std::vector<PlacedDll> Plan(const HostFolder& folder, const std::vector<RigDll>& dlls,
                            const std::vector<PlacedDll>& record, bool setAside) {
    std::vector<PlacedDll> plan;
    std::vector<std::string> originals;
    for (const RigDll& dll : dlls) {
        const std::string sum = folder.SumOf(dll.name);
        if (sum == dll.sum) {
            continue;
        }
        plan.push_back({dll.name, dll.sum, folder.Find(dll.name)});
        const bool isOfRecord =
            std::any_of(record.begin(), record.end(), [&](const PlacedDll& placed) {
                return placed.name == dll.name && placed.sum == sum;
            });
        if (!plan.back().original.empty() && !isOfRecord) {
            originals.push_back(plan.back().original);
        }
    }
    if (!originals.empty() && !setAside) {
        throw std::runtime_error(Utf8(folder.path) + " has its own " + Listed(originals) +
                                 ". Nothing was changed. With --set-aside they are kept under "
                                 "another name until the rig is taken away.");
    }
    return plan;
}

/// Writes the record first. Copying takes long and may fill the disk, so it is done under temporary
/// names; the renames, which affect a host, come last.
void CarryOut(const HostFolder& folder, const std::vector<RigDll>& dlls,
              const std::vector<PlacedDll>& plan, std::ostream& out) {
    const std::string unfinished = std::string(kRecord) + kUnfinished;
    CreateNewFile(folder / unfinished, WriteRecord(plan));
    RenameFile(folder / unfinished, folder / kRecord);
    out << kRecord << " tells what is placed here.\n";
    for (const RigDll& dll : dlls) {
        if (std::any_of(plan.begin(), plan.end(),
                        [&](const PlacedDll& placed) { return placed.name == dll.name; })) {
            CreateNewFile(folder / (dll.name + kUnfinished), dll.bytes);
        }
    }
    for (const PlacedDll& placed : plan) {
        if (!placed.original.empty()) {
            RenameFile(folder / placed.original, folder / (placed.original + kAside));
            out << placed.original << " is set aside as " << placed.original << kAside << ".\n";
        }
        RenameFile(folder / (placed.name + kUnfinished), folder / placed.name);
        out << placed.name << " is placed.\n";
    }
}

} // namespace

void Place(const fs::path& rig, const fs::path& hostFolder, bool setAside, std::ostream& out) {
    const HostFolder folder(hostFolder);
    std::error_code ignored;
    if (fs::equivalent(rig / kHostDlls.front(), folder / kHostDlls.front(), ignored)) {
        throw std::runtime_error(Utf8(folder.path) + " is the rig's own folder.");
    }
    Place(ReadRig(rig), hostFolder, setAside, out);
}

void Place(const std::vector<HostFile>& files, const fs::path& hostFolder, bool setAside,
           std::ostream& out) {
    const HostFolder folder(hostFolder);
    if (IsOfTheSystem(folder.path)) {
        throw std::runtime_error(Utf8(folder.path) + " is a folder of Windows, where every " +
                                 "program would meet the rig. Choose the folder of one host.");
    }
    const std::vector<RigDll> dlls = WithSums(files);
    const std::vector<PlacedDll> record = TakeRecord(folder);
    if (IsPlaced(folder, dlls)) {
        out << "The rig's DLLs are in " << Utf8(folder.path) << " already.\n";
        return;
    }
    // With a record, a placement was interrupted, or it is of another rig.
    setAside |= std::any_of(record.begin(), record.end(),
                            [](const PlacedDll& dll) { return !dll.original.empty(); });
    Plan(folder, dlls, record, setAside); // refuses before anything is changed
    if (!record.empty()) {
        TakeAway(folder, record, out);
    }
    const std::vector<PlacedDll> plan = Plan(folder, dlls, {}, setAside);
    try {
        CarryOut(folder, dlls, plan, out);
    } catch (const std::runtime_error& failure) {
        try {
            Unplace(folder.path, out);
        } catch (const std::runtime_error& rest) {
            throw std::runtime_error(std::string(failure.what()) + ' ' + rest.what());
        }
        throw;
    }
}

void Unplace(const fs::path& hostFolder, std::ostream& out) {
    const HostFolder folder(hostFolder);
    if (const std::vector<PlacedDll> record = TakeRecord(folder); !record.empty()) {
        TakeAway(folder, record, out);
    } else {
        out << "Nothing of the rig is placed in " << Utf8(folder.path) << ".\n";
    }
}

} // namespace rig
