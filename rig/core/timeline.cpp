#include "timeline.h"

#include <algorithm>

#include "rig_clock.h"

namespace rig {

void Timeline::Restart() {
    origin = clock::Now();
    moment = 0;
    due.clear();
}

void Timeline::CatchUp() {
    const std::uint64_t now = clock::Now() - origin;
    while (!due.empty() && due.begin()->first.first <= now) {
        const auto next = due.extract(due.begin());
        moment = std::max(moment, next.key().first);
        next.mapped()();
    }
    moment = std::max(moment, now);
}

Timeline::Ticket Timeline::After(std::uint64_t delay, std::function<void()> action) {
    const Ticket ticket{moment + delay, ++tickets};
    due.emplace(ticket, std::move(action));
    return ticket;
}

} // namespace rig
