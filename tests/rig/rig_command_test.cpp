/// Commands given by a program, through solvane/rig.h.
#include "bench_rig.h"

namespace test {
namespace {

using RigCommand = BenchRig;

TEST_F(RigCommand, DoesWhatItsWordsSay) {
    const char* answer = nullptr;
    EXPECT_EQ(rig_command("unplug 0", 0, &answer), 0);
    EXPECT_STREQ(answer, "unplug 0");
    EXPECT_TRUE(Devices().empty());
    EXPECT_EQ(rig_command("captures", 1, &answer), 0);
    EXPECT_STREQ(answer, "{\"captures\":0}");
    EXPECT_EQ(rig_command("levels", 0, nullptr), 0);
}

TEST_F(RigCommand, HoldsWordsTogetherWithQuotes) {
    TakeAll();
    EXPECT_EQ(rig_command("note 'it is \"cold\"'", 0, nullptr), 0);
    EXPECT_EQ(rig_command("wire  trigger \"stuck at 0\"", 0, nullptr), 0);
    const char* answer = nullptr;
    EXPECT_EQ(rig_command("wait-edge 'ready 0' --within 5", 0, &answer), 1) << answer;
    EXPECT_EQ(rig_command("note ''", 0, nullptr), 0);
}

TEST_F(RigCommand, TellsWhatThereIsForWordsThatAreNone) {
    for (const char* words : {"", " ", "unplugg 0", static_cast<const char*>(nullptr)}) {
        const char* answer = nullptr;
        EXPECT_EQ(rig_command(words, 0, &answer), 2);
        EXPECT_NE(std::string(answer).find("is no command; there are unplug, plug"),
                  std::string::npos)
            << answer;
    }
}

} // namespace
} // namespace test
