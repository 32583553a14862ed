#include <algorithm>
#include <array>

#include "commands.h"
#include "stop.h"

namespace host {

namespace {

/// A line, its functions, and the level at which it is held.
struct HeldLine {
    std::string_view name;
    AskLine Functions::*ask;
    decltype(Functions::EnableCameraPower) Functions::*on;
    decltype(Functions::EnableCameraPower) Functions::*off;
    bool level;
};

using F = Functions;

constexpr std::array kLines{
    HeldLine{"dark", &F::CheckForcedBlackUpdate, &F::EnableForcedBlackUpdate,
             &F::DisableForcedBlackUpdate, true},
    HeldLine{"camera-power", &F::CheckCameraPower, &F::EnableCameraPower, &F::DisableCameraPower,
             false},
    HeldLine{"accessories-power", &F::CheckAccessoriesPower, &F::EnableAccessoriesPower,
             &F::DisableAccessoriesPower, false},
};

/// Restores the line, also when the program is asked to stop.
class Back {
  public:
    Back(const Functions& ofLibrary, const HeldLine& ofLine, bool toLevel)
        : library(ofLibrary), line(ofLine), level(toLevel) {}
    ~Back() { Switch(); }
    Back(const Back&) = delete;
    Back& operator=(const Back&) = delete;

    int Switch() {
        const int status =
            isDone ? SOLVANE_OK : (library.*(level ? line.on : line.off)).EvenIfStopped();
        isDone = true;
        return status;
    }

  private:
    const Functions& library;
    const HeldLine& line;
    const bool level;
    bool isDone = false;
};

} // namespace

ExitCode Hold(const Session& session) {
    const Request& request = session.request;
    const auto* const line = std::find_if(kLines.begin(), kLines.end(), [&](const HeldLine& each) {
        return each.name == request.line;
    });
    const Answer found = Ask(session.library.*line->ask, session.log);
    if (found.status != SOLVANE_OK) {
        return Finish(Report(request.command, found.status), session);
    }
    const bool before = found.value.value_or(!line->level); // at rest if it cannot be read
    Back back(session.library, *line, before);
    int status = (session.library.*(line->level ? line->on : line->off))();
    Answer held{status, {}};
    if (status == SOLVANE_OK) {
        held = Ask(session.library.*line->ask, session.log);
        SleepUntil(SteadyNow() + std::chrono::seconds(request.holdSeconds));
        status = held.status;
    }
    const int backStatus = back.Switch();
    Report report(request.command, status == SOLVANE_OK ? backStatus : status);
    if (status == SOLVANE_OK) {
        report.AddAnswer("on", request.line + " held", held, "on", "off");
        report.Remark(request.line + " now", before ? "on" : "off");
    }
    return Finish(std::move(report), session);
}

} // namespace host
