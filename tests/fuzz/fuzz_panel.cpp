/// Requests of any bytes, in pieces of any size, to the panel's server: each gets an answer with
/// the headers that protect the page, and who does not know the token gets nothing done.

#include <solvane/rig.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>

#include "answers.h"
#include "commands.h"
#include "feed.h"
#include "fuzz_check.h"
#include "fuzz_input.h"
#include "gate.h"
#include "host_platform.h"

namespace {

using namespace rig::panel;
using fuzz::Check;

constexpr unsigned short kPort = 8080;

int commands = 0;

Source& TheSource() {
    static Source source{.name = "default",
                         .ask =
                             [](const rig::bench::Command& command) {
                                 ++commands;
                                 return rig::Perform(command.words, command.json,
                                                     [] { return true; }); // no long waits
                             },
                         .draw = [](const std::string& vcd) { return vcd; }};
    return source;
}

/// '@' stands for the path up to the token, which no fuzzer guesses.
std::string WithToken(std::string text, const Gate& gate) {
    const std::string address = gate.Address();
    const std::string path = address.substr(address.find('/', 7));
    for (std::size_t at = 0; (at = text.find('@', at)) != text.npos; at += path.size()) {
        text.replace(at, 1, path);
    }
    return text;
}

void CheckHeaders(const http::fields& fields) {
    const auto policy = fields["Content-Security-Policy"];
    Check(policy.starts_with("default-src 'none'"), "every answer has the policy");
    Check(fields["X-Content-Type-Options"] == "nosniff", "every answer is what it says");
    Check(fields["Cache-Control"] == "no-store", "no answer is kept");
}

void Serve(const Request& request, const Gate& gate, const Feed& feed) {
    Target target;
    if (const auto refusal = gate.Check(request, target)) {
        CheckHeaders(Respond(*refusal));
        return;
    }
    const std::string asked(request.target());
    Check(asked.starts_with(WithToken("@", gate)), "who knows the token is answered");
    Answer answer = AnswerTo(request, target, TheSource());
    if (answer.isStream) {
        CheckHeaders(BeginStream());
        Feed::Position position = feed.Begin(answer.from);
        while (feed.Next(position)) {
        }
    } else {
        Check(commands == 0, "nothing is done before its turn");
        const Response response = answer.now ? *answer.now : answer.later();
        CheckHeaders(response);
        std::ostringstream sent;
        sent << response;
        Check(sent.str().starts_with("HTTP/1.1 "), "an answer is one");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const Gate gate(kPort);
    static const Feed& feed = *new Feed(TheSource(), [] {}); // its thread sleeps: nobody listens
    host::Record(false);
    rig_load(nullptr);
    commands = 0;
    fuzz::Input input(bytes, size);
    const std::size_t piece = 1 + input.Byte();
    const std::string text = WithToken(input.Bytes(size), gate);

    RequestParser parser;
    SetLimits(parser);
    std::string waiting;
    boost::beast::error_code error;
    for (std::size_t at = 0; at < text.size() && !error && !parser.is_done();) {
        const std::size_t next = std::min(at + piece, text.size());
        waiting.append(text, at, next - at);
        at = next;
        waiting.erase(0, parser.put(boost::asio::buffer(waiting), error));
        if (!error && parser.is_header_done() && !parser.chunked() && !parser.is_done()) {
            parser.eager(true); // the body, too
            waiting.erase(0, parser.put(boost::asio::buffer(waiting), error));
        }
        if (error == http::error::need_more) {
            error = {};
        }
        if (parser.is_header_done() && parser.chunked()) {
            CheckHeaders(Respond(kChunksRefused));
            return 0;
        }
    }
    if (parser.is_done() && !error) {
        Serve(parser.release(), gate, feed);
    } else {
        Check(commands == 0, "a part of a request does nothing");
    }
    return 0;
}
