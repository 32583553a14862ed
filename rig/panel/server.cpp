#include "server.h"

#include <exception>
#include <thread>
#include <utility>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include "connection.h"

namespace rig::panel {

using net::ip::tcp;
using Error = boost::beast::error_code;

struct Server::Running {
    Running(Source source, const Limits& limits)
        : shared(std::make_shared<Shared>(std::move(source), limits)), heart(shared->context) {
        Accept();
        Beat();
        thread = std::thread([this] { Serve(); });
    }

    void Serve() {
        for (;;) {
            try {
                shared->context.run();
                return;
            } catch (const std::exception&) { // no memory: what asked for it is dropped
            }
        }
    }

    void Accept() {
        shared->acceptor.async_accept([this](Error error, tcp::socket socket) {
            if (error == net::error::operation_aborted) {
                return;
            }
            // Too many connections, or no memory for one: this one is closed.
            if (!error && shared->connections.size() < shared->limits.connections) {
                try {
                    std::make_shared<Connection>(std::move(socket), shared)->ReadRequest();
                } catch (const std::exception&) {
                }
            }
            Accept();
        });
    }

    void Beat() {
        heart.expires_after(shared->limits.heartbeat);
        heart.async_wait([this](Error error) {
            if (error) {
                return;
            }
            for (Connection* const listener : shared->listeners) {
                listener->SendHeartbeat();
            }
            Beat();
        });
    }

    const std::shared_ptr<Shared> shared;
    net::steady_timer heart;
    std::thread thread;
};

Server::Server(Source source, const Limits& limits)
    : running(std::make_unique<Running>(std::move(source), limits)) {}

Server::~Server() {
    Running& it = *running;
    it.shared->Post([&it] {
        Error ignored;
        it.shared->acceptor.close(ignored);
        it.heart.cancel();
        for (Connection* const connection : it.shared->connections) {
            connection->Close();
        }
    });
    it.thread.join();
    it.shared->End();
}

std::string Server::Address() const {
    return running->shared->gate.Address();
}

} // namespace rig::panel
