/// The rig's scenario reader on arbitrary texts, and the hardware that results.

#include <solvane/rig.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "d2xx.h"
#include "eapi.h"
#include "fuzz_check.h"
#include "host_platform.h"
#include "inpout.h"

namespace {

using fuzz::Check;

constexpr std::uint64_t kNanosecondsPerDay = 86'400'000'000'000;

/// An error must be "line 12: what is wrong", with a line that exists in the text.
void CheckError(const char* error, const std::string& text) {
    constexpr std::size_t kLongestError = 4096;
    const auto lines = static_cast<unsigned long>(std::count(text.begin(), text.end(), '\n') + 1);
    Check(std::strncmp(error, "line ", 5) == 0, "an error says where");
    char* end = nullptr;
    const unsigned long line = std::strtoul(error + 5, &end, 10);
    Check(line >= 1 && line <= lines, "at a line that is there");
    Check(std::strncmp(end, ": ", 2) == 0 && end[2] != '\0', "and what");
    Check(std::strlen(error) <= kLongestError, "in a few words");
}

void CheckLines() {
    for (int line = 0; line < RIG_LINE_COUNT; ++line) {
        const int level = rig_level(static_cast<rig_line>(line));
        Check(level == 0 || level == 1, "a level is 0 or 1");
    }
}

/// Opens the first channels of the list, reads their pins and closes them.
void UseUsb() {
    constexpr std::uint32_t kMostNodes = 8;
    std::uint32_t count = 0;
    FT_CreateDeviceInfoList(&count);
    FT_DEVICE_LIST_INFO_NODE nodes[kMostNodes]{};
    std::uint32_t room = kMostNodes;
    FT_GetDeviceInfoList(nodes, &room);
    for (int index = 0; index < 3; ++index) {
        FT_HANDLE handle = nullptr;
        if (FT_Open(index, &handle) != FT_OK || handle == nullptr) {
            continue;
        }
        FT_SetTimeouts(handle, 10, 10);
        FT_SetBitMode(handle, 0, FT_BITMODE_MPSSE);
        std::uint8_t commands[] = {0x82, 0x41, 0x4F, 0x83, 0x81, 0x77};
        std::uint32_t moved = 0;
        FT_Write(handle, commands, sizeof commands, &moved);
        std::uint8_t answers[16];
        FT_Read(handle, answers, sizeof answers, &moved);
        FT_ResetPort(handle);
        FT_Close(handle);
    }
}

void UseBoards() {
    EApiLibInitialize();
    std::uint32_t number = 0;
    EApiGPIOGetCount(&number);
    for (const EApiId_t id : {0U, 7U, 31U, 32U, 0xFFFF'FFFFU}) {
        EApiGPIOSetDirection(id, 1, EAPI_GPIO_OUTPUT);
        EApiGPIOSetLevel(id, 1, 1);
        EApiGPIOGetLevel(id, 1, &number);
    }
    EApiLibUnInitialize();
    constexpr std::uint16_t kPorts[] = {0x2E, 0x2F, 0x378, 0x379, 0x37A, 0xFFFF};
    for (const std::uint16_t port : kPorts) {
        Out32(port, 0x87);
        Inp32(port);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    host::Record(false);
    const std::string whole(bytes, bytes + size);
    const std::string text = whole.c_str(); // a C string: ends at the first zero byte
    rig_load(nullptr);
    const int result = rig_load(text.c_str());
    if (result != 0) {
        Check(result == -1, "a result is 0 or -1");
        CheckError(rig_error(), text);
        std::uint32_t count = 0;
        Check(FT_CreateDeviceInfoList(&count) == FT_OK && count == 2,
              "a text that is no scenario changes nothing");
        return 0;
    }
    Check(rig_error()[0] == '\0', "a scenario has no error");
    Check(rig_journal_size() == 0 && rig_calls("*") == 0 && rig_captures() == 0 && rig_time() == 0,
          "a scenario begins afresh");
    CheckLines();
    UseUsb();
    UseBoards();
    CheckLines();
    host::Advance(2 * kNanosecondsPerDay); // later than any event
    CheckLines();
    UseUsb();
    return 0;
}
