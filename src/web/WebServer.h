// The HTTP and WebSocket server tarn-run's developer tools share (the
// debugger's endpoint, the simulated TV's view): Boost.Beast on one thread of
// its own. It owns connections, limits and the Host check; what a request
// gets and what a message means is the handler's business.
#pragma once

#include <boost/beast/http.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tarn {
namespace web {

using Request = boost::beast::http::request<boost::beast::http::string_body>;
using Response = boost::beast::http::response<boost::beast::http::string_body>;

struct Limits {
  // A WebSocket message larger than this ends its session.
  size_t maxMessageBytes = 1u << 20;
  size_t maxHeaderBytes = 16u << 10;
  size_t maxBodyBytes = 64u << 10;
  // An HTTP connection that sends nothing for this long is closed.
  std::chrono::seconds httpIdle{60};
};

class WebServer {
 public:
  // Called on the server's thread.
  class Handler {
   public:
    virtual ~Handler() = default;
    // A plain HTTP request. `host` is the request's Host, or this server's
    // own address when that is missing or names no address.
    virtual Response Answer(const Request& request, const std::string& host) = 0;
    // Whether a WebSocket upgrade request may open a session (its Host has
    // been checked already).
    virtual bool AcceptsSession(const Request& request) = 0;
    virtual void SessionStarted(int session, const Request& request) = 0;
    virtual void MessageReceived(int session, std::string message) = 0;
    virtual void SessionEnded(int session) = 0;
    // Everything queued for the session has been written.
    virtual void SessionDrained(int) {}
  };

  // `what` names the server in the messages it prints ("debugger").
  WebServer(Handler* handler, Limits limits, std::string what);
  // Stops first.
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  // Binds address (an IP address) and port (0: any free one) and starts the
  // thread. False with the reason in *error ("address already in use").
  bool Start(const std::string& address, uint16_t port, std::string* error);
  // The bound port, once started.
  uint16_t Port() const;

  // Any thread: queues a text message for a session; dropped when the
  // session has ended.
  void Send(int session, std::string message);
  // Any thread: runs `task` on the server's thread.
  void Post(std::function<void()> task);
  // Any thread: runs `task` on the server's thread after `delay`, unless the
  // server stops first.
  void PostAfter(std::chrono::microseconds delay, std::function<void()> task);
  // Server's thread only: bytes queued for a session and not yet written
  // (0 for a session that has ended).
  size_t Queued(int session) const;
  // Any thread: no new connections from now on.
  void StopAccepting();
  // Closes every connection and joins the thread; nothing reaches the
  // handler afterwards. Not from the server's thread.
  void Stop();

  // A request's Host header names this machine by address ("127.0.0.1:9229",
  // "[::1]:9229", "localhost:9229") rather than by a host name that could
  // have been pointed here (DNS rebinding). An empty header passes.
  static bool AllowedHost(const std::string& hostHeader);

  // The state the connections share, known to WebServer.cc only.
  struct Impl;

 private:
  std::unique_ptr<Impl> impl_;
};

// Where a server listens, from an option's value.
struct ListenAddress {
  std::string bind;     // the IP address bound
  std::string display;  // as printed in URLs: "127.0.0.1", "[::1]", "localhost"
  uint16_t port = 0;
  bool loopback = true;
};

// Reads "[HOST:]PORT" (null: 127.0.0.1 on defaultPort). HOST is an IPv4
// address, an IPv6 address in brackets, or localhost; PORT is 0 (any free
// one) or 1024-65535. False with a one-line reason in *error.
bool ParseListenAddress(const char* value, uint16_t defaultPort, ListenAddress* address,
                        std::string* error);

}  // namespace web
}  // namespace tarn
