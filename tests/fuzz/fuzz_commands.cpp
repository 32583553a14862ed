/// Arbitrary commands on a running rig that a host uses: every command gets an answer in JSON, and
/// the session can be saved and run again.

#include <solvane/rig.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "commands.h"
#include "d2xx.h"
#include "eapi.h"
#include "fuzz_check.h"
#include "host_platform.h"
#include "inpout.h"

namespace {

using fuzz::Check;

constexpr std::uint64_t kMillisecond = 1'000'000;
constexpr std::size_t kMostCommands = 12;

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(separator, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

/// Makes some calls of every kind, and lets some time pass.
void UseHardware() {
    FT_HANDLE handle = nullptr;
    if (FT_Open(1, &handle) == FT_OK && handle != nullptr) {
        FT_SetTimeouts(handle, 20, 20);
        FT_SetBitMode(handle, 0, FT_BITMODE_MPSSE);
        std::uint8_t commands[] = {0x82, 0x43, 0x4F, 0x82, 0x40, 0x4F, 0x83, 0x81};
        std::uint32_t moved = 0;
        FT_Write(handle, commands, sizeof commands, &moved);
        std::uint8_t answers[4];
        FT_Read(handle, answers, 2, &moved);
        FT_Close(handle);
    }
    EApiLibInitialize();
    EApiGPIOSetDirection(0, 1, EAPI_GPIO_OUTPUT);
    EApiGPIOSetLevel(0, 1, 1);
    Out32(0x378, 0x02);
    Inp32(0x379);
    host::Advance(30 * kMillisecond);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

/// Each line of the input is a command, with tabs between its words; '|' is a line break in a word.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    host::Record(false);
    rig_load(nullptr);
    const std::string text(bytes, bytes + size);
    std::vector<std::string> lines = Split(text, '\n');
    lines.resize(std::min(lines.size(), kMostCommands));
    for (const std::string& line : lines) {
        std::vector<std::string> words = Split(line, '\t');
        for (std::string& word : words) {
            std::ranges::replace(word, '|', '\n');
        }
        const rig::Reply reply = rig::Perform(words, true, [] { return true; }); // no long waits
        Check(reply.exitCode >= 0 && reply.exitCode <= 2, "an exit code is 0, 1 or 2");
        Check(nlohmann::json::accept(reply.text), "an answer is JSON");
        Check(reply.text.find('\n') == std::string::npos, "in one line");
        UseHardware();
    }
    const rig::Reply kept = rig::Perform({"keep"}, false);
    if (kept.exitCode == 0) {
        Check(rig_load(kept.text.c_str()) == 0, rig_error());
        UseHardware();
        host::Advance(1000 * kMillisecond);
        Check(rig::Perform({"keep"}, false).exitCode == 0, "a session can be kept again");
    }
    return 0;
}
