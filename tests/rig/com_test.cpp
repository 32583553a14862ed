/// The native stand-in for COM.
#include "bench_rig.h"
#include "com_stand_in.h"
#include "wmi_client.h"

namespace test {
namespace {

class ComStandIn : public BenchRig {
  protected:
    ComStandIn() { host::com::Reset(); }
    ~ComStandIn() override {
        host::com::Reset();
        host::Record(false);
    }
};

TEST_F(ComStandIn, InitialisationsAreCounted) {
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    EXPECT_EQ(host::com::Initialisations(), 2);
    CoUninitialize();
    CoUninitialize();
    EXPECT_EQ(host::com::Initialisations(), 0);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    CoUninitialize();
    CoUninitialize();
    EXPECT_EQ(host::com::Initialisations(), -1) << "one too many";
}

/// Use of COM without initialisation; the real one would crash.
TEST_F(ComStandIn, EachUseWithoutComIsCounted) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const auto locator = MakeLocator();
    EXPECT_EQ(host::com::Misuses(), 0);
    CoUninitialize();
    EXPECT_EQ(host::com::Misuses(), 1) << "an object is held";
    Connect(*locator.object, L"root\\cimv2");
    EXPECT_EQ(host::com::Misuses(), 2) << "and called";
    MakeLocator();
    EXPECT_EQ(host::com::Misuses(), 3);
    SetBlanket(nullptr);
    EXPECT_EQ(host::com::Misuses(), 4);
    CoUninitialize();
    EXPECT_EQ(host::com::Misuses(), 5) << "once too often";
}

TEST_F(ComStandIn, AForeignTextIsCounted) {
    wchar_t noText[] = L"WQL";
    EXPECT_EQ(SysStringLen(noText), 0U);
    SysFreeString(noText);
    EXPECT_EQ(host::com::Misuses(), 2);
    BSTR text = SysAllocString(L"WQL");
    SysFreeString(text);
    EXPECT_EQ(host::com::Misuses(), 2);
    SysFreeString(text);
    EXPECT_EQ(host::com::Misuses(), 3) << "it is gone already";
}

TEST_F(ComStandIn, AScriptedFailureInitialisesNothing) {
    host::com::script.initialize = E_OUTOFMEMORY;
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), E_OUTOFMEMORY);
    EXPECT_EQ(host::com::Initialisations(), 0);
    EXPECT_EQ(MakeLocator().status, CO_E_NOTINITIALIZED);
}

TEST_F(ComStandIn, ASingleThreadedHostHasComAlready) {
    host::com::script.hostIsSingleThreaded = true;
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
    EXPECT_EQ(host::com::Initialisations(), 0);
    EXPECT_EQ(MakeLocator().status, S_OK);
}

TEST_F(ComStandIn, SecurityAnswersAsScripted) {
    const auto initialize = [] {
        return CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                    RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    };
    EXPECT_EQ(initialize(), CO_E_NOTINITIALIZED);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    EXPECT_EQ(initialize(), S_OK);
    host::com::script.initializeSecurity = RPC_E_TOO_LATE;
    EXPECT_EQ(initialize(), RPC_E_TOO_LATE);
}

TEST_F(ComStandIn, CallsGoIntoTheJournal) {
    host::Record(true);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                         RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    const auto services = Connect(*MakeLocator().object, L"root\\cimv2");
    SetBlanket(services.object.get());
    CoUninitialize();
    EXPECT_EQ(Take(RIG_NOTE),
              (Lines{"CoInitializeEx(null, 0)",
                     "CoInitializeSecurity(null, -1, null, null, 0, 3, null, 0, null)",
                     "CoCreateInstance(CLSID_WbemLocator, null, 1, IID_IWbemLocator)",
                     "CoSetProxyBlanket(proxy, 10, 0, null, 3, 3, null, 0)", "CoUninitialize()"}));
}

TEST_F(ComStandIn, OtherClassesAndInterfacesAreUnknown) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    void* made = nullptr;
    const auto create = [&](REFCLSID classId, DWORD context, REFIID id) {
        return CoCreateInstance(classId, nullptr, context, id, &made);
    };
    EXPECT_EQ(create(IID_IUnknown, CLSCTX_INPROC_SERVER, IID_IUnknown), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(create(CLSID_WbemLocator, 4, IID_IWbemLocator), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(create(CLSID_WbemLocator, CLSCTX_INPROC_SERVER, IID_IWbemServices), E_NOINTERFACE);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                               nullptr),
              E_POINTER);
    const auto locator = MakeLocator();
    EXPECT_EQ(CoCreateInstance(CLSID_WbemLocator, locator.object.get(), CLSCTX_INPROC_SERVER,
                               IID_IUnknown, &made),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(SetBlanket(locator.object.get()), E_NOINTERFACE);
    EXPECT_EQ(SetBlanket(nullptr), E_INVALIDARG);
}

TEST_F(ComStandIn, TextsAreCountedAndKnowTheirLength) {
    BSTR text = SysAllocString(L"LPT1");
    BSTR part = SysAllocStringLen(L"LPT1", 3);
    BSTR room = SysAllocStringLen(nullptr, 2);
    EXPECT_EQ(host::com::AliveStrings(), 3);
    EXPECT_STREQ(text, L"LPT1");
    EXPECT_STREQ(part, L"LPT");
    EXPECT_EQ(SysStringLen(part), 3U);
    EXPECT_EQ(SysStringLen(room), 2U);
    EXPECT_EQ(SysStringLen(nullptr), 0U);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0xffffffff), nullptr);
    for (BSTR each : {text, part, room, BSTR{nullptr}}) {
        SysFreeString(each);
    }
    EXPECT_EQ(host::com::AliveStrings(), 0);
}

TEST_F(ComStandIn, ClearingAValueFreesItsText) {
    VARIANT value;
    VariantInit(&value);
    EXPECT_EQ(VariantClear(&value), S_OK);
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(L"888");
    EXPECT_EQ(VariantClear(&value), S_OK);
    EXPECT_EQ(value.vt, VT_EMPTY);
    EXPECT_EQ(VariantClear(&value), S_OK);
    EXPECT_EQ(host::com::AliveStrings(), 0);
    value.vt = 0x7fff;
    EXPECT_EQ(VariantClear(&value), DISP_E_BADVARTYPE);
}

} // namespace
} // namespace test
