/// A vendor interface of the rig, as its core sees it. Being linked in is what makes its hardware
/// available.
#pragma once

#include <map>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "call.h"
#include "host_number.h"
#include "scenario.h"
#include "surroundings.h"

namespace rig {

/// Does what a call asks for: fills in what comes out, and returns the vendor's status.
using Work = std::uint32_t (*)(Call&);

struct Front {
    const Library& library; ///< whose functions it answers
    std::map<Function, Work> works;

    /// Replaces its hardware by that of a new scenario.
    void (*build)(const Scenario&, const Surroundings&);

    /// Why a call cannot be about its hardware, in the vendor's status; 0 if it can.
    std::uint32_t (*refusal)(const Call&) = [](const Call&) { return std::uint32_t{0}; };

    NameOf nameOf = [](std::uint64_t) { return std::string("?"); };

    /// Lets go of what a host holds that has left.
    void (*release)(HostNumber host) = [](HostNumber) {};

    /// Pulls or puts back the plug of a USB chip, one of those that the scenario has.
    void (*setPlugged)(unsigned chip, bool plugged) = [](unsigned, bool) {};

    /// Takes the PC's power away from its hardware or gives it back, as sleep and resume do.
    void (*setAsleep)(bool) = [](bool) {};

    /// Opens InpOut's kernel driver.
    void (*openDriver)() = [] {};
};

/// Those that are linked in.
inline std::vector<Front>& Fronts() {
    static std::vector<Front> fronts;
    return fronts;
}

/// Answers a call where the hardware is: here, counted, at fault if that is planned, and
/// journalled.
void Answer(Call& call);

/// Answers a call with their hardware and does nothing else.
void AnswerPlainly(Call& call);

/// A front as a static object.
struct Linked {
    explicit Linked(Front front) {
        Fronts().push_back(std::move(front));
        answerer = Answer;
    }
};

using Bytes = std::span<const std::uint8_t>;

/// A parameter as the function behind it receives it: what went in as a number, bytes, a text or
/// texts; const Value& for what may be several of these; Value& for what comes out.
template <class T>
T Argument(const Value& input, Value& output) {
    if constexpr (std::is_same_v<T, Value&>) {
        return output;
    } else if constexpr (std::is_same_v<T, const Value&>) {
        return input;
    } else if constexpr (std::is_same_v<T, Bytes>) {
        const auto& bytes = std::get<std::string>(input);
        return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
    } else if constexpr (std::is_reference_v<T>) {
        return std::get<std::remove_cvref_t<T>>(input);
    } else {
        return static_cast<T>(Number(input));
    }
}

/// Has a function do the work of a call, with as many of the call's parameters as it has. One that
/// returns nothing succeeds.
template <class Status, class... Arguments>
std::uint32_t Do(Status (*work)(Arguments...), Call& call) {
    return [&]<std::size_t... i>(std::index_sequence<i...>) {
        if constexpr (std::is_void_v<Status>) {
            work(Argument<Arguments>(call.inputs[i], call.outputs[i])...);
            return std::uint32_t{0};
        } else {
            return static_cast<std::uint32_t>(
                work(Argument<Arguments>(call.inputs[i], call.outputs[i])...));
        }
    }
    (std::index_sequence_for<Arguments...>());
}

} // namespace rig
