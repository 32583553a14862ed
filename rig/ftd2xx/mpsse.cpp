#include "mpsse.h"

namespace rig::usb {

namespace {

std::size_t LengthOf(std::uint8_t opcode) {
    return opcode == kSetLowByte || opcode == kSetHighByte ? 3 : 1;
}

} // namespace

std::vector<std::uint8_t> Mpsse::Execute(std::span<const std::uint8_t> stream) {
    std::vector<std::uint8_t> answers;
    for (const std::uint8_t byte : stream) {
        command.push_back(byte);
        if (command.size() == LengthOf(command.front())) {
            ExecuteCommand(answers);
            command.clear();
        }
    }
    return answers;
}

void Mpsse::ExecuteCommand(std::vector<std::uint8_t>& answers) {
    switch (command[0]) {
    case kSetLowByte:
        pins.low.Set(command[1], command[2]);
        break;
    case kSetHighByte:
        pins.high.Set(command[1], command[2]);
        break;
    case kReadLowByte:
        answers.push_back(static_cast<std::uint8_t>(pins.low.Read()));
        break;
    case kReadHighByte:
        answers.push_back(static_cast<std::uint8_t>(pins.high.Read()));
        break;
    default:
        answers.push_back(kBadCommand);
        answers.push_back(command[0]);
        break;
    }
}

} // namespace rig::usb
