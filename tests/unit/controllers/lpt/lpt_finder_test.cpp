#include "lpt_finder.h"

#include "com_stand_in.h"
#include "on_the_rig.h"
#include "system_faults.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

/// A port that Windows describes in another way than the rig's hardware would.
std::string Port(const std::string& range, const std::string& keys = "") {
    return "[[parallel_port]]\n" + keys + "[[parallel_port.range]]\n" + range + "\n";
}

/// FindLptBaseAddress() with everything that was asked of COM and WMI.
class LptFinderTest : public OnTheRig {
  protected:
    LptFinderTest() { Load(kLptCamera); }

    std::uint16_t Find() { return FindLptBaseAddress(logger); }

    static const Journal kWhole;
};

const Journal LptFinderTest::kWhole = {
    "CoInitializeEx(null, 0)",
    "CoInitializeSecurity(null, -1, null, null, 0, 3, null, 0, null)",
    "CoCreateInstance(CLSID_WbemLocator, null, 1, IID_IWbemLocator)",
    "IClassFactory::CreateInstance(null, IWbemLocator) -> 0x00000000",
    "IWbemLocator::ConnectServer(root\\cimv2, null, null, null, 0x80, null, null) -> 0x00000000",
    "CoSetProxyBlanket(proxy, 10, 0, null, 3, 3, null, 0)",
    "IClientSecurity::SetBlanket(10, 0, null, 3, 3, null, 0) -> 0x00000000",
    "IWbemServices::ExecQuery(WQL, SELECT * FROM Win32_ParallelPort, 0x20, null) -> 0x00000000",
    "IEnumWbemClassObject::Next(-1, 1) -> 0x00000000, 1",
    "IWbemClassObject::Get(DeviceID, 0) -> 0x00000000, LPT1",
    "IWbemServices::ExecQuery(WQL, ASSOCIATORS OF {Win32_ParallelPort.DeviceID='LPT1'} WHERE "
    "ResultClass = Win32_PortResource, 0x20, null) -> 0x00000000",
    "IEnumWbemClassObject::Next(-1, 1) -> 0x00000000, 1",
    "IWbemClassObject::Get(StartingAddress, 0) -> 0x00000000, 888",
    "CoUninitialize()"};

TEST_F(LptFinderTest, AsksForTheFirstRangeOfTheFirstPort) {
    EXPECT_EQ(Find(), 0x378);
    EXPECT_EQ(TakeJournal(), kWhole);
}

TEST_F(LptFinderTest, OfSeveralPortsAndRangesOnlyTheFirstCounts) {
    Load("[[parallel_port]]\ndevice_id = 'LPT2'\n[[parallel_port.range]]\nstart = '632'\n"
         "[[parallel_port.range]]\nstart = '888'\n[[parallel_port]]\ndevice_id = 'LPT1'\n"
         "[[parallel_port.range]]\nstart = '956'\n");
    EXPECT_EQ(Find(), 0x278);
    EXPECT_THAT(TakeJournal(), testing::Contains(testing::HasSubstr("DeviceID='LPT2'")));
}

TEST_F(LptFinderTest, AddressesAreDecimalHexadecimalOrOctal) {
    const struct {
        const char* text;
        std::uint16_t address;
    } texts[] = {{"888", 0x378},
                 {"0x378", 0x378},
                 {"0X3BC", 0x3BC},
                 {"01570", 0x378},
                 {" 888", 0x378},
                 {"888 trailing", 0x378},
                 {"0", 0},
                 {"", 0},
                 {"port", 0},
                 {"-1", 0},
                 {"65535", 0xFFFF},
                 {"65536", 0},
                 {"0x10378", 0},
                 {"2147483647", 0},
                 {"99999999999999999999", 0},
                 {"4294968184", 0},
                 {"-4294966408", 0},
                 {"+888", 0x378}};
    for (const auto& [text, address] : texts) {
        Load(Port("start = '" + std::string(text) + "'"));
        EXPECT_EQ(Find(), address) << text;
        EXPECT_THAT(TakeLog(), IsEmpty()) << text;
    }
}

TEST_F(LptFinderTest, WithoutAPortTheEmptyResultIsLoggedAsItsNumber) {
    Load("");
    EXPECT_EQ(Find(), 0);
    EXPECT_THAT(TakeLog(), ElementsAre("[LPT]: pEnumerator->Next() failed. hr = 0x1"));
}

TEST_F(LptFinderTest, APortWithoutARangeIsNoPortAndNoLine) {
    Load("[[parallel_port]]\n");
    EXPECT_EQ(Find(), 0);
    EXPECT_THAT(TakeLog(), IsEmpty());
}

// ---- COM ----

TEST_F(LptFinderTest, AThreadThatInitialisedComInTheSameWayKeepsIt) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    TakeJournal();
    EXPECT_EQ(Find(), 0x378);
    EXPECT_EQ(TakeJournal(), kWhole);
    EXPECT_EQ(host::com::Initialisations(), 1);
    CoUninitialize();
}

TEST_F(LptFinderTest, AHostThatIsSingleThreadedIsInformedAndLeftAsItIs) {
    host::com::script.hostIsSingleThreaded = true;
    EXPECT_EQ(Find(), 0x378);
    const Journal journal = TakeJournal();
    EXPECT_EQ(journal[0], "CoInitializeEx(null, 0)");
    EXPECT_EQ(journal[1],
              "log: [LPT]: CoInitializeEx() info: already initialized. hr = 0x80010106");
    EXPECT_THAT(journal, testing::Not(testing::Contains("CoUninitialize()")));
}

TEST_F(LptFinderTest, WithoutComNothingIsAskedAndNothingEnded) {
    host::com::script.initialize = E_OUTOFMEMORY;
    EXPECT_EQ(Find(), 0);
    EXPECT_THAT(TakeJournal(), ElementsAre("CoInitializeEx(null, 0)",
                                           "log: [LPT]: CoInitializeEx() failed. hr = 0x8007000e"));
}

TEST_F(LptFinderTest, SecurityThatIsSetAlreadyIsNoFailure) {
    host::com::script.initializeSecurity = RPC_E_TOO_LATE;
    EXPECT_EQ(Find(), 0x378);
    EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(LptFinderTest, SecurityThatCannotBeSetEndsTheSearch) {
    host::com::script.initializeSecurity = E_INVALIDARG;
    EXPECT_EQ(Find(), 0);
    EXPECT_EQ(TakeJournal(), Entries(kWhole[0], kWhole[1],
                                     "log: [LPT]: CoInitializeSecurity() failed. hr = 0x80070057",
                                     "CoUninitialize()"));
}

// ---- Every call that fails ----

struct Failure {
    const char* function;
    std::uint32_t call;
    const char* words;
    std::size_t calls; ///< entries of the journal before the failing one
};

TEST_F(LptFinderTest, EachCallThatFailsHasItsLineAndEndsTheSearch) {
    const Failure failures[] = {
        {"IClassFactory::CreateInstance", 1, "CoCreateInstance()", 3},
        {"IWbemLocator::ConnectServer", 1, "pLoc->ConnectServer()", 4},
        {"IClientSecurity::SetBlanket", 1, "CoSetProxyBlanket()", 6},
        {"IWbemServices::ExecQuery", 1, "pSvc->ExecQuery(SELECT *)", 7},
        {"IEnumWbemClassObject::Next", 1, "pEnumerator->Next()", 8},
        {"IWbemClassObject::Get", 1, "pPort->Get(DeviceID)", 9},
        {"IWbemServices::ExecQuery", 2, "pSvc->ExecQuery(ASSOCIATORS OF)", 10},
        {"IEnumWbemClassObject::Next", 2, "pResouceEnum->Next()", 11},
        {"IWbemClassObject::Get", 2, "pResource->Get(StartingAddress)", 12},
    };
    for (const Failure& failure : failures) {
        for (const std::uint32_t result : {0x80041001u, 0x800706BAu, 0x80000000u, 0xFFFFFFFFu}) {
            Load(kLptCamera);
            FailStatus(failure.function, failure.call, result);
            EXPECT_EQ(Find(), 0) << failure.words;
            char hex[16];
            std::snprintf(hex, sizeof hex, "%x", unsigned{result});
            const Journal journal = TakeJournal();
            ASSERT_EQ(journal.size(), failure.calls + 3) << failure.words;
            for (std::size_t i = 0; i < failure.calls; ++i) {
                EXPECT_EQ(journal[i], kWhole[i]) << failure.words;
            }
            EXPECT_EQ(journal[failure.calls + 1],
                      "log: [LPT]: " + std::string(failure.words) + " failed. hr = 0x" + hex);
            EXPECT_EQ(journal.back(), "CoUninitialize()");
            EXPECT_EQ(rig_wbem_interfaces(), 0);
            EXPECT_EQ(host::com::AliveStrings(), 0);
        }
    }
}

/// A query that succeeds with some success code is no failure.
/// Their order: the namespace; the language and the query for ports; the port's name, which is
/// WMI's own; the language and the query for resources.
TEST_F(LptFinderTest, ATextForWhichThereIsNoMemoryFailsItsStep) {
    constexpr const char* kConnect = "[LPT]: pLoc->ConnectServer() failed. hr = 0x8007000e";
    constexpr const char* kPorts = "[LPT]: pSvc->ExecQuery(SELECT *) failed. hr = 0x8007000e";
    constexpr const char* kRanges =
        "[LPT]: pSvc->ExecQuery(ASSOCIATORS OF) failed. hr = 0x8007000e";
    const std::pair<std::uint32_t, const char*> steps[] = {
        {1, kConnect}, {2, kPorts}, {3, kPorts}, {5, kRanges}, {6, kRanges}};
    for (const auto& [call, line] : steps) {
        host::AddFault(
            {"SysAllocString", host::Calls("SysAllocString") + call, 1, RIG_FAULT_SILENT, 0, 0});
        EXPECT_EQ(Find(), 0);
        EXPECT_THAT(TakeLog(), ElementsAre(line)) << call;
        host::ClearFaults();
    }
}

TEST_F(LptFinderTest, OtherSuccessesAreSuccesses) {
    FailStatus("IWbemServices::ExecQuery", 1, 0x80041001);
    EXPECT_EQ(Find(), 0);
    TakeJournal();
    EXPECT_EQ(Find(), 0x378);
    EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(LptFinderTest, NoObjectIsJudgedByTheCountAndLoggedWithTheResult) {
    FailCount("IEnumWbemClassObject::Next", 1, 0);
    EXPECT_EQ(Find(), 0);
    EXPECT_THAT(TakeLog(), ElementsAre("[LPT]: pEnumerator->Next() failed. hr = 0x0"));
}

TEST_F(LptFinderTest, AnEmptySuccessOfTheResourcesIsNoPortAndNoLine) {
    FailCount("IEnumWbemClassObject::Next", 2, 0);
    EXPECT_EQ(Find(), 0);
    EXPECT_THAT(TakeLog(), IsEmpty());
}

/// Calls that say yes and hand out nothing must not be followed by a call into nowhere.
TEST_F(LptFinderTest, SuccessesThatHandOutNothingAreFailures) {
    const struct {
        const char* function;
        std::uint32_t call;
        const char* line;
    } silences[] = {
        {"IClassFactory::CreateInstance", 1, "[LPT]: CoCreateInstance() failed. hr = 0x80004003"},
        {"IWbemLocator::ConnectServer", 1, "[LPT]: pLoc->ConnectServer() failed. hr = 0x80004003"},
        {"IWbemServices::ExecQuery", 1, "[LPT]: pSvc->ExecQuery(SELECT *) failed. hr = 0x80004003"},
        {"IEnumWbemClassObject::Next", 1, "[LPT]: pEnumerator->Next() failed. hr = 0x0"},
        {"IWbemClassObject::Get", 1, "[LPT]: pPort->Get(DeviceID) failed. hr = 0x80020005"},
        {"IWbemServices::ExecQuery", 2,
         "[LPT]: pSvc->ExecQuery(ASSOCIATORS OF) failed. hr = 0x80004003"},
        {"IWbemClassObject::Get", 2,
         "[LPT]: pResource->Get(StartingAddress) failed. hr = 0x80020005"},
    };
    for (const auto& silence : silences) {
        Load(kLptCamera);
        FailSilently(silence.function, silence.call);
        EXPECT_EQ(Find(), 0) << silence.line;
        EXPECT_THAT(TakeLog(), ElementsAre(silence.line));
    }
    Load(kLptCamera);
    FailSilently("IEnumWbemClassObject::Next", 2);
    EXPECT_EQ(Find(), 0);
    EXPECT_THAT(TakeLog(), IsEmpty()) << "no resources are no failure";
}

// ---- Properties of other types ----

TEST_F(LptFinderTest, ADeviceIdThatIsNoTextIsATypeMismatch) {
    for (const char* const type : {"null-string", "null", "number"}) {
        Load(Port("start = '888'", "device_id_type = '" + std::string(type) + "'\n"));
        EXPECT_EQ(Find(), 0) << type;
        EXPECT_THAT(TakeLog(), ElementsAre("[LPT]: pPort->Get(DeviceID) failed. hr = 0x80020005"))
            << type;
    }
}

TEST_F(LptFinderTest, AStartingAddressThatIsNoTextIsATypeMismatch) {
    for (const char* const type : {"null-string", "null", "number"}) {
        Load(Port("start = '888'\ntype = '" + std::string(type) + "'"));
        EXPECT_EQ(Find(), 0) << type;
        EXPECT_THAT(TakeLog(),
                    ElementsAre("[LPT]: pResource->Get(StartingAddress) failed. hr = 0x80020005"))
            << type;
    }
}

TEST_F(LptFinderTest, AnOverLongDeviceIdSendsACutOffQuery) {
    Load(Port("start = '888'", "device_id = '" + std::string(600, 'x') + "'\n"));
    EXPECT_EQ(Find(), 0);
    const std::string beginning = "ASSOCIATORS OF {Win32_ParallelPort.DeviceID='";
    const Journal journal = TakeJournal();
    EXPECT_THAT(journal, testing::Contains(testing::StartsWith(
                             "IWbemServices::ExecQuery(WQL, " + beginning +
                             std::string(511 - beginning.size(), 'x') + ", 0x20, null)")));
}

TEST_F(LptFinderTest, ADeviceIdThatJustFitsIsSentWhole) {
    const std::string beginning = "ASSOCIATORS OF {Win32_ParallelPort.DeviceID='";
    const std::string end = "'} WHERE ResultClass = Win32_PortResource";
    const std::string id(511 - beginning.size() - end.size(), 'x');
    Load(Port("start = '888'", "device_id = '" + id + "'\n"));
    EXPECT_EQ(Find(), 0x378);
}

TEST_F(LptFinderTest, WithoutAListenerTheAnswerIsTheSame) {
    logger.Install(nullptr, nullptr);
    EXPECT_EQ(Find(), 0x378);
    FailStatus("IWbemServices::ExecQuery", 1, 0x80041001);
    EXPECT_EQ(Find(), 0);
    EXPECT_THAT(TakeLog(), IsEmpty());
}

} // namespace
