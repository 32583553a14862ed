/// The output of a command: aligned lines for people, or one JSON object for programs.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "command_line.h"
#include "questions.h"

namespace host {

/// The result of one command; serves both forms of output.
class Report {
  public:
    /// Begins with the keys that every object has: command, status and, unless that is 0, meaning.
    Report(std::string_view command, int status);

    /// With another meaning of the status than the command's usual one.
    Report(std::string_view command, int status, std::string_view meaning);

    /// Adds a value: under its key for programs, as text after its label for people.
    void Add(std::string_view key, nlohmann::ordered_json value, std::string_view label,
             std::string text);

    /// Adds a value for programs only.
    void Add(std::string_view key, nlohmann::ordered_json value);

    /// Adds text for people only.
    void Remark(std::string_view label, std::string text);

    /// Sets a first line, for people only.
    void Head(std::string text) { heading = std::move(text); }

    /// Adds the state of a line; a line that could not be read makes the command fail.
    void AddAnswer(std::string_view key, std::string_view label, const Answer& answer,
                   const char* yes, const char* no);

    /// Adds advice about a status other than 0; a sentence.
    void Advise(std::string_view text);

    /// Makes the command fail although the status is 0.
    void Fail() { failed = true; }

    /// Prints to standard output; in human form a failure goes to standard error.
    void Print(bool json) const;

    /// Prints to standard output alone: a status other than 0 is a value like any other.
    void PrintValues(bool json) const;

    int Status() const { return status; }

    /// The program's exit code.
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

/// Prints why a command could not be run at all.
void PrintError(std::string_view command, std::string_view sentence, bool json);

/// Prints only the JSON object of that error; an empty command is left out.
void PrintErrorObject(std::string_view command, std::string_view sentence);

/// Thrown when standard output could not be written.
struct AnswerLost {};

/// Flushes standard output. Throws AnswerLost.
void FlushAnswer();

/// Milliseconds rounded to the one decimal that is printed.
double Rounded(double milliseconds);
std::string Text(double milliseconds);

} // namespace host
