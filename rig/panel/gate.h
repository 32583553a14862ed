/// Who is answered: requests of this user's own browser and programs to this server, and no others.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <boost/beast/http.hpp>

namespace rig::panel {

namespace http = boost::beast::http;

using Request = http::request<http::string_body>;
using RequestParser = http::request_parser<http::string_body>;

// A request that is larger is malformed.
inline constexpr std::uint32_t kLongestHeader = 8 * 1024;
inline constexpr std::uint64_t kLongestBody = std::uint64_t{1} << 20;

/// Prepares a parser for a request.
void SetLimits(RequestParser& parser);

/// What a request asks for: "events" and "from=7" of "/TOKEN/events?from=7".
struct Target {
    std::string_view path;
    std::string_view query;
};

/// Why a request is refused.
struct Refusal {
    http::status status;
    std::string_view reason;
};

/// Of a request whose body comes in chunks.
inline constexpr Refusal kChunksRefused{http::status::length_required,
                                        "A request says by Content-Length how long it is."};

class Gate {
  public:
    /// A gate with a new token, of a server on this port of the loopback interface.
    explicit Gate(unsigned short port);

    /// "http://127.0.0.1:PORT/TOKEN/"
    std::string Address() const;

    /// The refusal of a request, or nothing; then `target` is set.
    std::optional<Refusal> Check(const Request& request, Target& target) const;

  private:
    bool IsToken(std::string_view word) const;

    const std::string port;
    const std::string token;
};

/// 128 random bits of the operating system, as 32 hexadecimal digits.
std::string RandomToken();

} // namespace rig::panel
