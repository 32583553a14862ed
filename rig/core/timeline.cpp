#include "timeline.h"

#include <algorithm>

#include "rig_clock.h"

namespace rig {

void Timeline::Restart() {
    isHeld = false;
    origin = clock::Now();
    moment = 0;
    due.clear();
}

void Timeline::CatchUp() {
    PassTo(isHeld ? moment : clock::Now() - origin);
}

void Timeline::LetGo() {
    isHeld = false;
    origin = clock::Now() - moment;
}

void Timeline::MoveTo(std::uint64_t then) {
    if (isHeld) {
        PassTo(then);
    }
}

void Timeline::PassTo(std::uint64_t then) {
    while (!due.empty() && due.begin()->first.first <= then) {
        const auto next = due.extract(due.begin());
        moment = std::max(moment, next.key().first);
        next.mapped()();
    }
    moment = std::max(moment, then);
}

Timeline::Ticket Timeline::After(std::uint64_t delay, std::function<void()> action) {
    const Ticket ticket{moment + delay, ++tickets};
    due.emplace(ticket, std::move(action));
    return ticket;
}

} // namespace rig
