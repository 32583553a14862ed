#include "watched_names.h"

#include <cstdio>
#include <string>

#include "call.h"
#include "handle_names.h"
#include "rig_state.h"

namespace transcript {

namespace {

rig::record::HandleNames& names = *new rig::record::HandleNames; // the library ends later
rig::Answerer inner = nullptr;
int wrong = 0;

std::string LastCallInTheJournal() {
    const rig::Access rig;
    const rig::Journal& journal = rig->trace.journal;
    for (std::size_t i = journal.Size(); i > 0; --i) {
        if (journal[i - 1].kind == RIG_CALL) {
            return journal[i - 1].text;
        }
    }
    return "";
}

void Watch(rig::Call& call) {
    const auto nameOf = [](std::uint64_t handle) { return names.NameOf(handle); };
    const std::string question = TextOfQuestion(call, nameOf);
    inner(call);
    const std::string told = LastCallInTheJournal();
    if (told != question + TextOfAnswer(call)) {
        std::printf("a handle is named differently in\n  %s\nand, by the calls before it,\n  %s\n",
                    told.c_str(), question.c_str());
        ++wrong;
    }
    names.Learn(call);
}

} // namespace

void WatchNames() {
    inner = rig::answerer;
    rig::answerer = Watch;
}

bool AreNamesRight() {
    return wrong == 0;
}

} // namespace transcript
