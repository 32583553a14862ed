/// Names of handles that are learned from the calls alone, against the rig that knows them.

#include "bench_rig.h"
#include "c_function.h"
#include "handle_names.h"
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
using rig::Value;
using rig::record::HandleNames;

class HandleNamesTest : public BenchRig {
  protected:
    HandleNamesTest() {
        names = {};
        rig::answerer = [](Call& call) {
            rig::Answer(call);
            names.Learn(call);
        };
    }
    ~HandleNamesTest() override { rig::answerer = rig::Answer; }

    static FT_HANDLE OpenedBy(void* which, std::uint32_t by) {
        FT_HANDLE handle = nullptr;
        EXPECT_EQ(FT_OpenEx(which, by, &handle), FT_OK);
        return handle;
    }

    static std::string NameOf(FT_HANDLE handle) { return names.NameOf(rig::AsNumber(handle)); }

    static void Learn(Function function, std::vector<Value> inputs, std::vector<Value> outputs) {
        names.Learn({rig::Described(function), std::move(inputs), std::move(outputs)});
    }

    static inline HandleNames names;
};

constexpr const char* kTwoChips = "[[usb]]\nchip = 'FT232R'\nserial = 'OTHER'\n"
                                  "[[usb]]\nchip = 'FT2232H'\nserial = 'CAM'\n";

TEST_F(HandleNamesTest, AListNamesWhatIsOpenedByItsIndex) {
    Load(kTwoChips);
    EXPECT_EQ(NameOf(Open(2)), "?"); // nothing has shown yet what is where
    Devices();
    EXPECT_EQ(NameOf(Open(0)), "OTHER");
    const FT_HANDLE camera = Open(1);
    EXPECT_EQ(NameOf(camera), "CAMA");
    EXPECT_EQ(names.DeviceOf(rig::AsNumber(camera))->description, "Dual RS232-HS A");
    EXPECT_EQ(names.DeviceOf(rig::AsNumber(camera))->type, FT_DEVICE_2232H);
    FT_Close(camera);
    EXPECT_EQ(NameOf(camera), "?");
}

TEST_F(HandleNamesTest, AListOfAnotherLengthIsForgotten) {
    Load(kTwoChips);
    Devices();
    rig_unplug(0);
    std::uint32_t count = 0;
    FT_CreateDeviceInfoList(&count);
    EXPECT_EQ(NameOf(Open(1)), "?") << "that was CAMA before";
}

TEST_F(HandleNamesTest, ADeviceIsOpenedByItsSerialNumberDescriptionOrPlace) {
    Load(kTwoChips);
    Devices();
    char serial[] = "CAMA";
    char description[] = "FT232R USB UART";
    EXPECT_EQ(NameOf(OpenedBy(serial, rig::usb::kBySerialNumber)), "CAMA");
    EXPECT_EQ(NameOf(OpenedBy(description, rig::usb::kByDescription)), "OTHER");
    const auto place = static_cast<std::uintptr_t>(Devices()[2].LocId);
    EXPECT_EQ(NameOf(OpenedBy(reinterpret_cast<void*>(place), rig::usb::kByLocation)), "CAMB");
}

TEST_F(HandleNamesTest, ASerialNumberNeedsNoList) {
    Load(kTwoChips);
    char serial[] = "CAMA";
    EXPECT_EQ(NameOf(OpenedBy(serial, rig::usb::kBySerialNumber)), "CAMA");
}

TEST_F(HandleNamesTest, ListDevicesNamesToo) {
    Load(kTwoChips);
    char text[64] = "";
    void* const second = reinterpret_cast<void*>(std::uintptr_t{1});
    FT_ListDevices(second, text, rig::usb::kListByIndex | rig::usb::kBySerialNumber);
    EXPECT_EQ(NameOf(Open(1)), "CAMA");
    char texts[3][64];
    char* all[] = {texts[0], texts[1], texts[2], nullptr};
    std::uint32_t count = 0;
    FT_ListDevices(all, &count, rig::usb::kListAll | rig::usb::kBySerialNumber);
    EXPECT_EQ(NameOf(Open(0)), "OTHER");
}

TEST_F(HandleNamesTest, AnOpenHandleIsNamedByWhatIsAskedOfIt) {
    Load(kTwoChips);
    const FT_HANDLE first = Open(0);
    const FT_HANDLE second = Open(1);
    const FT_HANDLE third = Open(2);
    std::uint32_t type = 0;
    char serial[16] = "";
    FT_GetDeviceInfo(first, &type, nullptr, serial, nullptr, nullptr);
    EXPECT_EQ(NameOf(first), "OTHER");
    std::uint32_t count = 0;
    FT_HANDLE shown = nullptr;
    FT_CreateDeviceInfoList(&count);
    FT_GetDeviceInfoDetail(1, nullptr, nullptr, nullptr, nullptr, serial, nullptr, &shown);
    EXPECT_EQ(shown, second);
    EXPECT_EQ(NameOf(second), "CAMA");
    EXPECT_EQ(NameOf(third), "?");
    Devices();
    EXPECT_EQ(NameOf(third), "CAMB");
}

TEST_F(HandleNamesTest, ADeviceThatIsStillBeingSetUpIsKnownByItsPlace) {
    Load("[[usb]]\nchip = 'FT2232H'\nserial = 'CAM'\nnamed_after_ms = 1000\n");
    Devices();
    rig_unplug(0);
    rig_plug(0);
    ASSERT_STREQ(Devices()[1].SerialNumber, "");
    EXPECT_EQ(NameOf(Open(1)), "CAMB");
}

/// What a damaged recording, or a library that is not the vendor's, may say.
TEST_F(HandleNamesTest, AnswersThatAreNoneTeachNothing) {
    Learn(Function::FT_GetDeviceInfoList, {}, {});
    Learn(Function::FT_GetDeviceInfoList, {}, {Value("shorter than a device")});
    Learn(Function::FT_GetDeviceInfoList, {}, {std::uint64_t{7}});
    Learn(Function::FT_GetDeviceInfoDetail, {~std::uint64_t{0}}, {});
    Learn(Function::FT_GetDeviceInfoDetail, {Value("text")}, {Value("text")});
    Learn(Function::FT_ListDevices, {~std::uint64_t{0}, {}, std::uint64_t{0x4000'0001}},
          {{}, Value("S")});
    Learn(Function::FT_ListDevices, {{}, {}, std::uint64_t{0x2000'0004}}, {Value("12345")});
    Learn(Function::FT_ListDevices, {}, {rig::Texts{"S"}});
    Learn(Function::FT_OpenEx, {}, {});
    Learn(Function::FT_GetDeviceInfo, {std::uint64_t{5}}, {});
    Learn(Function::FT_Close, {}, {});
    Learn(Function::FT_CreateDeviceInfoList, {}, {std::uint64_t{0xFFFF'FFFF}});
    Learn(Function::FT_Open, {~std::uint64_t{0}}, {{}, std::uint64_t{9}});
    EXPECT_EQ(names.NameOf(9), "?");
    EXPECT_EQ(names.NameOf(5), "?");
    EXPECT_EQ(names.DeviceOf(5), nullptr);
}

} // namespace
} // namespace test
