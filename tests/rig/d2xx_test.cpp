/// Functions of D2XX that other clients use, but the library does not.
#include <cstring>
#include <limits>
#include <map>
#include <utility>

#include "bench_rig.h"
#include "c_function.h"

extern "C" {
#define D2XX(name, ordinal, parameters, failureModes)                                              \
    VENDOR_C_SIGNATURE(FT_CALL, name, Number, parameters);
#define D2XX_REFUSED(name, ordinal, result, answer) VENDOR_C_SIGNATURE(FT_CALL, name, result, ());
#include "vendor_functions.inc"
}

namespace test {
namespace {

constexpr FT_STATUS kInvalidBaudRate = 7;
constexpr FT_STATUS kNotSupported = 17;

constexpr std::uint32_t kBySerialNumber = 1;
constexpr std::uint32_t kByDescription = 2;
constexpr std::uint32_t kByLocation = 4;
constexpr std::uint32_t kNumberOnly = 0x8000'0000;
constexpr std::uint32_t kByIndex = 0x4000'0000;
constexpr std::uint32_t kAll = 0x2000'0000;

constexpr std::uint32_t kPlaceOfA = 0x11;
constexpr std::uint32_t kPlaceOfB = 0x12;

void* Number(std::uintptr_t number) {
    return reinterpret_cast<void*>(number);
}

/// The status of FT_OpenEx; closes what it has opened.
FT_STATUS OpenBy(const void* which, std::uint32_t by) {
    FT_HANDLE handle = nullptr;
    const FT_STATUS status = FT_OpenEx(const_cast<void*>(which), by, &handle);
    EXPECT_EQ(handle != nullptr, status == FT_OK);
    if (handle != nullptr) {
        EXPECT_EQ(FT_Close(handle), FT_OK);
    }
    return status;
}

/// A host's buffer, and the bytes after it, which must not change.
template <std::size_t size>
struct Buffer {
    char text[size];
    char behind[4] = {'s', 'a', 'f', 'e'};
    Buffer() { std::memset(text, 'x', size); }
    ~Buffer() { EXPECT_EQ(std::string(behind, sizeof behind), "safe"); }
};

using D2xxTest = BenchRig;

TEST_F(D2xxTest, OpensBySerialNumberDescriptionAndPlace) {
    EXPECT_EQ(OpenBy("SLV1B", kBySerialNumber), FT_OK);
    EXPECT_EQ(OpenBy("Dual RS232-HS B", kByDescription), FT_OK);
    EXPECT_EQ(OpenBy(Number(kPlaceOfB), kByLocation), FT_OK);
    EXPECT_EQ(Take(RIG_CALL), (Lines{"FT_OpenEx(SLV1B, 1) -> 0", "FT_Close(SLV1B) -> 0",
                                     "FT_OpenEx(Dual RS232-HS B, 2) -> 0", "FT_Close(SLV1B) -> 0",
                                     "FT_OpenEx(18, 4) -> 0", "FT_Close(SLV1B) -> 0"}));
    EXPECT_EQ(OpenBy("SLV1", kBySerialNumber), kDeviceNotFound);
    EXPECT_EQ(OpenBy("SLV1B", kByDescription), kDeviceNotFound);
    EXPECT_EQ(OpenBy(Number(0x13), kByLocation), kDeviceNotFound);
    EXPECT_EQ(OpenBy(nullptr, kBySerialNumber), kInvalidParameter);
    EXPECT_EQ(OpenBy(nullptr, kByDescription), kInvalidParameter);
    for (const std::uint32_t by : {0U, 3U, 5U, 8U, kAll | kBySerialNumber}) {
        EXPECT_EQ(OpenBy("SLV1B", by), kInvalidParameter) << by;
    }
    EXPECT_EQ(FT_OpenEx(Number(kPlaceOfB), kByLocation, nullptr), kInvalidParameter);
    rig_unplug(0);
    EXPECT_EQ(OpenBy("SLV1B", kBySerialNumber), kDeviceNotFound);
}

TEST_F(D2xxTest, OpensNothingTwice) {
    ASSERT_NE(Open(1), nullptr);
    EXPECT_EQ(OpenBy("SLV1B", kBySerialNumber), kDeviceNotOpened);
    EXPECT_EQ(OpenBy(Number(kPlaceOfB), kByLocation), kDeviceNotFound) << "its place is hidden";
    EXPECT_EQ(OpenBy("SLV1A", kBySerialNumber), FT_OK);
    Load(kOneChip + "open_elsewhere = true\n");
    EXPECT_EQ(OpenBy("SLV1B", kBySerialNumber), kDeviceNotFound) << "nobody can ask it";
}

TEST_F(D2xxTest, ListsTheNumberOfDevices) {
    std::uint32_t count[] = {kUntouched, kUntouched};
    EXPECT_EQ(FT_ListDevices(count, nullptr, kNumberOnly), FT_OK);
    EXPECT_EQ(count[0], 2U);
    EXPECT_EQ(count[1], kUntouched);
    EXPECT_EQ(FT_ListDevices(nullptr, nullptr, kNumberOnly), kInvalidParameter);
    EXPECT_EQ(Take(RIG_CALL),
              (Lines{"FT_ListDevices(0x80000000) -> 0, 2", "FT_ListDevices(0x80000000) -> 6"}));
}

TEST_F(D2xxTest, ListsOneDevice) {
    Buffer<6> serial;
    EXPECT_EQ(FT_ListDevices(Number(1), serial.text, kByIndex | kBySerialNumber), FT_OK);
    EXPECT_STREQ(serial.text, "SLV1B");
    EXPECT_EQ(FT_ListDevices(nullptr, serial.text, kByIndex), FT_OK);
    EXPECT_STREQ(serial.text, "SLV1A") << "the first, by its serial number unless said otherwise";
    Buffer<16> description;
    EXPECT_EQ(FT_ListDevices(Number(1), description.text, kByIndex | kByDescription), FT_OK);
    EXPECT_STREQ(description.text, "Dual RS232-HS B");
    std::uint32_t place[] = {0, kUntouched};
    EXPECT_EQ(FT_ListDevices(Number(1), place, kByIndex | kByLocation), FT_OK);
    EXPECT_EQ(place[0], kPlaceOfB);
    EXPECT_EQ(place[1], kUntouched);
    EXPECT_EQ(FT_ListDevices(Number(2), place, kByIndex | kByLocation), kDeviceNotFound);
    EXPECT_EQ(FT_ListDevices(Number(1), nullptr, kByIndex | kByLocation), kInvalidParameter);
    EXPECT_EQ(FT_ListDevices(Number(1), place, kByLocation), kInvalidParameter);
    EXPECT_EQ(place[0], kPlaceOfB);
    EXPECT_EQ(
        Take(RIG_CALL),
        (Lines{"FT_ListDevices(0x40000001) -> 0, SLV1B", "FT_ListDevices(0x40000000) -> 0, SLV1A",
               "FT_ListDevices(0x40000002) -> 0, Dual RS232-HS B",
               "FT_ListDevices(0x40000004) -> 0, 18", "FT_ListDevices(0x40000004) -> 2",
               "FT_ListDevices(0x40000004) -> 6", "FT_ListDevices(0x4) -> 6"}));
}

TEST_F(D2xxTest, ListsAllDevices) {
    Buffer<64> first;
    Buffer<64> second;
    std::uint32_t count[] = {kUntouched, kUntouched};
    char* buffers[] = {first.text, second.text, nullptr};
    EXPECT_EQ(FT_ListDevices(buffers, count, kAll | kBySerialNumber), FT_OK);
    EXPECT_STREQ(first.text, "SLV1A");
    EXPECT_STREQ(second.text, "SLV1B");
    EXPECT_EQ(count[0], 2U);
    EXPECT_EQ(count[1], kUntouched);
    std::uint32_t places[] = {0, 0, kUntouched};
    EXPECT_EQ(FT_ListDevices(places, count, kAll | kByLocation), FT_OK);
    EXPECT_EQ(places[0], kPlaceOfA);
    EXPECT_EQ(places[1], kPlaceOfB);
    EXPECT_EQ(places[2], kUntouched);
    buffers[1] = nullptr; // a host with room for one device
    EXPECT_EQ(FT_ListDevices(buffers, count, kAll | kByDescription), FT_OK);
    EXPECT_STREQ(first.text, "Dual RS232-HS A");
    EXPECT_STREQ(second.text, "SLV1B");
    EXPECT_EQ(FT_ListDevices(nullptr, count, kAll | kByDescription), kInvalidParameter);
    EXPECT_EQ(FT_ListDevices(buffers, nullptr, kAll | kByDescription), kInvalidParameter);
    EXPECT_EQ(Take(RIG_CALL),
              (Lines{"FT_ListDevices(0x20000001) -> 0, [SLV1A, SLV1B], 2",
                     "FT_ListDevices(0x20000004) -> 0, [11 00 00 00 12 00 00 00], 2",
                     "FT_ListDevices(0x20000002) -> 0, [Dual RS232-HS A, Dual RS232-HS B], 2",
                     "FT_ListDevices(0x20000002) -> 6", "FT_ListDevices(0x20000002) -> 6"}));
    Load("");
    EXPECT_EQ(FT_ListDevices(buffers, count, kAll), FT_OK);
    EXPECT_EQ(count[0], 0U);
}

TEST_F(D2xxTest, TellsOfOneEntryOfTheList) {
    std::uint32_t flags = kUntouched, type = kUntouched, id = kUntouched, place = kUntouched;
    Buffer<16> serial;
    Buffer<64> description;
    FT_HANDLE handle = nullptr;
    const auto ask = [&](std::uint32_t index) {
        return FT_GetDeviceInfoDetail(index, &flags, &type, &id, &place, serial.text,
                                      description.text, &handle);
    };
    EXPECT_EQ(ask(0), kDeviceNotFound) << "no list was taken yet";
    EXPECT_EQ(flags, kUntouched);
    FT_HANDLE const a = Open(0);
    Devices();
    rig_journal_clear();
    EXPECT_EQ(ask(1), FT_OK);
    EXPECT_EQ(flags, 2U) << "closed, high speed";
    EXPECT_EQ(type, FT_DEVICE_2232H);
    EXPECT_EQ(id, 0x0403'6010U);
    EXPECT_EQ(place, kPlaceOfB);
    EXPECT_STREQ(serial.text, "SLV1B");
    EXPECT_STREQ(description.text, "Dual RS232-HS B");
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(ask(0), FT_OK);
    EXPECT_EQ(flags, 3U);
    EXPECT_EQ(handle, a);
    EXPECT_EQ(ask(2), kDeviceNotFound);
    EXPECT_EQ(ask(std::numeric_limits<std::uint32_t>::max()), kDeviceNotFound);
    EXPECT_EQ(
        FT_GetDeviceInfoDetail(1, nullptr, nullptr, nullptr, &place, nullptr, nullptr, nullptr),
        FT_OK)
        << "no place is needed";
    EXPECT_EQ(
        Take(RIG_CALL),
        (Lines{"FT_GetDeviceInfoDetail(1) -> 0, 2, 6, 0x4036010, 0x12, SLV1B, Dual RS232-HS B",
               "FT_GetDeviceInfoDetail(0) -> 0, 3, 6, 0x4036010, 0x0, SLV1A, Dual RS232-HS A",
               "FT_GetDeviceInfoDetail(2) -> 2", "FT_GetDeviceInfoDetail(4294967295) -> 2",
               "FT_GetDeviceInfoDetail(1) -> 0, 0x12"}));
}

TEST_F(D2xxTest, TellsWhatAHandleIs) {
    Load("[[usb]]\nchip = 'FT2232H'\nserial = '" + std::string(15, 's') + "'\ndescription = '" +
         std::string(70, 'd') + "'\n");
    FT_HANDLE const handle = Open(1);
    std::uint32_t type = 0;
    std::uint32_t id = 0;
    Buffer<16> serial;
    Buffer<64> description;
    EXPECT_EQ(FT_GetDeviceInfo(handle, &type, &id, serial.text, description.text, nullptr), FT_OK);
    EXPECT_EQ(type, FT_DEVICE_2232H);
    EXPECT_EQ(id, 0x0403'6010U);
    EXPECT_EQ(serial.text, std::string(15, 's'));
    EXPECT_EQ(description.text, std::string(63, 'd'));
    EXPECT_EQ(FT_GetDeviceInfo(handle, nullptr, nullptr, nullptr, nullptr, nullptr), FT_OK);
    EXPECT_EQ(FT_GetDeviceInfo(nullptr, &type, &id, serial.text, description.text, nullptr),
              kInvalidHandle);
    rig_unplug(0);
    EXPECT_EQ(FT_GetDeviceInfo(handle, &type, &id, serial.text, description.text, nullptr),
              kIoError);
}

TEST_F(D2xxTest, TellsItsVersions) {
    std::uint32_t version = 0;
    EXPECT_EQ(FT_GetLibraryVersion(&version), FT_OK);
    EXPECT_EQ(version, 0x03'02'16U);
    EXPECT_EQ(FT_GetDriverVersion(Open(1), &version), FT_OK);
    EXPECT_EQ(version, 0x02'12'36U);
    EXPECT_EQ(FT_GetLibraryVersion(nullptr), kInvalidParameter);
    EXPECT_EQ(FT_GetDriverVersion(nullptr, &version), kInvalidHandle);
}

TEST_F(D2xxTest, TellsOfTheQueue) {
    FT_HANDLE const pins = OpenPins();
    Write(pins, {0x83, 0x83});
    std::uint32_t received = 0, sent = kUntouched, events = kUntouched;
    EXPECT_EQ(FT_GetStatus(pins, &received, &sent, &events), FT_OK);
    EXPECT_EQ(received, 2U);
    EXPECT_EQ(sent, 0U);
    EXPECT_EQ(events, 0U);
    EXPECT_EQ(FT_GetStatus(pins, &received, nullptr, &events), kInvalidParameter);
    received = 0;
    EXPECT_EQ(FT_GetQueueStatusEx(pins, &received), FT_OK);
    EXPECT_EQ(received, 2U);

    EXPECT_EQ(FT_Purge(pins, 2), FT_OK);
    EXPECT_EQ(QueueLength(pins), 2U) << "of what was received nothing is lost";
    EXPECT_EQ(FT_Purge(pins, 0), kInvalidParameter);
    EXPECT_EQ(FT_Purge(pins, 4), kInvalidParameter);
    EXPECT_EQ(FT_Purge(pins, 3), FT_OK);
    EXPECT_EQ(QueueLength(pins), 0U);
}

TEST_F(D2xxTest, AStoppedDriverTakesNothingFromTheChip) {
    FT_HANDLE const pins = OpenPins();
    FT_SetLatencyTimer(pins, 5);
    Write(pins, {0x83});
    Advance(5);
    EXPECT_EQ(FT_StopInTask(pins), FT_OK);
    Write(pins, {0x83});
    Advance(100);
    EXPECT_EQ(QueueLength(pins), 1U);
    EXPECT_EQ(Read(pins, 2).size(), 1U) << "and nobody waits for what cannot come";
    EXPECT_EQ(QueueLength(pins), 0U);
    EXPECT_EQ(FT_RestartInTask(pins), FT_OK);
    EXPECT_EQ(QueueLength(pins), 1U);
    FT_StopInTask(pins);
    FT_Close(pins);
    FT_HANDLE const again = Open(1);
    FT_SetLatencyTimer(again, 0);
    Write(again, {0x83});
    EXPECT_EQ(QueueLength(again), 1U) << "a new handle has a running driver";
}

TEST_F(D2xxTest, ReadsTheDataPinsInAnyMode) {
    FT_HANDLE const b = Open(1);
    std::uint8_t pins = 0;
    std::uint32_t lines = 0;
    EXPECT_EQ(FT_GetBitMode(b, &pins), FT_OK);
    EXPECT_EQ(pins, 0x1f);
    EXPECT_EQ(FT_GetModemStatus(b, &lines), FT_OK);
    EXPECT_EQ(lines, 0xe0U) << "DSR, RI and DCD, where power and no dark line are read back";
    FT_HANDLE const a = Open(0);
    EXPECT_EQ(FT_GetModemStatus(a, &lines), FT_OK);
    EXPECT_EQ(lines, 0U);
    FT_SetBitMode(b, 0, FT_BITMODE_MPSSE);
    Drive(b, kRest | kDark | kCameraOff);
    EXPECT_EQ(FT_GetBitMode(b, &pins), FT_OK);
    EXPECT_EQ(pins, 0xdf);
    EXPECT_EQ(FT_GetModemStatus(b, &lines), FT_OK);
    EXPECT_EQ(lines, 0x20U);
    Write(b, {0x80, 0x00, 0x08});
    EXPECT_EQ(FT_GetModemStatus(b, &lines), FT_OK);
    EXPECT_EQ(lines, 0x30U) << "CTS";
    EXPECT_EQ(FT_GetBitMode(b, nullptr), kInvalidParameter);
    EXPECT_EQ(FT_GetModemStatus(b, nullptr), kInvalidParameter);
}

TEST_F(D2xxTest, TellsTheLatency) {
    FT_HANDLE const b = Open(1);
    std::uint8_t latency[] = {0, 0xa5};
    EXPECT_EQ(FT_GetLatencyTimer(b, latency), FT_OK);
    EXPECT_EQ(latency[0], 16);
    FT_SetLatencyTimer(b, 255);
    EXPECT_EQ(FT_GetLatencyTimer(b, latency), FT_OK);
    EXPECT_EQ(latency[0], 255);
    EXPECT_EQ(latency[1], 0xa5);
    EXPECT_EQ(FT_GetLatencyTimer(b, nullptr), kInvalidParameter);
}

TEST_F(D2xxTest, TakesWhatTheUartCanDo) {
    FT_HANDLE b = Open(1);
    for (const std::uint32_t rate : {184U, 9'600U, 12'000'000U}) {
        EXPECT_EQ(FT_SetBaudRate(b, rate), FT_OK) << rate;
    }
    for (const std::uint32_t rate : {0U, 183U, 12'000'001U}) {
        EXPECT_EQ(FT_SetBaudRate(b, rate), kInvalidBaudRate) << rate;
    }
    for (int bits = 0; bits < 256; ++bits) {
        const auto number = static_cast<std::uint8_t>(bits);
        EXPECT_EQ(FT_SetDataCharacteristics(b, number, 0, 0) == FT_OK, bits == 7 || bits == 8);
        EXPECT_EQ(FT_SetDataCharacteristics(b, 8, number, 0) == FT_OK, bits == 0 || bits == 2);
        EXPECT_EQ(FT_SetDataCharacteristics(b, 8, 0, number) == FT_OK, bits <= 4);
    }
    EXPECT_EQ(FT_SetDataCharacteristics(b, 9, 0, 0), kInvalidParameter);
    Load("[[usb]]\nchip = 'FT232R'\n");
    b = Open(0);
    EXPECT_EQ(FT_SetBaudRate(b, 3'000'000), FT_OK);
    EXPECT_EQ(FT_SetBaudRate(b, 3'000'001), kInvalidBaudRate);
}

TEST_F(D2xxTest, AChipOfACycledPortIsReplugged) {
    Load(kOneChip + "reset_port_ms = 30\n");
    FT_HANDLE const a = Open(0);
    FT_HANDLE const pins = OpenPins();
    Drive(pins, kRest | kDark);
    EXPECT_EQ(FT_CyclePort(pins), FT_OK);
    EXPECT_EQ(rig_level(RIG_DARK), 0);
    EXPECT_TRUE(Devices().empty());
    EXPECT_EQ(FT_Close(pins), FT_OK);
    EXPECT_EQ(FT_Close(a), kIoError);
    Advance(30);
    EXPECT_NE(Open(1), nullptr);
}

TEST_F(D2xxTest, AReloadedDriverLosesItsChips) {
    Load(kOneChip + "[[usb]]\nchip = 'FT232R'\n[[usb]]\nchip = 'FT2232H'\nplugged = false\n");
    FT_HANDLE const pins = OpenPins();
    FT_HANDLE const cable = Open(2);
    EXPECT_EQ(FT_Reload(0x0403, 0x6014), FT_OK) << "nobody's";
    EXPECT_EQ(FT_ResetDevice(pins), FT_OK);
    EXPECT_EQ(FT_Reload(0x0403, 0x6010), FT_OK);
    EXPECT_EQ(FT_ResetDevice(pins), kIoError);
    EXPECT_EQ(FT_ResetDevice(cable), FT_OK);
    EXPECT_EQ(Devices().size(), 1U);
    EXPECT_EQ(FT_Reload(0, 0), FT_OK) << "all";
    EXPECT_EQ(FT_ResetDevice(cable), kIoError);
    Advance(100);
    EXPECT_EQ(Devices().size(), 3U) << "what was not plugged in is not";
}

TEST_F(D2xxTest, AcceptsWhatHasNoEffectOnTheLines) {
    FT_HANDLE const b = Open(1);
    rig_journal_clear();
    for (const auto function : {FT_SetDtr, FT_ClrDtr, FT_SetRts, FT_ClrRts, FT_SetBreakOn,
                                FT_SetBreakOff, FT_StopInTask, FT_RestartInTask}) {
        EXPECT_EQ(function(b), FT_OK);
        EXPECT_EQ(function(nullptr), kInvalidHandle);
    }
    EXPECT_EQ(FT_SetDivisor(b, 0x4138), FT_OK);
    EXPECT_EQ(FT_SetResetPipeRetryCount(b, 100), FT_OK);
    EXPECT_EQ(FT_SetDeadmanTimeout(b, 5000), FT_OK);
    EXPECT_EQ(FT_Rescan(), FT_OK);
    EXPECT_EQ(FT_Initialise(), FT_OK);
    EXPECT_EQ(FT_Finalise(), FT_OK);
    std::int32_t port = 0;
    EXPECT_EQ(FT_GetComPortNumber(b, &port), FT_OK);
    EXPECT_EQ(port, -1) << "none";
    EXPECT_TRUE(Take(RIG_EDGE).empty());
}

/// Whatever answers, no more is written than fits in the buffers that the vendor documents.
TEST_F(D2xxTest, CutsTextsToTheHostsRoom) {
    const rig::Answerer answerer = std::exchange(rig::answerer, [](rig::Call& call) {
        const rig::Value text = std::string(100, 't');
        const bool isList = call.function.id == rig::Function::FT_ListDevices;
        call.outputs = isList ? std::vector<rig::Value>{rig::Texts(2, std::string(100, 't')), text}
                              : std::vector<rig::Value>{{}, {}, {}, text, text};
    });
    Buffer<16> serial;
    Buffer<64> description;
    EXPECT_EQ(FT_GetDeviceInfo(nullptr, nullptr, nullptr, serial.text, description.text, nullptr),
              FT_OK);
    EXPECT_EQ(serial.text, std::string(15, 't'));
    EXPECT_EQ(description.text, std::string(63, 't'));
    Buffer<64> entries[3];
    char* buffers[] = {entries[0].text, entries[1].text, nullptr};
    EXPECT_EQ(FT_ListDevices(buffers, entries[2].text, kAll), FT_OK);
    for (const auto& entry : entries) {
        EXPECT_EQ(entry.text, std::string(63, 't'));
    }
    rig::answerer = answerer;
}

/// Functions for which the rig has no hardware, by the status that they return.
TEST_F(D2xxTest, RefusesTheRest) {
    std::map<std::int64_t, int> answers;
#define D2XX_REFUSED(name, ordinal, result, answer) ++answers[static_cast<std::int64_t>(name())];
#include "vendor_functions.inc"
    EXPECT_EQ(answers,
              (std::map<std::int64_t, int>{{kNotSupported, 26}, {0, 19}, {-1, 1}, {50, 1}}));
    EXPECT_EQ(FT_EE_Read(), kNotSupported);
    EXPECT_EQ(FT_VendorCmdSetEx(), kNotSupported);
    EXPECT_EQ(FT_W32_ReadFile(), 0U) << "FALSE";
    EXPECT_EQ(FT_W32_GetLastError(), 50U) << "ERROR_NOT_SUPPORTED";
    EXPECT_EQ(FT_W32_CreateFile(), -1) << "INVALID_HANDLE_VALUE";
}

} // namespace
} // namespace test
