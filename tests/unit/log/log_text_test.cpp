#include "log_text.h"

#include <cstdint>
#include <limits>
#include <locale>
#include <string>

#include <gtest/gtest.h>

#include "failing_memory.h"

namespace {

using SLV::Internal::Address;
using SLV::Internal::Hex;
using SLV::Internal::LogText;

template <typename... Pieces>
std::string Text(const Pieces&... pieces) {
    LogText text;
    (static_cast<void>(text << pieces), ...);
    EXPECT_EQ(LogText::Hold(text).CString(), text.View());
    return std::string(text.View());
}

TEST(LogText, TakesTextsAndBytesAsTheyAre) {
    EXPECT_EQ(Text(), "");
    EXPECT_EQ(Text("a ", std::string("string"), ' ', std::string_view("view")), "a string view");
    EXPECT_EQ(Text("[", static_cast<char>(8), "]"), "[\b]");
}

TEST(LogText, WritesNumbersInDecimal) {
    EXPECT_EQ(Text(0), "0");
    EXPECT_EQ(Text(static_cast<short>(-3)), "-3");
    EXPECT_EQ(Text(std::numeric_limits<std::int16_t>::min()), "-32768");
    EXPECT_EQ(Text(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(Text(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
    EXPECT_EQ(Text(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(Text(std::uint16_t{65535}), "65535");
}

TEST(LogText, NumbersAreTheSameInEveryLocale) {
    struct Thousands : std::numpunct<char> {
        std::string do_grouping() const override { return "\3"; }
        char do_thousands_sep() const override { return '.'; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale(), new Thousands));
    EXPECT_EQ(Text(1'234'567), "1234567");
    std::locale::global(before);
}

TEST(LogText, HexIsLowerCaseWithoutLeadingZeros) {
    EXPECT_EQ(Text(Hex(std::uint32_t{0x04036010})), "4036010");
    EXPECT_EQ(Text(Hex(std::uint32_t{0xFFFFFFFE})), "fffffffe");
    EXPECT_EQ(Text(Hex(std::numeric_limits<std::uint64_t>::max())), "ffffffffffffffff");
    EXPECT_EQ(Text(Hex(std::uint32_t{0})), "0");
    EXPECT_EQ(Text(Hex(std::uint8_t{0x41})), "41") << "a byte is a number, not a character";
    EXPECT_EQ(Text(Hex(std::uint32_t{255}), " ", 255), "ff 255") << "what follows is decimal";
}

TEST(LogText, AnAddressIsSixteenUpperCaseDigits) {
    EXPECT_EQ(Text(Address{nullptr}, 255), "0000000000000000255");
    EXPECT_EQ(Text(Address{reinterpret_cast<void*>(std::uintptr_t{0x1a2b3c4d5e6f})}),
              "00001A2B3C4D5E6F");
    EXPECT_EQ(Text(Address{reinterpret_cast<void*>(~std::uintptr_t{0})}), "FFFFFFFFFFFFFFFF");
}

TEST(LogText, GrowsWithoutLimit) {
    LogText text;
    std::string expected;
    for (int i = 0; i < 100'000; ++i) {
        text << '.';
        text << i;
        expected += "." + std::to_string(i);
    }
    EXPECT_EQ(text.View(), expected);
    text.Clear();
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_STREQ(LogText::Hold(text).CString(), "");
}

TEST(LogText, AClearedTextGivesItsMemoryBack) {
    const std::string longText(1000, 'x');
    const std::size_t held = Allocations() - Releases();
    LogText text;
    text << longText;
    EXPECT_EQ(Allocations() - Releases(), held + 1);
    text.Clear();
    EXPECT_EQ(Allocations() - Releases(), held);
}

TEST(LogText, ATextOfTheUsualLengthAsksForNoMemory) {
    const FailingMemory memory(1, FailingMemory::kForEver);
    LogText text;
    for (int i = 0; i < 240; ++i) {
        text << 'x';
    }
    EXPECT_EQ(memory.Refusals(), 0u);
    EXPECT_EQ(text.View().size(), 240u);
}

TEST(LogText, OnlyTextWithoutMemoryIsLeftOut) {
    LogText text;
    const std::string longText(1000, 'x');
    {
        const FailingMemory memory(1, FailingMemory::kForEver);
        text << "begin ";
        text << longText;
        text << "more";
        EXPECT_EQ(memory.Refusals(), 2u);
    }
    EXPECT_EQ(text.View(), "begin " + std::string(240 - 6, 'x'));
    text << " end";
    EXPECT_EQ(text.View(), "begin " + std::string(240 - 6, 'x') + " end") << "memory is back";
}

TEST(LogText, NumbersWithoutMemoryAreCut) {
    LogText text;
    text << std::string(238, 'x');
    const FailingMemory memory(1, FailingMemory::kForEver);
    text << 1234;
    EXPECT_TRUE(text.View().ends_with("xx12"));
    EXPECT_EQ(text.View().size(), 240u);
    text << 5;
    EXPECT_EQ(memory.Refusals(), 2u);
}

// ---- Held texts: read by a host's function while the library writes on ----

/// Short texts are in the object, long ones on the heap.
class Holding : public testing::TestWithParam<std::size_t> {
  protected:
    Holding() { line << letters; }

    const std::string letters = std::string(GetParam(), 'a');
    LogText line;
};

INSTANTIATE_TEST_SUITE_P(ShortAndLong, Holding, testing::Values(std::size_t{5}, std::size_t{900}));

TEST_P(Holding, WritingContinuesInACopy) {
    {
        const LogText::Hold held(line);
        line << "more";
        EXPECT_EQ(line.View(), letters + "more");
        EXPECT_EQ(held.CString(), letters);
    }
    EXPECT_EQ(line.View(), letters + "more") << "what was written stays";
    {
        const LogText::Hold held(line);
        line << 7;
        EXPECT_EQ(held.CString(), letters + "more");
    }
    EXPECT_EQ(line.View(), letters + "more7");
}

TEST_P(Holding, AClearedLineThatWasHeldGivesItsMemoryBack) {
    const std::size_t own = letters.size() > 240 ? 1 : 0;
    const std::size_t blocks = Allocations() - Releases();
    { const LogText::Hold held(line); }
    line.Clear();
    EXPECT_EQ(Allocations() - Releases(), blocks - own);
}

TEST_P(Holding, AnUntouchedTextStaysWithoutMemory) {
    const FailingMemory memory(1, FailingMemory::kForEver);
    {
        const LogText::Hold held(line);
        EXPECT_EQ(held.CString(), letters);
    }
    EXPECT_EQ(line.View(), letters);
    EXPECT_EQ(memory.Refusals(), 0u);
}

TEST_P(Holding, AClearedTextIsEmptyAgain) {
    {
        const LogText::Hold held(line);
        line.Clear();
        EXPECT_TRUE(line.IsEmpty());
        const LogText::Hold empty(line);
        EXPECT_STREQ(empty.CString(), "");
        line << "new";
        EXPECT_EQ(held.CString(), letters);
    }
    EXPECT_EQ(line.View(), "new");
}

TEST_P(Holding, AHeldTextCanBeHeldAgain) {
    {
        const LogText::Hold first(line);
        {
            const LogText::Hold second(line);
            line << "more";
            EXPECT_EQ(second.CString(), letters);
        }
        EXPECT_EQ(first.CString(), letters);
        const LogText::Hold third(line);
        EXPECT_EQ(third.CString(), letters + "more");
    }
    EXPECT_EQ(line.View(), letters + "more");
}

TEST_P(Holding, WithoutMemoryForACopyTheHeldTextStays) {
    {
        const LogText::Hold held(line);
        const FailingMemory memory(1, FailingMemory::kForEver);
        line << "lost" << 7;
        EXPECT_EQ(memory.Refusals(), 2u);
        EXPECT_EQ(held.CString(), letters);
    }
    EXPECT_EQ(line.View(), letters);
    line << " kept";
    EXPECT_EQ(line.View(), letters + " kept");
}

} // namespace
