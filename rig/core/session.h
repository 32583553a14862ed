/// A session of a running rig: when each call of a host came, and what was done to the rig
/// meanwhile.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "action.h"
#include "timeline.h"

namespace rig {

/// A moment in the order of things, whatever the clock says: just before a call begins, or before a
/// later step of it. A step is the end of a wait for a slice of time, or a note of the host's.
struct Moment {
    std::uint32_t call = 0; ///< counted from 1 since the scenario began; 0 is the beginning
    std::uint32_t step = 0; ///< 0: the call begins
    auto operator<=>(const Moment&) const = default;
};

/// Times are ns since the scenario began.
struct Session {
    /// Of a call its beginning, then its later steps until the next call.
    using CallTimes = std::vector<std::uint64_t>;

    struct Event {
        Moment moment;
        std::uint64_t at = 0;
        Action action;
    };

    std::vector<CallTimes> calls; ///< the first one stands for the beginning
    std::vector<Event> events;    ///< in their order
};

/// Writes a session down while it happens.
class SessionRecorder {
  public:
    /// More steps than this are not kept; a scenario file has no room for them.
    static constexpr std::size_t kMostTimes = 100'000;

    void Restart() { *this = {}; }

    void BeginCall(std::uint64_t now);
    void NextStep(std::uint64_t now);
    void Add(const Action& action, std::uint64_t now);

    const Session& Recorded() const { return session; }
    bool IsWhole() const { return times <= kMostTimes; }

    /// The next step of the last call; or, if none comes, of the next one.
    Moment Next() const;

  private:
    Session session{.calls = {{0}}, .events = {}};
    std::size_t times = 0;
};

/// Has the rig do again what it did in a session, each thing before the same call. Until the last
/// call has come, time goes by calls alone; so the camera, too, does everything before the same
/// call. Then it goes by the clock.
class Rerun {
  public:
    Rerun(const Session& again, Timeline& time, std::function<void(const Action&)> whatToDo);

    /// Comes to a step; `length` is what it takes when the session has no such step.
    void Come(const Moment& moment, std::uint64_t length);

    /// Lets the clock bring about what is left; to be called again when the timeline was cleared.
    void Schedule();

  private:
    void PerformNext();

    const Session session;
    Timeline& timeline;
    std::function<void(const Action&)> perform;
    std::size_t next = 0; ///< the event that is due next
    bool isOver = false;  ///< its calls have all come
    Timeline::Ticket scheduled;
};

} // namespace rig
