/// A program that talks with the panel's server, byte by byte.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace test {

/// Long enough for any machine; what is waited for comes sooner.
inline constexpr std::chrono::seconds kPatience{60};

class PanelClient {
  public:
    /// `address` is what the server tells: "http://127.0.0.1:PORT/TOKEN/".
    explicit PanelClient(const std::string& address);
    ~PanelClient();
    PanelClient(const PanelClient&) = delete;
    PanelClient& operator=(const PanelClient&) = delete;

    void Send(const std::string& bytes);
    /// "GET /TOKEN/state HTTP/1.1" with a Host, further header lines and a body.
    void Ask(const std::string& method, const std::string& path, const std::string& headers = {},
             const std::string& body = {});

    /// The next response, headers and body. Empty when the server closed instead.
    std::string Response();
    /// What comes until the server closes, at most `kPatience`.
    std::string ReadToEnd();

    struct Event {
        std::string kind;
        std::string id;
        std::string text; ///< its data
        nlohmann::json Data() const { return nlohmann::json::parse(text); }
    };
    /// The next event of a stream, after the response's headers.
    Event NextEvent();
    /// Reads events until one is of this kind, and returns that.
    Event NextEvent(const std::string& kind);

    /// Entries from the journal events that follow, until there are as many.
    std::vector<nlohmann::json> Entries(std::size_t count);

    /// What comes, to the end of this text. Empty when the server closed instead.
    std::string TakeUntil(const std::string& end);

  private:
    bool ReadMore();

    std::string port;
    std::string token;
    int socket = -1;
    std::string received;
};

} // namespace test
