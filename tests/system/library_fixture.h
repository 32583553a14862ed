/// Solvane.dll as a host loads it, on a rig with a clean slate.
#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <solvane/rig.h>
#include <solvane/solvane.h>
#include <windows.h>

namespace test {

/// One camera on an FT2232H.
inline constexpr const char* kUsbCamera = "[[usb]]\nchip = \"FT2232H\"\nserial = \"SLV1\"\n";

/// The same camera on a parallel port, on the pins of a board with the Embedded API, or of a Super
/// I/O chip.
inline constexpr const char* kLptCamera = "[lpt]\n";
inline constexpr const char* kEapiCamera = "[eapi]\n";
inline constexpr const char* kSuperIoCamera = "[superio]\n";

/// The loaded library and its functions, under the names of the header.
class Library {
  public:
    Library();
    ~Library() { Unload(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    void Unload();

#define SOLVANE_EXPORTS(X)                                                                         \
    X(CheckAccessoriesPower)                                                                       \
    X(CheckAndResetMepFlag)                                                                        \
    X(CheckAvailable)                                                                              \
    X(CheckCameraPower)                                                                            \
    X(CheckForcedBlackUpdate)                                                                      \
    X(CheckPowerControlAvailable)                                                                  \
    X(CheckSystemReady)                                                                            \
    X(CloseDevice)                                                                                 \
    X(CreateTimer)                                                                                 \
    X(DisableAccessoriesPower)                                                                     \
    X(DisableCameraPower)                                                                          \
    X(DisableForcedBlackUpdate)                                                                    \
    X(DisposeTimer)                                                                                \
    X(EnableAccessoriesPower)                                                                      \
    X(EnableCameraPower)                                                                           \
    X(EnableForcedBlackUpdate)                                                                     \
    X(EnforceFTDI)                                                                                 \
    X(RecheckStatus)                                                                               \
    X(ResetComPort)                                                                                \
    X(RunTimer)                                                                                    \
    X(SetLogger)                                                                                   \
    X(StopTimer)                                                                                   \
    X(TriggerCapture)                                                                              \
    X(WakeCamera)
#define SOLVANE_MEMBER(name) decltype(&::Solvane_##name) name = nullptr;
    SOLVANE_EXPORTS(SOLVANE_MEMBER)
#undef SOLVANE_MEMBER

  private:
    HMODULE module = nullptr;
};

class OnTheRig : public ::testing::Test {
  protected:
    OnTheRig() { Load(kUsbCamera); }

    static void Load(const std::string& scenario);

    /// Lines delivered to Keep() since the last look.
    std::vector<std::string> TakeLines() { return std::exchange(lines, {}); }

    /// The same without their time stamps. Only an empty line has none.
    std::vector<std::string> TakeTexts();

    /// Edges of the lines since the last look: "trigger 1".
    static std::vector<std::string> TakeEdges();

    /// Calls of the vendor's library since the last look.
    static std::vector<std::string> TakeCalls();

    void Listen() { library.SetLogger(&lines, Keep); }

    static void SOLVANE_CALL Keep(void* context, const char* line) {
        static_cast<std::vector<std::string>*>(context)->emplace_back(line);
    }

    std::vector<std::string> lines;
    Library library;
};

} // namespace test
