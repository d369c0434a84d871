// One io_context on one thread: every handler runs there, so the sessions'
// map and write queues need no lock. Other threads only post to it.
#include "WebServer.h"

#include <pthread.h>
#include <signal.h>
#include <strings.h>

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <cstdio>
#include <deque>
#include <map>
#include <optional>
#include <thread>
#include <utility>

namespace tarn {
namespace web {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using tcp = asio::ip::tcp;

namespace {

class WebSocketSession;

std::string Describe(const boost::system::error_code& error) {
  // The words node prints for the same failures.
  if (error == boost::system::errc::address_in_use) return "address already in use";
  if (error == boost::system::errc::address_not_available) return "address not available";
  if (error == boost::system::errc::permission_denied) return "permission denied";
  return error.message();
}

bool AllDigits(const std::string& text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

std::string FormatHostPort(const asio::ip::address& address, uint16_t port) {
  std::string host = address.to_string();
  if (address.is_v6()) host = "[" + host + "]";
  return host + ":" + std::to_string(port);
}

}  // namespace

struct WebServer::Impl {
  Impl(Handler* handler, Limits limits, std::string what)
      : handler(handler), limits(limits), what(std::move(what)) {}

  void Accept();

  // Destroyed last: the sockets below and the handlers it holds belong to it.
  asio::io_context ioc{1};
  tcp::acceptor acceptor{ioc};
  asio::executor_work_guard<asio::io_context::executor_type> work{ioc.get_executor()};
  std::thread thread;
  Handler* handler;
  Limits limits;
  std::string what;
  uint16_t port = 0;
  int nextSession = 1;
  bool stopping = false;
  std::map<int, std::weak_ptr<WebSocketSession>> sessions;
};

namespace {

class WebSocketSession : public std::enable_shared_from_this<WebSocketSession> {
 public:
  WebSocketSession(WebServer::Impl* server, tcp::socket&& socket)
      : server_(server), ws_(std::move(socket)) {}

  void Accept(Request request) {
    request_ = std::move(request);
    beast::get_lowest_layer(ws_).expires_never();
    ws_.set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
    ws_.set_option(websocket::stream_base::decorator(
        [](websocket::response_type& response) { response.set(http::field::server, "tarn-run"); }));
    ws_.read_message_max(server_->limits.maxMessageBytes);
    auto self = shared_from_this();
    ws_.async_accept(request_, [self](beast::error_code error) { self->OnAccept(error); });
  }

  void Send(std::string message) {
    if (!started_ || ended_) return;
    queued_ += message.size();
    outbox_.push_back(std::move(message));
    if (outbox_.size() == 1) Write();
  }

  size_t Queued() const { return ended_ ? 0 : queued_; }

  // The server stops: the connection goes without telling the handler.
  void Close() {
    ended_ = true;
    beast::error_code ignored;
    beast::get_lowest_layer(ws_).socket().close(ignored);
  }

 private:
  void OnAccept(beast::error_code error) {
    if (error || server_->stopping) {
      ended_ = true;
      return;
    }
    id_ = server_->nextSession++;
    server_->sessions[id_] = weak_from_this();
    started_ = true;
    server_->handler->SessionStarted(id_, request_);
    Read();
  }

  void Read() {
    auto self = shared_from_this();
    ws_.async_read(buffer_, [self](beast::error_code error, size_t) { self->OnRead(error); });
  }

  void OnRead(beast::error_code error) {
    if (error || ended_) {
      End();
      return;
    }
    std::string message = beast::buffers_to_string(buffer_.data());
    buffer_.consume(buffer_.size());
    server_->handler->MessageReceived(id_, std::move(message));
    Read();
  }

  void Write() {
    ws_.text(true);
    auto self = shared_from_this();
    ws_.async_write(asio::buffer(outbox_.front()),
                    [self](beast::error_code error, size_t) { self->OnWrite(error); });
  }

  void OnWrite(beast::error_code error) {
    if (error) {
      End();
      return;
    }
    queued_ -= outbox_.front().size();
    outbox_.pop_front();
    if (ended_) return;
    if (!outbox_.empty()) {
      Write();
    } else {
      server_->handler->SessionDrained(id_);
    }
  }

  // The client went away or broke the protocol.
  void End() {
    if (ended_) return;
    ended_ = true;
    beast::error_code ignored;
    beast::get_lowest_layer(ws_).socket().close(ignored);
    server_->sessions.erase(id_);
    server_->handler->SessionEnded(id_);
  }

  WebServer::Impl* server_;
  websocket::stream<beast::tcp_stream> ws_;
  Request request_;
  beast::flat_buffer buffer_;
  // The front one is being written.
  std::deque<std::string> outbox_;
  size_t queued_ = 0;
  int id_ = 0;
  bool started_ = false;
  bool ended_ = false;
};

class HttpConnection : public std::enable_shared_from_this<HttpConnection> {
 public:
  HttpConnection(WebServer::Impl* server, tcp::socket&& socket)
      : server_(server), stream_(std::move(socket)) {}

  void Read() {
    parser_.emplace();
    parser_->header_limit(static_cast<uint32_t>(server_->limits.maxHeaderBytes));
    parser_->body_limit(server_->limits.maxBodyBytes);
    stream_.expires_after(server_->limits.httpIdle);
    auto self = shared_from_this();
    http::async_read(stream_, buffer_, *parser_,
                     [self](beast::error_code error, size_t) { self->OnRead(error); });
  }

 private:
  void OnRead(beast::error_code error) {
    // The peer closed, stayed silent or sent something that is not HTTP.
    if (error) {
      Close();
      return;
    }
    Request request = parser_->release();
    std::string host(request[http::field::host]);
    if (websocket::is_upgrade(request) && WebServer::AllowedHost(host) &&
        server_->handler->AcceptsSession(request)) {
      stream_.expires_never();
      auto session = std::make_shared<WebSocketSession>(server_, stream_.release_socket());
      session->Accept(std::move(request));
      return;
    }
    if (host.empty() || !WebServer::AllowedHost(host)) {
      beast::error_code ignored;
      tcp::endpoint local = stream_.socket().local_endpoint(ignored);
      host = FormatHostPort(local.address(), local.port());
    }
    auto response = std::make_shared<Response>(server_->handler->Answer(request, host));
    response->set(http::field::server, "tarn-run");
    response->keep_alive(request.keep_alive());
    response->prepare_payload();
    auto self = shared_from_this();
    http::async_write(stream_, *response, [self, response](beast::error_code error, size_t) {
      if (error || !response->keep_alive()) {
        self->Close();
        return;
      }
      self->Read();
    });
  }

  void Close() {
    beast::error_code ignored;
    stream_.socket().shutdown(tcp::socket::shutdown_both, ignored);
    stream_.socket().close(ignored);
  }

  WebServer::Impl* server_;
  beast::tcp_stream stream_;
  beast::flat_buffer buffer_;
  std::optional<http::request_parser<http::string_body>> parser_;
};

}  // namespace

void WebServer::Impl::Accept() {
  acceptor.async_accept([this](boost::system::error_code error, tcp::socket socket) {
    if (error == asio::error::operation_aborted || !acceptor.is_open()) return;
    if (!error) {
      boost::system::error_code ignored;
      socket.set_option(tcp::no_delay(true), ignored);
      std::make_shared<HttpConnection>(this, std::move(socket))->Read();
    }
    Accept();
  });
}

WebServer::WebServer(Handler* handler, Limits limits, std::string what)
    : impl_(new Impl(handler, limits, std::move(what))) {}

WebServer::~WebServer() { Stop(); }

bool WebServer::Start(const std::string& address, uint16_t port, std::string* error) {
  boost::system::error_code failure;
  asio::ip::address ip = asio::ip::make_address(address, failure);
  if (failure) {
    *error = "not an IP address";
    return false;
  }
  tcp::endpoint endpoint(ip, port);
  tcp::acceptor& acceptor = impl_->acceptor;
  // SO_REUSEADDR as libuv sets it: a port left in TIME_WAIT by a previous
  // run can be taken again; one still listening cannot.
  if (acceptor.open(endpoint.protocol(), failure) ||
      acceptor.set_option(asio::socket_base::reuse_address(true), failure) ||
      acceptor.bind(endpoint, failure) ||
      acceptor.listen(asio::socket_base::max_listen_connections, failure)) {
    *error = Describe(failure);
    boost::system::error_code ignored;
    acceptor.close(ignored);
    return false;
  }
  impl_->port = acceptor.local_endpoint(failure).port();
  impl_->Accept();
  // The thread takes no signals: SIGINT and the like belong to the host's
  // signal thread, which may not have blocked them yet.
  sigset_t all, previous;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous);
  Impl* impl = impl_.get();
  impl_->thread = std::thread([impl] {
    for (;;) {
      try {
        impl->ioc.run();
        return;
      } catch (const std::exception& e) {
        std::fprintf(stderr, "tarn-run: %s connection failed: %s\n", impl->what.c_str(), e.what());
      }
    }
  });
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  return true;
}

uint16_t WebServer::Port() const { return impl_->port; }

void WebServer::Send(int session, std::string message) {
  Impl* impl = impl_.get();
  asio::post(impl->ioc, [impl, session, message = std::move(message)]() mutable {
    auto found = impl->sessions.find(session);
    if (found == impl->sessions.end()) return;
    if (auto connection = found->second.lock()) connection->Send(std::move(message));
  });
}

void WebServer::Post(std::function<void()> task) {
  Impl* impl = impl_.get();
  asio::post(impl->ioc, [impl, task = std::move(task)] {
    if (!impl->stopping) task();
  });
}

void WebServer::PostAfter(std::chrono::microseconds delay, std::function<void()> task) {
  Impl* impl = impl_.get();
  asio::post(impl->ioc, [impl, delay, task = std::move(task)]() mutable {
    auto timer = std::make_shared<asio::steady_timer>(impl->ioc, delay);
    timer->async_wait([impl, timer, task = std::move(task)](boost::system::error_code) {
      if (!impl->stopping) task();
    });
  });
}

size_t WebServer::Queued(int session) const {
  auto found = impl_->sessions.find(session);
  if (found == impl_->sessions.end()) return 0;
  auto connection = found->second.lock();
  return connection ? connection->Queued() : 0;
}

void WebServer::StopAccepting() {
  Impl* impl = impl_.get();
  asio::post(impl->ioc, [impl] {
    boost::system::error_code ignored;
    impl->acceptor.close(ignored);
  });
}

void WebServer::Stop() {
  if (!impl_->thread.joinable()) return;
  Impl* impl = impl_.get();
  asio::post(impl->ioc, [impl] {
    impl->stopping = true;
    boost::system::error_code ignored;
    impl->acceptor.close(ignored);
    for (auto& entry : impl->sessions) {
      if (auto connection = entry.second.lock()) connection->Close();
    }
    impl->sessions.clear();
    impl->ioc.stop();
  });
  impl_->thread.join();
}

bool WebServer::AllowedHost(const std::string& hostHeader) {
  if (hostHeader.empty()) return true;
  std::string host = hostHeader;
  boost::system::error_code error;
  if (host[0] == '[') {
    size_t close = host.find(']');
    if (close == std::string::npos) return false;
    std::string rest = host.substr(close + 1);
    if (!rest.empty() && (rest[0] != ':' || !AllDigits(rest.substr(1)))) return false;
    asio::ip::make_address_v6(host.substr(1, close - 1), error);
    return !error;
  }
  size_t colon = host.find(':');
  if (colon != std::string::npos) {
    if (!AllDigits(host.substr(colon + 1))) return false;
    host.resize(colon);
  }
  if (strcasecmp(host.c_str(), "localhost") == 0) return true;
  asio::ip::make_address_v4(host, error);
  return !error;
}

}  // namespace web
}  // namespace tarn
