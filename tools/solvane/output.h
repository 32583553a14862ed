/// What a command tells the user: aligned lines for people, or one JSON object for programs.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "command_line.h"
#include "questions.h"

namespace host {

/// The result of one command, filled in once for both forms.
class Report {
  public:
    /// Begins with the keys that every object has: command, status and, unless that is 0, meaning.
    Report(std::string_view command, int status);

    /// With a meaning of the status other than the command's own.
    Report(std::string_view command, int status, std::string_view meaning);

    /// A value: under its key for programs, as text behind its label for people.
    void Add(std::string_view key, nlohmann::ordered_json value, std::string_view label,
             std::string text);

    /// A value for programs alone.
    void Add(std::string_view key, nlohmann::ordered_json value);

    /// Text for people alone.
    void Remark(std::string_view label, std::string text);

    /// A line of its own for people, above all others.
    void Head(std::string text) { heading = std::move(text); }

    /// What became of a question; a line that could not be read makes the command fail.
    void AddAnswer(std::string_view key, std::string_view label, const Answer& answer,
                   const char* yes, const char* no);

    /// What to do about a status other than 0; a sentence.
    void Advise(std::string_view text);

    /// Something is wrong although the status is 0.
    void Fail() { failed = true; }

    /// Prints to standard output; in human form a failure goes to standard error.
    void Print(bool json) const;

    /// Prints to standard output alone: a status other than 0 is a value like any other.
    void PrintValues(bool json) const;

    int Status() const { return status; }

    /// With which the program ends.
    ExitCode Code() const { return status == SOLVANE_OK && !failed ? kSuccess : kFailedStatus; }

  private:
    void PrintLines() const;

    const std::string command;
    const int status;
    const std::string meaning;
    bool failed = false;
    std::string heading;
    std::string advice;
    nlohmann::ordered_json object;
    std::vector<std::pair<std::string, std::string>> lines;
};

/// Prints why a command could not be carried out at all.
void PrintError(std::string_view command, std::string_view sentence, bool json);

/// The part of it for programs; an empty command is none.
void PrintErrorObject(std::string_view command, std::string_view sentence);

/// What was printed to standard output could not be written.
struct AnswerLost {};

/// Writes what was printed to standard output until now. Throws AnswerLost.
void FlushAnswer();

/// Milliseconds as people and programs get them: with one decimal.
double Rounded(double milliseconds);
std::string Text(double milliseconds);

} // namespace host
