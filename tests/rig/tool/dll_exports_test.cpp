/// Exports of DLLs, read and written.
#include "dll_exports.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using rig::DllExport;
using rig::DllImage;
using rig::ForwarderDll;
using rig::ReadDll;

// Where ForwarderDll() has what this test changes.
constexpr std::size_t kMachine = 0x44;
constexpr std::size_t kExportsSize = 0xCC;
constexpr std::size_t kSectionFlags = 0x16C;
constexpr std::size_t kOrdinalBase = 0x210;

const std::vector<DllExport> kExports = {{9, {"Zebra", "Alias"}, "solvane_record.Zebra"},
                                         {4, {"FT_Write"}, "solvane_record.FT_Write"},
                                         {70, {}, "solvane_record.#1001"}};

std::string Changed(std::string bytes, std::size_t place, std::uint32_t word) {
    for (int i = 0; i < 4; ++i) {
        bytes[place + static_cast<std::size_t>(i)] = static_cast<char>(word >> 8 * i);
    }
    return bytes;
}

TEST(DllExports, AreReadAsTheyWereWritten) {
    const DllImage image = ReadDll(ForwarderDll("FTD2XX.dll", kExports));
    EXPECT_EQ(image.name, "FTD2XX.dll");
    EXPECT_TRUE(image.is64Bit);
    ASSERT_EQ(image.exports.size(), kExports.size()) << "a gap in the ordinals is no export";
    EXPECT_EQ(image.exports[0].ordinal, 4U);
    EXPECT_EQ(image.exports[0].names, std::vector<std::string>{"FT_Write"});
    EXPECT_EQ(image.exports[0].forward, "solvane_record.FT_Write");
    EXPECT_EQ(image.exports[1].ordinal, 9U);
    EXPECT_THAT(image.exports[1].names, testing::ElementsAre("Alias", "Zebra"))
        << "sorted, as the loader searches them";
    EXPECT_EQ(image.exports[2].ordinal, 70U);
    EXPECT_TRUE(image.exports[2].names.empty());
    EXPECT_EQ(image.exports[2].forward, "solvane_record.#1001");
    EXPECT_TRUE(ReadDll(ForwarderDll("none.dll", {})).exports.empty());
}

TEST(DllExports, TellDataFromFunctionsAndForwarders) {
    constexpr std::uint32_t kReadOnly = 0x4000'0040;
    constexpr std::uint32_t kCode = 0x6000'0020;
    const std::string dll = ForwarderDll("FTD2XX.dll", kExports);
    // The texts of the forwarders are no longer in the directory.
    const std::string data = Changed(dll, kExportsSize, 40);
    for (const DllExport& one : ReadDll(data).exports) {
        EXPECT_TRUE(one.isData);
        EXPECT_EQ(one.forward, "");
    }
    EXPECT_EQ(ReadDll(Changed(data, kSectionFlags, kReadOnly)).exports[0].isData, true);
    for (const DllExport& one : ReadDll(Changed(data, kSectionFlags, kCode)).exports) {
        EXPECT_FALSE(one.isData);
        EXPECT_EQ(one.forward, "");
    }
}

TEST(DllExports, OfAnotherProcessorAreToldApart) {
    std::string dll = ForwarderDll("FTD2XX.dll", kExports);
    dll[kMachine] = 0x4C;
    dll[kMachine + 1] = 0x01;
    EXPECT_FALSE(ReadDll(dll).is64Bit);
}

TEST(DllExports, OfADamagedFileAreReadOrRefused) {
    const std::string dll = ForwarderDll("FTD2XX.dll", kExports);
    std::size_t refused = 0;
    const auto read = [&](const std::string& bytes) {
        try {
            ForwarderDll("again.dll", ReadDll(bytes).exports);
        } catch (const std::runtime_error&) {
            ++refused;
        }
    };
    for (std::size_t length = 0; length < dll.size(); ++length) {
        read(dll.substr(0, length));
    }
    EXPECT_GT(refused, dll.size() / 2);
    for (std::size_t place = 0; place < dll.size(); ++place) {
        for (const char mask : {'\xFF', '\x01', '\x80'}) {
            std::string bytes = dll;
            bytes[place] = static_cast<char>(bytes[place] ^ mask);
            read(bytes);
        }
    }
    // The last ordinal is 66 above the first.
    EXPECT_EQ(ReadDll(Changed(dll, kOrdinalBase, 0xFFFF - 66)).exports[2].ordinal, 0xFFFFU);
    for (const std::uint32_t base : {0xFFFFU - 65, 0x1'0000U, 0xFFFF'FFFFU}) {
        EXPECT_THROW(ReadDll(Changed(dll, kOrdinalBase, base)), std::runtime_error) << base;
    }
    for (const char* text : {"", "M", "MZ", "#!/bin/sh",
                             "\x7F"
                             "ELF"}) {
        EXPECT_THROW(ReadDll(text), std::runtime_error) << text;
    }
}

} // namespace
