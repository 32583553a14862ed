/// What check has seen of the lines, from which it concludes what is wrong.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "wires.h"

namespace host {

/// When something happened, in milliseconds: between two moments, for a question takes its time.
struct Interval {
    double from = 0;
    double to = 0;
};

enum class Flag {
    unknown,
    down,
    cleared, ///< it was up, and asking has cleared it
    stuck    ///< it was up, and asking does not clear it
};

/// A line that was switched on and off.
struct Switched {
    bool wasTried = false;
    std::optional<bool> found; ///< what it read before
    std::optional<bool> whenOn;
    std::optional<bool> whenOff;
    bool tookPicture = false;
    std::vector<std::string> moved; ///< other lines that read otherwise meanwhile
};

/// One trigger, and what became of it. Times count from the edge.
struct Capture {
    int status = 0;
    double callMs = 0; ///< how long the call took
    bool flag = false;
    bool flagAgain = false; ///< it was up when it was asked for once more
    bool flagAtEnd = false; ///< the last answer, when it should have been cleared
    std::optional<Interval> readyFell;
    std::optional<Interval> readyReturned;
    std::optional<Interval> flagRose;
};

/// Several of them.
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
    bool isBare = false; ///< all pins read as if nothing were wired to them
    bool isLost = false; ///< a question was refused or could not be read, a command refused

    bool hasComeBack = false; ///< the library reset the chip's port, and opened it again

    std::optional<bool> readyAtRest; ///< when it had had time
    bool readySeenYes = false;
    bool readySeenNo = false;
    Flag flagAtRest = Flag::unknown;

    Switched dark;
    Switched cameraPower;
    Switched accessoriesPower;
    std::optional<bool> readyWithoutPower; ///< after camera power was switched off
    std::optional<bool> readyWithPower;    ///< when it was on again, and the camera had had time

    bool pictureAtOpening = false; ///< setting the lines to rest took one
    bool flagFollows = false;      ///< the flag was up for as long as a line was switched
    std::optional<Capture> capture;
    Captures captures;
};

/// What is wrong, and how to tell it from what looks alike.
struct Cause {
    std::string id;
    std::string says;      ///< one sentence
    std::string likely;    ///< what it can be
    std::string tellApart; ///< what a technician measures or does
};

/// The cause that the observations speak for; empty if none is known.
std::optional<Cause> FindCause(const Observations& seen);

} // namespace host
