#include "win32_exception.h"

#include "on_a_driver.h"

namespace {

using namespace test;
using Trel::SolvaneDriverLib::Win32Exception;

class Win32ExceptionTest : public OnADriver {};

TEST_F(Win32ExceptionTest, TheSentenceKeepsItsLineBreak) {
    script.systemText = L"Access is denied.\r\n";
    const Win32Exception exception(5, "prefix: ");
    EXPECT_STREQ(exception.what(), "prefix: Access is denied.\r\n (0x00000005)");
    EXPECT_EQ(exception.ErrorCode(), 5u);
    EXPECT_EQ(TakeJournal(), Entries(SentenceRequest(5)));
}

TEST_F(Win32ExceptionTest, TheCodeHasEightLowerCaseDigits) {
    EXPECT_STREQ(Win32Exception(0xDEADBEEF, "").what(), "A sentence.\r\n (0xdeadbeef)");
}

TEST_F(Win32ExceptionTest, WithoutASentenceItHasPrefixAndCode) {
    script.hasSystemText = false;
    EXPECT_STREQ(Win32Exception(5, "prefix: ").what(), "prefix:  (0x00000005)");
}

TEST_F(Win32ExceptionTest, ASentenceOfTwoBytesACharacterIsNotCutOff) {
    script.systemText = L"No.";
    script.bytesPerCharacter = 2;
    EXPECT_STREQ(Win32Exception(5, "prefix: ").what(), "prefix: NNoo.. (0x00000005)");
}

TEST_F(Win32ExceptionTest, TheShortestSentenceIsOneCharacter) {
    script.systemText = L"!";
    EXPECT_STREQ(Win32Exception(5, "prefix: ").what(), "prefix: ! (0x00000005)");
}

TEST_F(Win32ExceptionTest, ALengthWithoutASentenceIsNoSentence) {
    script.handsTextOver = false;
    EXPECT_STREQ(Win32Exception(5, "prefix: ").what(), "prefix:  (0x00000005)");
}

TEST_F(Win32ExceptionTest, AnEmptySentenceIsFreed) {
    script.systemText.clear();
    EXPECT_STREQ(Win32Exception(5, "prefix: ").what(), "prefix:  (0x00000005)");
    EXPECT_EQ(host::kernel::AllocatedTexts(), 0);
}

TEST_F(Win32ExceptionTest, ASentenceThatCannotBeConvertedIsEmptyAndFreed) {
    script.textConverts = false;
    EXPECT_STREQ(Win32Exception(5, "prefix: ").what(), "prefix:  (0x00000005)");
    EXPECT_EQ(host::kernel::AllocatedTexts(), 0);
}

TEST_F(Win32ExceptionTest, TheErrorOfTheThreadIsTakenWhenNoneIsGiven) {
    script.createFileError = 1234567;
    CreateFileW(L"", 0, 0, nullptr, 0, 0, nullptr);
    EXPECT_EQ(Win32Exception("").ErrorCode(), 1234567u);
}

TEST_F(Win32ExceptionTest, ACopyHasCodeAndMessage) {
    const Win32Exception original(5, "prefix: ");
    const Win32Exception copy = original; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_STREQ(copy.what(), original.what());
    EXPECT_EQ(copy.ErrorCode(), 5u);
    EXPECT_NE(copy.what(), original.what()) << "the text is its own";
}

TEST_F(Win32ExceptionTest, IsCaughtAsAStandardException) {
    EXPECT_THROW(throw Win32Exception(5, ""), std::exception);
}

} // namespace
