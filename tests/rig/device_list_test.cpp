#include "bench_rig.h"

namespace test {
namespace {

using DeviceList = BenchRig;

TEST_F(DeviceList, ShowsBothChannelsOfAnFt2232h) {
    const auto nodes = Devices();
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_STREQ(nodes[0].SerialNumber, "SLV1A");
    EXPECT_STREQ(nodes[1].SerialNumber, "SLV1B");
    EXPECT_STREQ(nodes[0].Description, "Dual RS232-HS A");
    EXPECT_STREQ(nodes[1].Description, "Dual RS232-HS B");
    for (const auto& node : nodes) {
        EXPECT_EQ(node.Flags, 2U) << "closed, high speed";
        EXPECT_EQ(node.Type, FT_DEVICE_2232H);
        EXPECT_EQ(node.ID, 0x04036010U);
        EXPECT_NE(node.LocId, 0U);
        EXPECT_EQ(node.ftHandle, nullptr);
    }
    EXPECT_NE(nodes[0].LocId, nodes[1].LocId);
}

TEST_F(DeviceList, ShowsAnFt232rOnce) {
    Load("[[usb]]\nchip = 'FT232R'\nserial = 'COM1'\ndescription = 'a cable'\n");
    const auto nodes = Devices();
    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_STREQ(nodes[0].SerialNumber, "COM1");
    EXPECT_STREQ(nodes[0].Description, "a cable");
    EXPECT_EQ(nodes[0].Flags, 0U);
    EXPECT_EQ(nodes[0].Type, 5U);
    EXPECT_EQ(nodes[0].ID, 0x04036001U);
}

TEST_F(DeviceList, ShowsTheRelativesOfAnFt2232h) {
    Load("[[usb]]\nchip = 'FT2232D'\nserial = 'D'\n[[usb]]\nchip = 'FT4232H'\nserial = 'Q'\n"
         "[[usb]]\nchip = 'FT232H'\nserial = 'S'\n");
    const struct {
        const char* serial;
        const char* description;
        std::uint32_t type;
        std::uint32_t id;
        std::uint32_t flags;
        bool hasMpsse;
    } expected[] = {{"DA", "Dual RS232 A", 4, 0x0403'6010, 0, true},
                    {"DB", "Dual RS232 B", 4, 0x0403'6010, 0, false},
                    {"QA", "Quad RS232-HS A", 7, 0x0403'6011, 2, true},
                    {"QB", "Quad RS232-HS B", 7, 0x0403'6011, 2, true},
                    {"QC", "Quad RS232-HS C", 7, 0x0403'6011, 2, false},
                    {"QD", "Quad RS232-HS D", 7, 0x0403'6011, 2, false},
                    {"S", "Single RS232-HS", 8, 0x0403'6014, 2, true}};
    const auto nodes = Devices();
    ASSERT_EQ(nodes.size(), std::size(expected));
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        EXPECT_STREQ(nodes[i].SerialNumber, expected[i].serial);
        EXPECT_STREQ(nodes[i].Description, expected[i].description);
        EXPECT_EQ(nodes[i].Type, expected[i].type) << expected[i].serial;
        EXPECT_EQ(nodes[i].ID, expected[i].id) << expected[i].serial;
        EXPECT_EQ(nodes[i].Flags, expected[i].flags) << expected[i].serial;
        const FT_STATUS status = FT_SetBitMode(Open(static_cast<int>(i)), 0, FT_BITMODE_MPSSE);
        EXPECT_EQ(status == FT_OK, expected[i].hasMpsse) << expected[i].serial;
    }
}

TEST_F(DeviceList, TellsWhichDevicesAreOpen) {
    FT_HANDLE handle = Open(1);
    auto nodes = Devices();
    EXPECT_EQ(nodes[0].Flags, 2U);
    EXPECT_EQ(nodes[1].Flags, 3U);
    EXPECT_EQ(nodes[1].LocId, 0U);
    EXPECT_EQ(nodes[1].ftHandle, handle);

    FT_Close(handle);
    nodes = Devices();
    EXPECT_EQ(nodes[1].Flags, 2U);
    EXPECT_NE(nodes[1].LocId, 0U);
    EXPECT_EQ(nodes[1].ftHandle, nullptr);
}

TEST_F(DeviceList, HidesWhatAnotherProgramHasOpen) {
    Load(kOneChip + "open_elsewhere = true\n[[usb]]\nchip = 'FT2232H'\n");
    const auto nodes = Devices();
    ASSERT_EQ(nodes.size(), 4U);
    for (int i = 0; i < 2; ++i) {
        const auto& node = nodes[static_cast<std::size_t>(i)];
        EXPECT_EQ(node.Flags, 1U) << "open";
        EXPECT_EQ(node.Type, 3U) << "FT_DEVICE_UNKNOWN";
        EXPECT_EQ(node.ID, 0U);
        EXPECT_EQ(node.LocId, 0U);
        EXPECT_STREQ(node.SerialNumber, "");
        EXPECT_STREQ(node.Description, "");
        EXPECT_EQ(node.ftHandle, nullptr);

        FT_HANDLE handle = nullptr;
        EXPECT_EQ(FT_Open(i, &handle), kDeviceNotOpened);
        EXPECT_EQ(handle, nullptr);
    }
    EXPECT_STREQ(nodes[3].SerialNumber, "SLV2B") << "the other chip is free";
    EXPECT_NE(Open(3), nullptr);
}

TEST_F(DeviceList, AnUnpluggedChipIsOpenNowhere) {
    Load(kOneChip + "open_elsewhere = true\n");
    rig_unplug(0);
    EXPECT_TRUE(Devices().empty());
    rig_plug(0);
    EXPECT_STREQ(Devices().at(1).SerialNumber, "SLV1B");
    EXPECT_NE(Open(1), nullptr);
}

TEST_F(DeviceList, CutsTextsToTheirFields) {
    Load("[[usb]]\nchip = 'FT2232H'\nserial = '" + std::string(15, 's') + "'\ndescription = '" +
         std::string(70, 'd') + "'\n");
    const auto nodes = Devices();
    EXPECT_EQ(std::string(nodes[0].SerialNumber), std::string(15, 's')) << "no room for the letter";
    EXPECT_EQ(std::string(nodes[0].Description), std::string(63, 'd'));
}

TEST_F(DeviceList, NamesTheChannelsByTheChipsLetters) {
    Load("[[usb]]\nchip = 'FT2232H'\nserial = 'X'\nletters = 'xy'\n[[usb]]\nchip = 'FT2232H'\n");
    const auto nodes = Devices();
    ASSERT_EQ(nodes.size(), 4U);
    EXPECT_STREQ(nodes[0].SerialNumber, "Xx");
    EXPECT_STREQ(nodes[1].SerialNumber, "Xy");
    EXPECT_STREQ(nodes[1].Description, "Dual RS232-HS B");
    EXPECT_STREQ(nodes[2].SerialNumber, "SLV2A") << "numbered in the order of the scenario";
}

TEST_F(DeviceList, IsASnapshot) {
    FT_DEVICE_LIST_INFO_NODE nodes[4];
    std::uint32_t count = 4;
    EXPECT_EQ(FT_GetDeviceInfoList(nodes, &count), FT_OK);
    EXPECT_EQ(count, 0U) << "no list was taken yet";

    EXPECT_EQ(FT_CreateDeviceInfoList(&count), FT_OK);
    rig_unplug(0);
    count = 4;
    EXPECT_EQ(FT_GetDeviceInfoList(nodes, &count), FT_OK);
    EXPECT_EQ(count, 2U);
    EXPECT_STREQ(nodes[1].SerialNumber, "SLV1B");
}

TEST_F(DeviceList, FillsNoMoreThanThereIsRoomFor) {
    FT_DEVICE_LIST_INFO_NODE nodes[2];
    nodes[1].Type = kUntouched;
    std::uint32_t count = 0;
    FT_CreateDeviceInfoList(&count);
    count = 1;
    EXPECT_EQ(FT_GetDeviceInfoList(nodes, &count), FT_OK);
    EXPECT_EQ(count, 1U);
    EXPECT_STREQ(nodes[0].SerialNumber, "SLV1A");
    EXPECT_EQ(nodes[1].Type, kUntouched);
}

TEST_F(DeviceList, RefusesNullPointers) {
    FT_DEVICE_LIST_INFO_NODE node;
    std::uint32_t count = 1;
    EXPECT_EQ(FT_CreateDeviceInfoList(nullptr), kInvalidParameter);
    EXPECT_EQ(FT_GetDeviceInfoList(nullptr, &count), kInvalidParameter);
    EXPECT_EQ(FT_GetDeviceInfoList(&node, nullptr), kInvalidParameter);
}

TEST_F(DeviceList, IsEmptyWithoutHardware) {
    Load("");
    EXPECT_TRUE(Devices().empty());
    EXPECT_EQ(Open(0), nullptr);
}

TEST_F(DeviceList, IsTheDefaultRigsForNull) {
    Load("");
    ASSERT_EQ(rig_load(nullptr), 0);
    const auto nodes = Devices();
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_STREQ(nodes[1].SerialNumber, "SLV1B");
}

TEST_F(DeviceList, OpensByIndex) {
    FT_HANDLE handle = nullptr;
    EXPECT_EQ(FT_Open(-1, &handle), kDeviceNotFound);
    EXPECT_EQ(FT_Open(2, &handle), kDeviceNotFound);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(FT_Open(0, nullptr), kInvalidParameter);

    EXPECT_EQ(FT_Open(0, &handle), FT_OK);
    ASSERT_NE(handle, nullptr);
    FT_HANDLE second = nullptr;
    EXPECT_EQ(FT_Open(0, &second), kDeviceNotOpened);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(FT_Open(1, &second), FT_OK);
    EXPECT_NE(second, handle);
}

TEST_F(DeviceList, OpensAPresentDeviceWhateverTheSnapshotSays) {
    Devices();
    rig_unplug(0);
    FT_HANDLE handle = nullptr;
    EXPECT_EQ(FT_Open(0, &handle), kDeviceNotFound);
}

TEST_F(DeviceList, NeverGivesAHandleTwice) {
    FT_HANDLE first = Open(0);
    EXPECT_EQ(FT_Close(first), FT_OK);
    EXPECT_EQ(FT_Close(first), kInvalidHandle);
    FT_HANDLE second = Open(0);
    EXPECT_NE(second, first);

    Load(kOneChip);
    EXPECT_EQ(FT_ResetDevice(second), kInvalidHandle) << "a new scenario ends all handles";
    FT_HANDLE third = Open(0);
    EXPECT_NE(third, first);
    EXPECT_NE(third, second);
}

} // namespace
} // namespace test
