/// What solvane-rig tells the DLLs that record.
#include <gtest/gtest.h>

#include "recording_setup.h"

namespace test {
namespace {

using rig::record::ReadSetup;
using rig::record::RecordingSetup;

const RecordingSetup kSetup{
    "C:\\Users\\Jürgen\\field 1.rec",
    {{"FTD2XX.dll", "C:\\Program Files\\a\\FTD2XX.dll"}, {"inpoutx64.dll", "D:\\inpoutx64.dll"}},
    {{"FTD2XX.dll", 5, "FT_IoCtl"}, {"FTD2XX.dll", 400, ""}},
    {"",
     "Windows 10.0.19045",
     {{"FTD2XX.dll", "3.2.14.0", std::string(64, 'a'), "C:\\Program Files\\a\\FTD2XX.dll"}},
     {{std::string("LPT1"), {std::string("888")}}},
     true}};

TEST(RecordingSetup, IsReadAsItWasWritten) {
    EXPECT_EQ(ReadSetup(TextOf(kSetup)), kSetup);
    std::string edited = TextOf(kSetup);
    for (std::size_t i = edited.find('\n'); i < edited.find("solvane recording");
         i = edited.find('\n', i + 2)) {
        edited.insert(i, 1, '\r');
    }
    EXPECT_EQ(ReadSetup(edited), kSetup);
}

TEST(RecordingSetup, WithoutItsPartsIsNone) {
    const std::string text = TextOf(kSetup);
    for (const std::string& damaged :
         {std::string(), std::string("recording: "), std::string("what: is this\n") + text,
          text.substr(0, text.find("solvane recording")), text.substr(text.find("real:")),
          "pass: FTD2XX.dll five FT_IoCtl\n" + text}) {
        EXPECT_THROW(ReadSetup(damaged), std::runtime_error) << damaged;
    }
}

} // namespace
} // namespace test
