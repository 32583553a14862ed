#include "log_format.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

using SLV::Internal::Address;
using SLV::Internal::Hex;

template <typename... Pieces>
std::string Text(const Pieces&... pieces) {
    std::ostringstream stream;
    (stream << ... << pieces);
    return stream.str();
}

TEST(LogFormat, HexIsLowerCaseWithoutLeadingZeros) {
    EXPECT_EQ(Text(Hex(std::uint32_t{0x04036010})), "4036010");
    EXPECT_EQ(Text(Hex(std::uint32_t{0xFFFFFFFE})), "fffffffe");
    EXPECT_EQ(Text(Hex(std::uint32_t{0})), "0");
}

TEST(LogFormat, AByteIsANumberNotACharacter) {
    EXPECT_EQ(Text(Hex(std::uint8_t{0x41})), "41");
}

TEST(LogFormat, TheStreamIsBackAtDecimalRightAfterTheNumber) {
    EXPECT_EQ(Text(Hex(std::uint32_t{255}), " ", 255), "ff 255");
}

TEST(LogFormat, AnAddressIsSixteenUpperCaseDigits) {
    EXPECT_EQ(Text(Address{nullptr}), "0000000000000000");
    EXPECT_EQ(Text(Address{reinterpret_cast<void*>(std::uintptr_t{0x1a2b3c4d5e6f})}),
              "00001A2B3C4D5E6F");
    EXPECT_EQ(Text(Address{reinterpret_cast<void*>(~std::uintptr_t{0})}), "FFFFFFFFFFFFFFFF");
}

TEST(LogFormat, AnAddressLeavesTheStreamAlone) {
    EXPECT_EQ(Text(Address{nullptr}, 255), "0000000000000000255");
}

} // namespace
