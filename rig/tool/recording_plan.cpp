#include "recording_plan.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "dll_exports.h"
#include "file_content.h"
#include "host_dlls.h"
#include "passed_call.h"
#include "this_program.h"

namespace rig {

namespace {

/// kRecordDll without its ending: what forwarders name.
constexpr std::string_view kForwardTo = "solvane_record.";

/// Which of an export's names is recorded; empty: none.
std::string RecordedName(const std::string& dll, const DllExport& one) {
    for (const std::string& name : one.names) {
        const auto isIt = [&](const VendorFunction& function) {
            return record::IsRecorded(function) && dll == function.library.name &&
                   name == function.name;
        };
        if (std::ranges::any_of(VendorFunctions(), isIt)) {
            return name;
        }
    }
    return {};
}

std::string Shown(const DllExport& one) {
    return one.names.empty() ? "ordinal " + std::to_string(one.ordinal) : one.names.front();
}

DllImage ReadReal(const InstalledDll& dll) {
    DllImage image;
    try {
        image = ReadDll(dll.bytes);
    } catch (const std::runtime_error& reason) {
        throw std::runtime_error(Utf8(dll.file) + " cannot be used: " + reason.what() + '.');
    }
    if (!image.is64Bit) {
        throw std::runtime_error(Utf8(dll.file) + " is a 32-bit DLL; hosts that can be recorded "
                                                  "are 64-bit programs.");
    }
    const auto isOurs = [](const DllExport& one) { return one.forward.starts_with(kForwardTo); };
    if (std::any_of(image.exports.begin(), image.exports.end(), isOurs)) {
        throw std::runtime_error(Utf8(dll.file) + " is the one that records, and no vendor's. "
                                                  "`solvane-rig unplace` takes it away.");
    }
    return image;
}

class Planner {
  public:
    explicit Planner(record::RecordingSetup begun) : setup(std::move(begun)) {}

    void Add(const InstalledDll& dll, const std::filesystem::path& hostFolder) {
        std::vector<DllExport> exports;
        for (DllExport& one : ReadReal(dll).exports) {
            if (one.isData) {
                plan.warnings.push_back(dll.name + " exports data, " + Shown(one) +
                                        ", which cannot be passed on; a host that needs it will "
                                        "not start.");
                continue;
            }
            const std::string name = RecordedName(dll.name, one);
            one.forward = kForwardTo;
            one.forward += name.empty() ? '#' + std::to_string(SlotFor(dll.name, one)) : name;
            exports.push_back(std::move(one));
        }
        plan.files.push_back({dll.name, ForwarderDll(dll.name, std::move(exports))});
        std::error_code ignored;
        const bool isInTheWay =
            std::filesystem::equivalent(dll.file.parent_path(), hostFolder, ignored);
        const std::string path = Utf8(dll.file);
        setup.dlls.push_back({dll.name, isInTheWay ? path + kAsideEnding : path});
        setup.head.libraries.push_back(
            {dll.name, dll.version.empty() ? "-" : dll.version, host::Sha256(dll.bytes), path});
    }

    RecordingPlan Finish() {
        plan.files.insert(plan.files.begin(), {kRecordSetup, TextOf(setup)});
        return std::move(plan);
    }

  private:
    unsigned SlotFor(const std::string& dll, const DllExport& one) {
        if (setup.passed.size() == record::kSlots) {
            throw std::runtime_error("the vendors' DLLs export more functions than can be passed "
                                     "on: more than " +
                                     std::to_string(record::kSlots) + '.');
        }
        setup.passed.push_back({dll, one.ordinal, one.names.empty() ? "" : one.names.front()});
        return record::kFirstSlot + static_cast<unsigned>(setup.passed.size()) - 1;
    }

    record::RecordingSetup setup;
    RecordingPlan plan;
};

} // namespace

RecordingPlan PlanRecording(const std::vector<InstalledDll>& dlls,
                            const std::filesystem::path& hostFolder, record::RecordingSetup setup) {
    Planner planner(std::move(setup));
    for (const InstalledDll& dll : dlls) {
        planner.Add(dll, hostFolder);
    }
    return planner.Finish();
}

} // namespace rig
