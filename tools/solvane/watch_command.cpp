#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <iostream>
#include <optional>

#include <windows.h>

#include "commands.h"
#include "questions.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// What was read of one line: its answer, or the status with which it was refused.
struct Cell {
    int status = SOLVANE_OK;
    bool answer = false;

    bool operator==(const Cell&) const = default;
};

using Row = std::array<Cell, kQuestions.size()>;

std::atomic<bool> isStopped{false};

BOOL WINAPI StopAtCtrlC(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        return FALSE;
    }
    // A second one ends the program at once.
    return isStopped.exchange(true) ? FALSE : TRUE;
}

Row Read(const Library& library) {
    Row row;
    for (std::size_t i = 0; i < kQuestions.size(); ++i) {
        std::int16_t answer = 0;
        row[i].status = (library.*kQuestions[i].ask)(&answer);
        row[i].answer = row[i].status == SOLVANE_OK && answer != 0;
    }
    return row;
}

/// The first status that is not 0.
int StatusOf(const Row& row) {
    for (const Cell& cell : row) {
        if (cell.status != SOLVANE_OK) {
            return cell.status;
        }
    }
    return SOLVANE_OK;
}

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

constexpr std::size_t kTimeWidth = 14;

std::size_t WidthOf(const Question& column) {
    return std::string_view(column.label).size() + 3;
}

/// Ends a line of the table without the blanks that pad its last column.
void PrintLine(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    std::cout << line << std::endl;
}

void PrintTitles() {
    std::string line = Padded("since start", kTimeWidth);
    for (const Question& column : kQuestions) {
        line += Padded(column.label, WidthOf(column));
    }
    PrintLine(line);
}

std::string TextOf(const Cell& cell, const Question& column) {
    if (cell.status != SOLVANE_OK) {
        return "? (" + std::to_string(cell.status) + ")";
    }
    return cell.answer ? column.yes : column.no;
}

/// A line of the table; what is not as in the line before has a star.
void PrintRow(const Row& row, const Row* before, Milliseconds since) {
    std::string line = Padded(Text(since.count()), kTimeWidth);
    for (std::size_t i = 0; i < row.size(); ++i) {
        const bool isChanged = before != nullptr && row[i] != (*before)[i];
        line +=
            Padded(TextOf(row[i], kQuestions[i]) + (isChanged ? " *" : ""), WidthOf(kQuestions[i]));
    }
    PrintLine(line);
}

void PrintObject(const Session& session, const Row& row, const Row* before, Milliseconds since) {
    Report report(session.request.command, StatusOf(row));
    report.Add("since_start_ms", Rounded(since.count()));
    Json changed = Json::array();
    for (std::size_t i = 0; i < row.size(); ++i) {
        report.Add(kQuestions[i].key, row[i].status == SOLVANE_OK ? Json(row[i].answer) : Json());
        if (before != nullptr && row[i] != (*before)[i]) {
            changed.push_back(kQuestions[i].key);
        }
    }
    report.Add("changed", changed);
    report.PrintValues(true);
}

/// That the program still watches, and how to end it.
class StillWatching {
  public:
    explicit StillWatching(bool isWanted) : isShown(isWanted && IsConsole(STD_OUTPUT_HANDLE)) {}

    void Show(Milliseconds since) const {
        if (isShown) {
            std::cout << Text(since.count()) << "  watching, Ctrl-C ends\r" << std::flush;
        }
    }

    void Erase() const {
        if (isShown) {
            std::cout << std::string(kTimeWidth + 24, ' ') << '\r';
        }
    }

  private:
    bool isShown;
};

} // namespace

int Watch(const Session& session) {
    const Request& request = session.request;
    SetConsoleCtrlHandler(StopAtCtrlC, TRUE);
    session.library.CheckAvailable(); // the hardware is found before the clock starts
    session.progress.End();

    const Clock::time_point begin = Clock::now();
    const auto isOver = [&] {
        return request.once || isStopped ||
               (request.watchSeconds != 0 &&
                Clock::now() - begin >= std::chrono::seconds(request.watchSeconds));
    };
    const StillWatching sign(!request.json);
    if (!request.json) {
        PrintTitles();
    }
    std::optional<Row> before;
    for (;;) {
        const Row row = Read(session.library);
        const Milliseconds since = Clock::now() - begin;
        if (before != row) {
            sign.Erase();
            if (request.json) {
                PrintObject(session, row, before ? &*before : nullptr, since);
            } else {
                PrintRow(row, before ? &*before : nullptr, since);
            }
            before = row;
        }
        if (isOver()) {
            break;
        }
        sign.Show(since);
        Sleep(request.watchMilliseconds);
    }
    sign.Erase();
    const int status = StatusOf(*before);
    return request.json ? status : Finish(Report(request.command, status), session);
}

} // namespace host
