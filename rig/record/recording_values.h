/// Values of calls as one word each, without loss: "-" for nothing; a number in decimal; a text in
/// double quotes; "#0a1f" for bytes that are no printable text; texts as "[ "SLV1A" "SLV1B" ]".
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "value.h"

namespace rig::record {

void AppendValue(std::string& text, const Value& value);
/// Each after a blank.
void AppendValues(std::string& text, const std::vector<Value>& values);
void AppendNumber(std::string& text, std::uint64_t number);

/// Reads values that are separated by blanks.
class ValueReader {
  public:
    explicit ValueReader(std::string_view text) : rest(text) {}

    bool IsEmpty() const { return rest.empty(); }

    // Both throw std::runtime_error with the reason.
    Value Next();
    std::uint32_t NextStatus();

  private:
    std::string_view Word();
    Texts List();

    std::string_view rest;
};

/// Reads a number in decimal that is at most `most`, or throws std::runtime_error.
std::uint64_t NumberFrom(std::string_view word, std::uint64_t most = ~std::uint64_t{0});

} // namespace rig::record
