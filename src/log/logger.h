/// The one log of the library: it assembles each message into a time-stamped line and hands the
/// line to the host's function.
#pragma once

#include <ctime>
#include <sstream>

#include <solvane/solvane.h>

namespace SLV::Internal {

using LogCallback = SolvaneLogCallback;

/// Nothing is locked: the host keeps its calls, and so the lines, one after another.
struct Logger {
    void* context = nullptr;
    LogCallback callback = nullptr; ///< null: logging is off
    std::ostringstream stream;      ///< the line being built, empty between lines

    /// Installs the host's function and drops whatever line was being built.
    void Install(void* newContext, LogCallback newCallback);

    /// Adds pieces to the current line without ending it; the next Line() goes on with it.
    /// Costs one test of a pointer when nobody listens: hand over what is expensive to make as an
    /// object whose operator<< makes it.
    template <typename... Pieces>
    void Append(const Pieces&... pieces) {
        if (callback != nullptr) {
            (AppendPiece(pieces), ...);
        }
    }

    /// Adds pieces and ends the line.
    template <typename... Pieces>
    void Line(const Pieces&... pieces) {
        if (callback != nullptr) {
            (AppendPiece(pieces), ...);
            Flush();
        }
    }

    /// Ends the current line: delivers it, even if it is empty, and starts a new one.
    void Flush();

    void WriteTimestamp();

  private:
    template <typename Piece>
    void AppendPiece(const Piece& piece) {
        // A piece may reach the host (or be the host's own doing), who may have gone since.
        if (callback == nullptr) {
            return;
        }
        if (stream.view().empty()) {
            WriteTimestamp();
        }
        stream << piece;
    }

    std::time_t stampedSecond = -1; ///< the second that `stamp` is the local time of
    char stamp[sizeof "[HH:MM:SS."] = "";
};

/// The process-wide log.
extern Logger s_logger;

} // namespace SLV::Internal
