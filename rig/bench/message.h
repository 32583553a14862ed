/// The messages between hosts and a bench, as bytes: numbers take eight bytes, little-endian, and
/// texts are preceded by their length.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host_number.h"
#include "remote_rig.h"

namespace rig::bench {

/// Increase it whenever the messages or vendor_functions.inc change.
inline constexpr std::uint64_t kProtocol = 1;

/// Limits the memory that a length from a foreign program can ask for.
inline constexpr std::size_t kLongestMessage = std::size_t{1} << 24;

/// The bytes are no message, or not the expected one.
struct Malformed : std::runtime_error {
    using runtime_error::runtime_error;
};

class Writer {
  public:
    Writer& Add(std::uint64_t number);
    Writer& Add(std::string_view text);
    Writer& Add(const Value& value);
    Writer& Add(const std::vector<Value>& values);
    Writer& Add(const Texts& texts);

    std::string bytes;
};

/// Reads a message. Throws Malformed if it ends too early or holds something else.
class Reader {
  public:
    explicit Reader(std::string_view message) : rest(message) {}

    std::uint64_t Number();
    std::string Text();
    Value AnyValue();
    std::vector<Value> Values();
    Texts AllTexts();

    /// Throws Malformed if bytes are left.
    void End() const;

  private:
    /// Reads a count of elements. Checks that enough bytes follow for as many.
    std::size_t Count(std::size_t leastBytes);

    std::string_view rest;
};

// Questions. Each begins with its Topic.

enum class Topic : std::uint8_t {
    Introduction, ///< the first message of every connection
    Call,         ///< a vendor function
    Rig,          ///< a function of solvane/rig.h
    Command,      ///< as it is typed
};

/// Who opens the connection.
struct Introduction {
    std::uint64_t protocol = kProtocol;
    std::uint64_t key = 0; ///< identifies the process on all of its connections; 0: not a host
    std::uint64_t process = 0;
    std::string program;
};

struct Command {
    Texts words;
    bool json = false;
};

std::string Encoded(const Introduction& who);
std::string Encoded(const Call& call);
std::string Encoded(const RigQuestion& question);
std::string Encoded(const Command& command);

// Each reads what follows the Topic.
Introduction DecodedIntroduction(Reader& reader);
RigQuestion DecodedRigQuestion(Reader& reader);
Command DecodedCommand(Reader& reader);
/// Accepts only a known function with the right number of inputs.
Call DecodedCall(Reader& reader);

// Answers: 0 and the result, or 1 and a sentence why there is none.

std::string Refusal(std::string_view sentence);
std::string AnswerTo(const Introduction& who, HostNumber host);
std::string AnswerTo(const Call& call);
std::string Encoded(const RigAnswer& answer);
std::string Encoded(const Reply& answer);

/// The bench refused the question.
struct Refused : std::runtime_error {
    using runtime_error::runtime_error;
};

// Each throws Refused, or Malformed.
HostNumber DecodedHostNumber(std::string_view answer);
void DecodeAnswer(std::string_view answer, Call& call);
RigAnswer DecodedRigAnswer(std::string_view answer);
Reply DecodedReply(std::string_view answer);

} // namespace rig::bench
