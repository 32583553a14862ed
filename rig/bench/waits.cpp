/// The commands that wait for something on the lines.
#include <algorithm>
#include <optional>
#include <stdexcept>

#include "command_table.h"
#include "rig_clock.h"

namespace rig {

namespace {

constexpr std::uint64_t kWithin = 5'000 * kNanosecondsPerMillisecond;

/// Reads the edges in the journal, each once: from an entry on, or those that are yet to come.
class Edges {
  public:
    Edges(const Journal& source, std::optional<std::uint64_t> since)
        : journal(source), next(since.value_or(source.End())) {}

    /// The next edge from there on; null when there is none yet.
    const Journal::Entry* Next() {
        for (next = std::max(next, journal.Begin()); next < journal.End();) {
            const auto& entry = journal[static_cast<std::size_t>(next++ - journal.Begin())];
            if (entry.kind == RIG_EDGE) {
                return &entry;
            }
        }
        return nullptr;
    }

  private:
    const Journal& journal;
    std::uint64_t next; ///< the number of the next entry to look at
};

std::string EdgeText(rig_line line, bool level) {
    return std::string(LineName(line)) + (level ? " 1" : " 0");
}

Report Failed(const std::string& why, Json json) {
    return {.exitCode = 1, .text = why, .json = json.Add("error", why)};
}

} // namespace

bool WaitUntil(const Access& rig, std::uint64_t within, const IsUnwanted& isUnwanted,
               const std::function<bool()>& isSo) {
    // Not the rig's time, which a replayed session stops between calls.
    const std::uint64_t start = clock::Now();
    constexpr int kLooksBetween = 100; // whether it is wanted may cost a system call
    for (int looks = 1; !isSo(); ++looks) {
        const std::uint64_t passed = clock::Now() - start;
        if (passed >= within) {
            return false;
        }
        if (looks % kLooksBetween == 0 && isUnwanted()) {
            throw std::runtime_error("the bench has ended");
        }
        rig->Pause(std::min(kNanosecondsPerMillisecond, within - passed));
    }
    return true;
}

rig_line ReadLine(const std::string& name) {
    std::vector<std::string> names;
    for (int i = 0; i < RIG_LINE_COUNT; ++i) {
        names.emplace_back(LineName(static_cast<rig_line>(i)));
        if (names.back() == name) {
            return static_cast<rig_line>(i);
        }
    }
    throw ActionError(NoSuch("line", name, names));
}

Report WaitEdge(Arguments arguments, const IsUnwanted& isUnwanted) {
    const std::uint64_t within = arguments.Milliseconds("--within", kWithin);
    const std::optional<std::uint64_t> since = arguments.Number("--since");
    Words words = WordsOf(arguments.Word()); // "ready 0" as one word or as two
    if (words.size() == 1) {
        words.push_back(arguments.Word());
    }
    arguments.RefuseOthers();
    if (words.size() != 2 || (words[1] != "0" && words[1] != "1")) {
        throw ActionError("usage: wait-edge \"LINE 0|1\" [--within MS] [--since N]");
    }
    const std::string wanted = EdgeText(ReadLine(words[0]), words[1] == "1");

    const Access rig;
    Edges edges(rig->trace.journal, since);
    const Journal::Entry* edge = nullptr;
    const bool isSeen = WaitUntil(rig, within, isUnwanted, [&] {
        do {
            edge = edges.Next();
        } while (edge != nullptr && edge->text != wanted);
        return edge != nullptr;
    });
    if (!isSeen) {
        return Failed("no edge " + wanted + " within " + Milliseconds(within) + " ms",
                      Json().Add("edge", wanted));
    }
    const std::string time = Milliseconds(edge->time);
    return {.text = wanted + " at " + time + " ms",
            .json = Json().Add("edge", wanted).AddRaw("time_ms", time)};
}

Report ExpectPulse(Arguments arguments, const IsUnwanted& isUnwanted) {
    const std::uint64_t within = arguments.Milliseconds("--within", kWithin);
    const std::optional<std::uint64_t> since = arguments.Number("--since");
    const std::string name = arguments.Word();
    const std::string range = arguments.Word();
    arguments.RefuseOthers();
    const std::size_t dots = range.find("..");
    if (dots == range.npos) {
        throw ActionError("usage: expect-pulse LINE FROM..TO [--within MS] [--since N]");
    }
    const rig_line line = ReadLine(name);
    const std::uint64_t from = ReadMilliseconds(std::string_view(range).substr(0, dots));
    const std::uint64_t to = ReadMilliseconds(std::string_view(range).substr(dots + 2));
    if (from > to) {
        throw ActionError("'" + range + "' is no range: FROM is more than TO");
    }

    const Access rig;
    Edges edges(rig->trace.journal, since);
    std::optional<std::uint64_t> begin;
    std::optional<std::uint64_t> width;
    WaitUntil(rig, within, isUnwanted, [&] {
        while (const Journal::Entry* edge = width ? nullptr : edges.Next()) {
            if (edge->text == EdgeText(line, true)) {
                begin = edge->time;
            } else if (begin && edge->text == EdgeText(line, false)) {
                width = edge->time - *begin;
            }
        }
        return width.has_value();
    });

    Json json = Json().Add("line", name).Add("expected", range + " ms");
    const bool isGood = width && *width >= from && *width <= to;
    json.Add("as_expected", isGood);
    if (width) {
        json.AddRaw("width_ms", Milliseconds(*width)).AddRaw("time_ms", Milliseconds(*begin));
    }
    if (isGood) {
        return {.text = name + " 1 for " + Milliseconds(*width) + " ms", .json = json};
    }
    if (width) {
        return Failed(name + " 1 for " + Milliseconds(*width) + " ms, not " + range + " ms", json);
    }
    if (begin) {
        const std::uint64_t now = std::max(rig->timeline.Now(), *begin);
        return Failed(name + " is still 1 after " + Milliseconds(now - *begin) + " ms", json);
    }
    return Failed("no pulse of " + name + " within " + Milliseconds(within) + " ms", json);
}

} // namespace rig
