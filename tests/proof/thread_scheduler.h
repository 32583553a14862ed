/// Runs two threads of a host in every order of their steps, one schedule after the other; exactly
/// one thread runs at a time. The text of a schedule replays it.
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

class ThreadScheduler {
  public:
    using Body = std::function<void()>;

    /// In one schedule. A switch while a thread waits does not count.
    static constexpr std::size_t kMostPreemptions = 3;

    /// The thread that created this object; the two are 0 and 1.
    static constexpr std::size_t kNeither = 2;

    ThreadScheduler();

    /// Runs both to their ends. Returns what prevented that, else an empty text.
    std::string Run(const Body& first, const Body& second);

    /// Goes on to the next schedule. False when that was the last one.
    bool Next();

    /// The numbers of the latest run's decisions that were not the default: "3.17.22".
    std::string Schedule() const;

    /// Makes the next run follow that schedule.
    void Follow(const std::string& schedule);

    std::size_t Running() const { return running; }

    /// Numbers an event of this schedule.
    std::size_t Step() { return ++steps; }

    // For the running thread.

    /// The other one may preempt this one here.
    void MayBePreempted();

    /// This one waits for something that comes by itself; by default the other one runs meanwhile,
    /// if it can.
    void Waits();

    /// This one waits for the other one. Null: for ever.
    void WaitsUntil(const std::function<bool()>& isOver);

  private:
    struct Thread {
        ucontext_t context;
        std::vector<char> stack;
        Body body;
        std::function<bool()> isOver; ///< ends its wait
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

/// The only one: the threads are global state.
extern ThreadScheduler scheduler;

} // namespace proof
