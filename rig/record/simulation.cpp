#include "simulation.h"

#include <cstring>
#include <utility>

#include "correction.h"
#include "remote_rig.h"
#include "stand_in.h"

namespace rig::record {

namespace {

using Node = FT_DEVICE_LIST_INFO_NODE;

/// The place of the new handle among the outputs of a call that opens a device.
std::optional<std::size_t> PlaceOfNewHandle(const Call& call) {
    const bool opens = call.function.id == Function::FT_Open || //
                       call.function.id == Function::FT_OpenEx;
    return opens && !call.outputs.empty() ? std::optional(call.outputs.size() - 1) : std::nullopt;
}

/// The handle that the call gives; 0 if it gives none.
std::uint64_t NewHandle(const Call& call) {
    const auto place = PlaceOfNewHandle(call);
    return place ? Number(call.outputs[*place]) : 0;
}

/// Replaces every handle in an answer.
template <class Rename>
void RenameHandles(Call& call, Rename rename) {
    constexpr std::size_t kHandleOfDetail = 7;
    const auto renameValue = [&](Value& handle) {
        if (Number(handle) != 0) {
            handle = rename(Number(handle));
        }
    };
    if (const auto index = PlaceOfNewHandle(call)) {
        renameValue(call.outputs[*index]);
    } else if (call.function.id == Function::FT_GetDeviceInfoDetail && !call.outputs.empty()) {
        renameValue(call.outputs[kHandleOfDetail]);
    } else if (call.function.id == Function::FT_GetDeviceInfoList && !call.outputs.empty()) {
        auto* const nodes = std::get_if<std::string>(&call.outputs[0]);
        for (std::size_t i = 0; nodes != nullptr && (i + 1) * sizeof(Node) <= nodes->size(); ++i) {
            char* const place = nodes->data() + i * sizeof(Node) + offsetof(Node, ftHandle);
            std::uint64_t handle = 0;
            static_assert(sizeof handle == sizeof(Node::ftHandle));
            std::memcpy(&handle, place, sizeof handle);
            handle = handle != 0 ? rename(handle) : 0;
            std::memcpy(place, &handle, sizeof handle);
        }
    }
}

std::uint64_t Find(const std::map<std::uint64_t, std::uint64_t>& handles, std::uint64_t handle) {
    const auto found = handles.find(handle);
    return found != handles.end() ? found->second : handle;
}

} // namespace

std::optional<std::uint64_t> HandleOf(const Call& call) {
    const auto& parameters = call.function.parameters;
    const bool hasOne = !parameters.empty() && parameters.front().in == Show::Handle;
    return hasOne ? std::optional(Number(call.inputs.front())) : std::nullopt;
}

void Simulation::Follow(Call& call) {
    names.Learn(call);
    const std::uint64_t opened = NewHandle(call);
    call.outputs.clear();
    Ask(call, AnswerUntraced);
    Pair(opened, NewHandle(call));
    RenameHandles(call, [&](std::uint64_t handle) { return Find(recorded, handle); });
}

void Simulation::Answer(Call& call) {
    Ask(call, AnswerLocally);
    Pair(NewHandle(call), NewHandle(call)); // the host gets it as it is
    RenameHandles(call, [&](std::uint64_t handle) { return Find(recorded, handle); });
}

void Simulation::Ask(Call& call, void (*answer)(Call&)) {
    const std::vector<Value> inputs = call.inputs;
    if (const auto handle = HandleOf(call)) {
        call.inputs.front() = Find(simulated, *handle);
    }
    FindOnBus(call, names);
    answer(call);
    call.inputs = inputs;
}

void Simulation::Pair(std::uint64_t ofRecording, std::uint64_t ofSimulation) {
    if (ofRecording != 0 && ofSimulation != 0) {
        simulated[ofRecording] = ofSimulation;
        recorded[ofSimulation] = ofRecording;
    }
}

} // namespace rig::record
