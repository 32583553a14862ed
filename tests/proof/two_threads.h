/// Two threads of a host, of which exactly one runs at a time, in every order that they can come
/// in: one schedule after the other, each with a text that brings it back.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <ucontext.h>

#include "kernel_stand_in.h"

namespace proof {

class TwoThreads {
  public:
    using Body = std::function<void()>;

    /// In one schedule. That the other goes on while one waits does not count.
    static constexpr std::size_t kMostPreemptions = 3;

    /// The thread that made this object; the two are 0 and 1.
    static constexpr std::size_t kNeither = 2;

    TwoThreads();

    /// Runs both to their ends. What keeps them from it is told, else the text is empty.
    std::string Run(const Body& first, const Body& second);

    /// Goes on to the next schedule. False when that was the last one.
    bool Next();

    /// The decisions of the latest run that went against the usual: "3.17.22".
    std::string Schedule() const;

    /// Makes the next run go like that.
    void Follow(const std::string& schedule);

    std::size_t Running() const { return running; }

    /// Something happened: its number in this schedule.
    std::size_t Step() { return ++steps; }

    // For the thread that runs.

    /// The other one may go on here, which preempts this one.
    void MayBePreempted();

    /// This one waits for something that comes by itself: usually the other one goes on meanwhile,
    /// if it can.
    void Waits();

    /// It waits for the other one. Null: for nobody, and so for ever.
    void WaitsUntil(const std::function<bool()>& isOver);

  private:
    /// What a thread has for itself beside its stack.
    struct Thread {
        ucontext_t context;
        std::vector<char> stack;
        Body body;
        std::function<bool()> isOver; ///< what it waits for
        bool waits;
        bool isAtItsEnd;
        host::kernel::ThreadState system;
        struct {
            void* caught;
            unsigned uncaught;
        } exceptions;
    };

    struct Decision {
        bool isPreemption;
        bool isAgainstTheUsual;
    };

    static void Enter();
    bool CanRun(const Thread& thread) const;
    bool Decides(bool isPreemption);
    void SwitchTo(std::size_t thread);
    void GiveUp(const std::string& why);

    std::array<Thread, 3> threads;
    std::size_t running = kNeither;
    std::size_t steps = 0;
    std::size_t points = 0;
    std::vector<Decision> decisions;
    std::size_t decided = 0;
    std::set<std::size_t> followed;
    std::string complaint;
};

/// Those of this program.
extern TwoThreads twoThreads;

} // namespace proof
