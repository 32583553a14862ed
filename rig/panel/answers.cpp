#include "answers.h"

#include <algorithm>
#include <array>
#include <exception>
#include <utility>

#include "action.h"
#include "commands.h"
#include "json.h"
#include "page.h"

namespace rig::panel {

namespace {

constexpr std::string_view kText = "text/plain; charset=utf-8";
constexpr std::string_view kJson = "application/json";

template <class Body>
void AddHeaders(http::response<Body>& response, std::string_view type, const std::string& nonce) {
    const std::string policy =
        nonce.empty()
            ? "default-src 'none'"
            : "default-src 'none'; script-src 'nonce-" + nonce + "'; style-src 'nonce-" + nonce +
                  "'; connect-src 'self'; img-src data: blob:; base-uri 'none'; "
                  "form-action 'none'; frame-ancestors 'none'";
    response.set("Content-Security-Policy", policy);
    response.set("X-Content-Type-Options", "nosniff");
    response.set("Cache-Control", "no-store");
    response.set("Referrer-Policy", "no-referrer"); // the address has the token
    response.set("Cross-Origin-Resource-Policy", "same-origin");
    response.set(http::field::content_type, boost::string_view(type.data(), type.size()));
}

/// The page, with the nonce in its <script> and <style> elements.
std::string PageWith(const std::string& nonce) {
    std::string page(kPage);
    for (const std::string_view element : {"<script", "<style"}) {
        const std::string attribute = " nonce=\"" + nonce + "\"";
        for (std::size_t at = 0; (at = page.find(element, at)) != page.npos;) {
            page.insert(at += element.size(), attribute);
        }
    }
    return page;
}

Response Page() {
    const std::string nonce = RandomToken();
    return Respond(http::status::ok, "text/html; charset=utf-8", PageWith(nonce), nonce);
}

bench::Command ReadCommand(const std::string& body) {
    const std::size_t end = std::min(body.find('\n'), body.size());
    const bool hasReturn = end != 0 && body[end - 1] == '\r';
    bench::Command command{SplitLine(body.substr(0, hasReturn ? end - 1 : end)), false};
    command.json = std::erase(command.words, "--json") != 0;
    if (const std::string text = body.substr(std::min(end + 1, body.size())); !text.empty()) {
        command.words.push_back(text); // of a scenario
    }
    return command;
}

http::status StatusOf(int exitCode) {
    constexpr int kNoCommand = 2;
    return exitCode == kNoCommand ? http::status::bad_request : http::status::ok;
}

Response Perform(const Source& source, const std::string& body) {
    const bench::Command command = ReadCommand(body);
    const auto respond = [](http::status status, int exitCode, const Json& reply) {
        std::string text = reply.Text();
        text.insert(1, "\"exit\":" + std::to_string(exitCode) + ",");
        return Respond(status, kJson, text + "\n");
    };
    if (source.isFile) {
        return respond(http::status::conflict, 1,
                       Json().Add("text", "This is a file: nothing can be done to it."));
    }
    try {
        const Reply reply = source.ask(command);
        return respond(StatusOf(reply.exitCode), reply.exitCode,
                       command.json ? Json().AddRaw("json", reply.text)
                                    : Json().Add("text", reply.text));
    } catch (const NotThere& reason) {
        return respond(http::status::service_unavailable, 1, Json().Add("text", reason.what()));
    }
}

/// A file to be kept: what a command prints.
struct File {
    std::string_view path;
    std::string_view command;
    std::string_view type;
    bool isDrawn = false; ///< from what the command prints
    bool isDownload = true;
};

constexpr std::array kFiles = {
    File{"keep", "keep", "application/toml"},
    File{"lines.vcd", "vcd", "application/octet-stream"},
    File{"lines.svg", "vcd", "image/svg+xml", true},
    File{"journal.txt", "journal", kText},
    File{"state", "state", kJson, false, false},
};

Response Fetch(const Source& source, const File& file) {
    try {
        const bool isState = file.type == kJson;
        Reply reply = source.ask({{std::string(file.command)}, isState});
        if (reply.exitCode != 0) {
            return Respond({http::status::conflict, reply.text});
        }
        std::string text = isState ? StateOf(source, reply.text) : std::move(reply.text);
        text += '\n';
        Response response = Respond(http::status::ok, file.type,
                                    file.isDrawn ? source.draw(text) : std::move(text));
        if (file.isDownload) {
            const std::string name = file.path == "keep" ? "session.toml" : std::string(file.path);
            response.set(http::field::content_disposition, "attachment; filename=\"" + name + "\"");
        }
        return response;
    } catch (const NotThere& reason) {
        return Respond({http::status::service_unavailable, reason.what()});
    }
}

/// Work that does not throw, whatever happens.
std::function<Response()> Safely(std::function<Response()> work) {
    return [work = std::move(work)] {
        try {
            return work();
        } catch (const std::exception& failure) { // such as no memory
            return Respond({http::status::internal_server_error, failure.what()});
        }
    };
}

} // namespace

Response Respond(http::status status, std::string_view type, std::string body,
                 const std::string& nonce) {
    constexpr unsigned kHttp11 = 11;
    Response response(status, kHttp11);
    AddHeaders(response, type, nonce);
    response.body() = std::move(body);
    response.prepare_payload();
    return response;
}

Response Respond(const Refusal& refusal) {
    return Respond(refusal.status, kText, std::string(refusal.reason) + "\n");
}

http::response<http::empty_body> BeginStream() {
    constexpr unsigned kHttp11 = 11;
    http::response<http::empty_body> response(http::status::ok, kHttp11);
    AddHeaders(response, "text/event-stream", {});
    response.keep_alive(false); // it ends with the connection
    return response;
}

std::string StateOf(const Source& source, const std::string& rigState) {
    std::string state =
        Json().Add("mode", source.isFile ? "file" : "live").Add("bench", source.name).Text();
    state.back() = ',';
    return state + rigState.substr(1);
}

Answer AnswerTo(const Request& request, const Target& target, const Source& source) {
    const bool isCommand = target.path == "command";
    const http::verb method =
        request.method() == http::verb::head ? http::verb::get : request.method();
    if (method != (isCommand ? http::verb::post : http::verb::get)) {
        Answer answer{.now = Respond({http::status::method_not_allowed,
                                      isCommand ? "A command is sent by POST." : "GET it."})};
        answer.now->set(http::field::allow, isCommand ? "POST" : "GET, HEAD");
        return answer;
    }
    if (target.path.empty()) {
        return {.now = Page()};
    }
    if (target.path == "events") {
        constexpr std::string_view kFrom = "from=";
        const auto last = request["Last-Event-ID"];
        return {.isStream = true,
                .from = !last.empty() ? std::string(last)
                        : target.query.starts_with(kFrom)
                            ? std::string(target.query.substr(kFrom.size()))
                            : ""};
    }
    if (isCommand) {
        return {.later =
                    Safely([&source, body = request.body()] { return Perform(source, body); })};
    }
    if (const auto file = std::ranges::find(kFiles, target.path, &File::path);
        file != kFiles.end()) {
        return {.later = Safely([&source, file] { return Fetch(source, *file); })};
    }
    return {.now = Respond({http::status::not_found, "There is no such thing."})};
}

} // namespace rig::panel
