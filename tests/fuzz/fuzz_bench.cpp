/// Hosts that send a bench anything at all, and a bench that answers a host anything: nobody reads
/// or writes where nothing is, and who comes next is served.

#include <solvane/rig.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "d2xx.h"
#include "direct_bench.h"
#include "frames.h"
#include "fuzz_check.h"
#include "fuzz_input.h"
#include "host_platform.h"

namespace {

using namespace rig::bench;
using fuzz::Check;
using rig::Value;

constexpr int kMostMessages = 64;
constexpr std::uint64_t kLongestWait = 100; ///< ms

Value AnyValue(fuzz::Input& input) {
    switch (input.Byte() % 4) {
    case 0:
        return {};
    case 1:
        return std::uint64_t{input.Byte() % 2 == 0 ? input.Byte() : input.DoubleWord()};
    case 2:
        return input.Bytes(input.Byte() % 40);
    default:
        return rig::Texts(input.Byte() % 3, input.Bytes(input.Byte() % 8));
    }
}

/// A message that is one by its form, whatever is in it.
std::string AnyQuestion(fuzz::Input& input) {
    switch (input.Byte() % 5) {
    case 0: {
        Introduction who;
        who.protocol += input.Byte() % 8 == 0 ? 1 : 0;
        who.key = input.Byte() % 3;
        who.program = input.Bytes(input.Byte() % 8);
        return Encoded(who);
    }
    case 1: {
        const auto functions = rig::VendorFunctions();
        const rig::VendorFunction& function = functions[input.Byte() % functions.size()];
        rig::Call call{function, {}, {}};
        const std::uint8_t more = input.Byte(); // or fewer inputs than the function has
        const std::size_t count = function.parameters.size() + (more == 1 ? 1 : 0) -
                                  (more == 2 && !function.parameters.empty() ? 1 : 0);
        call.inputs.resize(count);
        std::ranges::generate(call.inputs, [&] { return AnyValue(input); });
        return Encoded(call);
    }
    case 2: {
        rig::RigQuestion question{static_cast<rig::RigFunction>(input.Byte() % 20), {}, {}};
        std::ranges::generate(question.numbers, [&] { return input.Word(); });
        if (input.Byte() % 2 == 0) {
            question.text = input.Bytes(input.Byte());
        }
        return Encoded(question);
    }
    case 3:
        return Encoded(Command{{input.Bytes(input.Byte() % 8)}, input.Byte() % 2 == 0});
    default:
        return input.Bytes(input.Byte());
    }
}

/// Whether a question neither writes files nor makes a read wait for days.
bool IsHarmless(const std::string& question) {
    try {
        Reader reader(question);
        const auto topic = static_cast<Topic>(reader.Number());
        if (topic == Topic::Rig) {
            const rig::RigFunction function = DecodedRigQuestion(reader).function;
            return function != rig::RigFunction::WriteVcd && function != rig::RigFunction::LoadFile;
        }
        if (topic != Topic::Call) {
            return true;
        }
        const rig::Call call = DecodedCall(reader);
        return call.function.name != std::string("FT_SetTimeouts") ||
               rig::Number(call.inputs[1]) <= kLongestWait;
    } catch (const Malformed&) {
        return true;
    }
}

/// An answer is 0 and its content, or 1 and the reason of the refusal.
void CheckAnswer(const std::string& answer) {
    Reader reader(answer);
    const std::uint64_t outcome = reader.Number();
    Check(outcome <= 1, "an answer is one or a refusal");
    Check(outcome == 0 || !reader.Text().empty(), "a refusal says why");
}

void SendToBench(fuzz::Input& input) {
    std::vector<std::unique_ptr<BenchSide>> guests(3);
    for (int i = 0; i < kMostMessages && !input.IsEmpty(); ++i) {
        std::unique_ptr<BenchSide>& guest = guests[input.Byte() % guests.size()];
        if (guest == nullptr || guest->IsOver()) {
            guest = std::make_unique<BenchSide>(test::HostsOfTheBench(), test::PerformNothing);
        }
        const std::string question = AnyQuestion(input);
        if (IsHarmless(question)) {
            CheckAnswer(guest->Answer(question));
        }
    }
}

/// A bench whose answers are taken from the input.
class AnyAnswers final : public Connection {
  public:
    explicit AnyAnswers(fuzz::Input& source) : input(source) {}

    std::string Exchange(std::string_view) override {
        if (input.Byte() % 16 == 0) {
            throw NoBench("the bench has ended");
        }
        if (input.Byte() % 2 == 0) {
            return input.Bytes(input.Byte());
        }
        Writer answer;
        answer.Add(std::uint64_t{0}).Add(std::uint64_t{input.DoubleWord()});
        std::vector<Value> outputs(input.Byte() % 12);
        std::ranges::generate(outputs, [&] { return AnyValue(input); });
        return answer.Add(outputs).bytes;
    }

  private:
    fuzz::Input& input;
};

HostSide* host = nullptr;

/// Calls the vendor functions on arbitrary answers: they must not write beyond a host's buffers.
void SendToHost(fuzz::Input& input) {
    HostSide side([&] { return std::make_unique<AnyAnswers>(input); }, Introduction{},
                  [](const std::string&) {});
    host = &side;
    const rig::Answerer answerer = rig::answerer;
    rig::answerer = [](rig::Call& call) { host->Answer(call); };
    for (int i = 0; i < 8 && !input.IsEmpty(); ++i) {
        std::uint32_t count = 0;
        FT_CreateDeviceInfoList(&count);
        std::vector<FT_DEVICE_LIST_INFO_NODE> nodes(input.Byte() % 4);
        count = static_cast<std::uint32_t>(nodes.size());
        FT_GetDeviceInfoList(nodes.data(), &count);
        FT_HANDLE handle = nullptr;
        FT_Open(0, &handle);
        std::vector<std::uint8_t> bytes(input.Byte() % 8);
        FT_Read(handle, bytes.data(), static_cast<std::uint32_t>(bytes.size()), &count);
        FT_Close(handle);
        host->Answer(rig::RigQuestion{rig::RigFunction::JournalEntry, {}, {}});
        host->Answer(Command{{"levels"}, true});
    }
    rig::answerer = answerer;
}

void CutAnywhere(fuzz::Input& input) {
    Frames frames;
    try {
        while (!input.IsEmpty()) {
            frames.Add(input.Bytes(1 + input.Byte() % 16));
            while (frames.Take()) {
            }
        }
    } catch (const Malformed&) { // a real connection would be closed
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    host::Record(false);
    fuzz::Input input(bytes, size);
    rig_load(nullptr);
    switch (input.Byte() % 4) {
    case 0:
        CutAnywhere(input);
        break;
    case 1:
        SendToHost(input);
        break;
    default:
        SendToBench(input);
    }
    rig_load(nullptr);
    BenchSide next(test::HostsOfTheBench(), test::PerformNothing);
    Introduction who;
    who.key = 99;
    CheckAnswer(next.Answer(Encoded(who)));
    rig::Call call{rig::Described(rig::Function::FT_CreateDeviceInfoList), {std::uint64_t{1}}, {}};
    DecodeAnswer(next.Answer(Encoded(call)), call);
    Check(call.status == FT_OK && call.outputs == std::vector<Value>{std::uint64_t{2}},
          "who comes next is served");
    return 0;
}
