/// The output of a check. Text, JSON and report are made of the same JSON objects.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "check.h"

namespace host {

using Json = nlohmann::ordered_json;

/// One step's result.
Json ToJson(const StepResult& step);

/// The last object of the output, with the verdict.
Json ToJson(const CheckResult& result);

/// Replaces the names of user and machine, and serial numbers except for their last letter, which
/// is the channel. Covers those in a baseline as well.
class Anonymiser {
  public:
    Anonymiser(const Machine& machine, const std::vector<std::string>& log,
               const std::vector<Json>& baseline);

    /// The text with names replaced. The name of a user or a machine may be an ordinary word, so it
    /// is replaced only where it is a component of a path.
    std::string operator()(const std::string& text) const;
    Json operator()(const Json& object) const;

  private:
    struct Secret {
        std::string text;
        std::string inItsPlace;
        bool isInPaths; ///< replaced only as a component of a path
    };
    std::vector<Secret> secrets;
};

/// How long a step took, as text; empty if it took no time worth showing.
std::string Took(const Json& step);

/// The lines for people: of a step, and of the verdict.
std::string StepText(const Json& step, unsigned number);
std::string VerdictText(const Json& verdict);

/// The report as one HTML page without references to other files.
std::string ReportPage(const std::vector<Json>& steps, const Json& verdict,
                       const std::vector<std::string>& log);

/// A baseline file that is not the output of a check.
struct BaselineError : std::runtime_error {
    using runtime_error::runtime_error;
};

/// The objects that an earlier check printed with --json. Throws BaselineError.
std::vector<Json> ReadBaseline(std::string_view text);

/// What differs from the baseline, one sentence each.
std::vector<std::string> Changes(const std::vector<Json>& baseline, const std::vector<Json>& steps);

} // namespace host
