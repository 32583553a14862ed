/// The rig's WMI behind the native stand-in for COM.
#include "bench_rig.h"
#include "com_stand_in.h"
#include "wmi_client.h"

namespace test {
namespace {

constexpr auto kWrongParameter = static_cast<HRESULT>(0x80041008);
constexpr auto kWrongNamespace = static_cast<HRESULT>(0x8004100E);
constexpr auto kWrongQuery = static_cast<HRESULT>(0x80041017);
constexpr auto kWrongQueryType = static_cast<HRESULT>(0x80041018);

const std::string kTwoPorts = "[[parallel_port]]\n"
                              "[[parallel_port.range]]\nstart = '888'\n"
                              "[[parallel_port.range]]\nstart = '1912'\n"
                              "[[parallel_port]]\ndevice_id = 'Other port'\n"
                              "[[parallel_port.range]]\nstart = '0x278'\n";

/// Initialises COM, and checks that every test releases all its interfaces.
class Wbem : public BenchRig {
  protected:
    Wbem() {
        host::com::Reset();
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        Load(kTwoPorts);
    }
    ~Wbem() override {
        services.reset();
        CoUninitialize();
        EXPECT_EQ(rig_wbem_interfaces(), 0);
        EXPECT_EQ(host::com::AliveStrings(), 0);
        EXPECT_EQ(host::com::Initialisations(), 0);
    }

    IWbemServices& Services() {
        if (!services) {
            services = Connect(*MakeLocator().object, L"root\\cimv2").object;
        }
        return *services;
    }

    std::string Ports() { return AskForAll(Services(), kPorts, L"DeviceID"); }
    std::string Addresses() { return AskForAll(Services(), kResourcesOfLpt1, L"StartingAddress"); }

    Com<IWbemServices> services;
};

TEST_F(Wbem, AClientFindsPortsAndAddresses) {
    EXPECT_EQ(Ports(), "LPT1,Other port,");
    EXPECT_EQ(Addresses(), "888,1912,");
    EXPECT_EQ(AskForAll(Services(),
                        L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='OTHER PORT'} WHERE "
                        L"ResultClass = Win32_PortResource",
                        L"StartingAddress"),
              "0x278,");
}

TEST_F(Wbem, WithoutTablesWindowsKnowsOfNoPort) {
    Load("");
    EXPECT_EQ(Ports(), "");
    EXPECT_EQ(Addresses(), "");
}

TEST_F(Wbem, PortsHaveNamesByTheirOrder) {
    Load("[[parallel_port]]\n[[parallel_port]]\n[[parallel_port]]\ndevice_id = ''\n");
    EXPECT_EQ(Ports(), "LPT1,LPT2,,");
    EXPECT_EQ(Addresses(), "");
}

TEST_F(Wbem, PropertiesCanHaveTheWrongType) {
    Load("[[parallel_port]]\ndevice_id_type = 'null'\n"
         "[[parallel_port.range]]\nstart = '0x378'\ntype = 'number'\n"
         "[[parallel_port.range]]\nstart = 'none'\ntype = 'number'\n"
         "[[parallel_port.range]]\nstart = '99999999999999999999'\ntype = 'number'\n"
         "[[parallel_port.range]]\nstart = '0'\ntype = 'null-string'\n"
         "[[parallel_port.range]]\nstart = '0'\ntype = 'null'\n"
         "[[parallel_port.range]]\nstart = '01570'\ntype = 'string'\n"
         "[[parallel_port]]\ndevice_id_type = 'null-string'\n"
         "[[parallel_port]]\ndevice_id_type = 'number'\n");
    EXPECT_EQ(Ports(), "null,null text,number 0,");
    EXPECT_EQ(Addresses(), "number 888,number 0,number 2147483647,null text,null,01570,");
}

TEST_F(Wbem, QueriesAreReadAsWqlIs) {
    const wchar_t* const same[] = {
        L"select * from WIN32_PARALLELPORT",
        L"  SELECT\t*\r\nFROM  Win32_ParallelPort ",
        L"SELECT*FROM Win32_ParallelPort",
    };
    for (const wchar_t* query : same) {
        EXPECT_EQ(AskForAll(Services(), query, L"deviceid"), "LPT1,Other port,");
    }
    EXPECT_EQ(AskForAll(Services(),
                        L"associators of{win32_parallelport.deviceid=\"l\\PT1\"}where "
                        L"resultclass=win32_portresource",
                        L"STARTINGADDRESS"),
              "888,1912,");
    EXPECT_EQ(Ask(Services(), kPorts, L"wql").status, S_OK);
}

TEST_F(Wbem, OtherQueriesAreRefused) {
    const wchar_t* const others[] = {
        L"",
        L"SELECT",
        L"SELECT * FROM Win32_SerialPort",
        L"SELECT DeviceID FROM Win32_ParallelPort",
        L"SELECT * FROM Win32_ParallelPort WHERE DeviceID = 'LPT1'",
        L"SELECT * FROM 'Win32_ParallelPort'",
        L"SELECT * FROM Win32_ParallelPort\x100",
        L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='LPT1'}",
        L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID=LPT1} WHERE ResultClass = Win32_PortResource",
        L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='LPT1} WHERE ResultClass=Win32_PortResource",
        L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='LPT1\\",
        L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='LPT1'} WHERE ResultClass = Win32_IRQ",
        L"ASSOCIATORS OF {Win32_SerialPort.DeviceID='LPT1'} WHERE ResultClass = Win32_PortResource",
    };
    for (const wchar_t* query : others) {
        const auto answer = Ask(Services(), query);
        EXPECT_EQ(answer.status, kWrongQuery);
        EXPECT_EQ(answer.object, nullptr);
    }
    EXPECT_EQ(Ask(Services(), kPorts, L"SQL").status, kWrongQueryType);
}

TEST_F(Wbem, AnUnknownPortHasNoResources) {
    EXPECT_EQ(AskForAll(Services(),
                        L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='LPT9'} WHERE ResultClass = "
                        L"Win32_PortResource",
                        L"StartingAddress"),
              "");
}

TEST_F(Wbem, OneNamespaceIsKnown) {
    const auto locator = MakeLocator();
    ASSERT_EQ(locator.status, S_OK);
    for (const wchar_t* path : {L"ROOT\\CIMV2", L"root/cimv2", L"\\\\.\\root\\cimv2"}) {
        EXPECT_EQ(Connect(*locator.object, path).status, S_OK);
    }
    for (const wchar_t* path : {L"", L"root", L"root\\default", L"root\\cimv2\\other"}) {
        const auto connection = Connect(*locator.object, path);
        EXPECT_EQ(connection.status, kWrongNamespace);
        EXPECT_EQ(connection.object, nullptr);
    }
}

TEST_F(Wbem, AnEnumerationEnds) {
    const auto answer = Ask(Services(), kPorts);
    EXPECT_EQ(Next(*answer.object).status, S_OK);
    EXPECT_EQ(Next(*answer.object).count, 1U);
    for (int i = 0; i < 2; ++i) {
        const GivenNext end = Next(*answer.object);
        EXPECT_EQ(end.status, 1) << "WBEM_S_FALSE";
        EXPECT_EQ(end.count, 0U);
        EXPECT_EQ(end.object, nullptr);
    }
}

TEST_F(Wbem, SeveralObjectsComeAtOnce) {
    const auto answer = Ask(Services(), kPorts);
    IWbemClassObject* objects[3] = {};
    ULONG returned = 0;
    EXPECT_EQ(answer.object->Next(0, 3, objects, &returned), 1) << "WBEM_S_FALSE";
    ASSERT_EQ(returned, 2U);
    EXPECT_EQ(Property(*objects[1], L"DeviceID"), "Other port");
    EXPECT_EQ(objects[2], nullptr);
    objects[0]->Release();
    objects[1]->Release();
}

TEST_F(Wbem, OtherPropertiesAreNotFound) {
    const auto answer = Ask(Services(), kPorts);
    const GivenNext port = Next(*answer.object);
    EXPECT_EQ(Property(*port.object, L"StartingAddress"), "failed 80041002");
    EXPECT_EQ(Property(*port.object, L""), "failed 80041002");
    EXPECT_EQ(Property(*port.object, L"DeviceID2"), "failed 80041002");
}

TEST_F(Wbem, TypesAndFlavorsAreToldToWhoAsks) {
    Load("[[parallel_port]]\n[[parallel_port]]\ndevice_id_type = 'number'\n");
    const auto answer = Ask(Services(), kPorts);
    for (const CIMTYPE wanted : {8, 3}) { // CIM_STRING, CIM_SINT32
        VARIANT value;
        CIMTYPE type = 0;
        LONG flavor = 77;
        EXPECT_EQ(Next(*answer.object).object->Get(L"DeviceID", 0, &value, &type, &flavor), S_OK);
        EXPECT_EQ(type, wanted);
        EXPECT_EQ(flavor, 0);
        VariantClear(&value);
    }
}

TEST_F(Wbem, NullPointersAreRefused) {
    const Text wql = MakeText(L"WQL");
    const Text ports = MakeText(kPorts);
    const Text cimv2 = MakeText(L"root\\cimv2");
    const auto locator = MakeLocator();
    const auto connect = [&](BSTR path, IWbemServices** out) {
        return locator.object->ConnectServer(path, nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                             out);
    };
    IWbemServices* connection = nullptr;
    EXPECT_EQ(connect(cimv2.get(), nullptr), kWrongParameter);
    EXPECT_EQ(connect(nullptr, &connection), kWrongParameter);

    IEnumWbemClassObject* objects = nullptr;
    IWbemServices& it = Services();
    EXPECT_EQ(it.ExecQuery(wql.get(), ports.get(), 0, nullptr, nullptr), kWrongParameter);
    EXPECT_EQ(it.ExecQuery(nullptr, ports.get(), 0, nullptr, &objects), kWrongParameter);
    EXPECT_EQ(it.ExecQuery(wql.get(), nullptr, 0, nullptr, &objects), kWrongParameter);

    const auto answer = Ask(Services(), kPorts);
    IWbemClassObject* object = nullptr;
    ULONG returned = 0;
    EXPECT_EQ(answer.object->Next(0, 1, nullptr, &returned), kWrongParameter);
    EXPECT_EQ(answer.object->Next(0, 1, &object, nullptr), kWrongParameter);
    EXPECT_EQ(answer.object->Next(0, 0, &object, &returned), kWrongParameter);

    const GivenNext port = Next(*answer.object);
    VARIANT value;
    EXPECT_EQ(port.object->Get(nullptr, 0, &value, nullptr, nullptr), kWrongParameter);
    EXPECT_EQ(port.object->Get(L"DeviceID", 0, nullptr, nullptr, nullptr), kWrongParameter);
    EXPECT_EQ(port.object->Get(L"DeviceID", 1, &value, nullptr, nullptr), kWrongParameter);
    EXPECT_EQ(port.object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(Wbem, WhatNobodyUsesIsNotThere) {
    EXPECT_EQ(Services().CancelAsyncCall(nullptr), E_NOTIMPL);
    const auto answer = Ask(Services(), kPorts);
    EXPECT_EQ(answer.object->Skip(0, 1), E_NOTIMPL);
    EXPECT_EQ(Next(*answer.object).object->EndEnumeration(), E_NOTIMPL);
}

TEST_F(Wbem, ObjectsAnswerToTheirInterfacesAlone) {
    void* found = nullptr;
    ASSERT_EQ(Services().QueryInterface(IID_IClientSecurity, &found), S_OK);
    const Com<IClientSecurity> security(static_cast<IClientSecurity*>(found));
    ASSERT_EQ(security->QueryInterface(IID_IWbemServices, &found), S_OK);
    EXPECT_EQ(found, services.get());
    services->Release();
    ASSERT_EQ(security->QueryInterface(IID_IUnknown, &found), S_OK);
    EXPECT_EQ(found, static_cast<IUnknown*>(services.get())) << "one identity";
    services->Release();
    EXPECT_EQ(security->QueryInterface(IID_IWbemLocator, &found), E_NOINTERFACE);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(rig_wbem_interfaces(), 2);
}

TEST_F(Wbem, WhatIsHeldIsCounted) {
    EXPECT_EQ(rig_wbem_interfaces(), 0);
    auto locator = MakeLocator();
    EXPECT_EQ(rig_wbem_interfaces(), 1);
    locator.object->AddRef();
    EXPECT_EQ(rig_wbem_interfaces(), 2);
    Load("");
    EXPECT_EQ(rig_wbem_interfaces(), 2) << "a new scenario releases nothing";
    locator.object->Release();
    locator.object.reset();
    EXPECT_EQ(rig_wbem_interfaces(), 0);
}

TEST_F(Wbem, AnAnswerSurvivesTheScenario) {
    const auto answer = Ask(Services(), kPorts);
    Load("");
    EXPECT_EQ(Property(*Next(*answer.object).object, L"DeviceID"), "LPT1");
    EXPECT_EQ(Ports(), "") << "a new question meets the new scenario";
}

TEST_F(Wbem, TheJournalShowsEveryCall) {
    SetBlanket(&Services());
    EXPECT_EQ(Ports(), "LPT1,Other port,");
    EXPECT_EQ(Take(RIG_CALL),
              (Lines{"IClassFactory::CreateInstance(null, IWbemLocator) -> 0x00000000",
                     "IWbemLocator::ConnectServer(root\\cimv2, null, null, null, 0x80, null, null)"
                     " -> 0x00000000",
                     "IClientSecurity::SetBlanket(10, 0, null, 3, 3, null, 0) -> 0x00000000",
                     "IWbemServices::ExecQuery(WQL, SELECT * FROM Win32_ParallelPort, 0x20, null)"
                     " -> 0x00000000",
                     "IEnumWbemClassObject::Next(-1, 1) -> 0x00000000, 1",
                     "IWbemClassObject::Get(DeviceID, 0) -> 0x00000000, LPT1",
                     "IEnumWbemClassObject::Next(-1, 1) -> 0x00000000, 1",
                     "IWbemClassObject::Get(DeviceID, 0) -> 0x00000000, Other port",
                     "IEnumWbemClassObject::Next(-1, 1) -> 0x00000001, 0"}));
    Ask(Services(), L"\x416\n");
    EXPECT_EQ(Take(RIG_CALL), Lines{"IWbemServices::ExecQuery(WQL, ??, 0x20, null) -> 0x80041017"});
}

TEST_F(Wbem, APasswordStaysOutOfTheJournal) {
    const Text secret = MakeText(L"secret");
    const Text path = MakeText(L"root\\cimv2");
    IWbemServices* made = nullptr;
    const auto locator = MakeLocator();
    rig_journal_clear();
    locator.object->ConnectServer(path.get(), secret.get(), secret.get(), nullptr, 0, nullptr,
                                  nullptr, &made);
    made->Release();
    EXPECT_EQ(Take(RIG_CALL), Lines{"IWbemLocator::ConnectServer(root\\cimv2, secret, ?, null, 0x0,"
                                    " null, null) -> 0x00000000"});
}

TEST_F(Wbem, ACallThatFailsHandsOutNothing) {
    AddFault("*", RIG_FAULT_STATUS, 0x80041001, 0, rig_calls("*") + 1, 0);
    EXPECT_EQ(MakeLocator().object, nullptr);
    rig_clear_faults();
    const auto answer = Ask(Services(), kPorts);
    AddFault("*", RIG_FAULT_STATUS, 0x80041001, 0, rig_calls("*") + 1, 0);
    EXPECT_EQ(Ask(*services, kPorts).object, nullptr);
    const GivenNext next = Next(*answer.object);
    EXPECT_EQ(next.object, nullptr);
    EXPECT_EQ(next.count, 77U) << "untouched";
}

TEST_F(Wbem, ANextCanHandOutAnObjectWithoutACount) {
    AddFault("IEnumWbemClassObject::Next", RIG_FAULT_COUNT, 0, 0);
    const auto answer = Ask(Services(), kPorts);
    const GivenNext next = Next(*answer.object);
    EXPECT_EQ(next.status, S_OK);
    EXPECT_EQ(next.count, 0U);
    ASSERT_NE(next.object, nullptr);
    EXPECT_EQ(Property(*next.object, L"DeviceID"), "LPT1");
}

TEST_F(Wbem, ANextCanCountWhatItDoesNotHandOut) {
    AddFault("IEnumWbemClassObject::Next", RIG_FAULT_COUNT, 0, 9, 1, 0);
    const auto answer = Ask(Services(), kPorts);
    for (const bool isThere : {true, true, false, false}) {
        const GivenNext next = Next(*answer.object);
        EXPECT_EQ(next.status, S_OK);
        EXPECT_EQ(next.count, 9U);
        EXPECT_EQ(next.object != nullptr, isThere);
    }
}

TEST_F(Wbem, ATextThatDoesNotKnowItsLengthIsRefused) {
    struct {
        std::uint32_t bytes = 2;
        wchar_t text[11] = L"root\\cimv2";
    } noText;
    IWbemServices* connected = nullptr;
    const auto locator = MakeLocator();
    EXPECT_EQ(locator.object->ConnectServer(noText.text, nullptr, nullptr, nullptr, 0, nullptr,
                                            nullptr, &connected),
              kWrongParameter);
    IEnumWbemClassObject* found = nullptr;
    BSTR language = SysAllocString(L"WQL");
    EXPECT_EQ(Services().ExecQuery(language, noText.text, 0, nullptr, &found), kWrongParameter);
    EXPECT_EQ(Services().ExecQuery(noText.text, language, 0, nullptr, &found), kWrongParameter);
    SysFreeString(language);
}

TEST_F(Wbem, ASilentCallSucceedsWithNothing) {
    const auto answer = Ask(Services(), kPorts);
    AddFault("*", RIG_FAULT_SILENT, 0, 0, rig_calls("*") + 1, 2);
    const GivenNext next = Next(*answer.object);
    EXPECT_EQ(next.status, S_OK);
    EXPECT_EQ(next.object, nullptr);
    const auto locator = MakeLocator();
    EXPECT_EQ(locator.status, S_OK);
    EXPECT_EQ(locator.object, nullptr);
}

TEST_F(Wbem, ScenariosAreReadStrictly) {
    const char* const wrong[] = {
        "[parallel_port]\n",
        "[[parallel_port]]\nname = 'LPT1'\n",
        "[[parallel_port]]\ndevice_id = 1\n",
        "[[parallel_port]]\ndevice_id_type = 'text'\n",
        "[[parallel_port]]\n[[parallel_port.range]]\n",
        "[[parallel_port]]\n[[parallel_port.range]]\nstart = 888\n",
        "[[parallel_port]]\n[[parallel_port.range]]\nstart = '888'\ntype = ''\n",
        "[[parallel_port]]\n[[parallel_port.range]]\nstart = '888'\nend = '895'\n",
    };
    for (const char* toml : wrong) {
        EXPECT_EQ(rig_load(toml), -1) << toml;
    }
    EXPECT_EQ(rig_load(wrong[4]), -1);
    EXPECT_STREQ(rig_error(), "line 2: [[parallel_port.range]] needs 'start'");
    EXPECT_EQ(Ports(), "LPT1,Other port,") << "nothing has changed";
}

} // namespace
} // namespace test
