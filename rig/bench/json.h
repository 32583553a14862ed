/// One JSON object, written member by member.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace rig {

class Json {
  public:
    Json& Add(std::string_view key, std::string_view text);
    Json& Add(std::string_view key, const char* text) { return Add(key, std::string_view(text)); }
    Json& Add(std::string_view key, std::same_as<bool> auto value) {
        return AddRaw(key, value ? "true" : "false");
    }
    Json& Add(std::string_view key,
              std::unsigned_integral auto number) requires(!std::same_as<decltype(number), bool>) {
        return AddRaw(key, std::to_string(number));
    }
    Json& Add(std::string_view key, const Json& object) { return AddRaw(key, object.Text()); }

    /// Adds a value that is already JSON, such as a number or an array.
    Json& AddRaw(std::string_view key, std::string_view value);

    std::string Text() const { return "{" + members + "}"; }

    static std::string Quoted(std::string_view text);

  private:
    std::string members;
};

} // namespace rig
