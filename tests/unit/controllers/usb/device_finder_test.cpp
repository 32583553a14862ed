#include "device_finder.h"

#include "chip_on_the_rig.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::ElementsAre;

class DeviceFinderTest : public OnTheRig {
  protected:
    int Find(char letter) { return FindDevice(logger, letter); }
};

TEST_F(DeviceFinderTest, FindsTheChannelByTheLastLetterOfItsSerialNumber) {
    Load("[[usb]]\nchip = \"FT2232H\"\nserial = \"XY12\"\n");
    EXPECT_EQ(Find('B'), 1);
    EXPECT_EQ(TakeJournal(), FindOneChip());
    EXPECT_EQ(Find('b'), 1);
    EXPECT_EQ(Find('A'), 0);
    EXPECT_EQ(Find('a'), 0);
}

TEST_F(DeviceFinderTest, TheSerialNumbersOwnCaseDoesNotMatterEither) {
    Load("[[usb]]\nchip = \"FT2232H\"\nserial = \"XY12\"\nletters = \"ab\"\n");
    EXPECT_EQ(Find('B'), 1);
}

TEST_F(DeviceFinderTest, TheFirstMatchWins) {
    Load("[[usb]]\nchip = \"FT232R\"\nserial = \"R1B\"\n"
         "[[usb]]\nchip = \"FT2232H\"\nserial = \"ONE\"\n"
         "[[usb]]\nchip = \"FT2232H\"\nserial = \"TWO\"\n");
    EXPECT_EQ(Find('B'), 2) << "the FT232R before it has a serial number that ends in B too";
}

TEST_F(DeviceFinderTest, AnotherLetterIsSkipped) {
    Load("[[usb]]\nchip = \"FT2232H\"\nserial = \"ONE\"\nletters = \"CD\"\n"
         "[[usb]]\nchip = \"FT2232H\"\nserial = \"TWO\"\n");
    EXPECT_EQ(Find('B'), 3);
}

TEST_F(DeviceFinderTest, ReportsThatTheDevicesCannotBeCounted) {
    FailStatus("FT_CreateDeviceInfoList", 1, kIoError);
    EXPECT_EQ(Find('B'), -1);
    EXPECT_THAT(TakeJournal(),
                ElementsAre("FT_CreateDeviceInfoList() -> 4",
                            Log("Error in getting the number of devices. Error: 4")));
}

TEST_F(DeviceFinderTest, ReportsThatThereAreNoDevices) {
    Load("");
    EXPECT_EQ(Find('B'), -1);
    EXPECT_EQ(TakeJournal(), FindNoChip());
}

TEST_F(DeviceFinderTest, ReportsThatTheListCannotBeHadWithoutDumpingIt) {
    FailStatus("FT_GetDeviceInfoList", 1, kIoError);
    EXPECT_EQ(Find('B'), -1);
    EXPECT_THAT(TakeJournal(),
                ElementsAre("FT_CreateDeviceInfoList() -> 0, 2",
                            Log("Total FTDI devices available:  2"), "FT_GetDeviceInfoList(2) -> 4",
                            Log("Failed to obtain FTDI devices info list. Error: 4")));
}

} // namespace
