#include "panel_client.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace test {

PanelClient::PanelClient(const std::string& address) {
    const std::size_t colon = address.find(':', 6);
    const std::size_t slash = address.find('/', colon);
    port = address.substr(colon + 1, slash - colon - 1);
    token = address.substr(slash + 1, address.size() - slash - 2);
    socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in server{};
    server.sin_family = AF_INET;
    server.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
    server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(socket, reinterpret_cast<sockaddr*>(&server), sizeof server), 0)
        << std::strerror(errno);
}

PanelClient::~PanelClient() {
    close(socket);
}

void PanelClient::Send(const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return; // the server has closed
        }
        sent += static_cast<std::size_t>(count);
    }
}

void PanelClient::Ask(const std::string& method, const std::string& path,
                      const std::string& headers, const std::string& body) {
    std::string head = method + " /" + token + "/" + path + " HTTP/1.1\r\n";
    if (headers.find("Host:") == headers.npos) {
        head += "Host: 127.0.0.1:" + port + "\r\n";
    }
    if (!body.empty()) {
        head += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    }
    Send(head + headers + "\r\n" + body);
}

bool PanelClient::ReadMore() {
    pollfd ready{socket, POLLIN, 0};
    const auto patience = std::chrono::milliseconds(kPatience).count();
    if (poll(&ready, 1, static_cast<int>(patience)) != 1) {
        ADD_FAILURE() << "the server says nothing";
        return false;
    }
    std::array<char, 65536> piece;
    const ssize_t size = recv(socket, piece.data(), piece.size(), 0);
    received.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return size > 0;
}

std::string PanelClient::TakeUntil(const std::string& end) {
    std::size_t at = 0;
    for (std::size_t from = 0; (at = received.find(end, from)) == received.npos;) {
        from = received.size() - std::min(received.size(), end.size());
        if (!ReadMore()) {
            return "";
        }
    }
    std::string taken = received.substr(0, at + end.size());
    received.erase(0, at + end.size());
    return taken;
}

std::string PanelClient::Response() {
    std::string response = TakeUntil("\r\n\r\n");
    const std::string field = "Content-Length: ";
    const std::size_t at = response.find(field);
    if (at == response.npos) {
        return response;
    }
    const std::size_t size = std::stoul(response.substr(at + field.size()));
    while (received.size() < size && ReadMore()) {
    }
    response += received.substr(0, size);
    received.erase(0, size);
    return response;
}

std::string PanelClient::ReadToEnd() {
    while (ReadMore()) {
    }
    return std::exchange(received, "");
}

PanelClient::Event PanelClient::NextEvent() {
    Event event;
    while (event.kind.empty()) {
        const std::string text = TakeUntil("\n\n");
        if (text.empty()) {
            ADD_FAILURE() << "the stream has ended";
            return {"none", "", {}};
        }
        const auto field = [&](const std::string& name) -> std::string {
            const std::size_t at = text.rfind("\n" + name, text.find("\ndata: "));
            const std::size_t begin = text.starts_with(name) ? name.size() : at + name.size() + 1;
            return text.starts_with(name) || at != text.npos
                       ? text.substr(begin, text.find('\n', begin) - begin)
                       : "";
        };
        event.kind = field("event: "); // none: a comment
        event.id = field("id: ");
        if (!event.kind.empty()) {
            event.text = text.substr(text.find("\ndata: ") + 7);
        }
    }
    return event;
}

PanelClient::Event PanelClient::NextEvent(const std::string& kind) {
    for (;;) {
        Event event = NextEvent();
        if (event.kind == kind || event.kind == "none") {
            return event;
        }
    }
}

std::vector<nlohmann::json> PanelClient::Entries(std::size_t count) {
    std::vector<nlohmann::json> entries;
    while (entries.size() < count) {
        const Event event = NextEvent("journal");
        if (event.kind != "journal") {
            break;
        }
        const nlohmann::json list = event.Data();
        entries.insert(entries.end(), list.begin(), list.end());
    }
    return entries;
}

} // namespace test
