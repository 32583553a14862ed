#include "passed_call.h"

#include <algorithm>

#include "call_parts.h"
#include "host_memory.h"

namespace rig::record {

namespace {

/// Longer than any text that identifies a device.
constexpr std::size_t kLongestText = 256;

constexpr std::size_t kLocationSize = sizeof FT_DEVICE_LIST_INFO_NODE::LocId;

bool IsNumberOut(const Parameter& parameter) {
    return parameter.passing == Passing::InOut ||
           (parameter.passing == Passing::Out && parameter.out != Show::Text);
}

/// Whether an input can be read where an argument leads; others are looked at when they are there.
bool LeadsSomewhere(const Parameter& parameter, std::uint64_t argument, std::uint64_t next) {
    switch (parameter.passing) {
    case Passing::Bytes:
        return IsReadable(argument, static_cast<std::size_t>(next));
    case Passing::TextOrNumber:
        return (next != usb::kBySerialNumber && next != usb::kByDescription) ||
               TextAt(argument, kLongestText).value_or("").size() % kLongestText != 0;
    case Passing::Out:
    case Passing::InOut:
        return !IsNumberOut(parameter) || IsReadable(argument, parameter.size);
    default:
        return true;
    }
}

Value ValueOf(std::optional<std::string> text) {
    return text ? Value(*std::move(text)) : Value();
}

Value ValueOf(std::optional<std::uint64_t> number) {
    return number ? Value(*number) : Value();
}

constexpr bool kIsRecorded[] = {
#define FUNCTION(library, name, text, ordinal, result, parameters, failureModes) true,
#define D2XX_REFUSED(name, ordinal, result, answer) false,
#define WMI(object, name, parameters, failureModes) false,
#include "vendor_functions.inc"
};

} // namespace

bool IsRecorded(const VendorFunction& function) {
    return kIsRecorded[static_cast<std::size_t>(function.id)];
}

PassedCall::Numbers PassedCall::Readable(const VendorFunction& function,
                                         std::span<const std::uint64_t> given) {
    Numbers readable{};
    for (std::size_t i = 0; i < given.size(); ++i) {
        const std::uint64_t next = i + 1 < given.size() ? given[i + 1] : 0;
        if (given[i] != 0 && LeadsSomewhere(function.parameters[i], given[i], next)) {
            readable[i] = given[i];
        }
    }
    return readable;
}

PassedCall::PassedCall(const VendorFunction& function, std::span<const std::uint64_t> given)
    : arguments(Readable(function, given)),
      call(CallOf(function, std::span(arguments).first(given.size()))) {
    for (std::size_t i = 0; i < given.size(); ++i) {
        const Parameter& parameter = function.parameters[i];
        if (arguments[i] != 0 && IsNumberOut(parameter)) {
            before[i] = NumberAt(arguments[i], parameter.size).value_or(0);
        }
    }
}

void PassedCall::Return(std::uint32_t status) {
    call.status = status;
    call.outputs.assign(call.inputs.size(), {});
    if (call.function.id == Function::FT_ListDevices) {
        ReturnList();
        return;
    }
    // From the last to the first: the number of things in an array comes after it.
    for (std::size_t i = call.inputs.size(); i-- > 0;) {
        if (arguments[i] != 0) {
            call.outputs[i] = Output(i);
        }
    }
}

Value PassedCall::Output(std::size_t i) const {
    const Parameter& parameter = call.function.parameters[i];
    const bool isDone = call.status == 0;
    if (parameter.passing == Passing::Things) {
        return Things(i);
    }
    if (IsNumberOut(parameter)) {
        const auto number = NumberAt(arguments[i], parameter.size);
        return isDone || number != before[i] ? ValueOf(number) : Value();
    }
    if (parameter.passing == Passing::Out && isDone) {
        return ValueOf(TextAt(arguments[i], parameter.size));
    }
    return {};
}

/// As many as the next output that is a number says; it is behind the array's length, or that
/// itself.
Value PassedCall::Things(std::size_t i) const {
    const auto& parameters = call.function.parameters;
    const auto count = std::find_if(parameters.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                                    parameters.end(), IsNumberOut);
    if (count == parameters.end()) {
        return {};
    }
    const Value& given = call.outputs[static_cast<std::size_t>(count - parameters.begin())];
    if (!IsThere(given)) {
        return {};
    }
    const std::uint64_t things = std::min(Number(given), Number(call.inputs[i + 1]));
    return ValueOf(BytesAt(arguments[i], static_cast<std::size_t>(things) * parameters[i].size));
}

/// FT_ListDevices, whose flags decide what its first two parameters are.
void PassedCall::ReturnList() {
    const auto flags = static_cast<std::uint32_t>(arguments[2]);
    const bool isByLocation = ListedBy(flags) == usb::kByLocation;
    Value& first = call.outputs[0];
    Value& second = call.outputs[1];
    if (call.status != 0) {
        return;
    }
    if ((flags & usb::kListNumberOnly) != 0) {
        first = ValueOf(NumberAt(arguments[0], sizeof(std::uint32_t)));
    } else if ((flags & usb::kListByIndex) != 0) {
        second = isByLocation ? ValueOf(NumberAt(arguments[1], kLocationSize))
                              : ValueOf(TextAt(arguments[1], kTextRoom));
    } else if ((flags & usb::kListAll) != 0) {
        second = ValueOf(NumberAt(arguments[1], sizeof(std::uint32_t)));
        const auto count = static_cast<std::size_t>(Number(second));
        if (isByLocation) {
            first = ValueOf(BytesAt(arguments[0], count * kLocationSize));
            return;
        }
        Texts texts;
        for (std::size_t i = 0; i < count; ++i) {
            const auto place = NumberAt(arguments[0] + i * sizeof(char*), sizeof(char*));
            if (place.value_or(0) == 0) { // the host ends it with a null pointer
                break;
            }
            texts.push_back(TextAt(*place, kTextRoom).value_or(""));
        }
        first = std::move(texts);
    }
}

} // namespace rig::record
