#include "rig_journal.h"

#include <algorithm>
#include <ostream>

namespace test {

/// With escaped line breaks GoogleTest shows a difference line by line.
void PrintTo(const Journal& journal, std::ostream* stream) {
    for (const std::string& entry : journal) {
        *stream << (&entry == &journal.front() ? "" : "\\n") << entry;
    }
}

Journal TakeEntries(std::initializer_list<rig_entry_kind> kinds) {
    Journal journal;
    rig_entry entry{};
    for (std::size_t i = 0; rig_journal_entry(i, &entry) == 0; ++i) {
        if (std::find(kinds.begin(), kinds.end(), entry.kind) != kinds.end()) {
            journal.emplace_back(entry.text);
        }
    }
    rig_journal_clear();
    return journal;
}

} // namespace test
