#include "tool.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recordings.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// A directory of its own for each test, with a recording of one capture.
class Tool : public testing::Test {
  protected:
    Tool() {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        directory =
            std::filesystem::path(testing::TempDir()) / (std::string("wave_") + test->name());
        std::filesystem::create_directories(directory);
        Save("capture.vcd", kOneCapture);
    }
    ~Tool() override { std::filesystem::remove_all(directory); }

    std::string PathOf(const std::string& name) const { return (directory / name).string(); }

    void Save(const std::string& name, const std::string& text) const {
        std::ofstream(directory / name, std::ios::binary) << text;
    }

    int Run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "solvane-rig");
        out.str("");
        err.str("");
        return rig::RunTool(arguments, out, err);
    }

    std::filesystem::path directory;
    std::ostringstream out;
    std::ostringstream err;
};

TEST_F(Tool, ShowsARecording) {
    EXPECT_EQ(Run({"wave", PathOf("capture.vcd")}), rig::kSuccess);
    EXPECT_THAT(out.str(), HasSubstr("┌─ 10.06 ms ──┐"));
    EXPECT_EQ(err.str(), "");
}

TEST_F(Tool, TellsThatItsOutputWasLost) {
    struct FullDisk : std::streambuf {
        int sync() override { return -1; }
    };
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"solvane-rig", "wave", PathOf("capture.vcd")},
          {"solvane-rig", "wave", PathOf("capture.vcd"), "--svg", "-"},
          {"solvane-rig", "--help"}}) {
        FullDisk disk;
        std::ostream full(&disk);
        err.str("");
        EXPECT_EQ(rig::RunTool(arguments, full, err), rig::kOutputLost);
        EXPECT_EQ(err.str(), "solvane-rig: the output could not be written.\n");
    }
}

TEST_F(Tool, ShowsWhatIsAskedFor) {
    EXPECT_EQ(Run({"wave", PathOf("capture.vcd"), "--signal", "mep", "--signal", "dark", "--from",
                   "80", "--to", "120", "--width", "40", "--ascii"}),
              rig::kSuccess);
    EXPECT_EQ(out.str(), Below(R"(
ms   80         91.4                 120
mep  ___________/-----------------------

Unchanged: dark 0
)"));
}

TEST_F(Tool, TakesAFileBehindASignal) {
    EXPECT_EQ(Run({"wave", "--signal", "mep", PathOf("capture.vcd")}), rig::kSuccess);
    EXPECT_THAT(out.str(), HasSubstr("\nmep  "));
}

TEST_F(Tool, DrawsAPictureBesideTheText) {
    EXPECT_EQ(Run({"wave", PathOf("capture.vcd"), "--svg", PathOf("capture.svg")}), rig::kSuccess);
    EXPECT_THAT(out.str(), HasSubstr("┌─ 10.06 ms ──┐"));
    std::ifstream stream(PathOf("capture.svg"), std::ios::binary);
    const std::string svg(std::istreambuf_iterator<char>(stream), {});
    EXPECT_THAT(svg, StartsWith("<svg "));
    EXPECT_THAT(svg, HasSubstr(">10.1 ms</text>"));

    EXPECT_EQ(Run({"wave", PathOf("capture.vcd"), "--svg", "-"}), rig::kSuccess);
    EXPECT_EQ(out.str(), svg) << "in the place of the text";
}

TEST_F(Tool, NotesWhatIsLeftOut) {
    Save("wide.vcd", "$timescale 1 us $end $var wire 8 ! data $end $var wire 1 a a $end "
                     "$enddefinitions $end #0 0a #5");
    EXPECT_EQ(Run({"wave", PathOf("wide.vcd")}), rig::kSuccess);
    EXPECT_THAT(err.str(), StartsWith("note: data is left out: it is 8 bits wide"));
    EXPECT_EQ(out.str(), "Nothing changes from 0 to 0.005 ms.\nUnchanged: a 0\n");
}

TEST_F(Tool, TellsWhereAFileIsWrong) {
    Save("wrong.vcd", TwoLines("#5\n#4\n"));
    EXPECT_EQ(Run({"wave", PathOf("wrong.vcd")}), rig::kFailure);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(err.str(), "solvane-rig: " + PathOf("wrong.vcd") +
                             ", line 6: the time goes back from 5 to 4.\n");
}

TEST_F(Tool, TellsWhatItCannotDo) {
    EXPECT_EQ(Run({"wave", PathOf("none.vcd")}), rig::kFailure);
    EXPECT_THAT(err.str(), EndsWith("none.vcd cannot be opened.\n"));
    EXPECT_EQ(Run({"wave", directory.string()}), rig::kFailure);
    EXPECT_THAT(err.str(), EndsWith(" cannot be read.\n"));
    EXPECT_EQ(Run({"wave", PathOf("capture.vcd"), "--signal", "flash"}), rig::kFailure);
    EXPECT_THAT(err.str(), StartsWith("solvane-rig: there is no signal \"flash\""));
    EXPECT_EQ(Run({"wave", PathOf("capture.vcd"), "--from", "201"}), rig::kFailure);
    EXPECT_THAT(err.str(), StartsWith("solvane-rig: nothing was recorded then"));
    EXPECT_EQ(Run({"wave", PathOf("capture.vcd"), "--svg", PathOf("none/a.svg")}), rig::kFailure);
    EXPECT_THAT(err.str(), EndsWith("a.svg cannot be written.\n"));
}

TEST_F(Tool, RefusesWrongUsage) {
    const std::string file = PathOf("capture.vcd");
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"wave"},
        {"fly"},
        {"wave", file, "--from", "5", "--to", "4"},
        {"wave", file, "--from", "-1"},
        {"wave", file, "--from", "nan"},
        {"wave", file, "--to", "nan"},
        {"wave", file, "--from", "soon"},
        {"wave", file, "--width", "39"},
        {"wave", file, "--width", "1001"},
        {"wave", file, file},
        {"wave", file, "--signal", "mep", "dark"},
        {"wave", file, "--colour"},
        {"install", "--wave"},
        {"status", "wmi"},
        {"place"},
        {"unplace"},
        {"place", directory.string(), "again"},
        {"unplace", directory.string(), "--set-aside"},
        {"guard"}};
    for (const std::vector<std::string>& arguments : wrong) {
        EXPECT_EQ(Run(arguments), rig::kUsageError) << testing::PrintToString(arguments);
        EXPECT_EQ(out.str(), "");
        EXPECT_NE(err.str(), "");
    }
}

TEST_F(Tool, Helps) {
    EXPECT_EQ(Run({"--help"}), rig::kSuccess);
    EXPECT_THAT(out.str(), HasSubstr("wave "));
    EXPECT_EQ(Run({"wave", "--help"}), rig::kSuccess);
    EXPECT_THAT(out.str(), HasSubstr("--svg FILE.svg"));
    EXPECT_EQ(err.str(), "");
}

TEST_F(Tool, TheVirtualPcBelongsIntoWine) {
    const std::string driver =
        "solvane-rig: the driver is a Windows driver; run solvane-rig.exe in Wine\n";
    const std::string wmi =
        "solvane-rig: the WMI class is a Windows class; run solvane-rig.exe in Wine\n";
    for (const char* command : {"install", "remove", "status"}) {
        EXPECT_EQ(Run({command}), rig::kFailure) << command;
        EXPECT_EQ(err.str(), driver + wmi) << command;
        EXPECT_EQ(Run({command, "--driver"}), rig::kFailure) << command;
        EXPECT_EQ(err.str(), driver) << command;
        EXPECT_EQ(Run({command, "--wmi"}), rig::kFailure) << command;
        EXPECT_EQ(err.str(), wmi) << command;
        EXPECT_EQ(Run({command, "--driver", "--wmi"}), rig::kFailure) << command;
        EXPECT_EQ(err.str(), driver + wmi) << command;
    }
}

TEST_F(Tool, PlacesOnlyWhatItHas) {
    EXPECT_EQ(Run({"place", directory.string()}), rig::kFailure);
    EXPECT_THAT(err.str(), EndsWith("solvane_rig.dll is missing.\n"));
    EXPECT_EQ(Run({"unplace", directory.string()}), rig::kSuccess);
    EXPECT_EQ(out.str(), "Nothing of the rig is placed in " + directory.string() + ".\n");
}

TEST_F(Tool, AHostThatIsNotStartedHasACodeOfItsOwn) {
    EXPECT_EQ(Run({"guard", "host.exe", "--help"}), 125);
    EXPECT_EQ(err.str(), "solvane-rig: a host is a Windows program; run solvane-rig.exe in Wine\n");
}

TEST_F(Tool, StatusListsTheVendorsDllsBesideIt) {
    Run({"status", "--wmi"});
    EXPECT_EQ(out.str(), "");
    Run({"status"});
    EXPECT_EQ(out.str(), "Vendor DLLs beside this program: none.\n");
}

} // namespace
