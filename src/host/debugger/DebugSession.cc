// V8's inspector on the script thread. The server's thread queues what the
// clients send (a new session, a message, a session gone) and wakes the
// script thread three ways: a task through the runtime's hand-off (the GLib
// loop is idle), an isolate interrupt (a script is running: a client can
// pause a busy loop) and a condition variable (the thread is blocked here:
// paused at a breakpoint, waiting for a client with --inspect-brk, or for
// the clients to leave at the end). Everything V8 is touched on the script
// thread only; what V8 sends back is handed to the server's thread.
#include "debugger/DebugSession.h"

#include <json/json.h>
#include <unistd.h>
#include <v8-inspector.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "debugger/ApiHelpCommand.h"
#include "debugger/DebuggerEndpoints.h"
#include "debugger/ProtocolText.h"
#include "engine/Runtime.h"

#ifndef TARN_VERSION
#define TARN_VERSION "0.0.0"
#endif

namespace tarn {
namespace debugger {

namespace {

constexpr int kContextGroup = 1;
constexpr const char* kHelp = "docs/host.md, section \"Debugging\"";

// --- console -------------------------------------------------------------

// The host's console method wrapped so that V8's own console method (whose
// only work is to report the call to the inspector, with its arguments and
// stack) is called first. Data: [V8's method, the host's method, V8's console].
void ForwardConsole(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Array> data = info.Data().As<v8::Array>();
  v8::Local<v8::Value> engineMethod, hostMethod, engineConsole;
  if (!data->Get(context, 0).ToLocal(&engineMethod) ||
      !data->Get(context, 1).ToLocal(&hostMethod) ||
      !data->Get(context, 2).ToLocal(&engineConsole)) {
    return;
  }
  std::vector<v8::Local<v8::Value>> args;
  args.reserve(static_cast<size_t>(info.Length()));
  for (int i = 0; i < info.Length(); ++i) args.push_back(info[i]);
  v8::Local<v8::Value> result;
  if (!engineMethod.As<v8::Function>()
           ->Call(context, engineConsole, info.Length(), args.data())
           .ToLocal(&result)) {
    return;
  }
  if (hostMethod.As<v8::Function>()
          ->Call(context, info.This(), info.Length(), args.data())
          .ToLocal(&result)) {
    info.GetReturnValue().Set(result);
  }
}

// --- the inspector -------------------------------------------------------

class Debugger final : public host::ScriptDebugger,
                       public v8_inspector::V8InspectorClient,
                       public InspectorServer::Delegate {
 public:
  Debugger(const ListenAddress& address, bool breakOnStart, const std::string& target)
      : address_(address),
        breakOnStart_(breakOnStart),
        target_(target),
        id_(NewTargetId()),
        directory_(CurrentDirectory()) {}

  ~Debugger() override {
    if (server_) server_->Stop();
  }

  // Starts the server and prints where it listens; false after printing why
  // it cannot.
  bool Listen() {
    std::string url = ScriptUrl(target_, directory_);
    InspectorServer::Target target{id_, target_, url, "tarn-run/" TARN_VERSION};
    auto server = std::make_unique<InspectorServer>(target, this);
    std::string error;
    if (!server->Start(address_.bind, address_.port, &error)) {
      std::fprintf(stderr, "Starting inspector on %s:%u failed: %s\n", address_.display.c_str(),
                   static_cast<unsigned>(address_.port), error.c_str());
      return false;
    }
    server_ = std::move(server);
    unsigned port = server_->Port();
    if (!address_.loopback) {
      std::fprintf(stderr,
                   "Warning: the debugger listens on %s:%u, which other machines may reach. "
                   "Anyone who connects can run any code in this process; bind it to "
                   "127.0.0.1 (the default) unless that is what you want.\n",
                   address_.display.c_str(), port);
    }
    std::fprintf(stderr, "Debugger listening on ws://%s:%u/%s\nFor help, see: %s\n\n",
                 address_.display.c_str(), port, id_.c_str(), kHelp);
    std::fflush(stderr);
    return true;
  }

  // --- ScriptDebugger (script thread) ---

  void contextCreated(v8::Local<v8::Context> context) override {
    isolate_ = context->GetIsolate();
    v8::HandleScope scope(isolate_);
    inspector_ = v8_inspector::V8Inspector::create(isolate_, this);
    // An uncaught error's message keeps its stack, for the report above.
    isolate_->SetCaptureStackTraceForUncaughtExceptions(true, 32);
    context_.Reset(isolate_, context);
    std::string name = "tarn-run[" + std::to_string(getpid()) + "]";
    std::string auxData = R"({"isDefault":true})";
    v8_inspector::V8ContextInfo info(context, kContextGroup, AsciiView(name));
    info.auxData = AsciiView(auxData);
    inspector_->contextCreated(info);
    // V8's own console, before the host puts its own in its place.
    v8::TryCatch tryCatch(isolate_);
    v8::Local<v8::Value> console;
    if (context->Global()
            ->Get(context, v8::String::NewFromUtf8Literal(isolate_, "console"))
            .ToLocal(&console) &&
        console->IsObject()) {
      engineConsole_.Reset(isolate_, console.As<v8::Object>());
    }
    g_active.store(this);
    std::lock_guard<std::mutex> lock(mutex_);
    runtime_ = host::Runtime::Current();
    interruptIsolate_ = isolate_;
    if (!queue_.empty()) WakeLocked();
  }

  void uncaughtError(v8::Local<v8::Context> context, v8::Local<v8::Value> error,
                     v8::Local<v8::Message> message, bool inPromise) override {
    if (!inspector_ || contextDestroyed_ || context.IsEmpty()) return;
    v8::HandleScope scope(isolate_);
    v8::TryCatch tryCatch(isolate_);
    // As node reports it: the console of DevTools shows the error in red.
    std::string text = inPromise ? "Uncaught (in promise)" : "Uncaught";
    std::vector<uint16_t> detail, url;
    unsigned line = 0, column = 0;
    int scriptId = 0;
    std::unique_ptr<v8_inspector::V8StackTrace> stack;
    if (!message.IsEmpty()) {
      detail = Utf16(isolate_, message->Get());
      v8::Local<v8::Value> name = message->GetScriptResourceName();
      if (name->IsString()) {
        std::string file = ScriptUrl(ToUtf8(View(Utf16(isolate_, name))), directory_);
        url = file.empty() ? Utf16(isolate_, name) : Utf8ToUtf16(file);
      }
      // Both counted from 1 here.
      line = static_cast<unsigned>(std::max(0, message->GetLineNumber(context).FromMaybe(0)));
      column =
          static_cast<unsigned>(std::max(0, message->GetStartColumn(context).FromMaybe(-1) + 1));
      scriptId = message->GetScriptOrigin().ScriptId();
      v8::Local<v8::StackTrace> trace = message->GetStackTrace();
      if (!trace.IsEmpty() && trace->GetFrameCount() > 0) {
        stack = inspector_->createStackTrace(trace);
      }
    }
    inspector_->exceptionThrown(context, AsciiView(text), error, View(detail), View(url), line,
                                column, std::move(stack), scriptId);
  }

  void beforeScript(v8::Local<v8::Context> context) override {
    if (!inspector_) return;
    WrapConsole(context);
    if (breakOnStart_ && server_) {
      waitingForDebugger_ = true;
      WaitUntil([this] { return !waitingForDebugger_; });
    }
  }

  void scriptEnded(v8::Local<v8::Context> context) override {
    if (!inspector_) return;
    v8::HandleScope scope(isolate_);
    Event event;
    while (Take(&event, false)) Handle(event);
    if (!sessions_.empty()) {
      std::fprintf(stderr, "Waiting for the debugger to disconnect...\n");
      std::fflush(stderr);
      // A client that asked to be told (VS Code) keeps the context to look at;
      // the others see it destroyed, as node does.
      bool kept = false;
      for (auto& entry : sessions_) {
        if (entry.second->keepContext) {
          entry.second->Send(R"({"method":"NodeRuntime.waitingForDisconnect","params":{}})");
          kept = true;
        }
      }
      if (!kept) DestroyContext(context);
      if (server_) server_->StopAccepting();
      WaitUntil([this] { return sessions_.empty(); });
    }
    if (server_) server_->StopAccepting();
    DestroyContext(context);
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    queue_.clear();
  }

  void shutdown() override {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      closed_ = true;
      queue_.clear();
      runtime_ = nullptr;
      interruptIsolate_ = nullptr;
    }
    g_active.store(nullptr);
    if (server_) server_->Stop();
    // The sessions go before the inspector they belong to.
    sessions_.clear();
    engineConsole_.Reset();
    context_.Reset();
    inspector_.reset();
  }

  // --- V8InspectorClient (script thread) ---

  void runMessageLoopOnPause(int) override {
    if (paused_) return;
    paused_ = true;
    quitPause_ = false;
    WaitUntil([this] { return quitPause_; });
    paused_ = false;
  }

  void quitMessageLoopOnPause() override { quitPause_ = true; }

  void runIfWaitingForDebugger(int) override {
    if (!waitingForDebugger_) return;
    waitingForDebugger_ = false;
    // As node's --inspect-brk: the script's first statement is where every
    // session with the debugger enabled stops.
    std::string reason = "Break on start";
    for (auto& entry : sessions_) {
      entry.second->v8session->schedulePauseOnNextStatement(AsciiView(reason),
                                                            v8_inspector::StringView());
    }
  }

  void installAdditionalCommandLineAPI(v8::Local<v8::Context> context,
                                       v8::Local<v8::Object> helpers) override {
    InstallConsoleHelp(context, helpers);
  }

  v8::Local<v8::Context> ensureDefaultContextInGroup(int) override {
    if (context_.IsEmpty() || contextDestroyed_) return v8::Local<v8::Context>();
    return context_.Get(isolate_);
  }

  double currentTimeMS() override {
    return std::chrono::duration<double, std::milli>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
  }

  std::unique_ptr<v8_inspector::StringBuffer> resourceNameToUrl(
      const v8_inspector::StringView& resourceName) override {
    std::string url = ScriptUrl(ToUtf8(resourceName), directory_);
    if (url.empty()) return nullptr;
    return v8_inspector::StringBuffer::create(AsciiView(url));
  }

  // --- InspectorServer::Delegate (server thread) ---

  void SessionStarted(int session) override {
    if (Push(Event{Event::kConnect, session, std::string()})) {
      std::fprintf(stderr, "Debugger attached.\n");
      std::fflush(stderr);
    }
  }

  void MessageReceived(int session, std::string message) override {
    Push(Event{Event::kMessage, session, std::move(message)});
  }

  void SessionEnded(int session) override {
    Push(Event{Event::kDisconnect, session, std::string()});
  }

 private:
  struct Event {
    enum Kind { kConnect, kMessage, kDisconnect } kind = kMessage;
    int session = 0;
    std::string message;
  };

  // One client: V8's session and the channel its answers leave by.
  class Session final : public v8_inspector::V8Inspector::Channel {
   public:
    Session(Debugger* owner, int id) : owner_(owner), id(id) {}
    // V8's session sends its last notifications here as it goes.
    ~Session() override { v8session.reset(); }

    void sendResponse(int, std::unique_ptr<v8_inspector::StringBuffer> message) override {
      Send(ToUtf8(message->string()));
    }
    void sendNotification(std::unique_ptr<v8_inspector::StringBuffer> message) override {
      Send(ToUtf8(message->string()));
    }
    void flushProtocolNotifications() override {}

    void Send(std::string message) { owner_->server_->Send(id, std::move(message)); }

   private:
    Debugger* owner_;

   public:
    const int id;
    std::unique_ptr<v8_inspector::V8InspectorSession> v8session;
    int depth = 0;             // its messages being dispatched, nested while paused
    bool gone = false;         // the client left while one was being dispatched
    bool keepContext = false;  // NodeRuntime.notifyWhenWaitingForDisconnect
  };

  static std::atomic<Debugger*> g_active;

  static void OnInterrupt(v8::Isolate*, void*) {
    Debugger* self = g_active.load();
    if (!self) return;
    {
      std::lock_guard<std::mutex> lock(self->mutex_);
      self->interruptPending_ = false;
    }
    self->Pump();
  }

  // Server thread. False once the script side takes nothing more.
  bool Push(Event event) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) return false;
    queue_.push_back(std::move(event));
    wake_.notify_all();
    WakeLocked();
    return true;
  }

  // With mutex_ held.
  void WakeLocked() {
    if (runtime_ && !wakePosted_) {
      wakePosted_ = true;
      runtime_->Post([this] {
        {
          std::lock_guard<std::mutex> lock(mutex_);
          wakePosted_ = false;
        }
        Pump();
      });
    }
    // One pending interrupt is enough: it handles the whole queue.
    if (interruptIsolate_ && !interruptPending_) {
      interruptPending_ = true;
      interruptIsolate_->RequestInterrupt(&Debugger::OnInterrupt, nullptr);
    }
  }

  bool Take(Event* event, bool wait) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (wait) wake_.wait(lock, [this] { return !queue_.empty() || closed_; });
    if (queue_.empty()) return false;
    *event = std::move(queue_.front());
    queue_.pop_front();
    return true;
  }

  // From the loop's task or an interrupt: handles what is queued, unless a
  // message is being dispatched already (an interrupt inside a script that
  // a client's message runs); the one dispatching picks the rest up.
  void Pump() {
    if (!inspector_ || dispatchDepth_ > 0) return;
    v8::HandleScope scope(isolate_);
    Event event;
    while (Take(&event, false)) Handle(event);
  }

  // Blocks the script thread, handling what arrives, until done() holds.
  void WaitUntil(const std::function<bool()>& done) {
    v8::HandleScope scope(isolate_);
    while (!done()) {
      Event event;
      if (!Take(&event, true)) return;
      Handle(event);
    }
  }

  void Handle(Event& event) {
    if (event.kind == Event::kConnect) {
      auto session = std::make_unique<Session>(this, event.session);
      session->v8session =
          inspector_->connect(kContextGroup, session.get(), v8_inspector::StringView());
      sessions_[event.session] = std::move(session);
      return;
    }
    auto found = sessions_.find(event.session);
    if (found == sessions_.end()) return;
    Session* session = found->second.get();
    if (event.kind == Event::kDisconnect) {
      if (session->depth == 0) {
        sessions_.erase(found);
        return;
      }
      // Its dispatch is below on this stack: it goes when that returns. A
      // pause nobody else can end is ended now.
      session->gone = true;
      bool others = false;
      for (auto& entry : sessions_) others = others || !entry.second->gone;
      if (paused_ && !others) session->v8session->resume();
      return;
    }
    if (session->gone || HandleNodeRuntime(session, event.message)) return;
    std::vector<uint16_t> text = Utf8ToUtf16(event.message);
    ++session->depth;
    ++dispatchDepth_;
    session->v8session->dispatchProtocolMessage(v8_inspector::StringView(text.data(), text.size()));
    --dispatchDepth_;
    --session->depth;
    if (session->gone && session->depth == 0) sessions_.erase(session->id);
  }

  // The NodeRuntime methods clients of node send: VS Code asks to be told
  // when the script has ended, to detach then.
  bool HandleNodeRuntime(Session* session, const std::string& message) {
    if (message.find("NodeRuntime.") == std::string::npos) return false;
    Json::CharReaderBuilder builder;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value request;
    std::string errors;
    if (!reader->parse(message.data(), message.data() + message.size(), &request, &errors) ||
        !request.isObject() || !request["method"].isString()) {
      return false;
    }
    const std::string method = request["method"].asString();
    const Json::Value& params = request["params"];
    if (method == "NodeRuntime.notifyWhenWaitingForDisconnect") {
      session->keepContext =
          params.isObject() && params["enabled"].isBool() && params["enabled"].asBool();
    } else if (method != "NodeRuntime.enable" && method != "NodeRuntime.disable") {
      return false;
    }
    Json::Value reply(Json::objectValue);
    reply["id"] = request["id"];
    reply["result"] = Json::Value(Json::objectValue);
    session->Send(CompactJson(reply));
    if (method == "NodeRuntime.enable" && waitingForDebugger_) {
      session->Send(R"({"method":"NodeRuntime.waitingForDebugger","params":{}})");
    }
    return true;
  }

  // Each console method the host defines that V8's console also has reports
  // to the inspector, then does what it did.
  void WrapConsole(v8::Local<v8::Context> context) {
    if (engineConsole_.IsEmpty()) return;
    v8::HandleScope scope(isolate_);
    v8::TryCatch tryCatch(isolate_);
    v8::Local<v8::Object> engineConsole = engineConsole_.Get(isolate_);
    v8::Local<v8::Value> value;
    if (!context->Global()
             ->Get(context, v8::String::NewFromUtf8Literal(isolate_, "console"))
             .ToLocal(&value) ||
        !value->IsObject() || value->StrictEquals(engineConsole)) {
      return;
    }
    v8::Local<v8::Object> hostConsole = value.As<v8::Object>();
    v8::Local<v8::Array> names;
    if (!hostConsole->GetOwnPropertyNames(context).ToLocal(&names)) return;
    for (uint32_t i = 0; i < names->Length(); ++i) {
      v8::Local<v8::Value> name, hostMethod, engineMethod;
      if (!names->Get(context, i).ToLocal(&name) || !name->IsString() ||
          !hostConsole->Get(context, name).ToLocal(&hostMethod) || !hostMethod->IsFunction() ||
          !engineConsole->Get(context, name).ToLocal(&engineMethod) ||
          !engineMethod->IsFunction()) {
        continue;
      }
      v8::Local<v8::Array> data = v8::Array::New(isolate_, 3);
      v8::Local<v8::Function> wrapper;
      if (data->Set(context, 0, engineMethod).IsNothing() ||
          data->Set(context, 1, hostMethod).IsNothing() ||
          data->Set(context, 2, engineConsole).IsNothing() ||
          !v8::Function::New(context, ForwardConsole, data, 0, v8::ConstructorBehavior::kThrow)
               .ToLocal(&wrapper)) {
        continue;
      }
      wrapper->SetName(name.As<v8::String>());
      if (hostConsole->Set(context, name, wrapper).IsNothing()) continue;
    }
  }

  void DestroyContext(v8::Local<v8::Context> context) {
    if (contextDestroyed_) return;
    contextDestroyed_ = true;
    inspector_->contextDestroyed(context);
  }

  const ListenAddress address_;
  const bool breakOnStart_;
  const std::string target_;
  const std::string id_;
  const std::string directory_;  // relative script names are taken from here
  std::unique_ptr<InspectorServer> server_;

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Event> queue_;                  // guarded by mutex_
  host::Runtime* runtime_ = nullptr;         // guarded by mutex_
  v8::Isolate* interruptIsolate_ = nullptr;  // guarded by mutex_
  bool wakePosted_ = false;                  // guarded by mutex_
  bool interruptPending_ = false;            // guarded by mutex_
  bool closed_ = false;                      // guarded by mutex_

  // Script thread only.
  v8::Isolate* isolate_ = nullptr;
  std::unique_ptr<v8_inspector::V8Inspector> inspector_;
  v8::Global<v8::Context> context_;
  v8::Global<v8::Object> engineConsole_;
  std::map<int, std::unique_ptr<Session>> sessions_;
  int dispatchDepth_ = 0;
  bool paused_ = false;
  bool quitPause_ = false;
  bool waitingForDebugger_ = false;
  bool contextDestroyed_ = false;
};

// The inspector an interrupt finds; null once it has shut down, so an
// interrupt still pending then does nothing.
std::atomic<Debugger*> Debugger::g_active{nullptr};

}  // namespace

}  // namespace debugger
}  // namespace tarn

extern "C" __attribute__((visibility("default"))) tarn::host::ScriptDebugger* tarnStartDebugger(
    const char* option, const char* value, int breakOnStart, const char* target, int* status) {
  using tarn::debugger::ListenAddress;
  *status = 0;
  ListenAddress address;
  std::string error;
  if (!tarn::debugger::ParseListenAddress(value, &address, &error)) {
    std::fprintf(stderr, "tarn-run: %s%s%s: %s\n", option, value ? "=" : "", value ? value : "",
                 error.c_str());
    *status = 2;
    return nullptr;
  }
  try {
    auto inspector = std::make_unique<tarn::debugger::Debugger>(address, breakOnStart != 0,
                                                                target ? target : "");
    if (!inspector->Listen()) return nullptr;
    return inspector.release();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "Starting inspector on %s:%u failed: %s\n", address.display.c_str(),
                 static_cast<unsigned>(address.port), e.what());
    return nullptr;
  }
}
