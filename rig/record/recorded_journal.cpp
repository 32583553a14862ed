#include "recorded_journal.h"

#include <algorithm>
#include <tuple>

#include "waveform.h"

namespace rig::record {

namespace {

constexpr std::uint64_t kNanosecondsPerMicrosecond = 1000;

/// What is shown of a moment, in this order.
enum class Rank { Event, Edge, Call };

struct Shown {
    std::size_t place; ///< of the call among those that have returned
    Rank rank;
    Journal::Entry entry;
};

} // namespace

std::vector<Journal::Entry> JournalOf(const Recording& recording, const RecordedLines& lines) {
    const std::vector<std::size_t> order = InOrderOfReturn(recording);
    std::vector<std::size_t> places(recording.calls.size(), order.size());
    std::vector<Shown> all;
    const auto add = [&](std::size_t place, Rank rank, Microseconds time, rig_entry_kind kind,
                         std::string text) {
        all.push_back({place, rank, {time * kNanosecondsPerMicrosecond, kind, std::move(text)}});
    };
    for (std::size_t i = 0; i < order.size(); ++i) {
        const RecordedCall& recorded = recording.calls[order[i]];
        places[order[i]] = i;
        add(i, Rank::Call, *recorded.returned, RIG_CALL,
            QuestionOf(recorded) + TextOfAnswer(recorded.call));
    }
    for (const RecordedCall& recorded : recording.calls) {
        if (!recorded.returned) {
            add(order.size(), Rank::Call, recorded.begun, RIG_CALL,
                QuestionOf(recorded) + " has not returned");
        }
    }
    for (const LineChange& change : lines.changes) {
        add(places[change.call], Rank::Edge, change.time, RIG_EDGE,
            std::string(LineName(change.line)) + (!change.level   ? " x"
                                                  : *change.level ? " 1"
                                                                  : " 0"));
    }
    for (const LineEvent& event : lines.events) {
        add(places[event.call], Rank::Event, event.time, RIG_EVENT, event.text);
    }
    for (const Remark& remark : recording.remarks) {
        add(order.size(), Rank::Event, remark.time, RIG_NOTE, remark.text);
    }
    std::ranges::stable_sort(all, [](const Shown& one, const Shown& other) {
        return std::tie(one.entry.time, one.place, one.rank) <
               std::tie(other.entry.time, other.place, other.rank);
    });
    std::vector<Journal::Entry> journal;
    for (Shown& shown : all) {
        journal.push_back(std::move(shown.entry));
    }
    return journal;
}

} // namespace rig::record
