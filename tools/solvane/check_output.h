/// What a check tells, in all its forms. Every form is made of the same objects.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "check.h"

namespace host {

using Json = nlohmann::ordered_json;

/// A step, as a program reads it.
Json ToJson(const StepResult& step);

/// The last object, which has the verdict.
Json ToJson(const CheckResult& result);

/// Leaves out who and where: the user, the machine, and serial numbers but for their last letter;
/// those of a baseline, too.
class Anonymiser {
  public:
    Anonymiser(const Machine& machine, const std::vector<std::string>& log,
               const std::vector<Json>& baseline);

    /// Users and machines may be called as any word is: of them it knows parts of paths.
    std::string operator()(const std::string& text) const;
    Json operator()(const Json& object) const;

  private:
    struct Secret {
        std::string text;
        std::string inItsPlace;
        bool isInPaths; ///< it is one only where it is a part of a path
    };
    std::vector<Secret> secrets;
};

/// How long a step took; empty where it was nothing.
std::string Took(const Json& step);

/// For people: a step's lines, and those of the end.
std::string StepText(const Json& step, unsigned number);
std::string VerdictText(const Json& verdict);

/// One page that needs nothing but itself.
std::string ReportPage(const std::vector<Json>& steps, const Json& verdict,
                       const std::vector<std::string>& log);

/// A file that is no check's.
struct BaselineError : std::runtime_error {
    using runtime_error::runtime_error;
};

/// The objects that an earlier check printed with --json. Throws BaselineError.
std::vector<Json> ReadBaseline(std::string_view text);

/// What is otherwise than then, a sentence each.
std::vector<std::string> Changes(const std::vector<Json>& baseline, const std::vector<Json>& steps);

} // namespace host
