/// A host that calls the library from inside its own log function or timer function.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "library_on_the_rig.h"
#include "proof_operations.h"
#include "timer_driver.h"

namespace proof {

/// Whether this program notices a use of freed memory, in which a host's mistakes end.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kHasAddressSanitizer = true;
#elif defined(__has_feature)
inline constexpr bool kHasAddressSanitizer = __has_feature(address_sanitizer);
#else
inline constexpr bool kHasAddressSanitizer = false;
#endif
inline constexpr const char* kUseAfterFree = "heap-use-after-free|invalid vptr";

/// The host's log function: keeps every line, and calls a function inside one of them.
class ReentrantLog {
  public:
    static void SOLVANE_CALL Receive(void* context, const char* line) {
        static_cast<ReentrantLog*>(context)->OnLine(line);
    }

    /// Forgets the lines, and calls the function once, inside the n-th line from now on (0: never).
    void Expect(std::size_t line, std::function<void()> what);
    bool IsDone() const { return atLine == 0; }

    std::vector<std::string> outside; ///< lines of the outer call
    std::vector<std::string> inside;  ///< lines of the nested call
    bool wasLineChanged = false;      ///< before the log function returned

  private:
    void OnLine(const char* line);

    std::size_t atLine = 0;
    bool isInside = false;
    std::function<void()> doInside;
};

/// A call from inside the log function or the timer function.
struct NestedCall {
    std::string name;
    const Operation* operation; ///< null: a function that does not concern the lines
    std::function<short()> run;
    short expected = 0; ///< its status outside other calls
};

class ReentrantHost : public LibraryOnTheRig {
  protected:
    ReentrantHost();
    ~ReentrantHost() override;

    void Listen() { Solvane_SetLogger(&log, ReentrantLog::Receive); }

    /// All 24 functions. The timer functions use a timer that does not run.
    std::vector<NestedCall> AllCalls();

    /// Hardware that serves, and a timer that does not run. No lines yet.
    void Start(const std::string& scenario);

    /// Empty if every line is whole, a re-selection, a trigger and a timer work, and nothing leaks.
    std::string WhatIsWrongAfterwards();

    void DisposeOfTimers();

    static constexpr int kEvents = 3;

    /// Runs a timer for kEvents events, and calls a function in the first one.
    struct Run {
        std::function<void()> inFirstEvent = nullptr;
        std::vector<SolvaneTimerEvent> events = {};
        SolvaneTimerHandle timer = 0;
        short Start();
        static void SOLVANE_CALL Receive(std::uint64_t context, const SolvaneTimerEvent* event);
    };

    ReentrantLog log;
    TimerDriver driver;
    SolvaneTimerHandle other = 0;   ///< a timer that does not run
    SolvaneTimerHandle created = 0; ///< by a nested call
};

} // namespace proof
