#include "gate.h"

#include <random>

namespace rig::panel {

std::string RandomToken() {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr std::size_t kLength = 32;
    std::random_device system; // on each system that we build for, its cryptographic source
    std::string token;
    for (std::uint32_t bits = 0; token.size() < kLength; bits >>= 4) {
        bits = token.size() % 8 == 0 ? system() : bits;
        token += kDigits[bits & 0xF];
    }
    return token;
}

void SetLimits(RequestParser& parser) {
    parser.header_limit(kLongestHeader);
    parser.body_limit(kLongestBody);
}

Gate::Gate(unsigned short ofServer) : port(std::to_string(ofServer)), token(RandomToken()) {}

std::string Gate::Address() const {
    return "http://127.0.0.1:" + port + "/" + token + "/";
}

std::optional<Refusal> Gate::Check(const Request& request, Target& target) const {
    // A page elsewhere whose name was made to lead here is known by its Host, and one that sends
    // requests here by its Origin.
    const auto isOurs = [&](std::string_view server) {
        return server == "127.0.0.1:" + port || server == "localhost:" + port;
    };
    const auto host = request[http::field::host];
    if (request.count(http::field::host) != 1 || !isOurs({host.data(), host.size()})) {
        return Refusal{http::status::forbidden, "This server is 127.0.0.1 or localhost."};
    }
    if (const auto count = request.count(http::field::origin); count != 0) {
        constexpr std::string_view kScheme = "http://";
        const auto field = request[http::field::origin];
        const std::string_view origin(field.data(), field.size());
        if (count != 1 || !origin.starts_with(kScheme) || !isOurs(origin.substr(kScheme.size()))) {
            return Refusal{http::status::forbidden, "Pages of other servers are not answered."};
        }
    }
    std::string_view rest(request.target().data(), request.target().size());
    const std::size_t end = rest.find('/', 1);
    if (!rest.starts_with('/') || end == rest.npos || !IsToken(rest.substr(1, end - 1))) {
        return Refusal{http::status::not_found, "The address is the one that solvane-rig printed."};
    }
    rest.remove_prefix(end + 1);
    const std::size_t question = std::min(rest.find('?'), rest.size());
    target.path = rest.substr(0, question);
    target.query = rest.substr(std::min(question + 1, rest.size()));
    return std::nullopt;
}

/// Takes the same time wherever the first difference is.
bool Gate::IsToken(std::string_view word) const {
    unsigned difference = word.size() == token.size() ? 0 : 1;
    for (std::size_t i = 0; i < token.size(); ++i) {
        difference |= static_cast<unsigned>(token[i] ^ (i < word.size() ? word[i] : 0));
    }
    return difference == 0;
}

} // namespace rig::panel
