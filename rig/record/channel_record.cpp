#include "channel_record.h"

#include "mpsse.h"

namespace rig::record {

namespace {

constexpr std::uint32_t kEightPins = 0xFF;

/// Of the commands that hosts send which do nothing but move pins.
std::size_t LengthOf(std::uint8_t opcode) {
    constexpr std::uint8_t kSetDivisor = 0x86;
    const bool hasTwoBytes =
        opcode == usb::kSetLowByte || opcode == usb::kSetHighByte || opcode == kSetDivisor;
    return hasTwoBytes ? 3 : 1;
}

} // namespace

ChannelRecord::ChannelRecord(LineLog& lineLog)
    : log(lineLog), low(lineLog, usb::kLowWires), high(lineLog, usb::kHighWires) {}

void ChannelRecord::Enter(bool becomesMpsse, const Instant& when) {
    isMpsse = becomesMpsse;
    command.clear();
    low.SetOutputs(0, when);
    high.SetOutputs(0, when);
}

void ChannelRecord::Write(std::string_view bytes, Instant when) {
    for (const char byte : bytes) {
        if (!isMpsse) {
            return;
        }
        command.push_back(static_cast<std::uint8_t>(byte));
        if (command.size() == LengthOf(command.front())) {
            Execute(when);
            ++when.order;
            command.clear();
        }
    }
}

void ChannelRecord::Read(std::string_view bytes) {
    while (!bytes.empty() && !asked.empty()) {
        const Asked question = asked.front();
        asked.pop_front();
        const auto byte = static_cast<std::uint8_t>(bytes.front());
        if (question.pins != nullptr) {
            question.pins->Read(byte, kEightPins, question.when, question.driven);
            bytes.remove_prefix(1);
        } else if (byte == usb::kBadCommand && bytes.size() > 1 &&
                   static_cast<std::uint8_t>(bytes[1]) == question.command) {
            bytes.remove_prefix(2);
        } // else the chip knew the command, and had nothing to say to it
    }
}

void ChannelRecord::Execute(const Instant& when) {
    switch (command[0]) {
    case usb::kSetLowByte:
    case usb::kSetHighByte: {
        PinRecord& pins = command[0] == usb::kSetLowByte ? low : high;
        pins.SetLevels(command[1], kEightPins, when);
        pins.SetOutputs(command[2], when);
        break;
    }
    case usb::kReadLowByte:
        asked.push_back({&low, command[0], when, log.Driven()});
        break;
    case usb::kReadHighByte:
        asked.push_back({&high, command[0], when, log.Driven()});
        break;
    default:
        asked.push_back({nullptr, command[0], when, {}});
        break;
    }
}

} // namespace rig::record
