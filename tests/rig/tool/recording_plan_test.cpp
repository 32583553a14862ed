/// What is placed so that a host is recorded, and what is told of the recording afterwards.
#include "recording_plan.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "dll_exports.h"
#include "file_content.h"
#include "recording_result.h"
#include "recording_text.h"

namespace {

namespace fs = std::filesystem;

using rig::InstalledDll;
using rig::PlanRecording;
using rig::RecordingPlan;
using rig::record::RecordingSetup;
using testing::ElementsAre;
using testing::HasSubstr;

/// A vendor's DLL with functions that are described, one that is not, and one without a name.
InstalledDll D2xx(const fs::path& folder) {
    const std::string bytes = rig::ForwarderDll("ftd2xx.dll", {{1, {"FT_Open"}, "a.b"},
                                                               {5, {"FT_IoCtl"}, "a.c"},
                                                               {4, {"FT_Write"}, "a.d"},
                                                               {44, {"FT_W32_ReadFile"}, "a.e"},
                                                               {200, {}, "a.#5"}});
    return {"FTD2XX.dll", folder / "FTD2XX.dll", bytes, "3.2.14.0"};
}

RecordingSetup Begun() {
    RecordingSetup setup;
    setup.file = "C:\\field.rec";
    return setup;
}

TEST(RecordingPlan, ForwardsEveryExportUnderItsNameAndOrdinal) {
    const RecordingPlan plan = PlanRecording({D2xx("system32")}, "host", Begun());
    ASSERT_EQ(plan.files.size(), 2U);
    EXPECT_EQ(plan.files[1].name, "FTD2XX.dll");
    std::vector<std::string> forwards;
    for (const auto& one : rig::ReadDll(plan.files[1].bytes).exports) {
        forwards.push_back(std::to_string(one.ordinal) + ' ' +
                           (one.names.empty() ? "" : one.names[0]) + ' ' + one.forward);
    }
    EXPECT_THAT(forwards,
                ElementsAre("1 FT_Open solvane_record.FT_Open",
                            "4 FT_Write solvane_record.FT_Write", "5 FT_IoCtl solvane_record.#1001",
                            "44 FT_W32_ReadFile solvane_record.#1002",
                            "200  solvane_record.#1003"));

    EXPECT_EQ(plan.files[0].name, "solvane-record.txt");
    const RecordingSetup setup = rig::record::ReadSetup(plan.files[0].bytes);
    EXPECT_EQ(setup.file, "C:\\field.rec");
    EXPECT_EQ(setup.dlls,
              (std::vector<rig::record::RealDll>{{"FTD2XX.dll", "system32/FTD2XX.dll"}}));
    EXPECT_EQ(setup.passed,
              (std::vector<rig::record::PassedExport>{{"FTD2XX.dll", 5, "FT_IoCtl"},
                                                      {"FTD2XX.dll", 44, "FT_W32_ReadFile"},
                                                      {"FTD2XX.dll", 200, ""}}));
    ASSERT_EQ(setup.head.libraries.size(), 1U);
    EXPECT_EQ(setup.head.libraries[0].version, "3.2.14.0");
    EXPECT_EQ(setup.head.libraries[0].sha256, host::Sha256(D2xx("").bytes));
}

TEST(RecordingPlan, FindsADllThatMakesWayUnderItsOtherName) {
    const fs::path folder = fs::temp_directory_path();
    const RecordingPlan plan = PlanRecording({D2xx(folder)}, folder, Begun());
    const RecordingSetup setup = rig::record::ReadSetup(plan.files[0].bytes);
    EXPECT_THAT(setup.dlls[0].path, testing::EndsWith("FTD2XX.dll.set-aside-by-solvane-rig"));
    EXPECT_THAT(setup.head.libraries[0].path, testing::EndsWith("FTD2XX.dll"));
}

std::string Refusal(const InstalledDll& dll) {
    try {
        PlanRecording({dll}, "host", Begun());
    } catch (const std::runtime_error& reason) {
        return reason.what();
    }
    return "";
}

TEST(RecordingPlan, RefusesWhatIsNoVendors) {
    InstalledDll ourselves = D2xx("host");
    ourselves.bytes = PlanRecording({D2xx("system32")}, "host", Begun()).files[1].bytes;
    EXPECT_THAT(Refusal(ourselves), HasSubstr("is the one that records, and no vendor's"));
    InstalledDll old = D2xx("system32");
    old.bytes[0x44] = 0x4C; // the processor
    EXPECT_THAT(Refusal(old), HasSubstr("is a 32-bit DLL"));
    EXPECT_THAT(Refusal({"FTD2XX.dll", "a", "no DLL", ""}), HasSubstr("cannot be used"));
    std::vector<rig::DllExport> many;
    for (std::uint32_t i = 1; i <= 1025; ++i) {
        many.push_back({i, {}, "a.b"});
    }
    EXPECT_THAT(Refusal({"FTD2XX.dll", "a", rig::ForwarderDll("a", many), ""}),
                HasSubstr("more functions than can be passed on"));
}

TEST(RecordingPlan, WarnsOfDataThatCannotBePassedOn) {
    InstalledDll dll = D2xx("system32");
    dll.bytes[0xCC] = 40; // the size of the directory, so that no export is a forwarder
    dll.bytes[0xCD] = 0;
    const RecordingPlan plan = PlanRecording({dll}, "host", Begun());
    EXPECT_EQ(plan.warnings.size(), 5U);
    EXPECT_THAT(plan.warnings[0], HasSubstr("FTD2XX.dll exports data, FT_Open,"));
    EXPECT_TRUE(rig::ReadDll(plan.files[1].bytes).exports.empty());
}

class RecordingResult : public testing::Test {
  protected:
    RecordingResult() { fs::create_directory(folder); }
    ~RecordingResult() override { fs::remove_all(folder); }

    void Write(const char* name, const std::string& text) const {
        std::ofstream(folder / name, std::ios::binary) << text;
    }

    std::string Told() {
        std::ostringstream out;
        calls = rig::PrintRecordings(folder / "a.rec", out);
        std::string text = out.str();
        for (std::size_t at = 0; (at = text.find(folder.string() + '/')) != std::string::npos;) {
            text.erase(at, folder.string().size() + 1);
        }
        return text;
    }

    const fs::path folder =
        fs::temp_directory_path() / ("solvane-told-" + std::to_string(getpid()));
    std::size_t calls = 0;
};

/// A recording whose second call does not return.
std::string Unfinished() {
    using namespace rig::record;
    std::string text;
    AppendHead(text, {"host.exe", "Windows", {}, {}, false});
    const auto& rescan = rig::Described(rig::Function::FT_Rescan);
    AppendQuestion(text, 1, 1, 1, {rescan, {}, {}}, "");
    AppendAnswer(text, 2, 1, 1, {rescan, {}, {}}, 0);
    AppendQuestion(text, 3, 1, 2, {rescan, {}, {}}, "");
    return text;
}

TEST_F(RecordingResult, TellsOfEveryProcessAndHowItEnded) {
    EXPECT_EQ(Told(), "");
    Write("a.rec", Unfinished() + std::string(5000, '\0'));
    std::string ended = Unfinished();
    rig::record::AppendEnd(ended, 9);
    Write("a-2.rec", ended);
    std::string full = Unfinished();
    rig::record::AppendRemark(full, 9, "the disk is full, the recording ends here");
    Write("a-3.rec", full);
    Write("a-4.rec", "no recording");
    Write("a-6.rec", ended); // of something else
    const std::string told = Told();
    EXPECT_THAT(told,
                testing::StartsWith("a.rec: 2 calls; the host was ended in call 2, FT_Rescan().\n"
                                    "a-2.rec: 2 calls.\n"
                                    "a-3.rec: 2 calls; the disk is full, the recording ends here.\n"
                                    "a-4.rec: line 1: "));
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 4);
    EXPECT_EQ(calls, 6U);
    EXPECT_EQ(fs::file_size(folder / "a.rec"), Unfinished().size());
}

} // namespace
