/// A controller without hardware, which records its calls.
#pragma once

#include <string>
#include <vector>

#include "controller_ptr.h"

namespace test {

/// What happened to fake controllers, in order: "A created", "A asked", "A destroyed",
/// "A.TriggerCapture".
extern std::vector<std::string> events;

/// A class for each letter, so that each has its own deleter.
template <char Name>
class FakeController final : public SLV::Internal::SolvaneInterface {
  public:
    /// The status of CheckAvailable(), and that of every other operation.
    static inline short availability = 0;
    static inline short result = 0;
    static inline bool throwsWhenCreated = false;
    static inline bool throwsWhenAsked = false;
    static inline short* lastPointer = nullptr;

    static void Reset() {
        availability = 0;
        result = 0;
        throwsWhenCreated = false;
        throwsWhenAsked = false;
        lastPointer = nullptr;
    }

    explicit FakeController(SLV::Internal::Logger&) {
        if (throwsWhenCreated) {
            throw std::runtime_error("not created");
        }
        Happened(" created");
    }
    ~FakeController() override { Happened(" destroyed"); }

    short CheckAvailable() override {
        Happened(" asked");
        if (throwsWhenAsked) {
            throw std::runtime_error("not asked");
        }
        return availability;
    }
    short TriggerCapture() override { return Did(".TriggerCapture"); }
    short EnableForcedBlackUpdate() override { return Did(".EnableForcedBlackUpdate"); }
    short DisableForcedBlackUpdate() override { return Did(".DisableForcedBlackUpdate"); }
    short CheckAndResetMepFlag(short* out) override { return Did(".CheckAndResetMepFlag", out); }
    short CheckSystemReady(short* out) override { return Did(".CheckSystemReady", out); }
    short CheckForcedBlackUpdate(short* out) override {
        return Did(".CheckForcedBlackUpdate", out);
    }
    short WakeCamera() override { return Did(".WakeCamera"); }
    short EnableCameraPower() override { return Did(".EnableCameraPower"); }
    short DisableCameraPower() override { return Did(".DisableCameraPower"); }
    short CheckCameraPower(short* out) override { return Did(".CheckCameraPower", out); }
    short EnableAccessoriesPower() override { return Did(".EnableAccessoriesPower"); }
    short DisableAccessoriesPower() override { return Did(".DisableAccessoriesPower"); }
    short CheckAccessoriesPower(short* out) override { return Did(".CheckAccessoriesPower", out); }

  private:
    static void Happened(const char* what) { events.push_back(std::string(1, Name) + what); }

    static short Did(const char* what, short* out = nullptr) {
        Happened(what);
        lastPointer = out;
        return result;
    }
};

using A = FakeController<'A'>;
using B = FakeController<'B'>;
using C = FakeController<'C'>;
using D = FakeController<'D'>;

/// Forgets events and settings of all fakes.
void ResetFakes();

} // namespace test
