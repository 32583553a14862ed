#include "call.h"

#include <algorithm>
#include <cstring>

namespace rig {

namespace {

template <class T>
T* At(std::uint64_t address) {
    return reinterpret_cast<T*>(static_cast<std::uintptr_t>(address));
}

/// Encodes each half of a surrogate pair by itself, so that a malformed text loses nothing.
std::string Utf8(const wchar_t* text) {
    std::string utf8;
    for (; *text != 0; ++text) {
        const auto c = static_cast<std::uint32_t>(*text);
        const std::uint32_t bytes[] = {0xE0 | (c >> 12 & 0x0F),
                                       (c < 0x800 ? 0xC0U : 0x80U) | (c >> 6 & 0x3F),
                                       c < 0x80 ? c : 0x80 | (c & 0x3F)};
        for (int i = c < 0x80 ? 2 : c < 0x800 ? 1 : 0; i < 3; ++i) {
            utf8 += static_cast<char>(bytes[i]);
        }
    }
    return utf8;
}

/// The input that an argument passes; `next` is the number in the argument after it.
Value Take(const Parameter& parameter, std::uint64_t argument, std::uint64_t next) {
    const bool isNull = argument == 0;
    switch (parameter.passing) {
    case Passing::Number:
        return argument;
    case Passing::Bytes:
        if (isNull) {
            return next == 0 ? Value(std::string()) : Value();
        }
        return std::string(At<const char>(argument), static_cast<std::size_t>(next));
    case Passing::Text:
        return isNull ? Value() : Utf8(At<const wchar_t>(argument));
    case Passing::TextOrNumber:
        if (next != usb::kBySerialNumber && next != usb::kByDescription) {
            return std::uint64_t{static_cast<std::uint32_t>(argument)};
        }
        return isNull ? Value() : std::string(At<const char>(argument));
    case Passing::Either:
        return argument;
    case Passing::InOut:
        return isNull ? Value() : std::uint64_t{*At<const std::uint32_t>(argument)};
    case Passing::Own:
        return *At<const Value>(argument);
    default:
        return isNull && !(parameter.passing == Passing::Things && next == 0) ? Value()
                                                                              : std::uint64_t{1};
    }
}

/// Copies the text with a terminating zero, cut to fit.
void GiveText(const std::string& text, std::size_t room, char* place) {
    const std::size_t size = std::min(text.size(), room - 1);
    *std::copy_n(text.begin(), size, place) = '\0';
}

void Give(const Parameter& parameter, const Value& value, std::uint64_t argument,
          std::uint64_t next) {
    const bool isEither = parameter.passing == Passing::Either;
    const auto* const texts = std::get_if<Texts>(&value);
    const auto* const bytes = std::get_if<std::string>(&value);
    if (parameter.passing == Passing::OwnOut) {
        *At<Value>(argument) = value;
    } else if (isEither && texts != nullptr) {
        char* const* place = At<char* const>(argument); // the host ends it with a null pointer
        for (auto text = texts->begin(); text != texts->end() && *place != nullptr; ++text) {
            GiveText(*text, kTextRoom, *place++);
        }
    } else if (bytes != nullptr && parameter.out == Show::Text) {
        GiveText(*bytes, parameter.size, At<char>(argument));
    } else if (bytes != nullptr) {
        const bool isMany = parameter.passing == Passing::Things;
        const std::size_t room = (isMany ? static_cast<std::size_t>(next) : 1) * parameter.size;
        std::copy_n(bytes->begin(), std::min(bytes->size(), room), At<char>(argument));
    } else {
        const std::uint64_t number = Number(value); // little-endian: the low bytes first
        const std::size_t size = isEither ? sizeof(std::uint32_t) : parameter.size;
        std::memcpy(At<void>(argument), &number, std::min(size, sizeof number));
    }
}

} // namespace

Answerer answerer = nullptr;

Call CallOf(const VendorFunction& function, std::span<const std::uint64_t> arguments) {
    Call call{function, std::vector<Value>(arguments.size()), {}};
    // From the last to the first: a buffer's length is the parameter after it.
    std::uint64_t next = 0;
    for (std::size_t i = arguments.size(); i-- > 0;) {
        call.inputs[i] = Take(function.parameters[i], arguments[i], next);
        next = Number(call.inputs[i]);
    }
    return call;
}

std::uint32_t Ask(const VendorFunction& function, std::initializer_list<std::uint64_t> arguments) {
    try {
        Call call = CallOf(function, {arguments.begin(), arguments.size()});
        answerer(call);
        call.outputs.resize(arguments.size()); // it may have none
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            if (IsThere(call.outputs[i]) && arguments.begin()[i] != 0) {
                const std::uint64_t next =
                    i + 1 < arguments.size() ? Number(call.inputs[i + 1]) : 0;
                Give(function.parameters[i], call.outputs[i], arguments.begin()[i], next);
            }
        }
        return call.status;
    } catch (...) {
        return function.library.outOfMemory;
    }
}

std::string TextOfQuestion(const Call& call, const NameOf& nameOfHandle) {
    std::string text;
    for (std::size_t i = 0; i < call.inputs.size(); ++i) {
        const Show show = call.function.parameters[i].in;
        const Value& input = call.inputs[i];
        if (show != Show::No) {
            text += text.empty() ? "" : ", ";
            text += show == Show::Handle ? nameOfHandle(Number(input)) : Shown(show, input);
        }
    }
    return std::string(call.function.name) + '(' + text + ')';
}

std::string TextOfAnswer(const Call& call) {
    const Show result = call.function.result;
    std::string text = result != Show::No ? " -> " + Shown(result, std::uint64_t{call.status}) : "";
    for (std::size_t i = 0; i < call.outputs.size(); ++i) {
        const Parameter& parameter = call.function.parameters[i];
        if (parameter.out != Show::No && IsThere(call.inputs[i]) && IsThere(call.outputs[i])) {
            text += (parameter.continues ? "." : ", ") + Shown(parameter.out, call.outputs[i]);
        }
    }
    return text;
}

} // namespace rig
