/// The answers to requests that the gate has let through.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "gate.h"
#include "source.h"

namespace rig::panel {

using Response = http::response<http::string_body>;

/// A response with the headers that every response has, for a page that loads nothing from
/// elsewhere and is kept nowhere. Without a page, its policy allows nothing at all.
Response Respond(http::status status, std::string_view type, std::string body,
                 const std::string& nonce = {});
/// "Too large.\n" and the like.
Response Respond(const Refusal& refusal);

/// The response to a request for the stream of events, up to the stream itself.
http::response<http::empty_body> BeginStream();

/// What answers a request.
struct Answer {
    /// The request is for the stream of events, from this place on.
    bool isStream = false;
    std::string from = {};

    std::optional<Response> now = {};
    /// Or else the work that gives the response, which may take long. It never throws.
    std::function<Response()> later = {};
};

/// Answers a request that the gate has let through, HEAD as GET; `source` must outlive the work.
Answer AnswerTo(const Request& request, const Target& target, const Source& source);

} // namespace rig::panel
