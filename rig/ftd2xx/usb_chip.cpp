#include "usb_chip.h"

namespace rig::usb {

namespace {

constexpr std::size_t kCameraChannel = 1; // B
constexpr std::size_t kChannelsOfFt2232h = 2;

} // namespace

UsbChip::UsbChip(const UsbChipSetup& start, Installation& camera, const Timeline& time)
    : setup(start), isPlugged(start.plugged), isOpenElsewhere(start.openElsewhere) {
    const bool isDual = setup.type == UsbChipSetup::Type::FT2232H;
    for (std::size_t i = 0; i < (isDual ? kChannelsOfFt2232h : 1); ++i) {
        const bool isWired = setup.camera && i == kCameraChannel;
        channels.emplace_back(isDual, camera, isWired ? kCameraWiring : Wiring{}, time);
    }
}

std::string UsbChip::SerialOf(std::size_t channel) const {
    return channels.size() == 1 ? setup.serial : setup.serial + setup.letters[channel];
}

std::string UsbChip::DescriptionOf(std::size_t channel) const {
    return channels.size() == 1 ? setup.description
                                : setup.description + ' ' + static_cast<char>('A' + channel);
}

void UsbChip::LosePower() {
    for (Channel& channel : channels) {
        channel.Enter(Channel::Mode::Uart);
    }
}

} // namespace rig::usb
