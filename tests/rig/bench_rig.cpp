#include "bench_rig.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "rig_journal.h"

namespace test {

namespace {

std::uint8_t Ask(FT_HANDLE pins, std::uint8_t opcode) {
    EXPECT_EQ(Write(pins, {opcode}), FT_OK);
    const Bytes answer = Read(pins, 1);
    EXPECT_EQ(answer.size(), 1U);
    return answer.empty() ? 0 : answer[0];
}

} // namespace

Lines Take(rig_entry_kind kind) {
    return TakeEntries({kind});
}

Lines TakeAll() {
    return TakeEntries({RIG_CALL, RIG_EDGE, RIG_EVENT, RIG_NOTE});
}

FT_HANDLE Open(int index) {
    FT_HANDLE handle = nullptr;
    FT_Open(index, &handle);
    return handle;
}

FT_HANDLE OpenPins(int index) {
    FT_HANDLE handle = Open(index);
    EXPECT_EQ(FT_SetBitMode(handle, 0, FT_BITMODE_MPSSE), FT_OK);
    EXPECT_EQ(FT_SetLatencyTimer(handle, 0), FT_OK);
    return handle;
}

FT_STATUS Write(FT_HANDLE handle, Bytes bytes) {
    std::uint32_t written = 0;
    return FT_Write(handle, bytes.data(), static_cast<std::uint32_t>(bytes.size()), &written);
}

Bytes Read(FT_HANDLE handle, std::uint32_t count) {
    Bytes bytes(count);
    std::uint32_t returned = 0;
    EXPECT_EQ(FT_Read(handle, bytes.data(), count, &returned), FT_OK);
    bytes.resize(returned);
    return bytes;
}

std::uint8_t HighByte(FT_HANDLE pins) {
    return Ask(pins, 0x83);
}

std::uint8_t LowByte(FT_HANDLE pins) {
    return Ask(pins, 0x81);
}

std::uint32_t QueueLength(FT_HANDLE handle) {
    std::uint32_t count = kUntouched;
    EXPECT_EQ(FT_GetQueueStatus(handle, &count), FT_OK);
    return count;
}

std::vector<FT_DEVICE_LIST_INFO_NODE> Devices() {
    std::uint32_t count = 0;
    EXPECT_EQ(FT_CreateDeviceInfoList(&count), FT_OK);
    std::vector<FT_DEVICE_LIST_INFO_NODE> nodes(count + 1);
    EXPECT_EQ(FT_GetDeviceInfoList(nodes.data(), &count), FT_OK);
    nodes.resize(count);
    return nodes;
}

int AddFault(const char* function, std::uint32_t kind, std::uint32_t status, std::uint32_t count,
             std::uint32_t call, std::uint32_t times) {
    const rig_fault fault{function, call, times, kind, status, count};
    return rig_add_fault(&fault);
}

void Drive(FT_HANDLE pins, int value) {
    EXPECT_EQ(Write(pins, {0x82, static_cast<std::uint8_t>(value), kOutputs}), FT_OK);
}

std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.is_open()) << path;
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string ChangesIn(const std::string& path) {
    const std::string whole = ReadText(path);
    const std::string endOfLevels = "\n$end\n";
    const std::size_t end = whole.rfind(endOfLevels);
    EXPECT_NE(end, std::string::npos) << whole;
    std::string changes = whole.substr(std::min(end, whole.size()));
    changes.erase(0, endOfLevels.size());
    std::replace(changes.begin(), changes.end(), '\n', ' ');
    return changes.substr(0, changes.find_last_not_of(' ') + 1);
}

} // namespace test
