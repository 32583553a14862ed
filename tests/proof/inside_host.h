/// A host that calls the library from inside its own log function or timer function.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "library_on_the_rig.h"
#include "proof_operations.h"
#include "timer_driver.h"

namespace proof {

/// A host's mistake ends in memory that is gone, and this program would notice it.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kWatchesMemory = true;
#elif defined(__has_feature)
inline constexpr bool kWatchesMemory = __has_feature(address_sanitizer);
#else
inline constexpr bool kWatchesMemory = false;
#endif
inline constexpr const char* kMemoryThatIsGone = "heap-use-after-free|invalid vptr";

/// The host's log function: it keeps every line, and does something inside one of them.
class InsideLog {
  public:
    static void SOLVANE_CALL Receive(void* context, const char* line) {
        static_cast<InsideLog*>(context)->OnLine(line);
    }

    /// Forgets the lines; inside the n-th one from now on (0: none) this is done, once.
    void Expect(std::size_t line, std::function<void()> what);
    bool IsDone() const { return atLine == 0; }

    std::vector<std::string> outside; ///< the lines of the call outside
    std::vector<std::string> inside;  ///< those of the call from inside
    bool wasLineChanged = false;      ///< while its reader had not returned

  private:
    void OnLine(const char* line);

    std::size_t atLine = 0;
    bool isInside = false;
    std::function<void()> doInside;
};

/// A call that the host makes from inside.
struct InsideCall {
    std::string name;
    const Operation* operation; ///< null: one that has nothing to do with the lines
    std::function<short()> run;
    short expected = 0; ///< where nothing else is going on
};

class InsideHost : public LibraryOnTheRig {
  protected:
    InsideHost();
    ~InsideHost() override;

    void Listen() { Solvane_SetLogger(&log, InsideLog::Receive); }

    /// All 24 functions. The timer functions concern another timer than any that runs.
    std::vector<InsideCall> AllCalls();

    /// Hardware that serves, and a timer that does not run. No lines yet.
    void Start(const std::string& scenario);

    /// Empty if every line is whole, the hardware, one more trigger and the timers work, and
    /// nothing is left.
    std::string WhatIsWrongAfterwards();

    void DisposeOfTimers();

    static constexpr int kEvents = 3;

    /// Runs a timer for so many events. In the first one, or never, something is done.
    struct Run {
        std::function<void()> inFirstEvent = nullptr;
        std::vector<SolvaneTimerEvent> events = {};
        SolvaneTimerHandle timer = 0;
        short Start();
        static void SOLVANE_CALL Receive(std::uint64_t context, const SolvaneTimerEvent* event);
    };

    InsideLog log;
    TimerDriver driver;
    SolvaneTimerHandle other = 0; ///< a timer that does not run
    SolvaneTimerHandle made = 0;  ///< from inside
};

} // namespace proof
