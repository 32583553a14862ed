#include <array>
#include <string_view>

#include "bit_port.h"

namespace SLV::Internal {

namespace {

struct Token {
    std::uint8_t mask;
    std::string_view set;
    std::string_view clear;
};

constexpr std::array kLowTokens{
    Token{low::kAccessoriesPowerOff, "APW-", "apw-"},
    Token{low::kCameraPowerOff, "CPW-", "cpw-"},
    Token{low::kDark, "DRK-", "drk-"},
};

constexpr std::array kHighTokens{
    Token{high::kClearMepRest, "CLR-", "clr-"},   Token{high::kNoMepFlag, "MEP-", "mep-"},
    Token{high::kReady, "RDY-", "rdy-"},          Token{high::kAccessoriesPowerOff, "APW-", "apw-"},
    Token{high::kCameraPowerOff, "CPW-", "cpw-"}, Token{high::kDark, "DRK-", "drk-"},
    Token{high::kTrigger, "TRG-", "trg-"},
};

template <typename Tokens>
LogText Describe(std::string_view label, const Tokens& tokens, std::uint8_t value) {
    LogText text;
    text << label;
    for (const Token& token : tokens) {
        text << ((value & token.mask) != 0 ? token.set : token.clear);
    }
    return text;
}

} // namespace

LogText DescribeLowByte(std::uint8_t value) {
    return Describe("Low Byte (BD): ", kLowTokens, value);
}

// A frozen text: no colon and no blank after this label, unlike the low byte's.
LogText DescribeHighByte(std::uint8_t value) {
    return Describe("High Byte (BC)", kHighTokens, value);
}

} // namespace SLV::Internal
