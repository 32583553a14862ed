#include "thread_scheduler.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <utility>

#include <cxxabi.h>

namespace proof {

ThreadScheduler scheduler;

namespace {

/// Far more than any schedule has.
constexpr std::size_t kMostPoints = 5'000;

constexpr std::size_t kStackSize = 256 * 1024;

} // namespace

ThreadScheduler::ThreadScheduler() : threads{} {}

std::string ThreadScheduler::Run(const Body& first, const Body& second) {
    complaint.clear();
    decided = 0;
    points = 0;
    for (std::size_t i = 0; i < kNeither; ++i) {
        Thread& thread = threads[i];
        thread.stack.resize(kStackSize);
        thread.body = i == 0 ? first : second;
        thread.waits = false;
        thread.isAtItsEnd = false;
        thread.system = {};
        thread.exceptions = {};
        getcontext(&thread.context);
        thread.context.uc_stack.ss_sp = thread.stack.data();
        thread.context.uc_stack.ss_size = thread.stack.size();
        makecontext(&thread.context, Enter, 0);
    }
    SwitchTo(Decides(false) ? 1 : 0);
    return complaint;
}

void ThreadScheduler::Enter() {
    ThreadScheduler& self = scheduler;
    Thread& thread = self.threads[self.running];
    thread.body();
    thread.isAtItsEnd = true;
    self.WaitsUntil(nullptr);
}

bool ThreadScheduler::Next() {
    followed.clear();
    steps = 0;
    auto preemptions = static_cast<std::size_t>(std::ranges::count_if(
        decisions, [](const Decision& one) { return one.isPreemption && one.isAgainstTheUsual; }));
    for (; !decisions.empty(); decisions.pop_back()) {
        Decision& last = decisions.back();
        if (last.isAgainstTheUsual) {
            preemptions -= last.isPreemption ? 1 : 0;
        } else if (!last.isPreemption || preemptions < kMostPreemptions) {
            last.isAgainstTheUsual = true;
            return true;
        }
    }
    return false;
}

std::string ThreadScheduler::Schedule() const {
    std::string text;
    for (std::size_t i = 0; i < decisions.size(); ++i) {
        if (decisions[i].isAgainstTheUsual) {
            text += (text.empty() ? "" : ".") + std::to_string(i);
        }
    }
    return text;
}

void ThreadScheduler::Follow(const std::string& schedule) {
    decisions.clear();
    followed.clear();
    steps = 0;
    std::istringstream numbers(schedule);
    for (std::string number; std::getline(numbers, number, '.');) {
        followed.insert(std::stoul(number));
    }
}

bool ThreadScheduler::Decides(bool isPreemption) {
    if (decided == decisions.size()) {
        decisions.push_back({isPreemption, followed.contains(decided)});
    }
    const Decision& decision = decisions[decided++];
    if (decision.isPreemption != isPreemption) {
        complaint = "the same schedule came out differently";
    }
    return decision.isAgainstTheUsual;
}

bool ThreadScheduler::CanRun(const Thread& thread) const {
    return !thread.isAtItsEnd && (!thread.waits || (thread.isOver && thread.isOver()));
}

void ThreadScheduler::MayBePreempted() {
    if (running == kNeither) {
        return;
    }
    if (++points > kMostPoints) {
        GiveUp("a thread never ends");
    }
    const std::size_t other = 1 - running;
    if (CanRun(threads[other]) && Decides(true)) {
        SwitchTo(other);
    }
}

void ThreadScheduler::Waits() {
    const std::size_t other = 1 - running;
    if (running != kNeither && CanRun(threads[other]) && !Decides(false)) {
        SwitchTo(other);
    }
}

void ThreadScheduler::WaitsUntil(const std::function<bool()>& isOver) {
    Thread& self = threads[running];
    self.isOver = isOver;
    self.waits = true;
    if (!CanRun(self)) {
        const Thread& other = threads[1 - running];
        if (CanRun(other)) {
            SwitchTo(1 - running);
        } else {
            GiveUp(self.isAtItsEnd && other.isAtItsEnd ? "" : "deadlock");
        }
    }
    self.waits = false;
}

/// Ends the run, good or bad; the threads never continue.
void ThreadScheduler::GiveUp(const std::string& why) {
    complaint = complaint.empty() ? why : complaint;
    SwitchTo(kNeither);
}

void ThreadScheduler::SwitchTo(std::size_t thread) {
    Thread& from = threads[running];
    Thread& to = threads[thread];
    running = thread;
    auto* const exceptions = abi::__cxa_get_globals();
    std::memcpy(&from.exceptions, exceptions, sizeof from.exceptions);
    std::memcpy(exceptions, &to.exceptions, sizeof to.exceptions);
    from.system = std::exchange(host::kernel::ThisThread(), to.system);
    swapcontext(&from.context, &to.context);
}

} // namespace proof
