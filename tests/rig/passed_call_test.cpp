/// A call that passes through to other people's DLLs, seen in the host's memory alone. Here the rig
/// is those DLLs, and knows what was really said.
#include <sys/mman.h>
#include <unistd.h>

#include "bench_rig.h"
#include "c_function.h"
#include "eapi.h"
#include "inpout.h"
#include "passed_call.h"
#include "stand_in.h"

extern "C" {
#define D2XX(name, ordinal, parameters, failureModes)                                              \
    VENDOR_C_SIGNATURE(FT_CALL, name, Number, parameters);
#include "vendor_functions.inc"
}

namespace test {
namespace {

using rig::Call;
using rig::Function;
using rig::Texts;
using rig::Value;
using rig::record::PassedCall;

class PassedCallTest : public BenchRig {
  protected:
    PassedCallTest() {
        rig::answerer = [](Call& call) {
            rig::Answer(call);
            said.inputs = call.inputs;
            said.outputs = call.outputs;
            said.outputs.resize(call.inputs.size());
            for (std::size_t i = 0; i < call.inputs.size(); ++i) {
                if (!rig::IsThere(call.inputs[i])) { // a host that does not want to know it
                    said.outputs[i] = {};
                }
            }
        };
    }
    ~PassedCallTest() override { rig::answerer = rig::Answer; }

    struct Said {
        std::vector<Value> inputs;
        std::vector<Value> outputs;
        bool operator==(const Said&) const = default;
    };
    static inline Said said; ///< the last call, as the rig saw it

    /// Calls a vendor function, and returns what was to be seen of it in memory.
    template <class Real, class... Arguments>
    static Said See(Real real, Function id, Arguments... arguments) {
        const std::array<std::uint64_t, sizeof...(arguments)> numbers{rig::AsNumber(arguments)...};
        PassedCall passed(Described(id), numbers);
        passed.Return(static_cast<std::uint32_t>(real(arguments...)));
        return {passed.call.inputs, passed.call.outputs};
    }
};

#define EXPECT_SEEN(function, ...)                                                                 \
    do {                                                                                           \
        const Said seen = See(function, Function::function, __VA_ARGS__);                          \
        EXPECT_EQ(seen, said) << #function;                                                        \
    } while (false)

TEST_F(PassedCallTest, IsSeenWithAllThatGoesInAndComesOut) {
    std::uint32_t count = kUntouched;
    EXPECT_SEEN(FT_CreateDeviceInfoList, &count);
    FT_DEVICE_LIST_INFO_NODE nodes[3]{};
    count = 3;
    EXPECT_SEEN(FT_GetDeviceInfoList, nodes, &count);
    EXPECT_EQ(std::get<std::string>(said.outputs[0]).size(), 2 * sizeof nodes[0]);
    FT_HANDLE handle = nullptr;
    EXPECT_SEEN(FT_Open, 1, &handle);
    EXPECT_SEEN(FT_SetBitMode, handle, std::uint8_t{0}, std::uint8_t{FT_BITMODE_MPSSE});
    std::uint8_t bytes[] = {0x82, 0xF1, 0x4F, 0x83};
    std::uint32_t size = kUntouched;
    EXPECT_SEEN(FT_Write, handle, bytes, 4U, &size);
    Advance(20);
    EXPECT_SEEN(FT_GetQueueStatus, handle, &size);
    char room[64]{};
    EXPECT_SEEN(FT_Read, handle, room, 1U, &size);
    EXPECT_EQ(std::get<std::string>(said.outputs[1]).size(), 1U);
    EXPECT_SEEN(FT_Close, handle);
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint8_t revision = 0;
    std::uint16_t build = 0;
    EXPECT_SEEN(EApiGetEAPIVersion, &major, &minor, &revision, &build);
    EXPECT_SEEN(Inp32, std::uint16_t{0x379});
}

TEST_F(PassedCallTest, ShowsTheTextsOfADevice) {
    EXPECT_SEEN(FT_OpenEx, static_cast<void*>(const_cast<char*>("SLV1B")),
                rig::usb::kBySerialNumber, std::make_unique<FT_HANDLE>().get());
    FT_HANDLE handle = Open(0);
    std::uint32_t type = 0;
    std::uint32_t id = 0;
    char serial[16]{};
    char description[64]{};
    void* const reserved = nullptr;
    EXPECT_SEEN(FT_GetDeviceInfo, handle, &type, &id, &serial[0], &description[0], reserved);
    EXPECT_EQ(said.outputs[3], Value(std::string("SLV1A")));
    std::uint32_t* const none = nullptr;
    char* const noText = nullptr;
    EXPECT_SEEN(FT_GetDeviceInfo, handle, none, &id, noText, &description[0], reserved);
}

TEST_F(PassedCallTest, ShowsEveryKindOfList) {
    using namespace rig::usb;
    const auto list = [](void* first, void* second, std::uint32_t flags) {
        See(FT_ListDevices, Function::FT_ListDevices, first, second, flags);
        const Said seen = See(FT_ListDevices, Function::FT_ListDevices, first, second, flags);
        EXPECT_EQ(seen, said) << std::hex << flags;
        return seen.outputs;
    };
    std::uint32_t count = 0;
    EXPECT_EQ(list(&count, nullptr, kListNumberOnly)[0], Value(std::uint64_t{2}));
    char text[64]{};
    void* const one = reinterpret_cast<void*>(1);
    EXPECT_EQ(list(one, text, kListByIndex | kBySerialNumber)[1], Value(std::string("SLV1B")));
    EXPECT_EQ(list(one, text, kListByIndex | kByDescription)[1],
              Value(std::string("Dual RS232-HS B")));
    EXPECT_EQ(list(one, &count, kListByIndex | kByLocation)[1], Value(std::uint64_t{0x12}));
    char texts[2][64]{};
    char* places[] = {texts[0], texts[1], nullptr};
    EXPECT_EQ(list(places, &count, kListAll | kBySerialNumber)[0],
              Value(Texts({"SLV1A", "SLV1B"})));
    std::uint32_t locations[2]{};
    EXPECT_EQ(list(locations, &count, kListAll | kByLocation)[0],
              Value(std::string("\x11\0\0\0\x12\0\0\0", 8)));
    EXPECT_EQ(list(reinterpret_cast<void*>(7), text, kListByIndex | kBySerialNumber)[1], Value());
}

TEST_F(PassedCallTest, OfAFailureShowsOnlyWhatHasChanged) {
    FT_HANDLE handle = OpenPins();
    std::uint32_t size = kUntouched;
    std::uint8_t bytes[] = {0x83};
    AddFault("FT_Write", RIG_FAULT_STATUS, kIoError, 0);
    EXPECT_SEEN(FT_Write, handle, bytes, 1U, &size);
    EXPECT_EQ(said.outputs[3], Value());
    // It has done its work all the same, and fails.
    AddFault("FT_Write", RIG_FAULT_STATUS | RIG_FAULT_COUNT, kIoError, 1, 2);
    EXPECT_SEEN(FT_Write, handle, bytes, 1U, &size);
    EXPECT_EQ(said.outputs[3], Value(std::uint64_t{1}));
    char room[64]{};
    AddFault("FT_Read", RIG_FAULT_STATUS, kIoError, 0);
    EXPECT_SEEN(FT_Read, handle, room, 64U, &size);
    EXPECT_EQ(said.outputs[1], Value());
    char serial[16] = "before";
    std::uint32_t* const none = nullptr;
    void* const reserved = nullptr;
    AddFault("FT_GetDeviceInfo", RIG_FAULT_STATUS, kIoError, 0);
    EXPECT_SEEN(FT_GetDeviceInfo, handle, none, none, &serial[0], &serial[0], reserved);
}

/// Two pages, of which the second is not there.
class Pages {
  public:
    Pages() { munmap(memory + size, size); }
    ~Pages() { munmap(memory, size); }
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;

    char* End() const { return memory + size; }

  private:
    const std::size_t size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    char* const memory = static_cast<char*>(
        mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
};

/// A vendor's DLL may refuse a call before it touches what its pointers lead to.
TEST_F(PassedCallTest, WithPointersThatLeadNowhereEndsNobody) {
    const Pages pages;
    const auto call = [](Function id, std::vector<std::uint64_t> arguments) {
        PassedCall passed(Described(id), arguments);
        passed.Return(0);
        return passed.call;
    };
    const std::uint64_t end = rig::AsNumber(pages.End());
    EXPECT_EQ(call(Function::FT_Write, {1, end - 2, 3, end}).inputs,
              (std::vector<Value>{std::uint64_t{1}, Value(), std::uint64_t{3}, Value()}));
    EXPECT_EQ(call(Function::FT_Write, {1, end - 3, 3, end - 3}).inputs[3], Value());
    EXPECT_EQ(call(Function::FT_Write, {1, end - 3, ~std::uint64_t{0}, 0}).inputs[1], Value());
    EXPECT_EQ(call(Function::EApiGPIOGetLevel, {0, 1, end}).outputs[2], Value());
    std::fill(pages.End() - 2, pages.End(), 'A');
    EXPECT_EQ(call(Function::FT_OpenEx, {end - 2, rig::usb::kBySerialNumber, 0}).inputs[0],
              Value());
    EXPECT_EQ(call(Function::FT_GetDeviceInfo, {1, 0, 0, end - 2, end, 0}).outputs[3], Value());
    std::uint32_t count = 5;
    EXPECT_EQ(call(Function::FT_GetDeviceInfoList, {end - 8, rig::AsNumber(&count)}).outputs[0],
              Value());
    EXPECT_EQ(call(Function::FT_ListDevices,
                   {end - 8, rig::AsNumber(&count), rig::usb::kListAll | rig::usb::kByLocation})
                  .outputs[0],
              Value());
}

} // namespace
} // namespace test
