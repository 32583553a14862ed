/// The rig's time: what is due in it happens lazily, each thing at its own exact moment, whenever
/// somebody next looks.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <utility>

namespace rig {

inline constexpr std::uint64_t kNanosecondsPerMillisecond = 1'000'000;

class Timeline {
  public:
    /// Something that is due: its moment, and a number that keeps equal moments in order.
    using Ticket = std::pair<std::uint64_t, std::uint64_t>;

    /// Starts time at 0, with nothing due.
    void Restart();

    /// Has nothing due any more.
    void Clear() { due.clear(); }

    /// Lets everything happen that is due by now, in its order.
    void CatchUp();

    /// Has time stand still but for MoveTo(), until LetGo(): from that moment on it goes by the
    /// clock again.
    void Hold() { isHeld = true; }
    void LetGo();

    /// Lets everything happen that is due until then. Does nothing unless time is held.
    void MoveTo(std::uint64_t then);

    /// Nanoseconds since Restart(): the moment of what is happening, else that of the last
    /// CatchUp().
    std::uint64_t Now() const { return moment; }

    /// The same moment on rig::clock, which goes on across restarts.
    std::uint64_t AbsoluteNow() const { return origin + moment; }

    /// Has something happen later; never before the next CatchUp().
    Ticket After(std::uint64_t delay, std::function<void()> action);

    /// Takes back what is still due; does nothing once it has happened.
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
