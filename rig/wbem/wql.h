/// The two queries that the rig's WMI understands.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace rig::wbem {

struct Query {
    enum class About { Ports, ResourcesOfPort };

    About about;
    std::wstring deviceId; ///< the port whose resources are asked for
};

/// Nothing when the text is any other query, or none.
std::optional<Query> ParseQuery(std::wstring_view text);

} // namespace rig::wbem
