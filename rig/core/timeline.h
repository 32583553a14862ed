/// The rig's time. What is due happens lazily, at the next call, but each action sees its own exact
/// time.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <utility>

namespace rig {

inline constexpr std::uint64_t kNanosecondsPerMillisecond = 1'000'000;

class Timeline {
  public:
    /// A scheduled action: its time, and a number that keeps actions of the same time in order.
    using Ticket = std::pair<std::uint64_t, std::uint64_t>;

    /// Starts time at 0, with nothing due.
    void Restart();

    /// Cancels everything.
    void Clear() { due.clear(); }

    /// Performs everything that is due by now, in order.
    void CatchUp();

    /// Hold() stops time, so that only MoveTo() advances it; LetGo() lets it follow the clock again
    /// from where it is.
    void Hold() { isHeld = true; }
    void LetGo();

    /// Advances time and performs everything that is due until then. Ignored unless time is held.
    void MoveTo(std::uint64_t then);

    /// Nanoseconds since Restart(). Within an action its own time, otherwise that of the last
    /// CatchUp().
    std::uint64_t Now() const { return moment; }

    /// The same on rig::clock, which restarts do not reset.
    std::uint64_t AbsoluteNow() const { return origin + moment; }

    /// Schedules an action. It runs within a later CatchUp(), even without a delay.
    Ticket After(std::uint64_t delay, std::function<void()> action);

    /// Cancels an action; ignored once it has run.
    void Cancel(const Ticket& ticket) { due.erase(ticket); }

  private:
    void PassTo(std::uint64_t then);

    bool isHeld = false;
    std::uint64_t origin = 0;
    std::uint64_t moment = 0;
    std::uint64_t tickets = 0;
    std::map<Ticket, std::function<void()>> due;
};

} // namespace rig
