#include "json.h"

#include <cstdio>

#include "utf8.h"

namespace rig {

Json& Json::Add(std::string_view key, std::string_view text) {
    return AddRaw(key, Quoted(text));
}

Json& Json::AddRaw(std::string_view key, std::string_view value) {
    members += members.empty() ? "" : ",";
    members += Quoted(key) + ":";
    members += value;
    return *this;
}

std::string Json::Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : ValidUtf8(text)) {
        if (c == '"' || c == '\\') {
            quoted += {'\\', c};
        } else if (static_cast<unsigned char>(c) < ' ') {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
            quoted += escaped;
        } else {
            quoted += c;
        }
    }
    return quoted + '"';
}

} // namespace rig
