/// What hosts and a bench say to each other, as bytes: numbers of eight bytes, the low one first,
/// and texts with their length before them.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "elsewhere.h"
#include "host_number.h"

namespace rig::bench {

/// Changed with every change of what is said here, or of the rows of vendor functions.
inline constexpr std::uint64_t kProtocol = 1;

/// No message is longer: a host that announces more is none of ours.
inline constexpr std::size_t kLongestMessage = std::size_t{1} << 24;

/// Bytes that are no message, or not the one that is due.
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

/// Throws Malformed where the bytes end too early, or hold something else.
class Reader {
  public:
    explicit Reader(std::string_view message) : rest(message) {}

    std::uint64_t Number();
    std::string Text();
    Value AnyValue();
    std::vector<Value> Values();
    Texts AllTexts();

    /// Nothing may be left when everything has been read.
    void End() const;

  private:
    /// A count of things that follow, each of which takes at least so many bytes.
    std::size_t Count(std::size_t leastBytes);

    std::string_view rest;
};

// Questions: what is asked comes first.

enum class Topic : std::uint8_t {
    Introduction, ///< the first message of every connection
    Call,         ///< a vendor function
    Rig,          ///< a function of solvane/rig.h
    Command,      ///< as it is typed
};

/// Who comes.
struct Introduction {
    std::uint64_t protocol = kProtocol;
    std::uint64_t key = 0; ///< of the process, the same in all of its connections; 0: no host
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

// Each behind the Topic.
Introduction DecodedIntroduction(Reader& reader);
RigQuestion DecodedRigQuestion(Reader& reader);
Command DecodedCommand(Reader& reader);
/// Of a function that there is, with as many inputs as it has.
Call DecodedCall(Reader& reader);

// Answers: 0 and what was asked for, or 1 and a sentence why there is nothing.

std::string Refusal(std::string_view sentence);
std::string AnswerTo(const Introduction& who, HostNumber host);
std::string AnswerTo(const Call& call);
std::string Encoded(const RigAnswer& answer);
std::string Encoded(const Reply& answer);

/// The bench said no.
struct Refused : std::runtime_error {
    using runtime_error::runtime_error;
};

// Each throws Refused, or Malformed.
HostNumber DecodedHostNumber(std::string_view answer);
void DecodeAnswer(std::string_view answer, Call& call);
RigAnswer DecodedRigAnswer(std::string_view answer);
Reply DecodedReply(std::string_view answer);

} // namespace rig::bench
