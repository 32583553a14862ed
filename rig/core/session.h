/// A recorded session: the time of each host call, and the actions performed on the rig meanwhile.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "action.h"
#include "timeline.h"

namespace rig {

/// A position in the sequence of calls, independent of the clock: just before a call begins, or
/// before a later step. A step is the end of a wait within the call, or a note by the host.
struct Moment {
    std::uint32_t call = 0; ///< counted from 1; 0 is the time before the first call
    std::uint32_t step = 0; ///< 0: the call begins
    auto operator<=>(const Moment&) const = default;
};

/// Times are ns since the scenario began.
struct Session {
    /// When a call began, then when each later step came, until the next call.
    using CallTimes = std::vector<std::uint64_t>;

    struct Event {
        Moment moment;
        std::uint64_t at = 0;
        Action action;
    };

    std::vector<CallTimes> calls; ///< the first element is the time before any call
    std::vector<Event> events;    ///< in their order
    bool countsWmi = true;        ///< whether calls of WMI methods are among them
};

/// Records a session.
class SessionRecorder {
  public:
    /// A longer session is dropped: its scenario file would be too large.
    /// An action counts as one, and as many more as its text takes the place of.
    static constexpr std::size_t kMostTimes = 100'000;

    void Restart() { *this = {}; }

    void BeginCall(std::uint64_t now);
    void NextStep(std::uint64_t now);
    void Add(const Action& action, std::uint64_t now);

    const Session& Recorded() const { return session; }
    bool IsWhole() const { return times <= kMostTimes; }

    /// The position of the next step of the last call. If no step comes, it means the next call.
    Moment Next() const;

  private:
    void Count(std::size_t more);

    Session session{.calls = {{0}}, .events = {}};
    std::size_t times = 0;
};

/// Replays a session: performs each action before the same call as when it was recorded. Until the
/// last recorded call, the rig's time follows the calls and not the clock, so that the camera too
/// reacts before the same calls. After that, time follows the clock.
class Rerun {
  public:
    Rerun(const Session& again, Timeline& time, std::function<void(const Action&)> whatToDo);

    /// A call begins: moves time to it.
    void BeginCall(std::string_view function);

    /// Moves time to a step of that call; by `length` if the recording has no such step.
    void ComeToStep(std::uint32_t step, std::uint64_t length) { Come({call, step}, length); }

    /// After the last call, schedules the remaining events by the clock. Call it again when the
    /// timeline was cleared.
    void Schedule();

  private:
    void Come(const Moment& moment, std::uint64_t length);
    void PerformNext();

    const Session session;
    Timeline& timeline;
    std::function<void(const Action&)> perform;
    std::uint32_t call = 0; ///< the last one that has begun
    std::size_t next = 0;   ///< index of the next event
    bool isOver = false;    ///< all recorded calls have come
    Timeline::Ticket scheduled;
};

} // namespace rig
