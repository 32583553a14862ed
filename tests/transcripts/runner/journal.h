/// What happens in a case, in the form of a transcript, and what is expected to happen.
#pragma once

#include "difference.h"
#include "script.h"

#include <solvane/solvane.h>

namespace transcript {

/// The log function of the simulated host.
void SOLVANE_CALL LogToJournal(void* context, const char* line);

/// What has happened since the last call.
std::vector<std::string> TakeJournal(bool withEdges);

/// How often the lines below a line are repeated: "100 times", "10 times, in real time 0 to 11".
struct Times {
    int least = 0;
    int most = 0;
};

/// False when the line says something else.
bool ReadTimes(const Line& line, Times& times);

/// The expected lines of an act, with repetitions expanded. Where their number is open, as many as
/// have happened. Throws Mistake for a line that can never occur.
std::vector<ExpectedLine> Expected(const std::vector<Line>& lines,
                                   const std::vector<std::string>& happened, bool withEdges);

} // namespace transcript
