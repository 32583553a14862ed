#include "connection.h"

#include <exception>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include "detached_thread.h"

namespace rig::panel {

namespace beast = boost::beast;
using Error = beast::error_code;

namespace {

/// What is read of a request at a time.
constexpr std::size_t kBufferSize = std::size_t{64} * 1024;

net::ip::tcp::acceptor LoopbackPort(net::io_context& context) {
    try {
        return {context, {net::ip::address_v4::loopback(), 0}, false};
    } catch (const boost::system::system_error& failure) {
        throw std::runtime_error(std::string("the panel gets no port: ") + failure.what());
    }
}

} // namespace

Shared::Shared(Source shown, const Limits& most)
    : acceptor(LoopbackPort(context)), source(std::move(shown)), limits(most),
      gate(acceptor.local_endpoint().port()), feed(source, [this] {
          Post([this] {
              for (Connection* const listener : listeners) {
                  listener->SendNews();
              }
          });
      }) {}

bool Shared::Post(std::function<void()> work) {
    const std::lock_guard lock(mutex);
    if (!isOver) {
        net::post(context, std::move(work));
    }
    return !isOver;
}

void Shared::End() {
    {
        const std::lock_guard lock(mutex);
        isOver = true;
    }
    context.restart();
    context.poll(); // what was posted meanwhile
}

Connection::Connection(net::ip::tcp::socket socket, std::shared_ptr<Shared> server)
    : stream(std::move(socket)), shared(std::move(server)), buffer(kBufferSize) {
    shared->connections.insert(this);
    Error ignored;
    stream.socket().set_option(net::ip::tcp::no_delay(true), ignored); // events are short
}

Connection::~Connection() {
    shared->connections.erase(this);
    if (shared->listeners.erase(this) != 0) {
        shared->feed.SetListeners(shared->listeners.size());
    }
}

void Connection::ReadRequest() {
    isHead = false;
    parser.emplace();
    SetLimits(*parser);
    stream.expires_after(shared->limits.patience);
    http::async_read_header(
        stream, buffer, *parser,
        [self = shared_from_this()](Error error, std::size_t) { self->ReceiveHeader(error); });
}

/// Bodies in chunks are refused: browsers and curl send none for what is asked of this server, and
/// Boost's parser of them asserts on some that come byte by byte.
void Connection::ReceiveHeader(Error error) {
    if (error) {
        Refuse(error);
    } else if (parser->chunked()) {
        Response refused = Respond(kChunksRefused);
        refused.keep_alive(false);
        Send(std::move(refused));
    } else {
        http::async_read(
            stream, buffer, *parser,
            [self = shared_from_this()](Error failure, std::size_t) { self->Receive(failure); });
    }
}

void Connection::Receive(Error error) {
    if (error) {
        Refuse(error);
        return;
    }
    const Request request = parser->release();
    isHead = request.method() == http::verb::head;
    Target target;
    if (const std::optional<Refusal> refusal = shared->gate.Check(request, target)) {
        Response refused = Respond(*refusal);
        refused.keep_alive(false);
        Send(std::move(refused));
        return;
    }
    Answer answer = AnswerTo(request, target, shared->source);
    if (answer.isStream && isHead) {
        Response head = Respond(http::status::ok, "text/event-stream", {});
        head.erase(http::field::content_length);
        head.keep_alive(false);
        Send(std::move(head));
    } else if (answer.isStream) {
        Listen(answer.from);
    } else if (answer.now) {
        answer.now->keep_alive(request.keep_alive());
        Send(*std::move(answer.now));
    } else {
        Work([work = std::move(answer.later), isKept = request.keep_alive()] {
            Response done = work();
            done.keep_alive(isKept);
            return done;
        });
    }
}

/// Tells what was wrong with a request. Of others, who have closed or were too slow, nothing is
/// left.
void Connection::Refuse(Error error) {
    using http::status;
    if (error.category() != make_error_code(http::error::bad_target).category() ||
        error == http::error::end_of_stream || error == http::error::partial_message) {
        return;
    }
    const bool isLong = error == http::error::header_limit || error == http::error::buffer_overflow;
    const status why = error == http::error::body_limit ? status::payload_too_large
                       : isLong                         ? status::request_header_fields_too_large
                                                        : status::bad_request;
    const auto reason = http::obsolete_reason(why);
    Response refused = Respond({why, {reason.data(), reason.size()}});
    refused.keep_alive(false);
    Send(std::move(refused));
}

/// Does the work in a thread of its own: a command may wait for long.
void Connection::Work(std::function<Response()> work) {
    if (shared->commands >= shared->limits.commands) {
        Send(Respond({http::status::service_unavailable, "Too many commands wait already."}));
        return;
    }
    try {
        ++shared->commands;
        stream.expires_never();
        StartDetached([self = shared_from_this(), work = std::move(work)]() mutable {
            const std::shared_ptr<Shared> server = self->shared;
            const auto done = std::make_shared<Response>(work());
            server->Post([self = std::move(self), done] {
                --self->shared->commands;
                self->Send(std::move(*done));
            });
        });
    } catch (const std::exception& failure) {
        --shared->commands;
        Send(Respond({http::status::service_unavailable, failure.what()}));
    }
}

void Connection::Send(Response answer) {
    response = std::move(answer);
    if (isHead) {
        response->body().clear(); // its length stays in the headers
    }
    stream.expires_after(shared->limits.patience);
    http::async_write(stream, *response, [self = shared_from_this()](Error error, std::size_t) {
        if (!error && self->response->keep_alive()) {
            self->ReadRequest();
        } else {
            self->End();
        }
    });
}

/// Reads what is still sent before closing, else the other end might lose the answer.
void Connection::End() {
    Error ignored;
    stream.socket().shutdown(net::ip::tcp::socket::shutdown_send, ignored);
    stream.expires_after(shared->limits.patience);
    Drain();
}

void Connection::Drain() {
    buffer.clear();
    stream.async_read_some(buffer.prepare(kBufferSize),
                           [self = shared_from_this()](Error error, std::size_t) {
                               if (!error) {
                                   self->Drain();
                               }
                           });
}

void Connection::Listen(const std::string& from) {
    std::ostringstream head;
    head << BeginStream().base();
    position = shared->feed.Begin(from);
    shared->listeners.insert(this);
    shared->feed.SetListeners(shared->listeners.size());
    stream.expires_never();
    // A listener sends nothing, so what can be read is that it has closed.
    buffer.clear();
    stream.async_read_some(buffer.prepare(1),
                           [self = shared_from_this()](Error, std::size_t) { self->Close(); });
    SendText(std::make_shared<std::string>(std::move(head).str()));
}

void Connection::SendText(EventText text) {
    sending = std::move(text);
    stream.expires_after(shared->limits.patience); // not of the read, which is under way
    net::async_write(stream, net::buffer(*sending),
                     [self = shared_from_this()](Error error, std::size_t) {
                         self->sending.reset();
                         if (error) {
                             self->Close();
                         } else {
                             self->SendNews();
                         }
                     });
}

void Connection::SendNews() {
    if (sending == nullptr) {
        if (EventText text = shared->feed.Next(*position)) {
            SendText(std::move(text));
        }
    }
}

void Connection::SendHeartbeat() {
    if (sending == nullptr) {
        SendText(std::make_shared<const std::string>(":\n\n"));
    }
}

void Connection::Close() {
    stream.close();
}

} // namespace rig::panel
