/// The text of recordings: what is written is read again, and what is damaged is refused with its
/// line and the reason.
#include "recording_text.h"

#include <algorithm>
#include <array>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test {
namespace {

using namespace rig::record;
using rig::Call;
using rig::Function;
using rig::Texts;
using rig::Value;

constexpr const char* kHead = "solvane recording 1\n"
                              "program: viewer.exe\n"
                              "system: Windows 10.0.19045\n"
                              "library: FTD2XX.dll 3.2.14.0 sha256=00ff path=C:\\My files\\a.dll\n"
                              "wmi-port: \"LPT1\" \"888\" 1912 -\n"
                              "wmi-port: -\n"
                              "anonymous: yes\n"
                              "\n";

constexpr const char* kCalls = "> 0.000 4711 1 FT_Open(1)\t1 1\n"
                               "< 1.002 4711 1 FT_Open -> 0\t0 997 - 4112\n"
                               "> 12.345 4711 2 FT_Write(SLV1B, [82 41 4f])\t4112 #82414f 3 1\n"
                               "> 12.400 17 3 Out32(0x378, 0xff)\t888 255\n"
                               "! 12.401 FT_IoCtl passed\n"
                               "< 12.500 17 3 Out32\t0 0\n"
                               "< 13.000 4711 2 FT_Write -> 0, 3\t0 0 - - - 3\n"
                               "> 14.000 4711 4 FT_GetQueueStatus(?)\t0 -\n"
                               "! 20.000 end\n";

Call CallOf(Function function, std::vector<Value> inputs, std::vector<Value> outputs = {},
            std::uint32_t status = 0) {
    return {rig::Described(function), std::move(inputs), std::move(outputs), status};
}

constexpr std::uint64_t kHere = 1; ///< a pointer that is not null

/// The recording that kHead and kCalls say.
Recording Example() {
    return {
        {"viewer.exe",
         "Windows 10.0.19045",
         {{"FTD2XX.dll", "3.2.14.0", "00ff", "C:\\My files\\a.dll"}},
         {{std::string("LPT1"), {std::string("888"), std::uint64_t{1912}, Value()}}, {Value(), {}}},
         true},
        {{1, 4711, 0,
          CallOf(Function::FT_Open, {std::uint64_t{1}, kHere}, {Value(), std::uint64_t{4112}}), "",
          1002, 997},
         {2, 4711, 12345,
          CallOf(Function::FT_Write,
                 {std::uint64_t{4112}, std::string("\x82\x41\x4f"), std::uint64_t{3}, kHere},
                 {Value(), Value(), Value(), std::uint64_t{3}}),
          "SLV1B", 13000},
         {3, 17, 12400, CallOf(Function::Out32, {std::uint64_t{888}, std::uint64_t{255}}), "",
          12500},
         {4, 4711, 14000, CallOf(Function::FT_GetQueueStatus, {std::uint64_t{0}, Value()}), "?"}},
        {{12401, "FT_IoCtl passed"}},
        true};
}

void ExpectSame(const Recording& one, const Recording& other) {
    EXPECT_EQ(one.head, other.head);
    EXPECT_EQ(one.remarks, other.remarks);
    EXPECT_EQ(one.isEnded, other.isEnded);
    ASSERT_EQ(one.calls.size(), other.calls.size());
    for (std::size_t i = 0; i < one.calls.size(); ++i) {
        const RecordedCall& a = one.calls[i];
        const RecordedCall& b = other.calls[i];
        const auto facts = [](const RecordedCall& c) {
            return std::tie(c.number, c.thread, c.begun, c.handle, c.returned, c.lastError,
                            c.call.inputs, c.call.outputs, c.call.status);
        };
        EXPECT_EQ(a.call.function.id, b.call.function.id) << i;
        EXPECT_TRUE(facts(a) == facts(b)) << QuestionOf(a) << " and " << QuestionOf(b);
    }
}

TEST(RecordingTextTest, IsReadAsItIsDocumented) {
    const Recording read = ReadRecording(std::string(kHead) + kCalls);
    ExpectSame(read, Example());
    EXPECT_TRUE(read.cutLines.empty());
}

TEST(RecordingTextTest, IsWrittenAsItIsDocumented) {
    const Recording example = Example();
    std::string text;
    AppendHead(text, example.head);
    EXPECT_EQ(text, kHead);
    text.clear();
    const auto& calls = example.calls;
    const auto ask = [&](std::size_t i) {
        AppendQuestion(text, calls[i].begun, calls[i].thread, calls[i].number, calls[i].call,
                       calls[i].handle);
    };
    const auto answer = [&](std::size_t i) {
        AppendAnswer(text, *calls[i].returned, calls[i].thread, calls[i].number, calls[i].call,
                     calls[i].lastError);
    };
    ask(0);
    answer(0);
    ask(1);
    ask(2);
    AppendRemark(text, example.remarks[0].time, example.remarks[0].text);
    answer(2);
    answer(1);
    ask(3);
    AppendEnd(text, 20'000);
    EXPECT_EQ(text, kCalls);
    ExpectSame(ReadRecording(TextOf(example)), example);
}

/// Nothing, two numbers, four texts or bytes, and two lists.
const std::array<Value, 9> kValues{Value(),
                                   std::uint64_t{0},
                                   ~std::uint64_t{0},
                                   std::string(),
                                   std::string("a \\b"),
                                   std::string("\0\n\t\"\xff", 5),
                                   std::string("string LPT1\r\n"),
                                   Texts{},
                                   Texts{"", "a b", "]", "\"", "\x80"}};

/// How many of them a host can pass.
std::size_t InputsOf(const rig::Parameter& parameter) {
    switch (parameter.passing) {
    case rig::Passing::Number:
    case rig::Passing::Either:
        return 2;
    case rig::Passing::Bytes:
    case rig::Passing::Text:
        return 5;
    case rig::Passing::TextOrNumber:
        return 7;
    case rig::Passing::Own:
        return 4;
    default: // pointers
        return 3;
    }
}

/// How many of them can be answered.
std::size_t OutputsOf(const rig::Parameter& parameter) {
    return parameter.passing == rig::Passing::Either ? 1 // the flags ask for nothing
           : parameter.out == rig::Show::Property    ? 5
           : parameter.out == rig::Show::Text        ? 7
                                                     : 9;
}

Value AnyInput(const rig::Parameter& parameter) {
    const rig::Passing passing = parameter.passing;
    return passing == rig::Passing::Own || passing == rig::Passing::Bytes
               ? Value(std::string("\x01"))
           : passing == rig::Passing::Text ? Value()
                                           : Value(kHere);
}

/// A recording of one call, all of whose parameters but one are as usual.
Recording WithOne(const rig::VendorFunction& function, std::size_t index, const Value& value,
                  bool isInput) {
    Recording recording;
    recording.calls.push_back({1, 2, 3, Call{function, {}, {}}, "", 4, 5});
    RecordedCall& only = recording.calls.front();
    std::ranges::transform(function.parameters, std::back_inserter(only.call.inputs), AnyInput);
    only.call.outputs.resize(isInput ? 0 : function.parameters.size());
    (isInput ? only.call.inputs : only.call.outputs)[index] = value;
    if (function.parameters.front().in == rig::Show::Handle) {
        only.handle = "a (strange), name";
    }
    return recording;
}

bool IsWrittenAndReadAgain(const Recording& recording) {
    try {
        const std::string text = TextOf(recording);
        ExpectSame(ReadRecording(text), recording);
        return true;
    } catch (const std::bad_variant_access&) { // the journal cannot show it
    } catch (const RecordingError& refusal) {
        EXPECT_THAT(refusal.what(), testing::AnyOf(testing::HasSubstr("has no such parameter"),
                                                   testing::HasSubstr("does not give parameter")));
    }
    return false;
}

TEST(RecordingTextTest, NothingOfACallIsLost) {
    for (const rig::VendorFunction& function : rig::VendorFunctions()) {
        for (std::size_t i = 0; i < function.parameters.size(); ++i) {
            const auto isKept = [&](bool isInput) {
                return std::ranges::count_if(kValues, [&](const Value& value) {
                    return IsWrittenAndReadAgain(WithOne(function, i, value, isInput));
                });
            };
            const rig::Parameter& parameter = function.parameters[i];
            EXPECT_EQ(static_cast<std::size_t>(isKept(true)), InputsOf(parameter))
                << function.name << ' ' << i;
            EXPECT_EQ(static_cast<std::size_t>(isKept(false)), OutputsOf(parameter))
                << function.name << ' ' << i;
        }
    }
}

TEST(RecordingTextTest, WhatIsCutIsReadUpToThere) {
    const std::string text = std::string(kHead) + kCalls;
    const std::size_t head = std::string(kHead).size();
    for (std::size_t length = 0; length < text.size(); ++length) {
        const std::string cut = text.substr(0, length);
        if (length < head) {
            EXPECT_THROW(ReadRecording(cut), RecordingError) << length;
            continue;
        }
        const auto lines = std::count(cut.begin(), cut.end(), '\n');
        const Recording read = ReadRecording(cut);
        EXPECT_FALSE(read.isEnded);
        const bool isCutInALine = cut.back() != '\n';
        EXPECT_EQ(read.cutLines, isCutInALine ? std::vector{static_cast<std::size_t>(lines) + 1}
                                              : std::vector<std::size_t>{});
        // The same with the room that was reserved for more.
        EXPECT_EQ(ReadRecording(cut + std::string(40, '\0')).cutLines, read.cutLines);
        std::size_t begun = 0;
        for (std::size_t i = cut.find("\n> "); i < cut.rfind('\n'); i = cut.find("\n> ", i + 1)) {
            ++begun;
        }
        EXPECT_EQ(read.calls.size(), begun) << cut;
    }
}

TEST(RecordingTextTest, RoomThatWasNeverWrittenIsSkipped) {
    std::string text = std::string(kHead) + kCalls;
    text.insert(text.find("> 12.400"), 30, '\0');
    text.insert(text.find("! 12.401"), std::string("> 12.400 18 9 Out3") + std::string(9, '\0'));
    const Recording read = ReadRecording(text);
    ExpectSame(read, Example());
    EXPECT_EQ(read.cutLines, std::vector<std::size_t>{13});
}

TEST(RecordingTextTest, ALineOfWhichOnlyTheEndWasWrittenIsCut) {
    const std::string text = std::string(kHead) + kCalls;
    const auto line = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    for (const std::string end : {"\n", "\r\n", ")\n"}) {
        const Recording read = ReadRecording(text + std::string(9, '\0') + end);
        ExpectSame(read, Example());
        EXPECT_EQ(read.cutLines, std::vector{line}) << end;
    }
}

// As a host leaves it that is killed while a line is being copied: its first character is last.
TEST(RecordingTextTest, ALineWithoutItsBeginningIsCut) {
    const std::string all = std::string(kHead) + kCalls;
    for (std::size_t begin = all.find("> 0.000"); begin < all.size();) {
        const std::size_t end = all.find('\n', begin) + 1;
        const std::size_t textEnd = all.find_first_of("(-\n", begin);
        const auto whole = ReadRecording(all.substr(0, begin));
        for (std::size_t missing = begin + 1; missing < textEnd; ++missing) {
            std::string torn = all.substr(0, end);
            std::fill(torn.begin() + static_cast<std::ptrdiff_t>(begin),
                      torn.begin() + static_cast<std::ptrdiff_t>(missing), '\0');
            const Recording read = ReadRecording(torn);
            ExpectSame(read, whole);
            const auto line = std::count(torn.begin(), torn.end(), '\n');
            EXPECT_EQ(read.cutLines, std::vector{static_cast<std::size_t>(line)}) << torn;
        }
        begin = end;
    }
}

/// Whether it is read that FT_ListDevices gave these.
bool IsListed(std::uint64_t flags, std::vector<Value> outputs) {
    outputs.emplace_back();
    Recording recording;
    recording.calls.push_back(
        {1, 2, 3, CallOf(Function::FT_ListDevices, {kHere, kHere, flags}, std::move(outputs)), "",
         4});
    try {
        ReadRecording(TextOf(recording));
        return true;
    } catch (const std::bad_variant_access&) { // the journal cannot show it
        return false;
    } catch (const RecordingError& refusal) {
        EXPECT_THAT(refusal.what(), testing::EndsWith(" with these flags"));
        return false;
    }
}

// What else would be written over a host's memory.
TEST(RecordingTextTest, AListIsOfWhatItsFlagsAskFor) {
    using namespace rig::usb;
    const Value none;
    const Value number = std::uint64_t{2};
    const Value text = std::string("SLV1A");
    const Value texts = Texts{"SLV1A"};
    struct Case {
        std::uint32_t flags;
        std::vector<Value> first;
        std::vector<Value> second;
    };
    const Case cases[] = {
        {kListNumberOnly, {none, number}, {none}},
        {kListByIndex | kBySerialNumber, {none}, {none, text}},
        {kListByIndex | kByLocation, {none}, {none, number}},
        {kListAll | kByDescription, {none, texts}, {none, number}},
        {kListAll | kByLocation, {none, text}, {none, number}},
        {kByLocation, {none}, {none}},
    };
    for (const Case& one : cases) {
        for (const Value& value : {none, number, text, texts}) {
            EXPECT_EQ(IsListed(one.flags, {value, none}), std::ranges::count(one.first, value) == 1)
                << one.flags << ' ' << value.index();
            EXPECT_EQ(IsListed(one.flags, {none, value}),
                      std::ranges::count(one.second, value) == 1)
                << one.flags << ' ' << value.index();
        }
    }
}

struct Damage {
    const char* from;
    const char* to;
    const char* reason;
};

TEST(RecordingTextTest, WhatIsDamagedIsRefusedWithItsLine) {
    const Damage damages[] = {
        {"solvane recording 1", "{\"a\": 1}", "line 1: this is no recording"},
        {"solvane recording 1", "solvane recording 2",
         "line 1: a recording of version '2', which this release does not know"},
        {"program: ", "programme: ", "line 2: 'program:' is missing"},
        {"system: ", "", "line 3: 'system:' is missing"},
        {" sha256=00ff", "", "line 4: a library has a name, a version, sha256= and path="},
        {"\"888\"", "\"888", "line 5: '\"888 1912 -' is no value"},
        {"\"888\"", "[ 888 ]", "line 5: '888' is no value"},
        {"anonymous: yes", "anonymous: maybe", "line 7: 'anonymous:' is yes or no"},
        {"anonymous: yes\n", "", "line 7: 'anonymous:' is missing"},
        {"yes\n\n", "yes\n", "line 8: an empty line ends the head"},
        {"> 0.000", "? 0.000", "line 9: a line begins with '>', '<' or '!'"},
        {"> 0.000", "", "line 9: a line begins with '>', '<' or '!'"},
        {"> 0.000", "> 0.00", "line 9: '0.00' is no time in ms with three decimals"},
        {"> 0.000", "> 9999999999999999999.000",
         "line 9: '9999999999999999999' is no number, or too large"},
        {"4711 1 FT_Open(1)", "x 1 FT_Open(1)", "line 9: 'x' is no number, or too large"},
        {"FT_Open(1)", "FT_Often(1)", "line 9: 'FT_Often' is no vendor function that is recorded"},
        {"FT_Open(1)", "FT_Open(2)",
         "line 9: the text and the values after the tab differ; by the values it is 'FT_Open(1)'"},
        {"\t1 1\n", "\t1\n", "line 9: FT_Open has 2 parameters"},
        {"\t1 1\n", "\t1 1 1\n", "line 9: FT_Open has no such parameter 3"},
        {"\t1 1\n", "\t- 1\n", "line 9: FT_Open has no such parameter 1"},
        {"\t1 1\n", "\t1 1 \n", "line 9: a value is missing"},
        {"< 1.002 4711 1 FT_Open -> 0", "< 1.002 4711 1 FT_Open -> 4",
         "line 10: the text and the values after the tab differ; by the values it is "
         "'FT_Open -> 0'"},
        {"\t0 997 - 4112", "\t4294967296 997 - 4112",
         "line 10: '4294967296' is no number, or too large"},
        {"\t0 997 - 4112", "\t0 997 -", "line 10: an answer has all parameters or none"},
        {"#82414f", "#82414", "line 11: '#82414' is no value"},
        {"#82414f", "#82414G", "line 11: '#82414G' is no value"},
        {"> 12.400 17 3", "> 12.400 17 2", "line 12: call 2 has begun before"},
        {"< 12.500 17 3", "< 12.500 17 9", "line 14: call 9 has not begun"},
        {"< 12.500 17 3", "< 12.500 18 3", "line 14: call 3 is another thread's"},
        {"17 3 Out32\t0 0\n", "17 3 Out32\t0 0\n< 12.500 17 3 Out32\t0 0\n",
         "line 15: call 3 has returned before"},
        {"< 12.500 17 3", "< 12.399 17 3", "line 14: call 3 returned before it began"},
        {"20.000 end\n", "20.000 end\n! 21.000 more\n", "line 18: more follows after the end"},
    };
    for (const Damage& damage : damages) {
        std::string text = std::string(kHead) + kCalls;
        const std::size_t place = text.find(damage.from);
        ASSERT_NE(place, text.npos) << damage.from;
        text.replace(place, std::string(damage.from).size(), damage.to);
        try {
            ReadRecording(text);
            ADD_FAILURE() << damage.from << " as " << damage.to;
        } catch (const RecordingError& error) {
            EXPECT_STREQ(error.what(), damage.reason);
        }
    }
    EXPECT_THROW(ReadRecording(""), RecordingError);
}

} // namespace
} // namespace test
