/// What a command tells the user: aligned lines for people, or one JSON object for programs.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

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

    /// Prints to standard output; in human form a failure goes to standard error.
    void Print(bool json) const;

    /// Prints to standard output alone: a status other than 0 is a value like any other.
    void PrintValues(bool json) const;

    int Status() const { return status; }

  private:
    void PrintLines() const;

    const std::string command;
    const int status;
    const std::string meaning;
    nlohmann::ordered_json object;
    std::vector<std::pair<std::string, std::string>> lines;
};

/// Prints why a command could not be carried out at all.
void PrintError(std::string_view command, std::string_view sentence, bool json);

/// Milliseconds as people and programs get them: with one decimal.
double Rounded(double milliseconds);
std::string Text(double milliseconds);

} // namespace host
