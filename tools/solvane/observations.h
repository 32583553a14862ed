/// What a check has observed on the lines. FindCause() concludes from it what is wrong.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "wires.h"

namespace host {

/// When something happened, in milliseconds. An interval, because a line is only read now and then.
struct Interval {
    double from = 0;
    double to = 0;
};

enum class Flag {
    unknown,
    down,
    cleared, ///< it was up, and reading cleared it
    stuck    ///< it was up, and reading does not clear it
};

/// A line that was switched on and off.
struct Switched {
    bool wasTried = false;
    std::optional<bool> found; ///< level before the switching
    std::optional<bool> whenOn;
    std::optional<bool> whenOff;
    bool tookPicture = false;
    std::vector<std::string> moved; ///< other lines that changed meanwhile
};

/// One trigger and its result. Times count from the trigger edge.
struct Capture {
    int status = 0;
    double callMs = 0; ///< how long the call took
    bool flag = false;
    bool flagAgain = false; ///< up again after it had been read as up
    bool flagAtEnd = false; ///< last answer, which should be down
    std::optional<Interval> readyFell;
    std::optional<Interval> readyReturned;
    std::optional<Interval> flagRose;
};

/// The results of several triggers.
struct Captures {
    unsigned given = 0;
    unsigned refused = 0;
    unsigned byReady = 0;
    unsigned byFlag = 0;
    std::vector<double> flagMs; ///< until the flag was seen, at the latest
};

struct Observations {
    std::string kind;
    bool isAvailable = false;
    bool isBare = false; ///< all pins read as if unconnected
    bool isLost = false; ///< a line could not be read, or a call was refused

    bool hasComeBack = false; ///< the library reset the chip's port and reopened it

    std::optional<bool> readyAtRest; ///< after the time it needs to become ready
    bool readySeenYes = false;
    bool readySeenNo = false;
    Flag flagAtRest = Flag::unknown;

    Switched dark;
    Switched cameraPower;
    Switched accessoriesPower;
    std::optional<bool> readyWithoutPower; ///< after camera power was switched off
    std::optional<bool> readyWithPower; ///< after power returned and the camera had time to start

    bool pictureAtOpening = false; ///< setting the lines to rest took a picture
    bool flagFollows = false;      ///< the flag line follows a line that is switched
    std::optional<Capture> capture;
    Captures captures;
};

/// What is wrong, and how to distinguish it from faults that look alike.
struct Cause {
    std::string id;
    std::string says;      ///< one sentence
    std::string likely;    ///< likely reasons
    std::string tellApart; ///< what a technician should measure or do
};

/// The cause that fits the observations; empty if none does.
std::optional<Cause> FindCause(const Observations& seen);

} // namespace host
