/// FindDevice over device lists that no healthy D2XX library gives: the two calls that it makes are
/// answered here, node by node.

#include "device_finder.h"

#include <algorithm>
#include <cstring>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "d2xx.h"

namespace {

using namespace SLV::Internal;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// What the D2XX library answers.
struct Library {
    std::uint32_t count = 0;                     ///< of FT_CreateDeviceInfoList
    std::vector<FT_DEVICE_LIST_INFO_NODE> nodes; ///< copied as far as the caller has room
    std::uint32_t reported = 0;                  ///< of FT_GetDeviceInfoList
    bool nodesWereZero = true;                   ///< the array came in zeroed
} library;

template <std::size_t Size>
void Fill(char (&field)[Size], std::string_view text) {
    std::copy_n(text.data(), std::min(text.size(), Size), field);
}

FT_DEVICE_LIST_INFO_NODE Ft2232hNode(std::string_view serial) {
    FT_DEVICE_LIST_INFO_NODE node{};
    node.Flags = 2;
    node.Type = 6;
    node.ID = 0x04036010;
    node.LocId = 0x2211;
    Fill(node.SerialNumber, serial);
    Fill(node.Description, "Camera lines");
    return node;
}

class DeviceNodesTest : public testing::Test {
  protected:
    DeviceNodesTest() {
        library = {};
        logger.Install(&lines, [](void* context, const char* line) {
            static_cast<std::vector<std::string>*>(context)->emplace_back(std::strstr(line, "] ") +
                                                                          2);
        });
    }

    int Find(char letter, std::vector<FT_DEVICE_LIST_INFO_NODE> nodes) {
        library.nodes = std::move(nodes);
        library.count = library.reported = static_cast<std::uint32_t>(library.nodes.size());
        return FindDevice(logger, letter);
    }

    Logger logger;
    std::vector<std::string> lines;
};

TEST_F(DeviceNodesTest, AskedForANodeADeviceInAZeroedArray) {
    EXPECT_EQ(Find('B', {Ft2232hNode("S1A"), Ft2232hNode("S1B")}), 1);
    EXPECT_TRUE(library.nodesWereZero);
}

TEST_F(DeviceNodesTest, ATypeOrIdThatDiffersDoesNotQualify) {
    FT_DEVICE_LIST_INFO_NODE otherType = Ft2232hNode("S1B");
    otherType.Type = 5;
    FT_DEVICE_LIST_INFO_NODE otherId = Ft2232hNode("S1B");
    otherId.ID = 0x04036011;
    EXPECT_EQ(Find('B', {otherType, otherId, Ft2232hNode("S1B")}), 2);
}

TEST_F(DeviceNodesTest, AnEmptySerialNumberMatchesNothing) {
    EXPECT_EQ(Find('\0', {Ft2232hNode("")}), -1);
    EXPECT_EQ(Find('B', {Ft2232hNode("")}), -1);
}

TEST_F(DeviceNodesTest, ASerialNumberThatFillsItsFieldEndsThere) {
    EXPECT_EQ(Find('B', {Ft2232hNode("0123456789abcdeB")}), 0);
    EXPECT_EQ(Find('C', {Ft2232hNode("0123456789abcdeB")}), -1)
        << "the description that follows begins with a C";
}

TEST_F(DeviceNodesTest, OnlyLettersHaveACase) {
    EXPECT_EQ(Find('[', {Ft2232hNode("S1{")}), -1);
    EXPECT_EQ(Find('{', {Ft2232hNode("S1{")}), 0);
    EXPECT_EQ(Find('z', {Ft2232hNode("S1Z")}), 0);
    EXPECT_EQ(Find('A', {Ft2232hNode("S1a")}), 0);
    EXPECT_EQ(Find('@', {Ft2232hNode("S1`")}), -1);
}

TEST_F(DeviceNodesTest, DumpsEveryNodeWhenNoneIsTheRightOne) {
    FT_DEVICE_LIST_INFO_NODE ft232r{};
    ft232r.Flags = 1;
    ft232r.Type = 5;
    ft232r.ID = 0x04036001;
    ft232r.LocId = 0xAB12;
    Fill(ft232r.SerialNumber, "R1");
    Fill(ft232r.Description, "USB UART");
    ft232r.ftHandle = reinterpret_cast<FT_HANDLE>(std::uintptr_t{0x1a2b});
    EXPECT_EQ(Find('B', {ft232r, Ft2232hNode("S1A")}), -1);
    EXPECT_THAT(lines,
                ElementsAre("Total FTDI devices available:  2",
                            "No valid device found in following device list: ", "Dev: 0",
                            " Flags=0x1", " Type=0x5", " ID=0x4036001", " LocId=0xab12",
                            " SerialNumber=R1", " Description=USB UART",
                            " s_ft_handle=0x0000000000001A2B", "Dev: 1", " Flags=0x2", " Type=0x6",
                            " ID=0x4036010", " LocId=0x2211", " SerialNumber=S1A",
                            " Description=Camera lines", " s_ft_handle=0x0000000000000000"));
}

TEST_F(DeviceNodesTest, DumpsTextThatFillsItsFieldUpToTheFieldsEnd) {
    FT_DEVICE_LIST_INFO_NODE node = Ft2232hNode("0123456789abcdef");
    Fill(node.Description, std::string(64, 'D'));
    EXPECT_EQ(Find('B', {node}), -1);
    EXPECT_EQ(lines[7], " SerialNumber=0123456789abcdef");
    EXPECT_EQ(lines[8], " Description=" + std::string(64, 'D'));
}

TEST_F(DeviceNodesTest, LooksAtNoMoreNodesThanTheSecondCallReports) {
    library.nodes = {Ft2232hNode("S1A"), Ft2232hNode("S1B")};
    library.count = 2;
    library.reported = 1;
    EXPECT_EQ(FindDevice(logger, 'B'), -1);
    EXPECT_THAT(lines, SizeIs(2 + 8)) << "one node is dumped";
}

TEST_F(DeviceNodesTest, LooksAtNoMoreNodesThanWereAllocated) {
    library.nodes = {Ft2232hNode("S1A")};
    library.count = 1;
    library.reported = 1000;
    EXPECT_EQ(FindDevice(logger, 'B'), -1);
    EXPECT_THAT(lines, SizeIs(2 + 8));
}

TEST_F(DeviceNodesTest, ASenselessCountIsAListThatCannotBeHad) {
    library.count = 0xFFFF'FFFF;
    EXPECT_EQ(FindDevice(logger, 'B'), -1);
    EXPECT_THAT(lines, ElementsAre("Total FTDI devices available:  4294967295",
                                   "Failed to obtain FTDI devices info list. Error: 5"));
}

TEST_F(DeviceNodesTest, FourThousandAndNinetySixChannelsAreTheMostThatAreAskedFor) {
    library.count = 4096;
    EXPECT_EQ(FindDevice(logger, 'B'), -1);
    EXPECT_EQ(lines.back(), "No valid device found in following device list: ");
    library.count = 4097;
    EXPECT_EQ(FindDevice(logger, 'B'), -1);
    EXPECT_EQ(lines.back(), "Failed to obtain FTDI devices info list. Error: 5");
}

TEST_F(DeviceNodesTest, WorksSilently) {
    logger.Install(nullptr, nullptr);
    EXPECT_EQ(Find('B', {Ft2232hNode("S1A")}), -1);
    EXPECT_THAT(lines, IsEmpty());
}

} // namespace

FT_STATUS FT_CALL FT_CreateDeviceInfoList(std::uint32_t* deviceCount) {
    *deviceCount = library.count;
    return FT_OK;
}

FT_STATUS FT_CALL FT_GetDeviceInfoList(FT_DEVICE_LIST_INFO_NODE* nodes,
                                       std::uint32_t* deviceCount) {
    const FT_DEVICE_LIST_INFO_NODE zero{};
    const std::size_t room = std::min<std::size_t>(*deviceCount, library.nodes.size());
    for (std::size_t i = 0; i < *deviceCount; ++i) {
        library.nodesWereZero &= std::memcmp(&nodes[i], &zero, sizeof zero) == 0;
    }
    std::copy_n(library.nodes.begin(), room, nodes);
    *deviceCount = library.reported;
    return FT_OK;
}
