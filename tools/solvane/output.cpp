#include "output.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

#include "log_echo.h"
#include "statuses.h"

namespace host {

namespace {

/// Replaces invalid UTF-8, which file names and log lines may contain but JSON must not.
void PrintObject(const nlohmann::ordered_json& object) {
    LogEcho::WaitUntilWritten();
    std::cout << object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
    FlushAnswer();
}

} // namespace

Report::Report(std::string_view commandName, int commandStatus)
    : Report(commandName, commandStatus, Meaning(commandName, commandStatus)) {}

Report::Report(std::string_view commandName, int commandStatus, std::string_view statusMeaning)
    : command(commandName), status(commandStatus), meaning(statusMeaning) {
    object["command"] = command;
    object["status"] = status;
    if (status != 0) {
        object["meaning"] = meaning;
    }
}

void Report::Add(std::string_view key, nlohmann::ordered_json value, std::string_view label,
                 std::string text) {
    Add(key, std::move(value));
    Remark(label, std::move(text));
}

void Report::Add(std::string_view key, nlohmann::ordered_json value) {
    object[std::string(key)] = std::move(value);
}

void Report::Remark(std::string_view label, std::string text) {
    lines.emplace_back(label, std::move(text));
}

void Report::AddAnswer(std::string_view key, std::string_view label, const Answer& answer,
                       const char* yes, const char* no) {
    failed = failed || answer.IsLost();
    Add(key, answer.value ? nlohmann::ordered_json(*answer.value) : nlohmann::ordered_json(), label,
        answer.value      ? (*answer.value ? yes : no)
        : answer.IsLost() ? kLostAnswer
                          : "unknown");
}

void Report::Advise(std::string_view text) {
    advice = text;
    object["advice"] = text;
}

void Report::Print(bool json) const {
    PrintValues(json);
    if (status != 0 && !json) {
        std::cerr << "solvane: " << command << " failed with status " << status << ": " << meaning
                  << "." << (advice.empty() ? "" : " ") << advice << std::endl;
    }
}

void Report::PrintValues(bool json) const {
    if (json) {
        PrintObject(object);
    } else {
        PrintLines();
    }
}

void Report::PrintLines() const {
    LogEcho::WaitUntilWritten();
    if (!heading.empty()) {
        std::cout << heading << '\n';
    }
    std::size_t width = 0;
    for (const auto& [label, text] : lines) {
        width = std::max(width, label.size());
    }
    for (const auto& [label, text] : lines) {
        std::cout << label << std::string(width - label.size() + 2, ' ') << text << '\n';
    }
    FlushAnswer();
}

void PrintErrorObject(std::string_view command, std::string_view sentence) {
    using Json = nlohmann::ordered_json;
    PrintObject({{"command", command.empty() ? Json() : Json(command)}, {"error", sentence}});
}

void PrintError(std::string_view command, std::string_view sentence, bool json) {
    if (json) {
        PrintErrorObject(command, sentence);
    }
    std::cerr << "solvane: " << sentence << std::endl;
}

void FlushAnswer() {
    if (!std::cout.flush()) {
        throw AnswerLost();
    }
}

double Rounded(double milliseconds) {
    return std::round(milliseconds * 10) / 10;
}

std::string Text(double milliseconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f ms", milliseconds);
    return text;
}

} // namespace host
