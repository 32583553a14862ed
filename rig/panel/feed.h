/// Looks at the source while somebody listens, and has what happened ready as server-sent events.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "source.h"

namespace rig::panel {

using EventText = std::shared_ptr<const std::string>;

/// Any thread may call its functions.
class Feed {
  public:
    /// How far a listener is. A new one gets everything.
    struct Position {
        std::uint64_t run = 0;   ///< 0: is told first that it begins
        std::uint64_t next = 0;  ///< the number of the next entry
        std::uint64_t state = 0; ///< the last state that it was told
        bool knowsEnd = false;
    };

    /// `news` is called, in a thread of the feed, when listeners have something to hear.
    Feed(const Source& source, std::function<void()> news);
    ~Feed();
    Feed(const Feed&) = delete;
    Feed& operator=(const Feed&) = delete;

    /// The source is asked only while there are listeners.
    void SetListeners(std::size_t count);

    /// Where a listener begins: "RUN-N", as in the id of an event, or "N"; else at the beginning.
    Position Begin(std::string_view from) const;

    /// The next event for a listener; null when there is none yet.
    EventText Next(Position& position) const;

  private:
    /// Some consecutive entries.
    struct Batch {
        std::uint64_t first;
        std::uint64_t end;
        EventText event;
    };

    void Run();
    void Look();
    bool LookAtJournal();
    void Take(const std::string& entries, std::uint64_t first, std::uint64_t next, bool isOther);
    void TakeState(const std::string& told);
    void End(const std::string& why);
    std::uint64_t Oldest() const { return batches.empty() ? end : batches.front().first; }
    static EventText Rest(const Batch& batch, std::uint64_t from);

    const Source& source;
    const std::function<void()> news;

    mutable std::mutex mutex;
    std::condition_variable wake;
    std::size_t listeners = 0;
    bool isToStop = false;

    std::uint64_t run = 0; ///< increases when the source is another one, or entries were missed
    bool isThere = false;
    EventText ended; ///< the event; set while the source is not there
    std::deque<Batch> batches;
    std::size_t bytes = 0;  ///< of all batches
    std::uint64_t end = 0;  ///< the number of the next entry
    std::uint64_t time = 0; ///< of the source, ns
    std::uint64_t states = 0;
    std::string stateText; ///< without its time
    EventText state;

    std::chrono::steady_clock::time_point nextState{}; ///< of the feed's thread alone

    std::thread thread;
};

} // namespace rig::panel
