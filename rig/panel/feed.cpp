#include "feed.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <exception>
#include <utility>

#include "json.h"

namespace rig::panel {

namespace {

using namespace std::chrono_literals;

constexpr auto kBetweenLooks = 12ms;
constexpr auto kBetweenStates = 100ms; ///< while the journal tells of nothing
constexpr auto kBetweenAttempts = 250ms;
constexpr std::uint64_t kMostEntries = 2'000; ///< in one look, because the rig waits meanwhile
constexpr std::size_t kMostBytes = std::size_t{16} << 20;

EventText Event(std::string_view kind, std::string_view data, std::string_view id = {}) {
    auto text = std::make_shared<std::string>();
    text->reserve(kind.size() + data.size() + id.size() + 24);
    if (!id.empty()) {
        text->append("id: ").append(id).append("\n");
    }
    text->append("event: ").append(kind).append("\ndata: ").append(data).append("\n\n");
    return text;
}

std::optional<std::uint64_t> Number(std::string_view text) {
    std::uint64_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && rest == text.data() + text.size() ? std::optional(number)
                                                                     : std::nullopt;
}

/// A number in a reply that the rig has written, such as that after `"first":`.
std::uint64_t NumberAfter(std::string_view key, const std::string& reply) {
    const std::size_t at = reply.find(key);
    std::uint64_t number = 0;
    if (at != reply.npos) {
        std::from_chars(reply.data() + at + key.size(), reply.data() + reply.size(), number);
    }
    return number;
}

} // namespace

Feed::Feed(const Source& from, std::function<void()> whatToDo)
    : source(from), news(std::move(whatToDo)), thread([this] { Run(); }) {}

Feed::~Feed() {
    {
        const std::lock_guard lock(mutex);
        isToStop = true;
    }
    wake.notify_all();
    thread.join();
}

void Feed::SetListeners(std::size_t count) {
    {
        const std::lock_guard lock(mutex);
        listeners = count;
    }
    wake.notify_all();
}

void Feed::Run() {
    std::unique_lock lock(mutex);
    for (;;) {
        wake.wait(lock, [this] { return isToStop || listeners != 0; });
        if (isToStop) {
            return;
        }
        lock.unlock();
        Look();
        news();
        lock.lock();
        wake.wait_for(lock, isThere ? kBetweenLooks : kBetweenAttempts,
                      [this] { return isToStop; });
    }
}

void Feed::Look() {
    try {
        while (LookAtJournal()) {
            news();
        }
    } catch (const std::exception& why) { // also no memory: the next look may have it
        End(why.what());
    }
}

/// Returns whether there is more.
bool Feed::LookAtJournal() {
    std::uint64_t since = 0;
    bool isNew = false;
    {
        const std::lock_guard lock(mutex);
        isNew = !isThere;
        since = isNew ? 0 : end;
    }
    const Reply reply = source.ask(
        {{"journal", "--since", std::to_string(since), "--most", std::to_string(kMostEntries)},
         true});
    const std::uint64_t first = NumberAfter("\"first\":", reply.text);
    const std::uint64_t now = NumberAfter("\"ns\":", reply.text);
    const std::size_t entries = reply.text.find('[');
    if (reply.exitCode != 0 || entries == reply.text.npos) {
        throw NotThere(reply.text);
    }
    // Without the bracket that ends the object.
    const std::string list = reply.text.substr(entries, reply.text.size() - entries - 1);
    // What the journal does not tell changes the state, too: a host's rig_force(), its fault.
    std::optional<Reply> told;
    if (first != reply.next || isNew || std::chrono::steady_clock::now() >= nextState) {
        nextState = std::chrono::steady_clock::now() + kBetweenStates;
        told = source.ask({{"state"}, true});
    }
    const std::lock_guard lock(mutex);
    isThere = true;
    const bool isEarlier = now < std::exchange(time, now);
    Take(list, first, reply.next, isNew || isEarlier || first != since);
    if (told) {
        TakeState(told->text);
    }
    return reply.next - first == kMostEntries;
}

/// Adds a list of entries. `isOther`: they do not follow those that are there.
void Feed::Take(const std::string& entries, std::uint64_t first, std::uint64_t next, bool isOther) {
    if (isOther) {
        ++run;
        batches.clear();
        bytes = 0;
        stateText.clear();
        state.reset();
    }
    end = next;
    ended.reset();
    if (first == next) {
        return;
    }
    const std::string id = std::to_string(run) + "-" + std::to_string(next);
    batches.push_back({first, next, Event("journal", entries, id)});
    bytes += batches.back().event->size();
    while (bytes > kMostBytes && batches.size() > 1) {
        bytes -= batches.front().event->size();
        batches.pop_front();
    }
}

void Feed::TakeState(const std::string& told) {
    // Its time, which comes first, is no change.
    const std::size_t rest = std::min(told.find(','), told.size());
    if (told.compare(rest, told.npos, stateText) != 0) {
        stateText = told.substr(rest);
        state = Event("state", StateOf(source, told));
        ++states;
    }
}

void Feed::End(const std::string& why) {
    const std::lock_guard lock(mutex);
    isThere = false;
    if (!ended) {
        ended = Event("ended", Json().Add("text", why).Text());
    }
}

Feed::Position Feed::Begin(std::string_view from) const {
    const std::size_t dash = from.find('-');
    const std::optional<std::uint64_t> next =
        Number(dash == from.npos ? from : from.substr(dash + 1));
    if (!next) {
        return {};
    }
    const std::lock_guard lock(mutex);
    const std::optional<std::uint64_t> ofRun =
        dash == from.npos ? run : Number(from.substr(0, dash));
    return ofRun == run && isThere && *next <= end ? Position{.run = run, .next = *next}
                                                   : Position{};
}

EventText Feed::Next(Position& position) const {
    const std::lock_guard lock(mutex);
    if (state != nullptr && (position.run != run || position.next < Oldest())) {
        position = {.run = run, .next = Oldest()};
        return Event("began", Json().Add("first", position.next).Text());
    }
    if (state != nullptr && position.state != states) { // before the entries, once it is known
        position.state = states;
        return state;
    }
    if (state != nullptr && position.next < end) {
        const auto batch = std::ranges::upper_bound(batches, position.next, {}, &Batch::end);
        const std::uint64_t from = std::exchange(position.next, batch->end);
        return from == batch->first ? batch->event : Rest(*batch, from);
    }
    if (ended != nullptr && !position.knowsEnd) {
        position.knowsEnd = true;
        return ended;
    }
    return nullptr;
}

/// The event with a batch's entries from a number on.
EventText Feed::Rest(const Batch& batch, std::uint64_t from) {
    const std::string& whole = *batch.event;
    const std::size_t list = whole.find("data: ") + 6;
    const std::size_t entry = whole.find("{\"n\":" + std::to_string(from) + ",", list);
    return std::make_shared<const std::string>(whole.substr(0, list) + "[" + whole.substr(entry));
}

} // namespace rig::panel
