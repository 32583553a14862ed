/// What happens, in the words of transcripts, and what is expected to.
#pragma once

#include "difference.h"
#include "script.h"

#include <solvane/solvane.h>

namespace transcript {

/// The log function of the host that is played.
void SOLVANE_CALL LogToJournal(void* context, const char* line);

/// What has happened since the last look.
std::vector<std::string> TakeJournal(bool withEdges);

/// How often the lines below a line happen: "100 times", "10 times, in real time 0 to 11".
struct Times {
    int least = 0;
    int most = 0;
};

/// Nothing when the line is another one.
bool ReadTimes(const Line& line, Times& times);

/// The lines below an act, one for each thing that is expected. Where their number is open, as many
/// as have happened. Throws Mistake for a line that nothing could be.
std::vector<ExpectedLine> Expected(const std::vector<Line>& lines,
                                   const std::vector<std::string>& happened, bool withEdges);

} // namespace transcript
