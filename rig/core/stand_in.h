/// A vendor interface of the rig, as the core sees it. Linking one in makes its hardware available.
#pragma once

#include <map>
#include <optional>
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

/// Carries out a call: fills in its outputs and returns the vendor's status.
using Work = std::uint32_t (*)(Call&);

/// What hosts reach the lines by, as people see it, and what they have open.
struct Equipment {
    struct Chip {
        std::string kind;                      ///< such as "FT2232H"
        std::string name;                      ///< its serial number; empty: it has none
        std::optional<std::size_t> index = {}; ///< its number among the chips with a plug
        bool isPlugged = true;
        bool hasCamera = true; ///< whether it is wired to the camera
    };

    std::vector<Chip> chips;
    std::multimap<HostNumber, std::string> handles; ///< the names of what each host has open
};

struct StandIn {
    const Library& library; ///< the vendor DLL that it stands in for
    std::map<Function, Work> works;

    /// Replaces its hardware by that of a new scenario.
    void (*build)(const Scenario&, const Surroundings&);

    /// The vendor's status if the call cannot reach its hardware, as with a closed handle; else 0.
    std::uint32_t (*refusal)(const Call&) = [](const Call&) { return std::uint32_t{0}; };

    NameOf nameOf = [](std::uint64_t) { return std::string("?"); };

    /// Frees what a host held that has ended.
    void (*release)(HostNumber host) = [](HostNumber) {};

    /// Unplugs one of the scenario's USB chips or plugs it in again.
    void (*setPlugged)(unsigned chip, bool plugged) = [](unsigned, bool) {};

    /// Switches its power off or on, as when the PC sleeps and resumes.
    void (*setAsleep)(bool) = [](bool) {};

    void (*describe)(Equipment&) = [](Equipment&) {};

    /// Opens InpOut's kernel driver.
    void (*openDriver)() = [] {};
};

/// All stand-ins that are linked in.
inline std::vector<StandIn>& StandIns() {
    static std::vector<StandIn> standIns;
    return standIns;
}

/// The one of a library, which must be linked in.
const StandIn& StandInFor(const Library& library);

/// Answers a call where the hardware is. In this process, that counts the call, applies a planned
/// fault and writes the journal.
void Answer(Call& call);

/// Answers a call with the hardware of this process, counted and with faults, but not in the
/// journal.
void AnswerUntraced(Call& call);

/// Answers a call where this process has no hardware, as if it had just gone: an open device fails.
/// Not in the journal.
void AnswerAsGone(Call& call);

/// Answers a call with the hardware of this process, without counting, faults or journal.
void AnswerPlainly(Call& call);

/// Registers a stand-in. Each has one as a static object.
struct Linked {
    explicit Linked(StandIn standIn) {
        StandIns().push_back(std::move(standIn));
        answerer = Answer;
    }
};

using Bytes = std::span<const std::uint8_t>;

/// A parameter as the type that the function takes: an input as a number, bytes, a text or texts,
/// or as const Value& if it may be several of these; an output as Value&.
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

/// Calls `work` with as many of the call's parameters as it takes. A void function always succeeds.
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
