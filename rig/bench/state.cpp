/// The commands that tell the state of the whole rig, and what its lines did.
#include <algorithm>
#include <array>
#include <sstream>

#include "command_table.h"
#include "stand_in.h"

namespace rig {

namespace {

std::string List(const std::string& items) {
    return "[" + items + "]";
}

void AddItem(std::string& items, const std::string& item) {
    items += (items.empty() ? "" : ",") + item;
}

std::string TextOf(std::optional<bool> forced) {
    return !forced ? "free" : *forced ? "1" : "0";
}

const char* NameOf(Mep mep) {
    static constexpr std::array kNames = {"latch", "never", "stuck"};
    return kNames[static_cast<std::size_t>(mep)];
}

void ReportLines(const Installation& camera, Report& report) {
    Json lines;
    const Levels levels = camera.AllLevels();
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const char* const name = LineName(static_cast<rig_line>(i));
        lines.AddRaw(name, levels[i] ? "1" : "0");
        AddRow(report.text, name, levels[i] ? "1" : "0");
    }
    report.json.Add("lines", lines);
}

void ReportCamera(const Installation& camera, Report& report) {
    const CameraBehaviour& behaviour = camera.Behaviour();
    report.json.Add("captures", camera.Captures())
        .Add("refused", camera.Ignored())
        .Add("camera", Json()
                           .Add("activity", camera.ActivityName())
                           .Add("ready", TextOf(camera.Forced(RIG_READY)))
                           .Add("mep_level", TextOf(camera.Forced(RIG_MEP)))
                           .Add("mep", NameOf(behaviour.mep))
                           .AddRaw("exposure_ms", Milliseconds(behaviour.exposure))
                           .AddRaw("ready_after_power_ms", Milliseconds(behaviour.readyAfterPower))
                           .Add("powered", camera.Level(RIG_CAMERA_POWER)));
    AddRow(report.text, "camera", camera.ActivityName());
    AddRow(report.text, "captures", std::to_string(camera.Captures()));
    AddRow(report.text, "refused", std::to_string(camera.Ignored()));
}

void ReportChips(const Equipment& equipment, Report& report) {
    std::string chips;
    for (const Equipment::Chip& chip : equipment.chips) {
        Json json;
        if (chip.index) {
            json.Add("index", *chip.index);
        }
        json.Add("kind", chip.kind)
            .Add("name", chip.name)
            .Add("plugged", chip.isPlugged)
            .Add("camera", chip.hasCamera);
        AddItem(chips, json.Text());
        AddRow(report.text, chip.index ? "chip " + std::to_string(*chip.index) : "board",
               chip.kind + (chip.name.empty() ? "" : ' ' + chip.name) +
                   (chip.isPlugged ? "" : ", unplugged"));
    }
    report.json.AddRaw("chips", List(chips));
}

void ReportWiring(const Installation& camera, Report& report) {
    Json wiring;
    for (const std::string& wire : WireNames()) {
        const std::string condition = camera.ConditionOf(wire);
        wiring.Add(wire, condition);
        if (condition != kHealthy) {
            AddRow(report.text, "wire " + wire, condition);
        }
    }
    report.json.Add("wiring", wiring);
}

void ReportFaults(const FaultPlan& plan, Report& report) {
    std::string faults;
    for (const Fault& fault : plan.Planned()) {
        Json json = Json()
                        .Add("id", fault.id)
                        .Add("function", fault.function)
                        .Add("call", fault.call)
                        .Add("times", fault.times);
        Words words{fault.function};
        const auto add = [&](std::string_view key, std::uint32_t number) {
            json.Add(key, number);
            words.push_back(std::string(key) + "=" + std::to_string(number));
        };
        if ((fault.kind & RIG_FAULT_STATUS) != 0) {
            add("status", fault.status);
        }
        if ((fault.kind & RIG_FAULT_COUNT) != 0) {
            add("count", fault.count);
        }
        if (fault.kind == RIG_FAULT_SILENT) {
            json.Add("silent", true);
            words.emplace_back("silent");
        }
        words.push_back("call=" + std::to_string(fault.call) +
                        " times=" + std::to_string(fault.times) + ", occurred " +
                        std::to_string(fault.occurred));
        AddItem(faults, json.Add("occurred", fault.occurred).Text());
        AddRow(report.text, "fault " + std::to_string(fault.id), Line(words));
    }
    report.json.AddRaw("faults", List(faults));
}

void ReportHosts(const Access& rig, const Equipment& equipment, Report& report) {
    std::string hosts;
    for (const auto& [number, host] : rig->guests) {
        std::string handles;
        std::string names;
        const auto [begin, end] = equipment.handles.equal_range(number);
        for (auto handle = begin; handle != end; ++handle) {
            AddItem(handles, Json::Quoted(handle->second));
            names += ' ' + handle->second;
        }
        AddItem(hosts, Json()
                           .Add("number", number)
                           .Add("program", host.program)
                           .Add("process", host.process)
                           .AddRaw("handles", List(handles))
                           .Add("calls", host.calls)
                           .Text());
        AddRow(report.text, "host " + std::to_string(number),
               host.program + " (process " + std::to_string(host.process) + "), " +
                   std::to_string(host.calls) + " calls," +
                   (names.empty() ? " nothing open" : names));
    }
    report.json.AddRaw("hosts", List(hosts));
}

} // namespace

Report ReportState(Arguments arguments, const IsUnwanted&) {
    arguments.RefuseOthers();
    const Access rig;
    Equipment equipment;
    for (const StandIn& standIn : StandIns()) {
        standIn.describe(equipment);
    }
    Report report;
    AddRow(report.text, "scenario", rig->ScenarioName());
    AddRow(report.text, "time", Milliseconds(rig->timeline.Now()) + " ms");
    report.json.Add("ns", rig->timeline.Now())
        .Add("scenario", rig->ScenarioName())
        .Add("pc", rig->IsAsleep() ? "asleep" : "on");
    ReportLines(*rig->installation, report);
    ReportCamera(*rig->installation, report);
    ReportChips(equipment, report);
    ReportWiring(*rig->installation, report);
    ReportFaults(rig->faults, report);
    ReportHosts(rig, equipment, report);
    return report;
}

Report ReportWaveform(Arguments arguments, const IsUnwanted&) {
    arguments.Word(); // the file's name; the caller writes the file
    arguments.RefuseOthers();
    const Access rig;
    const Journal& journal = rig->trace.journal;
    // What a line was before its first edge follows from that edge.
    Levels levels = rig->installation->AllLevels();
    for (std::size_t i = journal.Size(); i-- > 0;) {
        if (journal[i].kind == RIG_EDGE) {
            const Words edge = WordsOf(journal[i].text);
            levels[ReadLine(edge[0])] = edge[1] == "0";
        }
    }
    const bool isWhole = journal.Begin() == 0 || journal.Size() == 0;
    std::ostringstream vcd;
    Waveform waveform(vcd, levels, isWhole ? 0 : journal[0].time);
    for (std::size_t i = 0; i < journal.Size(); ++i) {
        const Journal::Entry& entry = journal[i];
        if (entry.kind == RIG_EDGE) {
            const Words edge = WordsOf(entry.text);
            waveform.Set(ReadLine(edge[0]), edge[1] == "1", entry.time);
        } else if (entry.kind == RIG_EVENT) {
            waveform.Mark(entry.text, entry.time);
        }
    }
    waveform.MoveTo(rig->timeline.Now());
    std::string text = std::move(vcd).str();
    text.pop_back(); // a reply has no final line break
    return {.text = text, .json = Json().Add("vcd", text)};
}

} // namespace rig
