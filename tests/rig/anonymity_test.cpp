/// What an anonymous recording leaves out.
#include <cstring>

#include <gtest/gtest.h>

#include "anonymity.h"

namespace test {
namespace {

using rig::Call;
using rig::Function;
using rig::Texts;
using rig::Value;
using rig::record::SerialNumbers;
using rig::record::WithoutUserName;

Call CallOf(Function function, std::vector<Value> inputs, std::vector<Value> outputs) {
    return {rig::Described(function), std::move(inputs), std::move(outputs)};
}

constexpr std::uint64_t kHere = 1;

TEST(Anonymity, SerialNumbersKeepTheirLastLetterAndStayDifferent) {
    SerialNumbers serials;
    FT_DEVICE_LIST_INFO_NODE nodes[3]{};
    std::strcpy(nodes[0].SerialNumber, "FT5A1B2CA");
    std::strcpy(nodes[0].Description, "Dual RS232-HS A");
    std::strcpy(nodes[1].SerialNumber, "FT5A1B2CB");
    std::strcpy(nodes[1].Description + 16, "5A1B, of the host's memory");
    const std::string bytes(reinterpret_cast<const char*>(nodes), sizeof nodes);
    Call list = CallOf(Function::FT_GetDeviceInfoList, {kHere, std::uint64_t{3}},
                       {bytes, std::uint64_t{3}});
    serials.HideInOutputs(list);
    std::memcpy(nodes, std::get<std::string>(list.outputs[0]).data(), sizeof nodes);
    EXPECT_STREQ(nodes[0].SerialNumber, "SN1A");
    EXPECT_STREQ(nodes[1].SerialNumber, "SN1B");
    EXPECT_STREQ(nodes[2].SerialNumber, "") << "Windows still sets it up";
    EXPECT_STREQ(nodes[0].Description, "Dual RS232-HS A");
    EXPECT_EQ(std::get<std::string>(list.outputs[0]).find("5A1B"), std::string::npos);

    Call open =
        CallOf(Function::FT_OpenEx,
               {std::string("FT5A1B2CB"), std::uint64_t{rig::usb::kBySerialNumber}, kHere}, {});
    serials.HideInInputs(open);
    EXPECT_EQ(open.inputs[0], Value(std::string("SN1B")));
    Call other =
        CallOf(Function::FT_OpenEx,
               {std::string("OTHER1B"), std::uint64_t{rig::usb::kBySerialNumber}, kHere}, {});
    serials.HideInInputs(other);
    EXPECT_EQ(other.inputs[0], Value(std::string("SN2B")));
}

TEST(Anonymity, EveryFunctionThatTellsSerialNumbersHidesThem) {
    SerialNumbers serials;
    const Value serial = std::string("FT5A1B2CA");
    const Value description = std::string("Dual RS232-HS A");
    Call info = CallOf(Function::FT_GetDeviceInfo, {kHere, kHere, kHere, kHere, kHere, Value()},
                       {Value(), kHere, kHere, serial, description, Value()});
    serials.HideInOutputs(info);
    EXPECT_EQ(info.outputs[3], Value(std::string("SN1A")));
    EXPECT_EQ(info.outputs[4], description);
    Call detail = CallOf(Function::FT_GetDeviceInfoDetail,
                         {kHere, kHere, kHere, kHere, kHere, kHere, kHere, kHere},
                         {Value(), kHere, kHere, kHere, kHere, serial, description, kHere});
    serials.HideInOutputs(detail);
    EXPECT_EQ(detail.outputs[5], Value(std::string("SN1A")));
    using namespace rig::usb;
    const auto listed = [&](std::uint64_t flags, Value first, Value second) {
        Call list = CallOf(Function::FT_ListDevices, {kHere, kHere, flags},
                           {std::move(first), std::move(second), Value()});
        serials.HideInOutputs(list);
        return list.outputs;
    };
    EXPECT_EQ(listed(kListAll | kBySerialNumber, Texts{"FT5A1B2CA", "XA"}, kHere)[0],
              Value(Texts{"SN1A", "SN2A"}));
    EXPECT_EQ(listed(kListByIndex | kBySerialNumber, Value(), serial)[1],
              Value(std::string("SN1A")));
    EXPECT_EQ(listed(kListByIndex | kBySerialNumber | kByDescription, Value(), serial)[1],
              Value(std::string("SN1A")));
    EXPECT_EQ(listed(kListByIndex | kByDescription, Value(), description)[1], description);
    EXPECT_EQ(listed(kListAll | kByLocation, std::string("\x11\0\0\0", 4), kHere)[0],
              Value(std::string("\x11\0\0\0", 4)));
    Call byDescription =
        CallOf(Function::FT_OpenEx, {description, std::uint64_t{kByDescription}, kHere}, {});
    serials.HideInInputs(byDescription);
    EXPECT_EQ(byDescription.inputs[0], description);
}

TEST(Anonymity, PathsLoseTheNameOfTheirUser) {
    EXPECT_EQ(WithoutUserName("C:\\Users\\Jane Doe\\host\\FTD2XX.dll"),
              "C:\\Users\\USER\\host\\FTD2XX.dll");
    EXPECT_EQ(WithoutUserName("Z:\\home\\jane\\a"), "Z:\\home\\USER\\a");
    EXPECT_EQ(WithoutUserName("c:/users/jane"), "c:/users/USER");
    EXPECT_EQ(WithoutUserName("C:\\Windows\\System32\\FTD2XX.dll"),
              "C:\\Windows\\System32\\FTD2XX.dll");
    EXPECT_EQ(WithoutUserName("C:\\Users\\"), "C:\\Users\\");
    EXPECT_EQ(WithoutUserName(""), "");
}

} // namespace
} // namespace test
