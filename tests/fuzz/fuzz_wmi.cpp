/// The discovery of the parallel port on arbitrary WMI answers: ports and resources of any text and
/// type, failing calls, COM in any state.

#include <solvane/rig.h>

#include <iterator>
#include <string>
#include <string_view>

#include "com_stand_in.h"
#include "fuzz_check.h"
#include "fuzz_input.h"
#include "host_platform.h"
#include "logger.h"
#include "lpt_finder.h"
#include "watched_log.h"

namespace {

using namespace fuzz;

constexpr const char* kNext = "IEnumWbemClassObject::Next";
constexpr const char* kFunctions[] = {"IClassFactory::CreateInstance",
                                      "IWbemLocator::ConnectServer",
                                      "IClientSecurity::SetBlanket",
                                      "IWbemServices::ExecQuery",
                                      kNext,
                                      "IWbemClassObject::Get",
                                      "*"};

std::string Type(Input& input) {
    constexpr const char* kTypes[] = {"string", "null-string", "null", "number"};
    return kTypes[input.Byte() % std::size(kTypes)];
}

/// A text that a scenario can hold: printable, without the quotes that enclose it.
std::string Text(Input& input) {
    constexpr std::string_view kDigits = "0123456789abcdefxX+- '";
    const std::uint8_t kind = input.Byte();
    std::string text;
    for (const char c : input.Bytes(kind % 64)) {
        const auto byte = static_cast<unsigned char>(c);
        const char printable = kind < 128 ? kDigits[byte % kDigits.size()]
                                          : static_cast<char>(' ' + byte % ('~' - ' ' + 1));
        text += printable == '"' || printable == '\\' ? '?' : printable;
    }
    // longer than any buffer for it
    return kind == 0xFF ? text + std::string(input.Word() % 2048, 'L') : text;
}

std::string ScenarioText(Input& input) {
    std::string scenario;
    for (unsigned ports = input.Byte() % 4; ports > 0; --ports) {
        scenario += "[[parallel_port]]\n";
        if (const std::uint8_t kind = input.Byte(); kind % 2 != 0) {
            scenario += "device_id = \"" + Text(input) + "\"\n";
            scenario += "device_id_type = \"" + Type(input) + "\"\n";
        }
        for (unsigned ranges = input.Byte() % 4; ranges > 0; --ranges) {
            scenario += "[[parallel_port.range]]\nstart = \"" + Text(input) + "\"\n";
            scenario += "type = \"" + Type(input) + "\"\n";
        }
    }
    return scenario;
}

/// Only an enumerator may fail and still return objects; COM forbids this to other functions.
std::uint32_t Kind(Input& input, std::string_view function) {
    constexpr std::uint32_t kKinds[] = {RIG_FAULT_STATUS, RIG_FAULT_SILENT, RIG_FAULT_COUNT,
                                        RIG_FAULT_STATUS | RIG_FAULT_COUNT};
    return kKinds[input.Byte() % (function == kNext ? std::size(kKinds) : 2)];
}

void AddFaults(Input& input) {
    constexpr std::uint32_t kStatuses[] = {1, 0x80004005, 0x80010106, 0x80041002, 0xFFFFFFFF};
    for (unsigned faults = input.Byte() % 4; faults > 0; --faults) {
        rig_fault fault{};
        fault.function = kFunctions[input.Byte() % std::size(kFunctions)];
        fault.call = 1U + input.Byte() % 4;
        fault.times = input.Byte() % 3;
        fault.kind = Kind(input, fault.function);
        const std::uint8_t status = input.Byte();
        fault.status = status < std::size(kStatuses) ? kStatuses[status] : input.DoubleWord();
        fault.count = input.Byte() % 3;
        Check(rig_add_fault(&fault) == 0, "a fault is one of the rig's");
    }
}

void SetUpCom(Input& input) {
    host::com::Reset();
    const std::uint8_t kind = input.Byte();
    host::com::script.hostIsSingleThreaded = kind % 4 == 1;
    if (kind % 4 == 2) {
        host::com::script.initialize = static_cast<HRESULT>(input.DoubleWord());
    }
    if (kind % 4 == 3) {
        host::com::script.initializeSecurity =
            static_cast<HRESULT>(input.Byte() % 2 == 0 ? 0x80010119 : input.DoubleWord());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    host::Record(false);
    Input input(bytes, size);
    WatchedLog log;
    SetUpCom(input);
    Check(rig_load(ScenarioText(input).c_str()) == 0, "a scenario is one");
    AddFaults(input);

    const unsigned short address = FindLptBaseAddress(SLV::Internal::s_logger);
    // A search that finds an address logs nothing, except that COM was already initialised.
    Check(address == 0 || log.Lines() == (host::com::script.hostIsSingleThreaded ? 1U : 0U),
          "an address is found without an error");
    Check(log.Lines() <= 2, "one line an error");
    Check(rig_wbem_interfaces() == 0, "every interface is released");
    Check(host::com::AliveStrings() == 0, "every text is freed");
    Check(host::com::Initialisations() == 0, "COM is left as it was");
    return 0;
}
