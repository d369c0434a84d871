// Updates are pushed, never polled for: a change anywhere in the simulator
// asks the server's thread to look, at most once per kMinInterval, and each
// page gets what changed since its last update. A page still reading its
// last update gets the next one when it has read it, so a flood of platform
// calls costs the script nothing and the server one message per page; the
// journal entries that did not fit are counted as skipped.
#include "SimView.h"

#include <json/reader.h>
#include <json/writer.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <utility>

#include "engine/EngineServices.h"
#include "tvsim/Simulator.h"

namespace tvsim {
namespace view {

namespace http = boost::beast::http;

namespace {

constexpr std::chrono::microseconds kMinInterval{2000};
// Journal entries per update; older ones beyond this are skipped.
constexpr size_t kJournalBatch = 300;
// Log lines kept for pages that come later, and sent per update.
constexpr size_t kLogKept = 2000;
constexpr size_t kLogBatch = 300;
constexpr std::chrono::microseconds kTick{200000};
// A control is a few hundred bytes; a state value set by path may be more.
constexpr size_t kMaxCommandBytes = 256u << 10;

std::atomic<SimView*> g_view{nullptr};

std::string Compact(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, value);
}

tarn::web::Limits ViewLimits() {
  tarn::web::Limits limits;
  limits.maxMessageBytes = kMaxCommandBytes;
  return limits;
}

const char* ContentType(const std::string& name) {
  auto endsWith = [&](const char* suffix) {
    const std::string s(suffix);
    return name.size() >= s.size() && name.compare(name.size() - s.size(), s.size(), s) == 0;
  };
  if (endsWith(".html")) return "text/html; charset=UTF-8";
  if (endsWith(".css")) return "text/css; charset=UTF-8";
  if (endsWith(".js")) return "text/javascript; charset=UTF-8";
  return nullptr;
}

// A file name of the page: letters, digits and '-' then a known extension;
// nothing that could leave the folder.
bool PageFileName(const std::string& name) {
  if (name.empty() || name.size() > 64 || !ContentType(name)) return false;
  for (char c : name) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
    if (!plain) return false;
  }
  return name.find("..") == std::string::npos && name[0] != '.';
}

}  // namespace

SimView::SimView(std::string pageFolder, bool readOnly)
    : pageFolder_(std::move(pageFolder)),
      readOnly_(readOnly),
      server_(this, ViewLimits(), "simulated TV view") {}

SimView::~SimView() { Stop(); }

bool SimView::Start(const std::string& address, uint16_t port, std::string* error) {
  if (!server_.Start(address, port, error)) return false;
  capture_ = std::make_unique<tarn::host::LogCapture>();
  g_view.store(this);
  Simulator::setChangeListener(&SimView::OnChange);
  server_.PostAfter(kTick, [this] { Tick(); });
  return true;
}

void SimView::Stop() {
  SimView* self = this;
  if (g_view.compare_exchange_strong(self, nullptr)) Simulator::setChangeListener(nullptr);
  server_.Stop();
  capture_.reset();
}

void SimView::OnChange() {
  SimView* view = g_view.load();
  if (!view || view->flushDue_.exchange(true)) return;
  view->server_.Post([view] { view->Flush(); });
}

void SimView::Flush() {
  const auto now = std::chrono::steady_clock::now();
  if (now - lastFlush_ < kMinInterval) {
    server_.PostAfter(
        std::chrono::duration_cast<std::chrono::microseconds>(kMinInterval - (now - lastFlush_)),
        [this] { Flush(); });
    return;
  }
  lastFlush_ = now;
  // Changes from here on ask for another flush.
  flushDue_.store(false);
  TakeLogLines();
  // With no page open nothing is read: a page that opens reads it all.
  if (pages_.empty()) return;
  Snapshot();
  for (auto& [session, page] : pages_) {
    if (server_.Queued(session) > 0) {
      page.waiting = true;
      continue;
    }
    Update(session, page);
  }
}

void SimView::Tick() {
  // Log lines and stage hints come with no change to announce them.
  if ((TakeLogLines() || !pages_.empty()) && !flushDue_.exchange(true)) Flush();
  server_.PostAfter(kTick, [this] { Tick(); });
}

bool SimView::TakeLogLines() {
  if (!capture_) return false;
  std::vector<tarn::util::LogRecord> records = capture_->take();
  for (auto& r : records) {
    Json::Value line(Json::objectValue);
    line["seq"] = Json::UInt64(++logSeq_);
    line["level"] = r.level;
    line["logger"] = r.logger;
    line["text"] = r.text;
    line["thread"] = Json::UInt64(r.thread);
    logLines_.push_back(std::move(line));
    if (logLines_.size() > kLogKept) logLines_.pop_front();
  }
  return !records.empty();
}

void SimView::Snapshot() {
  std::string state = Compact(Simulator::state());
  // What the engine host keeps that the simulator does not: the power
  // subscriptions are the simulator's, the stage hints the host's.
  Json::Value host(Json::objectValue);
  host["subscriptions"] = Simulator::subscriptions();
  host["stageHints"] = Json::Value(Json::arrayValue);
  for (const auto& [hint, value] : tarn::host::StageHints()) {
    Json::Value pair(Json::arrayValue);
    pair.append(hint);
    pair.append(value);
    host["stageHints"].append(pair);
  }
  std::string hostText = Compact(host);
  if (state != stateText_ || hostText != hostText_) {
    stateText_ = std::move(state);
    hostText_ = std::move(hostText);
    ++stateVersion_;
  }
}

void SimView::Update(int session, Page& page) {
  page.waiting = false;
  unsigned long long skipped = 0, newest = 0;
  std::vector<JournalEntry> entries =
      Simulator::journalSince(page.seq, kJournalBatch, &skipped, &newest);
  const bool stateChanged = page.stateVersion != stateVersion_;
  if (!stateChanged && entries.empty() && newest == page.seq && page.logSeq == logSeq_) return;
  page.skipped += skipped;
  page.seq = newest;
  std::string message = "{\"type\":\"update\",\"version\":" + std::to_string(stateVersion_);
  if (stateChanged) {
    page.stateVersion = stateVersion_;
    message += ",\"state\":" + stateText_ + ",\"host\":" + hostText_;
  }
  Json::Value journal(Json::arrayValue);
  for (const auto& e : entries) journal.append(e.toJson());
  // The log lines after the page's last, the newest kLogBatch of them.
  Json::Value log(Json::arrayValue);
  size_t first = logLines_.size();
  while (first > 0 && logLines_.size() - first < kLogBatch &&
         logLines_[first - 1]["seq"].asUInt64() > page.logSeq) {
    --first;
  }
  for (size_t i = first; i < logLines_.size(); ++i) log.append(logLines_[i]);
  page.logSeq = logSeq_;
  message += ",\"journal\":" + Compact(journal) + ",\"log\":" + Compact(log) +
             ",\"skipped\":" + std::to_string(page.skipped) + "}";
  server_.Send(session, std::move(message));
}

bool SimView::AcceptsSession(const tarn::web::Request& request) {
  return request.target() == "/events";
}

void SimView::SessionStarted(int session, const tarn::web::Request& request) {
  Page& page = pages_[session];
  // A browser names the page's origin; only this server's own page may
  // steer the set (another site's script could otherwise reach it).
  const std::string origin(request[http::field::origin]);
  const std::string host(request[http::field::host]);
  page.trusted = !host.empty() && origin == "http://" + host;
  Json::Value hello(Json::objectValue);
  hello["type"] = "hello";
  hello["readOnly"] = readOnly_;
  hello["controls"] = !readOnly_ && page.trusted;
  server_.Send(session, Compact(hello));
  // The first update holds the whole state, even when nothing has changed
  // since the server started.
  Snapshot();
  Update(session, page);
}

void SimView::MessageReceived(int session, std::string message) {
  auto found = pages_.find(session);
  if (found == pages_.end()) return;
  Json::Value command;
  Json::CharReaderBuilder builder;
  builder["stackLimit"] = Simulator::kMaxJsonDepth;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string errors;
  Json::Value reply(Json::objectValue);
  bool parsed = false;
  try {
    parsed = reader->parse(message.data(), message.data() + message.size(), &command, &errors);
  } catch (const Json::Exception&) {
    parsed = false;
  }
  if (!parsed || !command.isObject()) {
    reply["ok"] = false;
    reply["error"] = "a control is a JSON object";
  } else if (readOnly_) {
    reply["ok"] = false;
    reply["error"] = "this view is read-only (--sim-view-readonly)";
  } else if (!found->second.trusted) {
    reply["ok"] = false;
    reply["error"] = "controls are taken only from the view's own page";
  } else {
    reply = runCommand(command);
  }
  reply["type"] = "reply";
  if (parsed && command.isObject() && command.isMember("id")) reply["id"] = command["id"];
  server_.Send(session, Compact(reply));
}

void SimView::SessionEnded(int session) { pages_.erase(session); }

void SimView::SessionDrained(int session) {
  auto found = pages_.find(session);
  if (found != pages_.end() && found->second.waiting) Update(session, found->second);
}

tarn::web::Response SimView::File(const tarn::web::Request& request, const std::string& name) {
  tarn::web::Response response(http::status::ok, request.version());
  std::ifstream in(pageFolder_ + "/" + name, std::ios::binary);
  std::string body((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (!in.good() && !in.eof()) {
    response.result(http::status::not_found);
    response.set(http::field::content_type, "text/plain; charset=UTF-8");
    response.body() = "not found\n";
    return response;
  }
  response.set(http::field::content_type, ContentType(name));
  response.body() = std::move(body);
  return response;
}

tarn::web::Response SimView::Answer(const tarn::web::Request& request, const std::string& host) {
  std::string path(request.target());
  const size_t query = path.find('?');
  if (query != std::string::npos) path.resize(query);
  tarn::web::Response response(http::status::ok, request.version());
  auto text = [&](http::status status, const char* body) {
    response.result(status);
    response.set(http::field::content_type, "text/plain; charset=UTF-8");
    response.body() = body;
  };
  if (!tarn::web::WebServer::AllowedHost(std::string(request[http::field::host]))) {
    text(http::status::bad_request, "Host header is not an IP address or localhost\n");
  } else if (request.method() != http::verb::get) {
    text(http::status::method_not_allowed, "only GET is served here\n");
  } else if (path == "/screen.png") {
    response.set(http::field::content_type, "image/png");
    response.body() = Simulator::screenPng(640, 360);
  } else if (path == "/" || (path.size() > 1 && PageFileName(path.substr(1)))) {
    response = File(request, path == "/" ? "index.html" : path.substr(1));
  } else {
    text(http::status::not_found, "not found\n");
  }
  response.set(http::field::cache_control, "no-cache");
  // Nothing but this server's own files and its WebSocket.
  response.set("Content-Security-Policy",
               "default-src 'self'; connect-src 'self' ws://" + host + "; img-src 'self'");
  response.set("X-Content-Type-Options", "nosniff");
  return response;
}

}  // namespace view
}  // namespace tvsim
