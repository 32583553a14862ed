/// COM is the host's: the search for a parallel port leaves it as it was.

#include "library_fixture.h"

#include <objbase.h>

namespace {

using namespace test;
using testing::Contains;
using testing::Not;

constexpr const char* kIsInitialised =
    "[LPT]: CoInitializeEx() info: already initialized. hr = 0x80010106";
constexpr const char* kFound = "[LPT]: succeeded.";

class HostsCom : public OnTheRig {
  protected:
    HostsCom() { Load(kLptCamera); }
};

TEST_F(HostsCom, AThreadWithoutComHasNoneAfterwards) {
    EXPECT_EQ(library.CheckAvailable(), 0);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    CoUninitialize();
}

TEST_F(HostsCom, ASingleThreadedHostStaysSo) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    Listen();
    EXPECT_EQ(library.CheckAvailable(), 0);
    const std::vector<std::string> texts = TakeTexts();
    EXPECT_THAT(texts, Contains(kIsInitialised));
    EXPECT_THAT(texts, Contains(kFound));
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE);
    CoUninitialize();
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK) << "one too few was ended";
    CoUninitialize();
}

TEST_F(HostsCom, SecurityThatTheHostSetIsNoFailure) {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                         RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    Listen();
    EXPECT_EQ(library.CheckAvailable(), 0);
    const std::vector<std::string> texts = TakeTexts();
    EXPECT_THAT(texts, Not(Contains(kIsInitialised)));
    EXPECT_THAT(texts, Contains(kFound));
    CoUninitialize();
}

} // namespace
