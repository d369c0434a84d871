// The debugger's endpoint: HTTP for discovery (/json/list, /json/version) and
// WebSocket sessions on /<target id>, served by Boost.Beast on a thread of
// its own. It knows nothing of V8: what arrives goes to the delegate, what
// the script thread sends is written out here.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tarn {
namespace debugger {

class InspectorServer {
 public:
  // Called on the server's thread, in the order things happen per session.
  class Delegate {
   public:
    virtual ~Delegate() = default;
    virtual void SessionStarted(int session) = 0;
    virtual void MessageReceived(int session, std::string message) = 0;
    virtual void SessionEnded(int session) = 0;
  };

  // What /json/list describes.
  struct Target {
    std::string id;       // a UUID, the WebSocket path
    std::string title;    // the script as named on the command line
    std::string url;      // file:// URL of the script
    std::string browser;  // /json/version's "Browser"
  };

  InspectorServer(Target target, Delegate* delegate);
  // Stops first.
  ~InspectorServer();
  InspectorServer(const InspectorServer&) = delete;
  InspectorServer& operator=(const InspectorServer&) = delete;

  // Binds address (an IP address) and port (0: any free one) and starts the
  // thread. False with the reason in *error ("address already in use").
  bool Start(const std::string& address, uint16_t port, std::string* error);
  // The bound port, once started.
  uint16_t Port() const;

  // Any thread: queues a text message for a session; dropped when the
  // session has ended.
  void Send(int session, std::string message);
  // Any thread: no new connections from now on.
  void StopAccepting();
  // Closes every connection and joins the thread; nothing reaches the
  // delegate afterwards. Not from the server's thread.
  void Stop();

  // A request's Host header names this machine by address ("127.0.0.1:9229",
  // "[::1]:9229", "localhost:9229") rather than by a host name that could
  // have been pointed here (DNS rebinding). An empty header passes.
  static bool AllowedHost(const std::string& hostHeader);

  // The state the connections share, known to DebuggerEndpoints.cc only.
  struct Impl;

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace debugger
}  // namespace tarn
