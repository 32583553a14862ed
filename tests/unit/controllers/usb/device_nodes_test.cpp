/// FindDevice over device lists that no rig gives; its two vendor calls are answered here.

#include "device_finder.h"

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "d2xx.h"

namespace {

using namespace SLV::Internal;

/// The device list.
std::vector<FT_DEVICE_LIST_INFO_NODE> listed;

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
        logger.Install(&lines, [](void* context, const char* line) {
            static_cast<std::vector<std::string>*>(context)->emplace_back(std::strstr(line, "] ") +
                                                                          2);
        });
    }

    int Find(char letter, std::vector<FT_DEVICE_LIST_INFO_NODE> nodes) {
        listed = std::move(nodes);
        return FindDevice(logger, letter);
    }

    Logger logger;
    std::vector<std::string> lines;
};

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

TEST_F(DeviceNodesTest, DumpsTheAddressOfAHandleWithSixteenDigits) {
    FT_DEVICE_LIST_INFO_NODE open = Ft2232hNode("S1A");
    open.ftHandle = reinterpret_cast<FT_HANDLE>(std::uintptr_t{0x1a2b});
    EXPECT_EQ(Find('B', {open}), -1);
    EXPECT_EQ(lines.back(), " s_ft_handle=0x0000000000001A2B");
}

TEST_F(DeviceNodesTest, DumpsTextThatFillsItsFieldUpToTheFieldsEnd) {
    FT_DEVICE_LIST_INFO_NODE node = Ft2232hNode("0123456789abcdef");
    Fill(node.Description, std::string(64, 'D'));
    EXPECT_EQ(Find('B', {node}), -1);
    EXPECT_EQ(lines[7], " SerialNumber=0123456789abcdef");
    EXPECT_EQ(lines[8], " Description=" + std::string(64, 'D'));
}

} // namespace

FT_STATUS FT_CALL FT_CreateDeviceInfoList(std::uint32_t* deviceCount) {
    *deviceCount = static_cast<std::uint32_t>(listed.size());
    return FT_OK;
}

FT_STATUS FT_CALL FT_GetDeviceInfoList(FT_DEVICE_LIST_INFO_NODE* nodes,
                                       std::uint32_t* deviceCount) {
    std::copy_n(listed.begin(), *deviceCount, nodes);
    return FT_OK;
}
