/// One connection with a browser or another program.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>

#include "answers.h"
#include "feed.h"
#include "gate.h"
#include "server.h"

namespace rig::panel {

namespace net = boost::asio;

class Connection;

/// What the connections of a server share. The threads of commands may outlive the server, and keep
/// this alive.
struct Shared {
    Shared(Source shown, const Limits& most);

    /// Has the server's thread do something. False when there is none any more.
    bool Post(std::function<void()> work);

    /// There is no thread any more.
    void End();

    net::io_context context{1};
    net::ip::tcp::acceptor acceptor;
    const Source source;
    const Limits limits;
    const Gate gate;

    // Only the server's thread uses these.
    std::set<Connection*> connections;
    std::set<Connection*> listeners;
    std::size_t commands = 0; ///< that are being carried out

    std::mutex mutex;
    bool isOver = false;

    Feed feed; ///< the last member, because its thread uses the others
};

/// Keeps itself alive while something is under way.
class Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(net::ip::tcp::socket socket, std::shared_ptr<Shared> server);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void ReadRequest();

    /// Sends the next event, if this is a listener that waits for it.
    void SendNews();
    void SendHeartbeat();

    /// Drops what is under way.
    void Close();

  private:
    void ReceiveHeader(boost::beast::error_code error);
    void Receive(boost::beast::error_code error);
    void Refuse(boost::beast::error_code error);
    void Work(std::function<Response()> work);
    void Send(Response response);
    void End();
    void Drain();
    void Listen(const std::string& from);
    void SendText(EventText text);

    boost::beast::tcp_stream stream;
    const std::shared_ptr<Shared> shared;
    boost::beast::flat_buffer buffer;
    std::optional<RequestParser> parser;
    bool isHead = false; ///< the request asks for the headers alone
    std::optional<Response> response;

    // Of a listener.
    std::optional<Feed::Position> position;
    EventText sending;
};

} // namespace rig::panel
