/// The two queries that the rig's WMI understands, and how it compares.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace rig::wbem {

struct Query {
    enum class About { Ports, ResourcesOfPort };

    About about;
    std::string deviceId; ///< the port whose resources are asked for
};

/// As names and keys of WMI are compared.
bool EqualsIgnoringCase(std::string_view text, std::string_view ascii);

/// Empty if the text is not one of these two queries.
std::optional<Query> ParseQuery(std::string_view text);

} // namespace rig::wbem
