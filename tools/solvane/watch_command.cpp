#include <algorithm>
#include <array>
#include <chrono>
#include <iostream>
#include <optional>

#include <windows.h>

#include "commands.h"
#include "log_echo.h"
#include "stop.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// Interval of repeated output into a pipe: only a write shows that the reader has gone.
constexpr std::chrono::seconds kAgainIntoPipe(5);

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

constexpr std::size_t kTimeWidth = 14;
constexpr std::string_view kWidestCell = "? (-3) *";
constexpr std::size_t kGap = 3;

std::size_t WidthOf(const Question& column) {
    return std::max(std::string_view(column.label).size(), kWidestCell.size()) + kGap;
}

/// Prints a line of the table without trailing blanks.
void PrintLine(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    LogEcho::WaitUntilWritten();
    std::cout << line << '\n';
    FlushAnswer();
}

void PrintTitles() {
    std::string line = Padded("since start", kTimeWidth);
    for (const Question& column : kQuestions) {
        line += Padded(column.label, WidthOf(column));
    }
    PrintLine(line);
}

std::string TextOf(const Answer& answer, const Question& column) {
    if (!answer.value) {
        return answer.IsLost() ? "?" : "? (" + std::to_string(answer.status) + ")";
    }
    return *answer.value ? column.yes : column.no;
}

/// Prints a line of the table, with a star at what has changed since the line before.
void PrintRow(const Answers& row, const Answers& before, Milliseconds since) {
    std::string line = Padded(Text(since.count()), kTimeWidth);
    for (std::size_t i = 0; i < row.size(); ++i) {
        line += Padded(TextOf(row[i], kQuestions[i]) + (row[i] != before[i] ? " *" : ""),
                       WidthOf(kQuestions[i]));
    }
    PrintLine(line);
}

void PrintObject(const Session& session, const Answers& row, const Answers& before,
                 Milliseconds since) {
    Report report(session.request.command, StatusOf(row));
    report.Add("since_start_ms", Rounded(since.count()));
    Json changed = Json::array();
    for (std::size_t i = 0; i < row.size(); ++i) {
        report.Add(kQuestions[i].key, row[i].value ? Json(*row[i].value) : Json());
        if (row[i] != before[i]) {
            changed.push_back(kQuestions[i].key);
        }
    }
    report.Add("changed", changed);
    report.PrintValues(true);
}

/// A message that the program still watches, and how to end it.
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

ExitCode Watch(const Session& session) {
    const Request& request = session.request;
    session.library.CheckAvailable(); // find the hardware before the clock starts
    session.progress.End();

    const Clock::time_point begin = Clock::now();
    const auto isOver = [&] {
        return request.once || (request.watchSeconds != 0 &&
                                Clock::now() - begin >= std::chrono::seconds(request.watchSeconds));
    };
    const StillWatching sign(!request.json);
    if (!request.json) {
        PrintTitles();
    }
    const bool isPiped = GetFileType(GetStdHandle(STD_OUTPUT_HANDLE)) == FILE_TYPE_PIPE;
    std::optional<Answers> before;
    Clock::time_point shown;
    for (;;) {
        const Answers row = AskAll(session.library, session.log);
        const Milliseconds since = Clock::now() - begin;
        if (before != row || (isPiped && Clock::now() - shown >= kAgainIntoPipe)) {
            sign.Erase();
            if (request.json) {
                PrintObject(session, row, before.value_or(row), since);
            } else {
                PrintRow(row, before.value_or(row), since);
            }
            before = row;
            shown = Clock::now();
        }
        if (isOver()) {
            break;
        }
        sign.Show(since);
        SleepUntil(Clock::now() + std::chrono::milliseconds(request.watchMilliseconds));
    }
    sign.Erase();
    Report report(request.command, StatusOf(*before));
    if (std::any_of(before->begin(), before->end(),
                    [](const Answer& answer) { return answer.IsLost(); })) {
        report.Fail();
    }
    return request.json ? report.Code() : Finish(std::move(report), session);
}

} // namespace host
