/// What rig.hpp offers to tests of hosts, each function once.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include <solvane/rig.hpp>
#include <solvane/solvane.hpp>

namespace {

using namespace std::chrono_literals;
using solvane::EntryKind;
using solvane::Line;
using solvane::Rig;

const char* const kScenario = "[camera]\nexposure_ms = 30\n[eapi]\n[[usb]]\nchip = 'FT2232H'\n";

template <typename Call>
std::string RefusalOf(const Call& call) {
    try {
        call();
    } catch (const solvane::RigError& error) {
        return error.what();
    }
    return "accepted";
}

int StatusOf(void (*call)(solvane::Outcome)) {
    std::error_code error;
    call(error);
    return error.value();
}

/// The part of a text before another.
std::string Before(const std::string& text, const std::string& end) {
    return text.substr(0, text.find(end));
}
std::string After(const std::string& text, const std::string& begin) {
    return text.substr(text.find(begin) + begin.size());
}

void Scenarios(Rig& rig, const std::filesystem::path& folder) {
    const auto load = [&] { rig.Load("[camera]\nexposure = 1\n"); };
    std::cout << "bad scenario: " << RefusalOf(load) << '\n';
    const auto missing = [&] { rig.LoadFile((folder / u8"ä.toml").u8string()); };
    std::cout << "no such file: " << (RefusalOf(missing) != "accepted") << ' '
              << !rig.Error().empty() << '\n';
    rig.Load();
    std::cout << "none named: " << rig.Scenario() << '\n';
    const std::filesystem::path path = folder / std::filesystem::u8path("\xc3\xb6.toml");
    std::ofstream(path) << "[lpt]\n";
    rig.LoadFile(path.u8string());
    std::cout << "of a file: " << (std::filesystem::u8path(rig.Scenario()) == path) << ' '
              << rig.Error().size() << '\n'
              << "given: " << Rig(kScenario).Scenario() << '\n';
}

void Lines(Rig& rig) {
    solvane::TriggerCapture();
    std::cout << "captures: " << rig.Captures() << " trigger " << int{rig.Level(Line::Trigger)}
              << " power " << int{rig.Level(Line::CameraPower)} << '\n';
    const std::uint64_t start = rig.Mark();
    rig.Force(Line::Ready, false);
    std::cout << "forced: " << int{rig.Level(Line::Ready)} << " status "
              << StatusOf(solvane::TriggerCapture) << '\n';
    rig.Release(Line::Ready);
    std::cout << "released: " << Before(rig.WaitEdge(Line::Ready, true, 5s, start), " at ") << '\n';
    std::cout << "forced dark: " << RefusalOf([&] { rig.Force(Line::Dark, true); }) << '\n';
    rig.Unplug();
    rig.Plug(0);
    std::cout << "no such chip: " << RefusalOf([&] { rig.Unplug(7); }) << '\n'
              << "interfaces: " << rig.WbemInterfaces() << '\n';
}

void Faults(Rig& rig) {
    const std::uint32_t before = rig.Calls("EApiGPIOSetLevel");
    const std::uint32_t allBefore = rig.Calls();
    solvane::Fault fault{"EApiGPIOSetLevel"};
    fault.status = 0xFFFFFFFF;
    rig.AddFault(fault);
    std::cout << "faulty: " << StatusOf(solvane::EnableForcedBlackUpdate);
    std::cout << ' ' << StatusOf(solvane::EnableForcedBlackUpdate) << '\n';
    std::cout << "calls: " << rig.Calls("EApiGPIOSetLevel") - before << ' '
              << (rig.Calls() - allBefore >= 2) << '\n';
    fault.function = "*";
    fault.times = 0;
    rig.AddFault(fault);
    std::cout << "all fail: " << StatusOf(solvane::DisableForcedBlackUpdate) << '\n';
    rig.ClearFaults();
    std::cout << "lifted: " << StatusOf(solvane::DisableForcedBlackUpdate) << '\n'
              << "bad fault: " << RefusalOf([&] { rig.AddFault({"EApiGPIOSetLevel"}); }) << '\n';
}

void Journal(Rig& rig) {
    rig.ClearJournal();
    rig.Note("gr\xc3\xb6\xc3\x9f"
             "er");
    rig.Unplug();
    solvane::EnableCameraPower();
    rig.Plug();
    const std::vector<Rig::Entry> entries = rig.Journal();
    std::string noted;
    std::string events;
    for (const Rig::Entry& entry : entries) {
        if (entry.kind == EntryKind::Note) {
            noted = entry.text;
        } else if (entry.kind == EntryKind::Event) {
            events += (events.empty() ? "" : ", ") + entry.text;
        }
    }
    const auto isEarlier = [](const Rig::Entry& one, const Rig::Entry& other) {
        return one.time < other.time;
    };
    const bool inOrder = std::is_sorted(entries.begin(), entries.end(), isEarlier) &&
                         entries.back().time <= rig.Time();
    rig.ClearJournal();
    std::cout << "noted: " << noted << '\n'
              << "events: " << events << '\n'
              << "in order: " << inOrder << '\n'
              << "cleared: " << rig.Journal().size() << '\n';
}

void Commands(Rig& rig) {
    const Rig::Reply set = rig.Command("set exposure_ms 40");
    std::cout << "set: " << set.exitCode << ' ' << set.answer << '\n';
    const std::string levels = rig.Command("levels", true).answer;
    std::cout << "levels: " << After(levels, "\"ready\":").front() << '\n';
    const Rig::Reply unknown = rig.Command("explode");
    std::cout << "unknown: " << unknown.exitCode << ' ' << unknown.answer.substr(0, 21) << '\n';
    const std::uint64_t start = rig.Mark();
    solvane::TriggerCapture();
    std::cout << "pulse: " << Before(rig.ExpectPulse(Line::Trigger, 9ms, 5s, 5s, start), " ")
              << '\n';
    const auto longer = [&] { rig.ExpectPulse(Line::Trigger, 5000ms, 5000500us, 5s, start); };
    std::cout << "too short: " << After(RefusalOf(longer), ", not ") << '\n';
    std::cout << "flag: " << Before(rig.WaitEdge(Line::Mep, true, 5s, start), " at ") << '\n';
    const auto none = [&] { rig.WaitEdge(Line::Mep, true, 20500us); };
    std::cout << "no edge: " << RefusalOf(none) << '\n';
}

void WaitsOnAnotherThread(Rig& rig) {
    std::future<std::string> seen =
        std::async(std::launch::async, [&] { return rig.WaitEdge(Line::Dark, true, 20s); });
    std::cout << "waiting: " << int{seen.wait_for(300ms) == std::future_status::ready} << '\n';
    solvane::EnableForcedBlackUpdate();
    std::cout << "seen: " << Before(seen.get(), " at ") << '\n';
}

void Waveform(Rig& rig, const std::filesystem::path& folder) {
    const std::filesystem::path path = folder / "lines.vcd";
    rig.WriteVcd(path.u8string());
    solvane::DisableForcedBlackUpdate();
    rig.EndVcd();
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    std::cout << "waveform: " << (text.str().find("$enddefinitions") != std::string::npos) << '\n';
    const auto nowhere = [&] { rig.WriteVcd((path / "x").u8string()); };
    std::cout << "no such folder: " << (RefusalOf(nowhere) != "accepted") << '\n';
}

} // namespace

#ifndef _WIN32
extern "C" void StartNativeLibrary(); // in native_library.cpp
#endif

int main(int, char** arguments) {
#ifndef _WIN32
    StartNativeLibrary();
#endif
    std::cout << std::boolalpha;
    const std::filesystem::path folder = arguments[1];
    Rig rig;
    Scenarios(rig, folder);
    Lines(rig);
    Faults(rig);
    Journal(rig);
    Commands(rig);
    WaitsOnAnotherThread(rig);
    Waveform(rig, folder);
    solvane::CloseDevice();
    return 0;
}
