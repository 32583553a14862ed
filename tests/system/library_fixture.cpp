#include "library_fixture.h"

#include <cstdlib>
#include <utility>

namespace test {

namespace {

std::vector<std::string> TakeEntries(rig_entry_kind kind) {
    std::vector<std::string> texts;
    rig_entry entry{};
    for (std::size_t i = 0; rig_journal_entry(i, &entry) == 0; ++i) {
        if (entry.kind == kind) {
            texts.emplace_back(entry.text);
        }
    }
    rig_journal_clear();
    return texts;
}

} // namespace

Library::Library() {
    const char* const path = std::getenv("SOLVANE_DLL");
    module = LoadLibraryA(path != nullptr ? path : "Solvane.dll");
    if (module == nullptr) {
        ADD_FAILURE() << "cannot load " << (path != nullptr ? path : "Solvane.dll") << ": error "
                      << GetLastError();
        std::exit(1); // every test would crash
    }
#define SOLVANE_LOOK_UP(name)                                                                      \
    name = reinterpret_cast<decltype(name)>(                                                       \
        reinterpret_cast<void*>(GetProcAddress(module, "Solvane_" #name)));                        \
    EXPECT_NE(name, nullptr) << #name;
    SOLVANE_EXPORTS(SOLVANE_LOOK_UP)
#undef SOLVANE_LOOK_UP
}

void Library::Unload() {
    if (module != nullptr) {
        EXPECT_TRUE(FreeLibrary(std::exchange(module, nullptr)));
    }
}

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
    return TakeEntries(RIG_EDGE);
}

std::vector<std::string> OnTheRig::TakeCalls() {
    return TakeEntries(RIG_CALL);
}

} // namespace test
