/// Vendor calls as messages, without the C functions that send them.
#include <map>
#include <set>

#include "bench_rig.h"
#include "call.h"
#include "eapi.h"
#include "inpout.h"

namespace test {
namespace {

using rig::Call;
using rig::Function;
using rig::Value;
using rig::VendorFunction;

constexpr std::uint64_t kHere = 1; ///< stands for a pointer to an output

constexpr Value* kNowhere = nullptr;

class CallTest : public BenchRig {
  protected:
    ~CallTest() override { rig::answerer = answerer; }

    static Call Ask(Function function, std::vector<Value> inputs) {
        Call call{Described(function), std::move(inputs), {}};
        rig::answerer(call);
        return call;
    }

    static inline std::vector<Value> answer; ///< given by AnswerBySomebodyElse()
    static inline std::vector<Value> question;

    static void AnswerBySomebodyElse() {
        rig::answerer = [](Call& call) {
            question = call.inputs;
            call.outputs = answer;
            call.status = 77;
        };
    }

  private:
    const rig::Answerer answerer = rig::answerer;
};

TEST_F(CallTest, EveryFunctionIsDescribedOnce) {
    std::set<std::string> names;
    std::map<const rig::Library*, std::set<unsigned>> ordinals;
    for (const VendorFunction& function : rig::VendorFunctions()) {
        EXPECT_EQ(&function, &Described(function.id));
        EXPECT_TRUE(names.insert(function.name).second) << function.name;
        const bool isByName = function.ordinal == 0;
        EXPECT_TRUE(isByName || ordinals[&function.library].insert(function.ordinal).second)
            << function.name;
    }
    EXPECT_EQ(ordinals[&rig::kFtd2xx].size(), 93U);
    EXPECT_EQ(*ordinals[&rig::kFtd2xx].rbegin(), 93U) << "without a gap";
    EXPECT_EQ(names.size(), 109U);
}

TEST_F(CallTest, EveryFunctionCanFailAndIsCounted) {
    for (const VendorFunction& function : rig::VendorFunctions()) {
        ASSERT_EQ(AddFault(function.name, RIG_FAULT_STATUS, 77, 0), 0) << function.name;
        rig_journal_clear();
        const Call call = Ask(function.id, std::vector<Value>(function.parameters.size()));
        EXPECT_EQ(call.status, 77U) << function.name;
        EXPECT_TRUE(call.outputs.empty()) << function.name;
        EXPECT_EQ(rig_calls(function.name), 1U);
        const Lines journal = Take(RIG_CALL);
        ASSERT_EQ(journal.size(), 1U);
        EXPECT_TRUE(journal[0].starts_with(std::string(function.name) + '(')) << journal[0];
    }
    EXPECT_EQ(rig_calls("*"), rig::VendorFunctions().size());
    EXPECT_EQ(rig_calls("FT_Nothing"), 0U);
}

TEST_F(CallTest, IsAnsweredInValues) {
    const Call opened = Ask(Function::FT_Open, {std::uint64_t{1}, kHere});
    EXPECT_EQ(opened.status, FT_OK);
    const Value handle = opened.outputs.at(1);
    Ask(Function::FT_SetBitMode, {handle, std::uint64_t{0}, std::uint64_t{FT_BITMODE_MPSSE}});
    const Call written = Ask(Function::FT_Write,
                             {handle, std::string("\x82\x42\x4f\x83", 4), std::uint64_t{4}, kHere});
    EXPECT_EQ(written.outputs.at(3), Value(std::uint64_t{4}));
    EXPECT_EQ(rig_level(RIG_DARK), 1);
    const Call read = Ask(Function::FT_Read, {handle, kHere, std::uint64_t{1}, kHere});
    EXPECT_EQ(read.outputs.at(1), Value(std::string("\xf2")));
    EXPECT_EQ(read.outputs.at(3), Value(std::uint64_t{1}));
    EXPECT_EQ(Ask(Function::FT_Write, {handle, Value(), std::uint64_t{4}, kHere}).status,
              kInvalidParameter);
    EXPECT_EQ(Take(RIG_CALL), (Lines{"FT_Open(1) -> 0", "FT_SetBitMode(SLV1B, 0, 2) -> 0",
                                     "FT_Write(SLV1B, [82 42 4f 83]) -> 0, 4",
                                     "FT_Read(SLV1B, 1) -> 0, [f2]", "FT_Write(SLV1B, []) -> 6"}));
}

TEST_F(CallTest, OfAnObjectIsAnsweredInValues) {
    Load("[[parallel_port]]\ndevice_id = 'LPT 7'\n[[parallel_port]]\ndevice_id_type = 'null'\n");
    const Call asked = Ask(Function::ExecQuery, {kHere, std::string("WQL"),
                                                 std::string("SELECT * FROM Win32_ParallelPort"),
                                                 std::uint64_t{0x20}, Value()});
    EXPECT_EQ(asked.status, 0U);
    EXPECT_EQ(asked.outputs.at(0),
              Value(rig::Texts{"DeviceID string LPT 7", "DeviceID null LPT2"}));
    const Call got = Ask(Function::Get, {kHere, std::string("DeviceID string LPT 7"),
                                         std::string("deviceid"), std::uint64_t{0}});
    EXPECT_EQ(got.outputs.at(0), Value(std::string("string LPT 7")));
}

TEST_F(CallTest, SomebodyElseCanAnswer) {
    AnswerBySomebodyElse();
    answer = {Value(), Value(), std::uint64_t{5}};
    std::uint32_t level = kUntouched;
    EXPECT_EQ(EApiGPIOGetLevel(3, 1, &level), 77U);
    EXPECT_EQ(level, 5U);
    EXPECT_EQ(question, (std::vector<Value>{std::uint64_t{3}, std::uint64_t{1}, kHere}));
    answer = {Value(), kHere, kHere};
    EXPECT_EQ(FT_Open(-1, nullptr), 77U) << "an answer that has no place";
    EXPECT_EQ(question, (std::vector<Value>{~std::uint64_t{0}, Value()}));
    answer.clear();
    EXPECT_EQ(Inp32(0x378), 77);
    EXPECT_EQ(question, std::vector<Value>{std::uint64_t{0x378}});
    EXPECT_EQ(rig_calls("*"), 0U);
}

TEST_F(CallTest, AnAnswerIsCutToTheHostsRoom) {
    AnswerBySomebodyElse();
    answer = {Value(), std::string("abcdef"), Value(), std::uint64_t{6}};
    char buffer[] = "....";
    std::uint32_t count = 0;
    EXPECT_EQ(FT_Read(nullptr, buffer, 2, &count), 77U);
    EXPECT_STREQ(buffer, "ab..");
    EXPECT_EQ(count, 6U);

    FT_DEVICE_LIST_INFO_NODE nodes[2]{};
    answer = {std::string(2 * sizeof(FT_DEVICE_LIST_INFO_NODE), '\x11'), std::uint64_t{2}};
    count = 1;
    EXPECT_EQ(FT_GetDeviceInfoList(nodes, &count), 77U);
    EXPECT_EQ(nodes[0].Type, 0x1111'1111U);
    EXPECT_EQ(nodes[1].Type, 0U);
    EXPECT_EQ(count, 2U);

    nodes[0] = {};
    answer = {std::uint64_t{0x1122'3344'5566'7788},
              std::uint64_t{1}}; // a number instead of the nodes
    EXPECT_EQ(FT_GetDeviceInfoList(nodes, &count), 77U);
    EXPECT_EQ(nodes[0].Type, 0x1122'3344U);
    EXPECT_EQ(nodes[0].ID, 0U);
}

TEST_F(CallTest, TextsGoInWhole) {
    AnswerBySomebodyElse();
    const wchar_t text[] = {L'a', 0x416, 0x20AC, 0xD83D, 0}; // ends with half a surrogate pair
    const Value name = std::string("IUnknown");
    rig::Ask(Function::Get, kNowhere, &name, text, 0);
    EXPECT_EQ(question.at(2), Value(std::string("a\xD0\x96\xE2\x82\xAC\xED\xA0\xBD")));
    EXPECT_EQ(rig::Shown(rig::Show::Text, question.at(2)), "a???");
}

TEST_F(CallTest, NoExceptionLeavesAFunction) {
    rig::answerer = [](Call&) { throw 1; };
    std::uint32_t number = kUntouched;
    EXPECT_EQ(FT_CreateDeviceInfoList(&number), FT_INSUFFICIENT_RESOURCES);
    EXPECT_EQ(EApiGPIOGetCount(&number), 0xFFFF'FFFDU);
    EXPECT_EQ(IsInpOutDriverOpen(), 0U);
    EXPECT_EQ(rig::Ask(Function::SetBlanket, kNowhere), 0x8004'1006U);
    EXPECT_EQ(number, kUntouched);
}

} // namespace
} // namespace test
