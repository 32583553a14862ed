/// The messages between hosts and a bench as bytes: they survive the encoding, and malformed bytes
/// do no harm.
#include <gtest/gtest.h>

#include "bench_rig.h"
#include "direct_bench.h"
#include "frames.h"

namespace test {
namespace {

using namespace rig::bench;
using rig::Value;

std::string Joining(std::uint64_t key = 7) {
    Introduction who;
    who.key = key;
    who.program = "host.exe";
    return Encoded(who);
}

/// The reason of a refusal; empty if the question was answered.
std::string RefusalIn(const std::string& answer) {
    Reader reader(answer);
    return reader.Number() == 0 ? "" : reader.Text();
}

/// One question of each kind.
std::vector<std::string> Questions() {
    rig::Call open{rig::VendorFunctions()[0], {}, {}};
    for (const rig::VendorFunction& function : rig::VendorFunctions()) {
        if (function.name == std::string("FT_Write")) {
            return {Encoded(rig::Call{
                        function,
                        {std::uint64_t{0x1010}, "abc", std::uint64_t{3}, std::uint64_t{1}},
                        {}}),
                    Encoded(rig::RigQuestion{rig::RigFunction::Note, {}, "text"}),
                    Encoded(Command{{"levels"}, true})};
        }
    }
    return {};
}

using BenchMessages = BenchRig;

TEST_F(BenchMessages, KeepEveryKindOfValue) {
    const std::vector<Value> values = {{},
                                       std::uint64_t{0},
                                       ~std::uint64_t{0},
                                       std::string(),
                                       std::string("\0\xff", 2),
                                       rig::Texts{},
                                       rig::Texts{"", "Größe"}};
    const std::string bytes = Writer().Add(values).bytes;
    Reader reader(bytes);
    EXPECT_EQ(reader.Values(), values);
    EXPECT_NO_THROW(reader.End());
}

TEST_F(BenchMessages, KeepNegativeNumbersAndTexts) {
    const std::string bytes = Encoded(rig::RigAnswer{-1, 5'000'000'000, "text"});
    const rig::RigAnswer answer = DecodedRigAnswer(bytes);
    EXPECT_EQ(answer.number, -1);
    EXPECT_EQ(answer.time, 5'000'000'000U);
    EXPECT_EQ(answer.text, "text");
}

TEST_F(BenchMessages, OfAnotherProtocolAreRefusedWithASentence) {
    Introduction who;
    who.protocol = 999;
    BenchSide bench(HostsOfTheBench(), PerformNothing);
    EXPECT_EQ(RefusalIn(bench.Answer(Encoded(who))),
              "the bench speaks protocol " + std::to_string(kProtocol) +
                  ", and who asks speaks 999: take solvane-rig and the DLLs of one release");
    EXPECT_TRUE(bench.IsOver());
}

TEST_F(BenchMessages, BeginWithAnIntroduction) {
    for (const std::string& question : Questions()) {
        BenchSide bench(HostsOfTheBench(), PerformNothing);
        EXPECT_NE(RefusalIn(bench.Answer(question)), "");
        EXPECT_TRUE(bench.IsOver());
    }
    BenchSide bench(HostsOfTheBench(), PerformNothing);
    EXPECT_EQ(RefusalIn(bench.Answer(Joining())), "");
    EXPECT_NE(RefusalIn(bench.Answer(Joining())), "") << "but only once";
    EXPECT_TRUE(bench.IsOver());
}

TEST_F(BenchMessages, ThatAreCutAnywhereEndTheirConnectionAlone) {
    std::vector<std::string> questions = Questions();
    ASSERT_EQ(questions.size(), 3U);
    for (const std::string& question : questions) {
        for (std::size_t length = 0; length < question.size(); ++length) {
            BenchSide bench(HostsOfTheBench(), PerformNothing);
            bench.Answer(Joining());
            EXPECT_NE(RefusalIn(bench.Answer(question.substr(0, length))), "") << length;
            EXPECT_TRUE(bench.IsOver()) << length;
        }
        BenchSide bench(HostsOfTheBench(), PerformNothing);
        bench.Answer(Joining());
        EXPECT_EQ(RefusalIn(bench.Answer(question)), "");
        EXPECT_FALSE(bench.IsOver());
        EXPECT_NE(RefusalIn(bench.Answer(question + "x")), "") << "more than a message";
    }
}

TEST_F(BenchMessages, WithOtherValuesThanAFunctionTakesAreRefused) {
    for (const rig::VendorFunction& function : rig::VendorFunctions()) {
        for (const Value& value :
             {Value(), Value(std::uint64_t{1}), Value("text"), Value(rig::Texts{"one", "two"})}) {
            BenchSide bench(HostsOfTheBench(), PerformNothing);
            bench.Answer(Joining());
            const rig::Call call{
                function, std::vector<Value>(function.parameters.size(), value), {}};
            bench.Answer(Encoded(call));
            EXPECT_FALSE(bench.IsOver()) << function.name;
            rig::Call longer = call;
            longer.inputs.emplace_back();
            EXPECT_NE(RefusalIn(bench.Answer(Encoded(longer))), "") << function.name;
        }
    }
}

/// A bench and a host of different releases must refuse each other instead of misunderstanding
/// each other, so whatever changes here needs another number in kProtocol, and then another sum.
TEST_F(BenchMessages, HaveANewProtocolNumberWhenTheyChange) {
    std::string all = Joining();
    for (const std::string& question : Questions()) {
        all += question;
    }
    rig::Call call{rig::VendorFunctions()[0], {}, {std::uint64_t{1}, "a", rig::Texts{"b"}}};
    all += AnswerTo(Introduction(), 2) + AnswerTo(call) + Encoded(rig::RigAnswer{-1, 3, "text"}) +
           Encoded(rig::Reply{1, "text", 4}) + Refusal("no");
    all += std::to_string(static_cast<int>(rig::RigFunction::WriteVcd));
    for (const rig::VendorFunction& function : rig::VendorFunctions()) {
        all += function.name;
        for (const rig::Parameter& parameter : function.parameters) {
            all += static_cast<char>(parameter.passing);
        }
    }
    std::uint64_t sum = 0xCBF2'9CE4'8422'2325; // FNV-1a
    for (const char byte : all) {
        sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100'0000'01B3;
    }
    EXPECT_EQ(std::pair(kProtocol, sum),
              std::pair(std::uint64_t{1}, std::uint64_t{0x3419'2BFA'6D6E'359F}));
}

TEST_F(BenchMessages, ComeInPiecesOfAnySize) {
    const std::string stream = Framed("first") + Framed("") + Framed(std::string(5000, 'x'));
    for (const std::size_t size :
         {std::size_t{1}, std::size_t{7}, std::size_t{4096}, stream.size()}) {
        Frames frames;
        Lines messages;
        for (std::size_t i = 0; i < stream.size(); i += size) {
            frames.Add(stream.substr(i, size));
            while (const auto message = frames.Take()) {
                messages.push_back(*message);
            }
        }
        EXPECT_EQ(messages, (Lines{"first", "", std::string(5000, 'x')})) << size;
    }
}

TEST_F(BenchMessages, ThatAnnounceTooMuchAreNotWaitedFor) {
    Frames frames;
    frames.Add(Writer().Add(std::uint64_t{kLongestMessage} + 1).bytes);
    EXPECT_THROW(frames.Take(), Malformed);
}

} // namespace
} // namespace test
