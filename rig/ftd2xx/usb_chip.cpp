#include "usb_chip.h"

#include "d2xx.h"

namespace rig::usb {

namespace {

constexpr std::size_t kCameraChannel = 1; // B

// The highest UART baud rates, from the data sheets.
constexpr std::uint32_t kMostHighSpeedBaud = 12'000'000;
constexpr std::uint32_t kMostFullSpeedBaud = 3'000'000;

/// In the order of UsbChipSetup::Type. FT2232D and FT2232H have the same id and differ in type.
constexpr UsbModel kModels[] = {{FT_DEVICE_2232H, 0x0403'6010, true, 2, 2},
                                {5, 0x0403'6001, false, 1, 0},
                                {4, 0x0403'6010, false, 2, 1},
                                {7, 0x0403'6011, true, 4, 2},
                                {8, 0x0403'6014, true, 1, 1}};

} // namespace

const UsbModel& ModelOf(const UsbChipSetup& setup) {
    return kModels[static_cast<std::size_t>(setup.type)];
}

UsbChip::UsbChip(const UsbChipSetup& start, Installation& camera, const Timeline& time)
    : setup(start), isPlugged(start.plugged), isOpenElsewhere(start.openElsewhere), timeline(time) {
    const UsbModel& model = ModelOf(setup);
    for (std::size_t i = 0; i < model.channels; ++i) {
        const bool isWired = setup.camera && i == kCameraChannel;
        channels.emplace_back(i < model.mpsseChannels,
                              model.isHighSpeed ? kMostHighSpeedBaud : kMostFullSpeedBaud, camera,
                              isWired ? kCameraWiring : Wiring{}, time);
    }
}

char UsbChip::LetterOf(std::size_t channel) const {
    return channel < setup.letters.size() ? setup.letters[channel]
                                          : static_cast<char>('A' + channel);
}

std::string UsbChip::SerialOf(std::size_t channel) const {
    return channels.size() == 1 ? setup.serial : setup.serial + LetterOf(channel);
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
