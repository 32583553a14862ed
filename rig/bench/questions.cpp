/// The commands that ask.
#include <algorithm>
#include <array>
#include <vector>

#include "command_table.h"

namespace rig {

void AddRow(std::string& text, std::string_view name, const std::string& value) {
    constexpr std::size_t kColumn = 19;
    std::string row(name);
    row.resize(std::max(kColumn, row.size() + 1), ' ');
    text += (text.empty() ? "" : "\n") + row + value;
}

Report ReportLevels(Arguments arguments, const IsUnwanted&) {
    arguments.RefuseOthers();
    const Levels levels = Access()->installation->AllLevels();
    Report report;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const char* const name = LineName(static_cast<rig_line>(i));
        AddRow(report.text, name, levels[i] ? "1" : "0");
        report.json.AddRaw(name, levels[i] ? "1" : "0");
    }
    return report;
}

Report ReportCaptures(Arguments arguments, const IsUnwanted&) {
    arguments.RefuseOthers();
    const std::uint32_t captures = Access()->installation->Captures();
    return {.text = std::to_string(captures), .json = Json().Add("captures", captures)};
}

Report ReportCalls(Arguments arguments, const IsUnwanted&) {
    const std::string function = arguments.Word();
    arguments.RefuseOthers();
    const std::vector<std::string> names = FunctionNames();
    if (!function.empty() && std::ranges::find(names, function) == names.end()) {
        throw ActionError(NoSuch("function", function, names));
    }
    const Access rig;
    Report report;
    Json counts;
    for (const std::string& name : names) {
        const std::uint32_t calls = rig->faults.Calls(name);
        if (name == function || (function.empty() && calls != 0)) {
            AddRow(report.text, name, std::to_string(calls));
            counts.Add(name, calls);
        }
    }
    report.json.Add("calls", counts);
    return report;
}

Report ReportJournal(Arguments arguments, const IsUnwanted& isUnwanted) {
    const bool waits = arguments.Has("--within");
    const std::uint64_t within = arguments.Milliseconds("--within", 0);
    const std::uint64_t since = arguments.Number("--since").value_or(0);
    const std::uint64_t most = arguments.Number("--most").value_or(Journal::kCapacity);
    arguments.RefuseOthers();

    const Access rig;
    const Journal& journal = rig->trace.journal;
    if (waits) {
        WaitUntil(rig, within, isUnwanted, [&] { return journal.End() > since; });
    }
    const std::uint64_t first = std::clamp(since, journal.Begin(), journal.End());
    const auto at = [&](std::uint64_t n) -> const Journal::Entry& {
        return journal[static_cast<std::size_t>(n - journal.Begin())];
    };
    return ReportEntries(first, first + std::min(most, journal.End() - first), rig->timeline.Now(),
                         at);
}

Report ReportEntries(std::uint64_t first, std::uint64_t end, std::uint64_t now,
                     const std::function<const Journal::Entry&(std::uint64_t)>& at) {
    static constexpr std::array kKinds = {"call", "edge", "event", "note"};
    Report report;
    std::string list;
    for (std::uint64_t n = first; n < end; ++n) {
        const Journal::Entry& entry = at(n);
        report.text += (report.text.empty() ? "" : "\n") + LineOf(entry);
        Json item;
        item.Add("n", n)
            .Add("ns", entry.time)
            .AddRaw("time_ms", Milliseconds(entry.time))
            .Add("kind", kKinds[static_cast<std::size_t>(entry.kind)])
            .Add("text", entry.text);
        if (entry.host != kThisProcess) {
            item.Add("host", entry.host);
        }
        list += (list.empty() ? "" : ",") + item.Text();
    }
    report.next = end;
    report.json.Add("ns", now)
        .Add("first", first)
        .Add("next", end)
        .AddRaw("entries", "[" + list + "]");
    return report;
}

Report ReportStatus(Arguments arguments, const IsUnwanted&) {
    arguments.RefuseOthers();
    const Access rig;
    const std::string time = Milliseconds(rig->timeline.Now());
    const std::uint64_t faults = rig->faults.Planned().size();
    const std::uint32_t calls = rig->faults.Calls(kAnyFunction);
    const std::uint32_t captures = rig->installation->Captures();
    Report report;
    AddRow(report.text, "scenario", rig->ScenarioName());
    AddRow(report.text, "time", time + " ms");
    AddRow(report.text, "calls", std::to_string(calls));
    AddRow(report.text, "captures", std::to_string(captures));
    AddRow(report.text, "faults planned", std::to_string(faults));
    report.json.Add("scenario", rig->ScenarioName())
        .AddRaw("time_ms", time)
        .Add("calls", calls)
        .Add("captures", captures)
        .Add("faults", faults);
    return report;
}

} // namespace rig
