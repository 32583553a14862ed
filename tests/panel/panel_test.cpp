/// The panel's server, over real connections: who is answered, and what is heard.
#include <atomic>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <set>
#include <thread>

#include <gtest/gtest.h>
#include <solvane/rig.h>

#include "commands.h"
#include "feed.h"
#include "gate.h"
#include "host_platform.h"
#include "panel_client.h"
#include "server.h"

namespace test {
namespace {

using namespace rig::panel;
using nlohmann::json;
using rig::Perform;
using rig::Reply;
using rig::bench::Command;
using Lines = std::vector<std::string>;

/// Without a heartbeat, so that a test ends that waits for nothing.
constexpr Limits kLimits{.heartbeat = std::chrono::hours(1)};

class PanelTest : public ::testing::Test {
  protected:
    PanelTest() {
        host::Record(false);
        EXPECT_EQ(rig_load(nullptr), 0);
    }

    /// The server of the rig of this process.
    void Serve(const Limits& limits = kLimits) {
        Serve({.name = "default", .ask = Execute}, limits);
    }
    void Serve(Source source, const Limits& limits = kLimits) {
        source.draw = [](const std::string& vcd) { return "<svg>" + vcd + "</svg>"; };
        server.emplace(std::move(source), limits);
        address = server->Address();
    }

    static Reply Execute(const Command& command) { return Perform(command.words, command.json); }

    std::string Get(const std::string& path, const std::string& headers = {}) {
        PanelClient client(address);
        client.Ask("GET", path, headers);
        return client.Response();
    }
    /// Asks again as long as the connection is closed without an answer.
    std::string GetAtLast(const std::string& path) {
        std::string response;
        for (int i = 0; response.empty() && i < 1000; ++i) {
            response = Get(path);
        }
        return response;
    }
    std::string Post(const std::string& body) {
        PanelClient client(address);
        client.Ask("POST", "command", "", body);
        return client.Response();
    }

    static std::string StatusOf(const std::string& response) {
        return response.substr(0, 9) == "HTTP/1.1 " ? response.substr(9, 3) : response;
    }
    static std::string BodyOf(const std::string& response) {
        return response.substr(response.find("\r\n\r\n") + 4);
    }

    std::string address;
    std::optional<Server> server;
};

/// The numbers of the entries in a journal event, with their kinds: cheaper than reading it as
/// JSON.
std::vector<std::pair<std::uint64_t, std::string>> NumbersIn(const std::string& journal) {
    std::vector<std::pair<std::uint64_t, std::string>> numbers;
    const std::string entry = "{\"n\":";
    const std::string kind = "\"kind\":\"";
    for (std::size_t at = 0; (at = journal.find(entry, at)) != journal.npos;) {
        at += entry.size();
        const std::size_t word = journal.find(kind, at) + kind.size();
        numbers.emplace_back(std::stoull(journal.substr(at, 20)), journal.substr(word, 4));
    }
    return numbers;
}

void MakeEdges(int count) {
    for (int i = 0; i < count; ++i) {
        Perform({"force", "ready", i % 2 == 0 ? "0" : "1"}, false);
    }
}

TEST_F(PanelTest, TheAddressHasARandomToken) {
    std::set<std::string> tokens;
    std::string digits;
    for (int i = 0; i < 100; ++i) {
        const std::string token = RandomToken();
        EXPECT_EQ(token.size(), 32U);
        digits += token;
        tokens.insert(token);
    }
    EXPECT_EQ(tokens.size(), 100U);
    for (const char digit : std::string("0123456789abcdef")) {
        EXPECT_GT(std::ranges::count(digits, digit), 100) << "of 3200 digits: " << digit;
    }
    Serve();
    EXPECT_EQ(address.substr(0, 17), "http://127.0.0.1:");
    EXPECT_EQ(address.size() - address.rfind('/', address.size() - 2), 34U);
}

TEST_F(PanelTest, ListensOnTheLoopbackOnly) {
    Serve();
    char wanted[6];
    const int port = std::stoi(address.substr(17));
    std::snprintf(wanted, sizeof wanted, ":%04X", static_cast<unsigned>(port));
    std::ifstream table("/proc/self/net/tcp");
    int listeners = 0;
    for (std::string line; std::getline(table, line);) {
        const bool listens = line.find(" 0A ") != line.npos; // TCP_LISTEN
        if (listens && line.find(wanted) != line.npos) {
            ++listeners;
            EXPECT_NE(line.find(" 0100007F" + std::string(wanted)), line.npos) << line;
        }
    }
    EXPECT_EQ(listeners, 1);
}

TEST_F(PanelTest, ThePageMayLoadNothingFromElsewhere) {
    Serve();
    const std::string page = Get("");
    EXPECT_EQ(StatusOf(page), "200");
    const std::string nonce = page.substr(page.find("'nonce-") + 7, 32);
    EXPECT_NE(page.find("\r\nContent-Security-Policy: default-src 'none'; script-src 'nonce-" +
                        nonce + "'; style-src 'nonce-" + nonce +
                        "'; connect-src 'self'; img-src data: blob:; base-uri 'none'; "
                        "form-action 'none'; frame-ancestors 'none'\r\n"),
              page.npos)
        << page;
    EXPECT_NE(page.find("<script nonce=\"" + nonce + "\""), page.npos);
    EXPECT_NE(page.find("<style nonce=\"" + nonce + "\""), page.npos);
    EXPECT_EQ(Get("").find(nonce), page.npos) << "each time another one";
}

TEST_F(PanelTest, EveryAnswerIsKeptNowhereAndIsWhatItSays) {
    Serve();
    PanelClient stream(address);
    stream.Ask("GET", "events");
    PanelClient malformed(address);
    malformed.Send("nonsense\r\n\r\n");
    for (const std::string& answer :
         {Get(""), Get("state"), Get("nothing"), Get("", "Host: elsewhere\r\n"), Post("levels"),
          Post("nonsense"), stream.Response(), malformed.Response()}) {
        EXPECT_NE(answer.find("\r\nContent-Security-Policy: default-src 'none'"), answer.npos);
        EXPECT_NE(answer.find("\r\nX-Content-Type-Options: nosniff\r\n"), answer.npos) << answer;
        EXPECT_NE(answer.find("\r\nCache-Control: no-store\r\n"), answer.npos) << answer;
        EXPECT_NE(answer.find("\r\nReferrer-Policy: no-referrer\r\n"), answer.npos) << answer;
        EXPECT_NE(answer.find("\r\nCross-Origin-Resource-Policy: same-origin\r\n"), answer.npos);
    }
}

TEST_F(PanelTest, OthersAreNotAnswered) {
    Serve();
    const std::string port = address.substr(17, address.find('/', 17) - 17);
    const auto ask = [&](const std::string& headers) { return StatusOf(Get("state", headers)); };
    EXPECT_EQ(ask("Host: localhost:" + port + "\r\n"), "200");
    EXPECT_EQ(ask("Origin: http://127.0.0.1:" + port + "\r\n"), "200");
    EXPECT_EQ(ask("Origin: http://localhost:" + port + "\r\n"), "200");
    for (const std::string& host : Lines{"127.0.0.1", "127.0.0.1:1" + port, "evil.example:" + port,
                                         "127.0.0.1:" + port + ".evil.example", "localhost", ""}) {
        EXPECT_EQ(ask("Host: " + host + "\r\n"), "403") << host;
    }
    EXPECT_EQ(ask("Host: 127.0.0.1:" + port + "\r\nHost: evil.example\r\n").front(), '4');
    for (const std::string& origin :
         Lines{"null", "https://127.0.0.1:" + port, "http://evil.example",
               "http://127.0.0.1:" + port + ".evil.example", "http://127.0.0.1", ""}) {
        EXPECT_EQ(ask("Origin: " + origin + "\r\n"), "403") << origin;
    }
    EXPECT_EQ(ask("Origin: http://localhost:" + port + "\r\nOrigin: http://evil.example\r\n"),
              "403");

    const std::string token = address.substr(address.find('/', 17) + 1, 32);
    const std::string host = " HTTP/1.1\r\nHost: 127.0.0.1:" + port + "\r\n\r\n";
    std::string other = token;
    other.back() = other.back() == '0' ? '1' : '0';
    for (const std::string& target :
         Lines{"/", "/state", "/" + token, "/" + other + "/state", "/" + token.substr(1) + "/state",
               "/" + token + "0/state", "//state", "*", "/" + token + "%2Fstate",
               "http://127.0.0.1/" + token + "/state"}) {
        PanelClient client(address);
        client.Send("GET " + target + host);
        EXPECT_EQ(StatusOf(client.Response()), "404") << target;
    }
}

TEST_F(PanelTest, NothingIsDoneForOthers) {
    Serve();
    PanelClient client(address);
    client.Ask("POST", "command", "Origin: http://evil.example\r\n", "unplug 0");
    EXPECT_EQ(StatusOf(client.Response()), "403");
    EXPECT_EQ(json::parse(BodyOf(Get("state")))["chips"][0]["plugged"], true);
    EXPECT_EQ(client.ReadToEnd(), "") << "the connection is closed";
}

TEST_F(PanelTest, MethodsArePartOfTheAddress) {
    Serve();
    EXPECT_EQ(StatusOf(Get("command")), "405");
    EXPECT_EQ(StatusOf(Get("elsewhere")), "404");
    EXPECT_EQ(StatusOf(Get("../state")), "404");
    PanelClient client(address);
    client.Ask("DELETE", "state");
    EXPECT_NE(client.Response().find("\r\nAllow: GET, HEAD\r\n"), std::string::npos);
}

TEST_F(PanelTest, HeadIsAnsweredAsGetWithoutTheBody) {
    Serve();
    const auto length = [](const std::string& answer) {
        const std::size_t at = answer.find("\r\nContent-Length: ");
        return at == answer.npos ? 0 : std::stoul(answer.substr(at + 18));
    };
    PanelClient client(address);
    client.Ask("HEAD", "");
    client.Ask("HEAD", "state", "Connection: close\r\n"); // a body before it would be its answer
    const std::string answers = client.ReadToEnd();
    const std::size_t second = answers.find("HTTP/1.1 200 OK\r\n", 1);
    ASSERT_NE(second, answers.npos) << answers;
    EXPECT_EQ(answers.substr(second - 4, 4), "\r\n\r\n");
    EXPECT_EQ(length(answers), BodyOf(Get("")).size());
    EXPECT_EQ(answers.find("\r\n\r\n", second), answers.size() - 4) << answers;
    EXPECT_GT(length(answers.substr(second)), 100U);

    PanelClient listener(address);
    listener.Ask("HEAD", "events");
    const std::string stream = listener.ReadToEnd();
    EXPECT_NE(stream.find("\r\nContent-Type: text/event-stream\r\n"), stream.npos);
    EXPECT_EQ(stream.find("\r\n\r\n"), stream.size() - 4) << stream;
    PanelClient command(address);
    command.Ask("HEAD", "command");
    EXPECT_EQ(StatusOf(command.Response()), "405");
}

TEST_F(PanelTest, AnOldClientIsAnsweredAndClosed) {
    Serve();
    const std::size_t path = address.find('/', 7);
    PanelClient client(address);
    client.Send("GET " + address.substr(path) +
                "state HTTP/1.0\r\nHost: " + address.substr(7, path - 7) + "\r\n\r\n");
    const std::string answer = client.ReadToEnd();
    EXPECT_EQ(StatusOf(answer), "200");
    EXPECT_NE(answer.find("\r\nConnection: close\r\n"), answer.npos) << answer;
}

TEST_F(PanelTest, WhatIsTooLargeOrMalformedIsRefused) {
    Serve();
    const auto refusal = [&](const std::string& bytes) {
        PanelClient client(address);
        client.Send(bytes);
        return StatusOf(client.Response());
    };
    const std::string host = "Host: 127.0.0.1\r\n";
    EXPECT_EQ(refusal("GET / HTTP/1.1\r\n" + host + "X: " + std::string(9000, 'x') + "\r\n\r\n"),
              "431");
    EXPECT_EQ(refusal("POST / HTTP/1.1\r\n" + host + "Content-Length: 1048577\r\n\r\n"), "413");
    EXPECT_EQ(refusal("POST / HTTP/1.1\r\n" + host + "Content-Length: -1\r\n\r\n"), "400");
    EXPECT_EQ(refusal("POST / HTTP/1.1\r\n" + host +
                      "Content-Length: 1\r\nContent-Length: 2\r\n"
                      "\r\n"),
              "400");
    EXPECT_EQ(refusal("GET / HTTP/9.9\r\n\r\n"), "400");
    EXPECT_EQ(refusal("GET /\x01 HTTP/1.1\r\n\r\n"), "400");
    EXPECT_EQ(refusal("\r\n\r\n\r\nGET"), "400");
    EXPECT_EQ(refusal("POST / HTTP/1.1\r\n" + host + "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n"),
              "411");
}

TEST_F(PanelTest, WhoIsTooSlowIsClosed) {
    Serve(Limits{.patience = std::chrono::milliseconds(100), .heartbeat = std::chrono::hours(1)});
    PanelClient silent(address);
    PanelClient half(address);
    half.Send("GET / HTTP/1.1\r\nHost:");
    PanelClient withoutBody(address);
    withoutBody.Ask("POST", "command", "Content-Length: 10\r\n");
    EXPECT_EQ(silent.ReadToEnd(), "");
    EXPECT_EQ(half.ReadToEnd(), "");
    EXPECT_EQ(withoutBody.ReadToEnd(), "");
    EXPECT_EQ(StatusOf(GetAtLast("state")), "200") << "others are served";
}

TEST_F(PanelTest, AConnectionServesOneRequestAfterTheOther) {
    Serve();
    PanelClient client(address);
    client.Ask("GET", "");
    client.Ask("GET", "state"); // before the first is answered
    EXPECT_EQ(StatusOf(client.Response()), "200");
    EXPECT_NE(client.Response().find("\"mode\":\"live\",\"bench\":\"default\",\"ns\":"),
              std::string::npos);
    client.Ask("GET", "state", "Connection: close\r\n");
    EXPECT_EQ(StatusOf(client.Response()), "200");
    EXPECT_EQ(client.ReadToEnd(), "");
}

TEST_F(PanelTest, MoreConnectionsThanItTakesAreClosed) {
    Serve(Limits{.heartbeat = std::chrono::hours(1), .connections = 2});
    {
        PanelClient first(address);
        PanelClient second(address);
        first.Ask("GET", "state");
        second.Ask("GET", "state");
        EXPECT_EQ(StatusOf(first.Response()), "200");
        EXPECT_EQ(StatusOf(second.Response()), "200");
        EXPECT_EQ(Get("state"), "");
    }
    // The two are gone as soon as the server has noticed.
    EXPECT_EQ(StatusOf(GetAtLast("state")), "200");
}

TEST_F(PanelTest, CommandsAreThoseOfTheBench) {
    Serve();
    EXPECT_EQ(BodyOf(Post("unplug 0")), "{\"exit\":0,\"text\":\"unplug 0\"}\n");
    EXPECT_EQ(json::parse(BodyOf(Get("state")))["chips"][0]["plugged"], false);
    EXPECT_EQ(json::parse(BodyOf(Post("levels --json\n")))["json"]["ready"], 1);
    EXPECT_EQ(BodyOf(Post("wire dark 'stuck at 1'\r\n")),
              "{\"exit\":0,\"text\":\"wire dark stuck at 1\"}\n");
    const std::string wrong = Post("unplugg 0");
    EXPECT_EQ(StatusOf(wrong), "400");
    EXPECT_EQ(json::parse(BodyOf(wrong))["exit"], 2);
    EXPECT_NE(wrong.find("'unplugg' is no command; there are unplug, "), wrong.npos);
    const std::string vain = Post("wait-edge \"dark 0\" --within 1");
    EXPECT_EQ(StatusOf(vain), "200");
    EXPECT_EQ(BodyOf(vain), "{\"exit\":1,\"text\":\"no edge dark 0 within 1 ms\"}\n");
    EXPECT_EQ(BodyOf(Post("scenario new.toml\n[eapi]\ngpios = 8\n")),
              "{\"exit\":0,\"text\":\"scenario new.toml\"}\n");
    EXPECT_EQ(json::parse(BodyOf(Get("state")))["chips"][0]["kind"], "Embedded API");
}

TEST_F(PanelTest, FilesAreThoseOfTheCommandLine) {
    Serve();
    Perform({"note", "here"}, false);
    Perform({"force", "ready", "0"}, false);
    for (const auto& [path, command] : {std::pair("keep", "keep"), std::pair("lines.vcd", "vcd"),
                                        std::pair("journal.txt", "journal")}) {
        const std::string response = Get(path);
        EXPECT_EQ(StatusOf(response), "200");
        EXPECT_NE(response.find("\r\nContent-Disposition: attachment; filename="), response.npos);
        EXPECT_EQ(BodyOf(response), Perform({command}, false).text + "\n");
        EXPECT_GT(BodyOf(response).size(), 20U);
    }
    EXPECT_EQ(BodyOf(Get("lines.svg")), "<svg>" + Perform({"vcd"}, false).text + "\n</svg>");
}

TEST_F(PanelTest, AFileTakesNoCommands) {
    Serve({.name = "lines.vcd", .isFile = true, .ask = Execute});
    const std::string response = Post("unplug 0");
    EXPECT_EQ(StatusOf(response), "409");
    const json state = json::parse(BodyOf(Get("state")));
    EXPECT_EQ(state["mode"], "file");
    EXPECT_EQ(state["bench"], "lines.vcd");
    EXPECT_EQ(state["chips"][0]["plugged"], true);
}

/// Commands that wait until they are let go.
struct Waiting {
    std::mutex mutex;
    std::condition_variable changed;
    int count = 0;
    bool isOver = false;

    Reply Wait() {
        std::unique_lock lock(mutex);
        ++count;
        changed.notify_all();
        changed.wait(lock, [this] { return isOver; });
        return {0, "waited"};
    }
};

TEST_F(PanelTest, CommandsThatWaitDoNotStopOthers) {
    Waiting waiting;
    Serve({.name = "default",
           .ask =
               [&](const Command& command) {
                   return command.words[0] == "wait-edge" ? waiting.Wait() : Execute(command);
               }},
          Limits{.heartbeat = std::chrono::hours(1), .commands = 3});
    PanelClient first(address);
    PanelClient second(address);
    first.Ask("POST", "command", "", "wait-edge");
    second.Ask("POST", "command", "", "wait-edge");
    {
        std::unique_lock lock(waiting.mutex);
        ASSERT_TRUE(waiting.changed.wait_for(lock, kPatience, [&] { return waiting.count == 2; }));
    }
    EXPECT_EQ(StatusOf(Post("levels")), "200");
    PanelClient third(address);
    third.Ask("POST", "command", "", "wait-edge");
    {
        std::unique_lock lock(waiting.mutex);
        ASSERT_TRUE(waiting.changed.wait_for(lock, kPatience, [&] { return waiting.count == 3; }));
    }
    const std::string refused = Post("levels");
    EXPECT_EQ(StatusOf(refused), "503");
    EXPECT_EQ(BodyOf(refused), "Too many commands wait already.\n");
    {
        const std::lock_guard lock(waiting.mutex);
        waiting.isOver = true;
    }
    waiting.changed.notify_all();
    EXPECT_NE(first.Response().find("waited"), std::string::npos);
    EXPECT_NE(second.Response().find("waited"), std::string::npos);
    EXPECT_NE(third.Response().find("waited"), std::string::npos);
}

TEST_F(PanelTest, ACommandMayOutliveTheServer) {
    const auto waiting = std::make_shared<Waiting>();
    Serve({.name = "default", .ask = [waiting](const Command&) { return waiting->Wait(); }});
    PanelClient client(address);
    client.Ask("POST", "command", "", "wait-edge");
    {
        std::unique_lock lock(waiting->mutex);
        ASSERT_TRUE(
            waiting->changed.wait_for(lock, kPatience, [&] { return waiting->count == 1; }));
    }
    server.reset();
    EXPECT_EQ(client.ReadToEnd(), "");
    const std::weak_ptr<Waiting> left = waiting;
    {
        const std::lock_guard lock(waiting->mutex);
        waiting->isOver = true;
    }
    waiting->changed.notify_all();
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (left.use_count() > 1 && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(left.use_count(), 1) << "what it used is freed";
}

TEST_F(PanelTest, AListenerHearsEverythingFromTheBeginning) {
    rig_note("before");
    Serve();
    PanelClient client(address);
    client.Ask("GET", "events");
    EXPECT_NE(client.Response().find("\r\nContent-Type: text/event-stream\r\n"), std::string::npos);
    const PanelClient::Event began = client.NextEvent();
    EXPECT_EQ(began.kind, "began");
    const std::uint64_t first = began.Data()["first"];
    const PanelClient::Event state = client.NextEvent("state");
    EXPECT_EQ(state.Data()["lines"]["ready"], 1);
    EXPECT_EQ(state.Data()["bench"], "default");
    EXPECT_EQ(client.Entries(1)[0], (json{{"n", first},
                                          {"ns", rig_time()},
                                          {"time_ms", 0},
                                          {"kind", "note"},
                                          {"text", "before"}}));
    Perform({"unplug", "0"}, false);
    EXPECT_EQ(client.NextEvent("state").Data()["chips"][0]["plugged"], false);
    EXPECT_EQ(client.Entries(1)[0]["text"], "unplug 0") << "after the state that it led to";
}

TEST_F(PanelTest, WhatTheJournalDoesNotTellIsHeardToo) {
    Serve();
    PanelClient client(address);
    client.Ask("GET", "events");
    client.NextEvent("state");
    const rig_fault fault{"FT_Open", 1, 1, RIG_FAULT_STATUS, 4, 0};
    ASSERT_EQ(rig_add_fault(&fault), 0);
    EXPECT_EQ(client.NextEvent("state").Data()["faults"][0]["function"], "FT_Open");
}

TEST_F(PanelTest, TimeAloneIsNoChangeOfTheState) {
    Serve(Limits{.heartbeat = std::chrono::milliseconds(20)});
    PanelClient client(address);
    client.Ask("GET", "events");
    client.NextEvent("state");
    host::Advance(5'000'000);
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // some looks at the state
    rig_note("end");
    EXPECT_EQ(client.NextEvent().kind, "journal") << "nothing but comments before it";
}

TEST_F(PanelTest, AStreamContinuesWhereAnotherEnded) {
    Serve();
    std::string id;
    std::uint64_t next = 0;
    {
        PanelClient client(address);
        client.Ask("GET", "events");
        client.NextEvent("began");
        MakeEdges(10);
        std::size_t heard = 0;
        while (heard < 20) { // each with the command before it
            const PanelClient::Event event = client.NextEvent("journal");
            heard += event.Data().size();
            id = event.id;
            next = event.Data().back()["n"].get<std::uint64_t>() + 1;
        }
    }
    rig_note("meanwhile");
    for (const std::string& headers : {"Last-Event-ID: " + id + "\r\n", std::string()}) {
        PanelClient client(address);
        client.Ask("GET", headers.empty() ? "events?from=" + id : "events", headers);
        client.Response();
        EXPECT_EQ(client.NextEvent().kind, "state") << "not from the beginning";
        const json entry = client.Entries(1)[0];
        EXPECT_EQ(entry["n"], next);
        EXPECT_EQ(entry["text"], "meanwhile");
    }
    PanelClient middle(address);
    middle.Ask("GET", "events?from=" + std::to_string(next - 3));
    EXPECT_EQ(middle.Entries(1)[0]["n"], next - 3) << "in the midst of what came at once";
    for (const std::string& from :
         {std::string("7-") + std::to_string(next), std::string("x"), std::to_string(next + 1000),
          std::string("-1"), std::string("99999999999999999999")}) {
        PanelClient other(address);
        other.Ask("GET", "events?from=" + from);
        other.Response();
        EXPECT_EQ(other.NextEvent().kind, "began") << from;
    }
}

TEST_F(PanelTest, NoEdgeIsLostForFiftyListeners) {
    constexpr int kEdges = 10'000;
    constexpr std::size_t kListeners = 50;
    Serve();
    PanelClient deaf(address); // never reads: its buffers fill, and nobody else waits for it
    deaf.Ask("GET", "events");
    std::vector<std::unique_ptr<PanelClient>> clients;
    for (std::size_t i = 0; i < kListeners; ++i) {
        clients.push_back(std::make_unique<PanelClient>(address));
        clients.back()->Ask("GET", "events");
        clients.back()->NextEvent("state");
    }
    const std::uint64_t start = Perform({"journal"}, false).next;
    std::thread edges([] { MakeEdges(kEdges); });
    for (const auto& client : clients) {
        std::uint64_t next = 0;
        int heard = 0;
        while (next < start + 2 * kEdges) { // each with the command before it
            const PanelClient::Event event = client->NextEvent("journal");
            ASSERT_EQ(event.kind, "journal");
            for (const auto& [number, kind] : NumbersIn(event.text)) {
                ASSERT_TRUE(next == 0 || number == next) << next;
                next = number + 1;
                heard += kind == "edge" && number >= start ? 1 : 0;
            }
        }
        EXPECT_EQ(heard, kEdges);
    }
    edges.join();
}

TEST_F(PanelTest, WhoIsTooSlowToHearEverythingBeginsAnew) {
    const Source source{.name = "default", .ask = Execute};
    Feed feed(source, [] {});
    feed.SetListeners(2);
    /// The next event for a listener, and the number of the entry after it.
    const auto hear = [&](Feed::Position& listener) {
        EventText event;
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while ((event = feed.Next(listener)) == nullptr && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1)); // the feed's turn
        }
        return event != nullptr ? *event : "event: none";
    };
    Feed::Position slow;
    Feed::Position quick;
    EXPECT_TRUE(hear(slow).starts_with("event: began"));
    EXPECT_TRUE(hear(slow).starts_with("event: state"));
    const std::string text(1000, 'x');
    for (int i = 0; i < 30'000; ++i) { // 30 MB, of which the feed keeps 16 MiB
        rig_note(text.c_str());
    }
    const std::uint64_t end = Perform({"journal", "--since", "999999999"}, false).next;
    const std::string last = "{\"n\":" + std::to_string(end - 1) + ",";
    std::string heard;
    while (heard.find(last) == heard.npos) { // until the feed has everything
        heard = hear(quick);
        ASSERT_FALSE(heard.starts_with("event: none"));
    }
    const std::string began = hear(slow);
    const std::string first = "event: began\ndata: {\"first\":";
    ASSERT_TRUE(began.starts_with(first)) << began.substr(0, 50);
    const std::uint64_t oldest = std::stoull(began.substr(first.size()));
    EXPECT_GT(oldest, end - 20'000);
    for (std::uint64_t next = oldest; next < end;) {
        const std::string event = hear(slow);
        ASSERT_FALSE(event.starts_with("event: none"));
        for (const auto& [number, kind] : NumbersIn(event)) {
            ASSERT_EQ(number, next++) << "a gap without a word";
        }
    }
}

TEST_F(PanelTest, ANewScenarioBeginsAnew) {
    Serve();
    PanelClient client(address);
    host::Advance(1'000'000);
    client.Ask("GET", "events");
    rig_note("of the old one");
    client.NextEvent("journal");
    ASSERT_EQ(rig_load("[eapi]\n"), 0);
    rig_note("of the new one");
    const PanelClient::Event began = client.NextEvent("began");
    EXPECT_EQ(client.NextEvent().Data()["chips"][0]["kind"], "Embedded API");
    const json entry = client.Entries(1)[0];
    EXPECT_EQ(entry["n"], began.Data()["first"]);
    EXPECT_EQ(entry["text"], "of the new one");
}

TEST_F(PanelTest, ABenchThatEndsIsHeardOfAndTakenUpAgain) {
    std::atomic<bool> isThere = false;
    Serve({.name = "bench", .ask = [&](const Command& command) {
               if (!isThere) {
                   throw NotThere("The bench \"bench\" has ended.");
               }
               return Execute(command);
           }});
    PanelClient client(address);
    client.Ask("GET", "events");
    client.Response();
    const PanelClient::Event ended = client.NextEvent();
    EXPECT_EQ(ended.kind, "ended") << "it was never there";
    EXPECT_EQ(ended.Data()["text"], "The bench \"bench\" has ended.");
    EXPECT_EQ(StatusOf(Post("levels")), "503");
    EXPECT_EQ(BodyOf(Post("levels")),
              "{\"exit\":1,\"text\":\"The bench \\\"bench\\\" has ended.\"}\n");
    EXPECT_EQ(StatusOf(Get("state")), "503");
    isThere = true;
    EXPECT_EQ(client.NextEvent().kind, "began");
    EXPECT_EQ(client.NextEvent().kind, "state");
    isThere = false;
    EXPECT_EQ(client.NextEvent().kind, "ended") << "once more";
    isThere = true;
    EXPECT_EQ(client.NextEvent().kind, "began");
    EXPECT_EQ(client.NextEvent().kind, "state");
}

TEST_F(PanelTest, NobodyIsAskedWhileNobodyListens) {
    std::atomic<int> questions = 0;
    Serve({.name = "bench", .ask = [&](const Command& command) {
               ++questions;
               return Execute(command);
           }});
    {
        PanelClient client(address);
        client.Ask("GET", "events");
        client.NextEvent("state");
    }
    // The server notices that the listener has gone, and falls silent.
    int before = -1;
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (before != questions && std::chrono::steady_clock::now() < end) {
        before = questions;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    EXPECT_EQ(before, questions);
    EXPECT_GT(questions, 1);
}

TEST_F(PanelTest, AHeartbeatKeepsAStreamAlive) {
    Serve(Limits{.heartbeat = std::chrono::milliseconds(10)});
    PanelClient client(address);
    client.Ask("GET", "events", "Connection: close\r\n");
    client.NextEvent("state");
    EXPECT_NE(client.TakeUntil(":\n\n"), "");
}

} // namespace
} // namespace test
