#include "library_fixture.h"

namespace test {

void OnTheRig::Load(const std::string& scenario) {
    ASSERT_EQ(rig_load(scenario.c_str()), 0) << rig_error();
    rig_journal_clear();
}

std::vector<std::string> OnTheRig::TakeTexts() {
    std::vector<std::string> texts;
    for (const std::string& line : TakeLines()) {
        if (line.empty()) {
            texts.emplace_back();
            continue;
        }
        EXPECT_THAT(line.substr(0, line.find(' ')),
                    testing::MatchesRegex("\\[\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d\\]"));
        texts.push_back(line.substr(line.find(' ') + 1));
    }
    return texts;
}

std::vector<std::string> OnTheRig::TakeEdges() {
    return TakeEntries({RIG_EDGE});
}

} // namespace test
