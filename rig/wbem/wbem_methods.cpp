/// The work of the WMI methods, which answer from the scenario. The caller makes the COM objects
/// for the answers, since it may be in another process.
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>
#include <vector>

#include <objidl.h>
#include <wbemidl.h>

#include "stand_in.h"
#include "wbem_status.h"
#include "wql.h"

namespace rig::wbem {

namespace {

std::vector<WmiPort> ports;

/// Whether the path is root\cimv2 on this computer, with or without the computer name "\\.".
bool IsCimv2(std::string path) {
    std::replace(path.begin(), path.end(), '/', '\\');
    return EqualsIgnoringCase(path, R"(root\cimv2)") ||
           EqualsIgnoringCase(path, R"(\\.\root\cimv2)");
}

/// The instances that a query selects, each as its property: "DeviceID string LPT1".
Texts Find(const Query& query) {
    Texts found;
    const auto add = [&](const char* property, const WmiText& value) {
        found.push_back(std::string(property) + ' ' + value.type + ' ' + value.text);
    };
    for (const WmiPort& port : ports) {
        if (query.about == Query::About::Ports) {
            add("DeviceID", port.deviceId);
        } else if (EqualsIgnoringCase(query.deviceId, port.deviceId.text)) {
            for (const WmiText& start : port.startingAddresses) {
                add("StartingAddress", start);
            }
            break;
        }
    }
    return found;
}

std::string NumberIn(const std::string& text) {
    using Limits = std::numeric_limits<std::int32_t>;
    const long long number = std::strtoll(text.c_str(), nullptr, 0);
    return std::to_string(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

namespace work {

HRESULT CreateInstance(Value& locator, bool isPartOfOther, const std::string& interfaceName) {
    locator = Texts{};
    return isPartOfOther                        ? CLASS_E_NOAGGREGATION
           : interfaceName == kUnknownInterface ? E_NOINTERFACE
                                                : S_OK;
}

HRESULT ConnectServer(Value& services, const std::string& path) {
    services = Texts{};
    return IsCimv2(path) ? S_OK : kInvalidNamespace;
}

HRESULT SetBlanket(bool hasProxy) {
    return hasProxy ? S_OK : E_INVALIDARG;
}

HRESULT ExecQuery(Value& instances, const std::string& language, const std::string& query) {
    const std::optional<Query> parsed = ParseQuery(query);
    instances = parsed ? Find(*parsed) : Texts{};
    return !EqualsIgnoringCase(language, "WQL") ? kInvalidQueryType : parsed ? S_OK : kInvalidQuery;
}

HRESULT Next(Value& returned, std::uint32_t left, std::int32_t, std::uint32_t count) {
    if (count == 0) {
        return kInvalidParameter;
    }
    returned = std::uint64_t{std::min(count, left)};
    return left < count ? kFewerThanAskedFor : S_OK;
}

HRESULT Get(Value& property, const std::string& instance, const std::string& name,
            std::int32_t flags) {
    if (flags != 0) {
        return kInvalidParameter;
    }
    const auto& [itsName, content] = WordAndRest(instance);
    if (!EqualsIgnoringCase(name, itsName)) {
        return kNotFound;
    }
    const auto& [type, text] = WordAndRest(content);
    property = type == "number" ? type + ' ' + NumberIn(text) : content;
    return S_OK;
}

} // namespace work

const Linked standIn({
    .library = kWmi,
    .works =
        {
#define WMI(object, name, ...) {Function::name, [](Call& call) { return Do(work::name, call); }},
#include "vendor_functions.inc"
        },
    .build = [](const Scenario& scenario, const Surroundings&) { ports = scenario.wmi.ports; },
});

} // namespace

} // namespace rig::wbem
