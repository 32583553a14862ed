/// The rig's WMI through Windows' own COM.

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "rig_journal.h"
#include "wmi_client.h"

namespace {

using namespace test;
using testing::ElementsAre;

constexpr auto kChangedMode = static_cast<HRESULT>(0x80010106);

const char* const kTwoPorts = "[[parallel_port]]\n"
                              "[[parallel_port.range]]\nstart = '888'\n"
                              "[[parallel_port]]\n"
                              "[[parallel_port.range]]\nstart = '632'\n";

/// Initialises COM, and checks that every test releases all interfaces.
class Wbem : public testing::Test {
  protected:
    Wbem() {
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        Load(kTwoPorts);
    }
    ~Wbem() override {
        CoUninitialize();
        EXPECT_EQ(rig_wbem_interfaces(), 0);
    }

    static void Load(const char* toml) { ASSERT_EQ(rig_load(toml), 0) << rig_error(); }

    static void Fail(const char* function, std::uint32_t kind, std::uint32_t status,
                     std::uint32_t count = 0) {
        const rig_fault fault{function, 1, 1, kind, status, count};
        ASSERT_EQ(rig_add_fault(&fault), 0);
    }

    /// The address of the first port that has one, as a client finds it; else the reason.
    static std::string FirstAddress() {
        const auto locator = MakeLocator();
        if (!locator.object) {
            return "no locator";
        }
        const auto services = Connect(*locator.object, L"root\\cimv2");
        if (!services.object || FAILED(SetBlanket(services.object.get()))) {
            return "no services";
        }
        const auto ports = Ask(*services.object, kPorts);
        const GivenNext port = ports.object ? Next(*ports.object) : GivenNext{};
        if (!port.object || Property(*port.object, L"DeviceID") != "LPT1") {
            return "no port";
        }
        return AskForAll(*services.object, kResourcesOfLpt1, L"StartingAddress");
    }
};

TEST_F(Wbem, AClientFindsTheFirstPort) {
    EXPECT_EQ(FirstAddress(), "888,");
    EXPECT_THAT(
        TakeEntries({RIG_CALL}),
        ElementsAre("IClassFactory::CreateInstance(null, IWbemLocator) -> 0x00000000",
                    "IWbemLocator::ConnectServer(root\\cimv2, null, null, null, 0x80, null, null)"
                    " -> 0x00000000",
                    "IClientSecurity::SetBlanket(10, 0, null, 3, 3, null, 0) -> 0x00000000",
                    "IWbemServices::ExecQuery(WQL, SELECT * FROM Win32_ParallelPort, 0x20, null)"
                    " -> 0x00000000",
                    "IEnumWbemClassObject::Next(-1, 1) -> 0x00000000, 1",
                    "IWbemClassObject::Get(DeviceID, 0) -> 0x00000000, LPT1",
                    "IWbemServices::ExecQuery(WQL, ASSOCIATORS OF "
                    "{Win32_ParallelPort.DeviceID='LPT1'} WHERE ResultClass = Win32_PortResource, "
                    "0x20, null) -> 0x00000000",
                    "IEnumWbemClassObject::Next(-1, 1) -> 0x00000000, 1",
                    "IWbemClassObject::Get(StartingAddress, 0) -> 0x00000000, 888",
                    "IEnumWbemClassObject::Next(-1, 1) -> 0x00000001, 0"));
}

TEST_F(Wbem, WithoutPortsThereIsNone) {
    Load("");
    EXPECT_EQ(FirstAddress(), "no port");
}

TEST_F(Wbem, WrongTypesArriveAsTheyAre) {
    Load("[[parallel_port]]\n"
         "[[parallel_port.range]]\nstart = '888'\ntype = 'number'\n"
         "[[parallel_port.range]]\nstart = '888'\ntype = 'null-string'\n"
         "[[parallel_port.range]]\nstart = '888'\ntype = 'null'\n");
    EXPECT_EQ(FirstAddress(), "number 888,null text,null,");
    Load("[[parallel_port]]\ndevice_id_type = 'number'\n");
    EXPECT_EQ(FirstAddress(), "no port");
}

TEST_F(Wbem, FaultsReachTheClient) {
    Fail("IClassFactory::CreateInstance", RIG_FAULT_STATUS, 0x80041001);
    EXPECT_EQ(FirstAddress(), "no locator");
    Fail("IWbemLocator::ConnectServer", RIG_FAULT_STATUS, 0x80041003);
    EXPECT_EQ(FirstAddress(), "no services");
    Fail("IClientSecurity::SetBlanket", RIG_FAULT_STATUS, 0x80070005);
    EXPECT_EQ(FirstAddress(), "no services") << "CoSetProxyBlanket() comes through";
    Fail("IWbemServices::ExecQuery", RIG_FAULT_STATUS, 0x80041001);
    EXPECT_EQ(FirstAddress(), "no port");
    Fail("IEnumWbemClassObject::Next", RIG_FAULT_SILENT, 0);
    EXPECT_EQ(FirstAddress(), "no port");
    Fail("IWbemClassObject::Get", RIG_FAULT_STATUS, 0x80041002);
    EXPECT_EQ(FirstAddress(), "no port");
    EXPECT_EQ(FirstAddress(), "888,");
}

TEST_F(Wbem, ASingleThreadedHostGetsTheSameClass) {
    std::string address;
    HRESULT second = S_OK;
    std::thread([&] {
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        second = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        address = FirstAddress();
        CoUninitialize();
    }).join();
    EXPECT_EQ(second, kChangedMode);
    EXPECT_EQ(address, "888,");
}

TEST_F(Wbem, SecurityOfTheProcessChangesNothing) {
    EXPECT_EQ(CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                   RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr),
              S_OK);
    EXPECT_EQ(FirstAddress(), "888,");
}

TEST_F(Wbem, WhatIsHeldIsCounted) {
    const auto locator = MakeLocator();
    EXPECT_EQ(rig_wbem_interfaces(), 1);
    const auto services = Connect(*locator.object, L"root\\cimv2");
    EXPECT_EQ(rig_wbem_interfaces(), 2);
}

} // namespace
