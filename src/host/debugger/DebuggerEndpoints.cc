// The debugger's side of the shared server: discovery answers and sessions
// on /<target id>; the connections themselves are the shared server's.
#include "debugger/DebuggerEndpoints.h"

#include <json/json.h>

#include <utility>

#include "WebServer.h"

namespace tarn {
namespace debugger {

namespace http = boost::beast::http;

namespace {

// A protocol message (a script source set by the client, say) is small next
// to this; beyond it the session is dropped rather than the memory taken.
constexpr size_t kMaxMessageBytes = 64u << 20;

std::string ToJson(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "  ";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, value);
}

web::Limits DebuggerLimits() {
  web::Limits limits;
  limits.maxMessageBytes = kMaxMessageBytes;
  return limits;
}

}  // namespace

struct InspectorServer::Impl : web::WebServer::Handler {
  Impl(Target target, Delegate* delegate)
      : target(std::move(target)), delegate(delegate), server(this, DebuggerLimits(), "debugger") {}

  web::Response Answer(const web::Request& request, const std::string& host) override;
  bool AcceptsSession(const web::Request& request) override {
    return std::string(request.target()) == "/" + target.id;
  }
  void SessionStarted(int session, const web::Request&) override {
    delegate->SessionStarted(session);
  }
  void MessageReceived(int session, std::string message) override {
    delegate->MessageReceived(session, std::move(message));
  }
  void SessionEnded(int session) override { delegate->SessionEnded(session); }

  Target target;
  Delegate* delegate;
  web::WebServer server;
};

web::Response InspectorServer::Impl::Answer(const web::Request& request, const std::string& host) {
  std::string path(request.target());
  size_t query = path.find('?');
  if (query != std::string::npos) path.resize(query);
  while (path.size() > 1 && path.back() == '/') path.pop_back();

  web::Response response(http::status::ok, request.version());
  if (!AllowedHost(std::string(request[http::field::host]))) {
    response.result(http::status::bad_request);
    response.set(http::field::content_type, "text/plain; charset=UTF-8");
    response.body() = "Host header is not an IP address or localhost\n";
  } else if (request.method() == http::verb::get && (path == "/json" || path == "/json/list")) {
    std::string address = host + "/" + target.id;
    Json::Value entry(Json::objectValue);
    entry["description"] = "tarn-run instance";
    entry["devtoolsFrontendUrl"] =
        "devtools://devtools/bundled/js_app.html?experiments=true&v8only=true&ws=" + address;
    entry["devtoolsFrontendUrlCompat"] =
        "devtools://devtools/bundled/inspector.html?experiments=true&v8only=true&ws=" + address;
    entry["id"] = target.id;
    entry["title"] = target.title;
    entry["type"] = "node";
    entry["url"] = target.url;
    entry["webSocketDebuggerUrl"] = "ws://" + address;
    Json::Value list(Json::arrayValue);
    list.append(entry);
    response.set(http::field::content_type, "application/json; charset=UTF-8");
    response.body() = ToJson(list) + "\n";
  } else if (request.method() == http::verb::get && path == "/json/version") {
    Json::Value version(Json::objectValue);
    version["Browser"] = target.browser;
    version["Protocol-Version"] = "1.1";
    response.set(http::field::content_type, "application/json; charset=UTF-8");
    response.body() = ToJson(version) + "\n";
  } else {
    // What node answers to anything else, a WebSocket request for another
    // target included.
    response.result(http::status::bad_request);
    response.set(http::field::content_type, "text/plain; charset=UTF-8");
    response.body() = "WebSockets request was expected\n";
  }
  response.set(http::field::cache_control, "no-cache");
  return response;
}

InspectorServer::InspectorServer(Target target, Delegate* delegate)
    : impl_(new Impl(std::move(target), delegate)) {}

InspectorServer::~InspectorServer() { Stop(); }

bool InspectorServer::Start(const std::string& address, uint16_t port, std::string* error) {
  return impl_->server.Start(address, port, error);
}

uint16_t InspectorServer::Port() const { return impl_->server.Port(); }

void InspectorServer::Send(int session, std::string message) {
  impl_->server.Send(session, std::move(message));
}

void InspectorServer::StopAccepting() { impl_->server.StopAccepting(); }

void InspectorServer::Stop() { impl_->server.Stop(); }

bool InspectorServer::AllowedHost(const std::string& hostHeader) {
  return web::WebServer::AllowedHost(hostHeader);
}

}  // namespace debugger
}  // namespace tarn
