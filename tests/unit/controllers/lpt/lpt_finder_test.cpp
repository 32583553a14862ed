/// Finding the parallel port: the host's COM, odd texts, and lack of memory. tests/transcripts has
/// each step of the search.

#include "lpt_finder.h"

#include "com_stand_in.h"
#include "on_the_rig.h"
#include "system_faults.h"

namespace {

using namespace SLV::Internal;
using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// A port that Windows describes differently from the rig's.
std::string Port(const std::string& range, const std::string& keys = "") {
    return "[[parallel_port]]\n" + keys + "[[parallel_port.range]]\n" + range + "\n";
}

class LptFinderTest : public OnTheRig {
  protected:
    LptFinderTest() { Load(kLptCamera); }

    std::uint16_t Find() { return FindLptBaseAddress(logger); }
};

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

// ---- COM ----

TEST_F(LptFinderTest, AThreadThatInitialisedComAsMultithreadedKeepsIt) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(Find(), 0x378);
    EXPECT_THAT(TakeLog(), IsEmpty());
    EXPECT_EQ(host::com::Initialisations(), 1);
    CoUninitialize();
}

TEST_F(LptFinderTest, ASingleThreadedHostKeepsItsComAndGetsALine) {
    host::com::script.hostIsSingleThreaded = true;
    EXPECT_EQ(Find(), 0x378);
    const Journal journal = TakeJournal();
    EXPECT_EQ(journal[0], "CoInitializeEx(null, 0)");
    EXPECT_EQ(journal[1],
              "log: [LPT]: CoInitializeEx() info: already initialized. hr = 0x80010106");
    EXPECT_THAT(journal, Not(Contains("CoUninitialize()")));
}

TEST_F(LptFinderTest, WithoutComNothingIsQueriedOrUninitialised) {
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
    EXPECT_THAT(TakeJournal(),
                ElementsAre("CoInitializeEx(null, 0)", StartsWith("CoInitializeSecurity("),
                            "log: [LPT]: CoInitializeSecurity() failed. hr = 0x80070057",
                            "CoUninitialize()"));
}

// ---- Texts ----

/// In order: the namespace; the language and the query for ports; the port's name, which WMI
/// allocates; the language and the query for resources.
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

TEST_F(LptFinderTest, ACountWithoutAnObjectIsNoObject) {
    Load("parallel_port = []\n[lpt]\n");
    FailCount("IEnumWbemClassObject::Next", 1, 1);
    EXPECT_EQ(Find(), 0);
    EXPECT_THAT(TakeLog(), ElementsAre("[LPT]: pEnumerator->Next() failed. hr = 0x0"));

    Load("[[parallel_port]]\n");
    FailCount("IEnumWbemClassObject::Next", 2, 1);
    EXPECT_EQ(Find(), 0);
    EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(LptFinderTest, APropertyThatIsNoTextIsATypeMismatch) {
    for (const std::string type : {"null-string", "null", "number"}) {
        Load(Port("start = '888'", "device_id_type = '" + type + "'\n"));
        EXPECT_EQ(Find(), 0) << type;
        EXPECT_THAT(TakeLog(), ElementsAre("[LPT]: pPort->Get(DeviceID) failed. hr = 0x80020005"));
        Load(Port("start = '888'\ntype = '" + type + "'"));
        EXPECT_EQ(Find(), 0) << type;
        EXPECT_THAT(TakeLog(),
                    ElementsAre("[LPT]: pResource->Get(StartingAddress) failed. hr = 0x80020005"));
    }
}

TEST_F(LptFinderTest, AQueryIsCutOffAfter511Characters) {
    const std::string beginning = "ASSOCIATORS OF {Win32_ParallelPort.DeviceID='";
    const std::string end = "'} WHERE ResultClass = Win32_PortResource";
    const std::string fits(511 - beginning.size() - end.size(), 'x');
    Load(Port("start = '888'", "device_id = '" + fits + "'\n"));
    EXPECT_EQ(Find(), 0x378);
    TakeJournal();
    const std::string tooLong(600, 'x');
    Load(Port("start = '888'", "device_id = '" + tooLong + "'\n"));
    EXPECT_EQ(Find(), 0);
    EXPECT_THAT(TakeJournal(),
                Contains(StartsWith("IWbemServices::ExecQuery(WQL, " + beginning +
                                    tooLong.substr(0, 511 - beginning.size()) + ", 0x20, null)")));
}

} // namespace
