#include "scenario.h"

#include <algorithm>
#include <limits>

#include <solvane/rig.h>

#include "scenario_tables.h"
#include "toml_text.h"

namespace rig {

namespace {

constexpr std::int64_t kMaxMilliseconds = 86'400'000; // a day
constexpr std::int64_t kMaxUint32 = std::numeric_limits<std::uint32_t>::max();

std::uint64_t Nanoseconds(std::int64_t milliseconds) {
    return static_cast<std::uint64_t>(milliseconds) * kNanosecondsPerMillisecond;
}

std::uint32_t Uint32(std::optional<std::int64_t> value, std::uint32_t otherwise) {
    return value ? static_cast<std::uint32_t>(*value) : otherwise;
}

} // namespace

void ReadBehaviour(TableReader& table, CameraBehaviour& behaviour) {
    if (const auto mep = table.Choice("mep", {"latch", "never", "stuck"})) {
        behaviour.mep = static_cast<Mep>(*mep);
    }
    if (const auto exposure = table.Integer("exposure_ms", 0, kMaxMilliseconds)) {
        behaviour.exposure = Nanoseconds(*exposure);
    }
    if (const auto start = table.Integer("ready_after_power_ms", 0, kMaxMilliseconds)) {
        behaviour.readyAfterPower = Nanoseconds(*start);
    }
}

namespace {

CameraSetup ReadCamera(TableReader table) {
    CameraSetup camera;
    camera.asleep = table.Boolean("asleep").value_or(camera.asleep);
    camera.ready = table.Boolean("ready").value_or(camera.ready);
    camera.mepLatched = table.Boolean("mep_latched").value_or(camera.mepLatched);
    ReadBehaviour(table, camera.behaviour);
    table.RefuseOtherKeys();
    return camera;
}

void ReadPulls(TableReader table, Levels& pulls) {
    for (const rig_line line :
         {RIG_TRIGGER, RIG_CLEAR_MEP, RIG_DARK, RIG_CAMERA_POWER, RIG_ACCESSORIES_POWER}) {
        pulls[line] = table.Integer(LineName(line), 0, 1).value_or(pulls[line]) != 0;
    }
    table.RefuseOtherKeys();
}

} // namespace

/// "broken", "inverted", "stuck at 0", "stuck at 1", "swapped with dark", "shorted to dark",
/// "healthy".
std::vector<WireFault> ReadWiring(TableReader& table) {
    std::vector<WireFault> faults;
    const std::vector<std::string> names = WireNames();
    std::vector<std::string> conditions{"broken", "stuck at 0", "stuck at 1", "inverted"};
    for (const std::string& name : names) {
        conditions.push_back("swapped with " + name);
        conditions.push_back("shorted to " + name);
    }
    conditions.emplace_back(kHealthy);
    for (const std::string& name : names) {
        const auto choice = table.Choice(name, {conditions.begin(), conditions.end()});
        if (!choice || *choice + 1 == conditions.size()) {
            continue;
        }
        constexpr std::size_t kConditionsOfOne = 4;
        WireFault fault{name, static_cast<WireFault::Kind>(*choice), ""};
        if (*choice >= kConditionsOfOne) {
            const std::size_t pair = *choice - kConditionsOfOne;
            fault.kind = pair % 2 == 0 ? WireFault::Kind::SwappedWith : WireFault::Kind::ShortedTo;
            fault.other = names[pair / 2];
            if (fault.other == fault.wire) {
                table.Fail(name, "'" + name + "' needs another wire");
            }
        }
        faults.push_back(fault);
    }
    return faults;
}

namespace {

UsbChipSetup ReadUsbChip(TableReader& table, std::size_t index) {
    using Type = UsbChipSetup::Type;
    UsbChipSetup chip;
    if (!table.Has("chip")) {
        table.Fail("chip", "[[usb]] needs 'chip'");
    }
    constexpr const char* kDescriptions[] = {"Dual RS232-HS", "FT232R USB UART", "Dual RS232",
                                             "Quad RS232-HS", "Single RS232-HS"};
    chip.type = static_cast<Type>(
        *table.Choice("chip", {UsbChipSetup::kTypeNames.begin(), UsbChipSetup::kTypeNames.end()}));
    chip.serial = table.Text("serial").value_or("SLV" + std::to_string(index + 1));
    chip.description =
        table.Text("description").value_or(kDescriptions[static_cast<std::size_t>(chip.type)]);
    if (chip.type == Type::FT2232H) {
        chip.letters = table.Text("letters").value_or(chip.letters);
        if (chip.letters.size() != 2) {
            table.Fail("letters", "'letters' must be two characters, one a channel");
        }
    }
    chip.plugged = table.Boolean("plugged").value_or(true);
    chip.openElsewhere = table.Boolean("open_elsewhere").value_or(false);
    chip.namedAfter = Nanoseconds(table.Integer("named_after_ms", 0, kMaxMilliseconds).value_or(0));
    chip.opensAfter = Nanoseconds(table.Integer("opens_after_ms", 0, kMaxMilliseconds).value_or(0));
    constexpr std::int64_t kNever = -1;
    constexpr std::int64_t kDefaultResetPort = 100;
    const std::int64_t resetPort =
        table.Integer("reset_port_ms", kNever, kMaxMilliseconds).value_or(kDefaultResetPort);
    if (resetPort != kNever) {
        chip.resetPort = Nanoseconds(resetPort);
    }
    return chip;
}

/// Connects the camera to the chip with camera = true, else to the first FT2232H without
/// camera = false.
void WireCamera(std::vector<UsbChipSetup>& chips, std::vector<TableReader>& tables) {
    std::optional<std::size_t> carrier;
    bool isChosen = false;
    for (std::size_t i = 0; i < chips.size(); ++i) {
        const bool canCarry = chips[i].type == UsbChipSetup::Type::FT2232H;
        const std::optional<bool> camera = tables[i].Boolean("camera");
        if (camera == true) {
            if (!canCarry || isChosen) {
                tables[i].Fail("camera", "only one FT2232H can carry the camera");
            }
            isChosen = true;
            carrier = i;
        } else if (!camera && canCarry && !carrier) {
            carrier = i;
        }
    }
    if (carrier) {
        chips[*carrier].camera = true;
    }
}

std::vector<UsbChipSetup> ReadUsb(std::vector<TableReader> tables) {
    std::vector<UsbChipSetup> chips;
    for (TableReader& table : tables) {
        chips.push_back(ReadUsbChip(table, chips.size()));
    }
    WireCamera(chips, tables);
    for (const TableReader& table : tables) {
        table.RefuseOtherKeys();
    }
    return chips;
}

template <typename Number>
Number Whole(TableReader& table, std::string_view key, Number otherwise,
             std::int64_t highest = std::numeric_limits<Number>::max()) {
    return static_cast<Number>(table.Integer(key, 0, highest).value_or(otherwise));
}

EapiSetup ReadEapi(TableReader table) {
    constexpr std::int64_t kMaxGpios = 32;
    EapiSetup board;
    board.gpios = Whole(table, "gpios", board.gpios, kMaxGpios);
    table.RefuseOtherKeys();
    return board;
}

SuperIoSetup ReadSuperIo(TableReader table) {
    SuperIoSetup chip;
    chip.id = Whole(table, "id", chip.id);
    chip.activeBanks = Whole(table, "active_banks", chip.activeBanks);
    if (table.Has("data")) {
        chip.data = Whole(table, "data", std::uint8_t{0});
    }
    table.RefuseOtherKeys();
    return chip;
}

LptSetup ReadLpt(TableReader table) {
    LptSetup port;
    port.base = Whole(table, "base", port.base);
    port.presenceWire = table.Boolean("presence_wire").value_or(port.presenceWire);
    port.powerWire = table.Boolean("power_wire").value_or(port.powerWire);
    table.RefuseOtherKeys();
    return port;
}

/// By default the driver is open where the scenario has hardware behind I/O ports.
bool ReadInpoutDriver(TableReader table, bool otherwise) {
    const bool isOpen = table.Boolean("driver_open").value_or(otherwise);
    table.RefuseOtherKeys();
    return isOpen;
}

std::string ReadFunction(TableReader& table, std::string_view key) {
    std::string function = table.Text(key).value_or("");
    const std::vector<std::string> names = FunctionNames();
    if (std::ranges::find(names, function) == names.end()) {
        table.Fail(key, std::string(key) + " must name a vendor function or be '*'; " +
                            NoSuch("function", function, names));
    }
    return function;
}

} // namespace

Fault ReadFault(TableReader& table) {
    Fault fault;
    fault.function = ReadFunction(table, "function");
    fault.call = Uint32(table.Integer("call", 1, kMaxUint32), 1);
    fault.times = Uint32(table.Integer("times", 0, kMaxUint32), 1);
    if (const auto status = table.Integer("status", 0, kMaxUint32)) {
        fault.kind |= RIG_FAULT_STATUS;
        fault.status = Uint32(status, 0);
    }
    if (const auto count = table.Integer("count", 0, kMaxUint32)) {
        fault.kind |= RIG_FAULT_COUNT;
        fault.count = Uint32(count, 0);
    }
    const bool isSilent = table.Boolean("silent").value_or(false);
    if (isSilent == (fault.kind != 0)) {
        table.RefuseOtherKeys(); // one of the three may be misspelt
        table.Fail("silent", "[[fault]] needs 'status', 'count' or both, or 'silent = true'");
    }
    if (isSilent) {
        fault.kind = RIG_FAULT_SILENT;
    }
    return fault;
}

namespace {

/// Reads the action of an event. It is written as a command; the action that replaces the hardware
/// has its scenario in a key of its own.
Action ReadEventAction(TableReader& table, std::size_t chips) {
    const std::string text = table.Lines("action").value_or("");
    const std::string name = text.substr(0, text.find(' '));
    Words words = WordsOf(text);
    if (text == "not-ready") { // kept for older scenarios, as is the next one
        words = {"ready", "off"};
    } else if (text == "latch-mep") {
        words = {"mep", "latch"};
    } else if (text == "unplug" || text == "plug") {
        words.push_back(std::to_string(table.Integer("chip", 0, kMaxUint32).value_or(0)));
    } else if (name == kNote || name == kReplace) { // their text may contain blanks
        words = {name, text.substr(std::min(name.size() + 1, text.size()))};
    }
    if (name == kReplace) {
        words.push_back(table.Lines("text").value_or(""));
    }
    try {
        return ReadAction(std::move(words), chips);
    } catch (const ActionError& mistake) {
        table.Fail(table.Has("chip") ? "chip" : "action", mistake.what());
    }
}

ScenarioEvent ReadEvent(TableReader table, std::size_t chips) {
    ScenarioEvent event;
    if (table.Has("at_ms") == table.Has("before")) {
        table.Fail("before", "[[event]] needs either 'at_ms' or 'before'");
    }
    if (table.Has("before")) {
        event.before = ReadFunction(table, "before");
        event.call = Uint32(table.Integer("call", 1, kMaxUint32), 1);
    } else {
        event.at = Nanoseconds(*table.Integer("at_ms", 0, kMaxMilliseconds));
    }
    if (!table.Has("action")) {
        table.Fail("action", "[[event]] needs 'action'");
    }
    event.action = ReadEventAction(table, chips);
    table.RefuseOtherKeys();
    return event;
}

std::vector<Session::CallTimes> ReadCallTimes(TableReader& table) {
    constexpr std::uint64_t kLatest = std::uint64_t{1} << 62;
    std::vector<Session::CallTimes> calls;
    std::uint64_t time = 0;
    for (const std::vector<std::int64_t>& steps : table.NumberLists("calls_ns")) {
        calls.emplace_back();
        for (const std::int64_t step : steps) {
            time = std::min(time + static_cast<std::uint64_t>(step), kLatest);
            calls.back().push_back(time);
        }
    }
    return calls;
}

Session::Event ReadSessionEvent(TableReader table, std::size_t chips) {
    Session::Event event;
    event.moment.call = Uint32(table.Integer("call", 0, kMaxUint32), 1);
    event.moment.step = Uint32(table.Integer("step", 0, kMaxUint32), 0);
    event.at = static_cast<std::uint64_t>(
        table.Integer("at_ns", 0, std::numeric_limits<std::int64_t>::max() / 2).value_or(0));
    event.action = ReadEventAction(table, chips);
    table.RefuseOtherKeys();
    return event;
}

Session ReadSession(TableReader table, std::size_t chips) {
    Session session;
    session.calls = ReadCallTimes(table);
    session.countsWmi = table.Boolean("wmi").value_or(true);
    for (const TableReader& event : table.Tables("event")) {
        session.events.push_back(ReadSessionEvent(event, chips));
        if (const auto& hardware = session.events.back().action.scenario) {
            chips = ParseScenario(*hardware).usb.size();
        }
    }
    table.RefuseOtherKeys();
    return session;
}

/// Where the [session] table begins. It must be the last part of the scenario.
std::size_t TextBeforeSession(std::string_view text, const TableReader& root) {
    std::size_t begin = 0;
    for (std::size_t line = root.LineOf("session"); line > 1; --line) {
        begin = text.find('\n', begin) + 1;
    }
    const toml::table tail = ParseToml(text.substr(begin));
    if (tail.size() != 1 || !tail.contains("session")) {
        root.Fail("session", "[session] must come last");
    }
    return begin;
}

} // namespace

Scenario ParseScenario(std::string_view text) {
    const toml::table source = ParseToml(text);
    TableReader root(source, "the scenario");
    Scenario scenario;
    scenario.camera = ReadCamera(root.Table("camera"));
    ReadPulls(root.Table("pulls"), scenario.camera.pulls);
    TableReader wiring = root.Table("wiring");
    scenario.camera.wiring = ReadWiring(wiring);
    wiring.RefuseOtherKeys();
    scenario.usb = ReadUsb(root.Tables("usb"));
    if (root.Has("eapi")) {
        scenario.eapi = ReadEapi(root.Table("eapi"));
    }
    if (root.Has("superio")) {
        scenario.superIo = ReadSuperIo(root.Table("superio"));
    }
    if (root.Has("lpt")) {
        scenario.lpt = ReadLpt(root.Table("lpt"));
        // By default Windows reports the port.
        scenario.wmi.ports.push_back({{"LPT1"}, {{std::to_string(scenario.lpt->base)}}});
    }
    if (root.Has("parallel_port")) {
        scenario.wmi = ReadWmi(root.Tables("parallel_port"));
    }
    scenario.inpoutDriver =
        ReadInpoutDriver(root.Table("inpout"), scenario.superIo || scenario.lpt);
    for (TableReader& table : root.Tables("fault")) {
        scenario.faults.push_back(ReadFault(table));
        table.RefuseOtherKeys();
    }
    for (const TableReader& table : root.Tables("event")) {
        scenario.events.push_back(ReadEvent(table, scenario.usb.size()));
    }
    if (root.Has("session")) {
        scenario.session = ReadSession(root.Table("session"), scenario.usb.size());
        scenario.textBeforeSession = TextBeforeSession(text, root);
    }
    root.RefuseOtherKeys();
    return scenario;
}

} // namespace rig
