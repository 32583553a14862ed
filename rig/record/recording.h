/// What a host and its hardware said to each other: every vendor call with its answer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "call.h"

namespace rig::record {

/// A vendor's DLL that answered.
struct LibraryFile {
    std::string name;    ///< "FTD2XX.dll"
    std::string version; ///< "3.2.14.0"
    std::string sha256;  ///< of the file, in hexadecimal
    std::string path;    ///< UTF-8
    bool operator==(const LibraryFile&) const = default;
};

/// A parallel port as WMI reports it. A property is a text, a number, or nothing if it has no
/// value.
struct ReportedPort {
    Value deviceId;
    std::vector<Value> startingAddresses;
    bool operator==(const ReportedPort&) const = default;
};

struct Head {
    std::string program; ///< the host's, without its folder
    std::string system;
    std::vector<LibraryFile> libraries;
    std::vector<ReportedPort> ports;
    bool isAnonymous = false; ///< serial numbers and user names are left out
    bool operator==(const Head&) const = default;
};

/// Microseconds since the recording began.
using Microseconds = std::uint64_t;

struct RecordedCall {
    std::uint64_t number; ///< pairs the call with its answer; counted from 1
    std::uint64_t thread; ///< the system's number of the host's thread
    Microseconds begun;
    Call call;
    std::string handle; ///< the name of its handle, "?" if unknown; empty for a call without one

    /// Unset if the call hung, or if the host ended in it. Its outputs and status say nothing then.
    std::optional<Microseconds> returned = std::nullopt;
    std::uint32_t lastError = 0; ///< GetLastError() after the call
};

/// Something else than a call that happened during the recording.
struct Remark {
    Microseconds time;
    std::string text;
    bool operator==(const Remark&) const = default;
};

struct Recording {
    Head head;
    std::vector<RecordedCall> calls; ///< in the order in which they began
    std::vector<Remark> remarks;
    bool isEnded = false; ///< else the host was killed, or the rest is missing

    /// Lines, counted from 1, that were begun and not finished; they are left out.
    std::vector<std::size_t> cutLines = {};
};

/// "FT_Write(SLV1B, [82])"
std::string QuestionOf(const Call& call, std::string_view handle);
inline std::string QuestionOf(const RecordedCall& recorded) {
    return QuestionOf(recorded.call, recorded.handle);
}

/// "FT_Write -> 0, 1"
std::string AnswerOf(const Call& call);

} // namespace rig::record
