/// The two WQL queries that the rig's WMI understands, and its comparison of names.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace rig::wbem {

struct Query {
    enum class About { Ports, ResourcesOfPort };

    About about;
    std::string deviceId; ///< the port whose resources the query selects
};

/// Names and keys in WMI are compared without regard to case.
bool EqualsIgnoringCase(std::string_view text, std::string_view ascii);

/// Returns nullopt if the text is not one of the two queries.
std::optional<Query> ParseQuery(std::string_view text);

} // namespace rig::wbem
