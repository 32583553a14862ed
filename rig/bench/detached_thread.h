/// Threads that nobody waits for.
#pragma once

#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace rig {

/// Does the work in a thread of its own. Throws what std::thread does.
///
/// The work begins when the thread is detached: a thread that ends while it is being detached lets
/// mingw-w64's winpthreads give its record to two later ones, of which one then does the other's
/// work, or none.
template <class Work>
void StartDetached(Work work) {
    // No latch: a thread that waits for one may sleep for ever with gcc 12's libstdc++ on Windows.
    const auto beginning = std::make_shared<std::mutex>();
    const std::lock_guard isBeginning(*beginning);
    std::thread([beginning, work = std::move(work)]() mutable {
        { const std::lock_guard isDetached(*beginning); }
        work();
    }).detach();
}

} // namespace rig
