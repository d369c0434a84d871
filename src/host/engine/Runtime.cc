// Work from other threads enters one locked queue; the first item schedules a
// single idle source on the script thread's context, which drains the queue
// later. A source attached from the script thread itself still runs only
// when the loop turns, so a sender is never re-entered.
#include "engine/Runtime.h"

#include <cassert>
#include <cstdio>

#include "TarnProcessManager.h"

namespace tarn {
namespace host {

namespace {
std::atomic<Runtime*> g_current{nullptr};

std::string Utf8(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  v8::String::Utf8Value utf8(isolate, value);
  return *utf8 ? std::string(*utf8, utf8.length()) : std::string("<unprintable value>");
}
}  // namespace

Runtime* Runtime::Current() { return g_current; }

Runtime::Runtime(v8::Isolate* isolate, GMainContext* mainContext)
    : isolate_(isolate),
      mainContext_(g_main_context_ref(mainContext)),
      loop_(g_main_loop_new(mainContext, FALSE)),
      handoff_(mainContext,
               Handoff::Hooks{
                   [this] { Drain(); },
                   [this](GSourceFunc function, gpointer data) { return RunIdle(function, data); },
                   [this] { MaybeQuit(); },
               }) {
  g_current = this;
}

Runtime::~Runtime() {
  assert(OnScriptThread());
  Close();
  Runtime* self = this;
  g_current.compare_exchange_strong(self, nullptr);
  g_main_loop_unref(loop_);
  g_main_context_unref(mainContext_);
}

Bridge::ScriptEngine* Runtime::GetScriptEngine() {
  return ready_.load(std::memory_order_acquire) && !handoff_.Closed() ? this : nullptr;
}

void Runtime::sendEvent(int code, const TarnEventArgsMap& args) {
  Post([this, code, args] { Dispatch("event", code, args); });
}

void Runtime::sendInteruptEvent(int code, const TarnEventArgsMap& args) {
  Post([this, code, args] { Dispatch("interrupt", code, args); });
}

bool Runtime::Post(std::function<void()> task) {
  if (handoff_.Post(std::move(task))) return true;
  static std::atomic<bool> told{false};
  if (!told.exchange(true)) {
    std::fprintf(stderr, "tarn-run: work handed to the engine after it closed is refused\n");
  }
  return false;
}

guint Runtime::AddIdle(gint priority, GSourceFunc function, gpointer data, GDestroyNotify notify) {
  return handoff_.AddIdle(priority, function, data, notify);
}

void Runtime::Drain() {
  assert(OnScriptThread());
  // Tasks left when the script exits are destroyed here, on the script thread.
  std::deque<std::function<void()>> tasks = handoff_.Take();
  for (auto& task : tasks) {
    if (Exiting()) break;
    v8::HandleScope scope(isolate_);
    v8::Context::Scope contextScope(Context());
    LoopEntry(isolate_, "task", task);
    AfterScriptWork();
  }
  MaybeQuit();
}

gboolean Runtime::RunIdle(GSourceFunc function, gpointer data) {
  assert(OnScriptThread());
  // An idle call's function owns its data; it runs even while the script
  // exits (script calls are refused then), so its record is freed.
  v8::HandleScope scope(isolate_);
  v8::Local<v8::Context> context = Context();
  bool blocked = scriptBlocked_;
  if (context.IsEmpty() || Exiting()) scriptBlocked_ = true;
  gboolean again = FALSE;
  if (context.IsEmpty()) {
    LoopEntry(isolate_, "idle call", [&] { again = function(data); });
  } else {
    v8::Context::Scope contextScope(context);
    LoopEntry(isolate_, "idle call", [&] { again = function(data); });
  }
  scriptBlocked_ = blocked;
  AfterScriptWork();
  return again;
}

size_t Runtime::Close() {
  assert(OnScriptThread());
  handoff_.Close();
  bool blocked = scriptBlocked_;
  scriptBlocked_ = true;
  size_t settled = handoff_.Flush([this](GSourceFunc function, gpointer data) {
    LoopEntry(isolate_, "idle call", [&] { function(data); });
  });
  scriptBlocked_ = blocked;
  return settled;
}

void Runtime::Hold() { holds_.fetch_add(1); }

void Runtime::Release() {
  holds_.fetch_sub(1);
  MaybeQuit();
}

void Runtime::SetContext(v8::Local<v8::Context> context) {
  assert(OnScriptThread());
  if (context.IsEmpty()) {
    ready_.store(false, std::memory_order_release);
    context_.Reset();
  } else {
    context_.Reset(isolate_, context);
    ready_.store(true, std::memory_order_release);
  }
}

v8::Local<v8::Context> Runtime::Context() const {
  return v8::Local<v8::Context>::New(isolate_, context_);
}

void Runtime::AddListener(const std::string& name, v8::Local<v8::Function> listener) {
  assert(OnScriptThread());
  listeners_[name].emplace_back(isolate_, listener);
  Hold();
}

void Runtime::RemoveListener(const std::string& name, v8::Local<v8::Function> listener) {
  auto found = listeners_.find(name);
  if (found == listeners_.end()) return;
  auto& list = found->second;
  for (auto it = list.begin(); it != list.end(); ++it) {
    if (*it == listener) {
      list.erase(it);
      Release();
      return;
    }
  }
}

void Runtime::Dispatch(const char* name, int code, const TarnEventArgsMap& args) {
  assert(OnScriptThread());
  auto found = listeners_.find(name);
  if (found == listeners_.end() || found->second.empty()) return;
  v8::Local<v8::Context> context = Context();
  v8::Local<v8::Object> argsObject = v8::Object::New(isolate_);
  for (const auto& entry : args) {
    v8::Local<v8::String> key, value;
    if (!v8::String::NewFromUtf8(isolate_, entry.first.c_str()).ToLocal(&key) ||
        !v8::String::NewFromUtf8(isolate_, entry.second.c_str()).ToLocal(&value) ||
        argsObject->Set(context, key, value).IsNothing()) {
      continue;
    }
  }
  // Copy first: a listener may remove itself or others.
  std::vector<v8::Local<v8::Function>> listeners;
  for (auto& listener : found->second) listeners.push_back(listener.Get(isolate_));
  v8::Local<v8::Value> argv[] = {v8::Integer::New(isolate_, code), argsObject};
  for (v8::Local<v8::Function> listener : listeners) {
    if (Exiting()) return;
    v8::TryCatch tryCatch(isolate_);
    v8::Local<v8::Value> ignored;
    if (!listener->Call(context, v8::Undefined(isolate_), 2, argv).ToLocal(&ignored)) {
      ReportUncaught(tryCatch);
      return;
    }
  }
}

bool Runtime::HasPendingWork() { return holds_.load() > 0 || handoff_.Pending() > 0; }

void Runtime::Run() {
  // A quit before the loop runs would be forgotten by it: look first.
  if (Exiting() || !HasPendingWork()) return;
  g_main_loop_run(loop_);
}

void Runtime::RequestExit(int code) {
  exitCode_ = code;
  exiting_.store(true, std::memory_order_release);
  g_main_loop_quit(loop_);
}

void Runtime::AfterScriptWork() {
  if (Exiting()) return;
  isolate_->PerformMicrotaskCheckpoint();
  if (rejections_.empty()) return;
  v8::HandleScope scope(isolate_);
  if (errorSink_) {
    auto rejections = std::move(rejections_);
    rejections_.clear();
    for (auto& rejection : rejections) errorSink_(rejection.second.Get(isolate_));
    return;
  }
  auto rejection = std::move(rejections_.front());
  rejections_.clear();
  v8::Local<v8::Value> reason = rejection.second.Get(isolate_);
  if (uncaughtObserver_) uncaughtObserver_(reason, v8::Local<v8::Message>(), true);
  std::string text = DescribeThrown(isolate_, Context(), reason, true);
  std::fprintf(stderr, "Uncaught (in promise) %s\n", text.c_str());
  RequestExit(1);
}

void Runtime::MaybeQuit() {
  if (Exiting()) {
    g_main_loop_quit(loop_);
    return;
  }
  if (!HasPendingWork()) g_main_loop_quit(loop_);
}

void Runtime::ReportUncaught(v8::TryCatch& tryCatch) {
  if (Exiting() || tryCatch.HasTerminated()) return;
  if (uncaughtObserver_) uncaughtObserver_(tryCatch.Exception(), tryCatch.Message(), false);
  if (errorSink_) {
    errorSink_(tryCatch.Exception());
    return;
  }
  PrintException(isolate_, tryCatch);
  RequestExit(1);
}

void Runtime::ReportUncaught(v8::Local<v8::Value> exception) {
  if (Exiting()) return;
  PrintException(isolate_, v8::Exception::CreateMessage(isolate_, exception), exception);
  RequestExit(1);
}

void Runtime::NotePromiseRejection(v8::PromiseRejectMessage message) {
  v8::Local<v8::Promise> promise = message.GetPromise();
  if (message.GetEvent() == v8::kPromiseRejectWithNoHandler) {
    v8::Local<v8::Value> value = message.GetValue();
    if (value.IsEmpty()) value = v8::Undefined(isolate_);
    rejections_.emplace_back(v8::Global<v8::Promise>(isolate_, promise),
                             v8::Global<v8::Value>(isolate_, value));
  } else if (message.GetEvent() == v8::kPromiseHandlerAddedAfterReject) {
    for (auto it = rejections_.begin(); it != rejections_.end(); ++it) {
      if (it->first == promise) {
        rejections_.erase(it);
        break;
      }
    }
  }
}

std::string DescribeThrown(v8::Isolate* isolate, v8::Local<v8::Context> context,
                           v8::Local<v8::Value> value, bool preferStack) {
  // Getters and toString are script code: they run only inside this
  // TryCatch, and a description that throws falls back to the next one.
  v8::HandleScope scope(isolate);
  v8::TryCatch tryCatch(isolate);
  if (value.IsEmpty()) return "undefined";
  if (value->IsSymbol()) {
    v8::Local<v8::Value> description = value.As<v8::Symbol>()->Description(isolate);
    return "Symbol(" + (description->IsString() ? Utf8(isolate, description) : std::string()) + ")";
  }
  if (value->IsObject() && !context.IsEmpty()) {
    v8::Local<v8::Object> object = value.As<v8::Object>();
    v8::Local<v8::Value> stack;
    if (preferStack &&
        object->Get(context, v8::String::NewFromUtf8Literal(isolate, "stack")).ToLocal(&stack) &&
        stack->IsString()) {
      return Utf8(isolate, stack);
    }
    tryCatch.Reset();
    v8::Local<v8::String> text;
    if (object->ToString(context).ToLocal(&text)) return Utf8(isolate, text);
    tryCatch.Reset();
    return "[object " + Utf8(isolate, object->GetConstructorName()) + " that cannot be printed]";
  }
  v8::Local<v8::String> text;
  if (!context.IsEmpty() && value->ToString(context).ToLocal(&text)) return Utf8(isolate, text);
  return "<unprintable value>";
}

void PrintException(v8::Isolate* isolate, v8::TryCatch& tryCatch) {
  v8::HandleScope scope(isolate);
  PrintException(isolate, tryCatch.Message(), tryCatch.Exception());
}

void PrintException(v8::Isolate* isolate, v8::Local<v8::Message> message,
                    v8::Local<v8::Value> exception) {
  v8::HandleScope scope(isolate);
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  std::string text;
  // Thrown where no script runs (a module that cannot be loaded): no place.
  if (!message.IsEmpty() && message->GetScriptResourceName()->IsString()) {
    std::string file = Utf8(isolate, message->GetScriptResourceName());
    int line = message->GetLineNumber(context).FromMaybe(0);
    text += file + ":" + std::to_string(line) + "\n";
    v8::Local<v8::String> sourceLine;
    if (message->GetSourceLine(context).ToLocal(&sourceLine)) {
      text += Utf8(isolate, sourceLine) + "\n";
      int start = message->GetStartColumn(context).FromMaybe(0);
      int end = message->GetEndColumn(context).FromMaybe(start + 1);
      if (start < 0 || start > 4096) start = 0;
      if (end < start || end - start > 4096) end = start + 1;
      text += std::string(start, ' ') + std::string(end > start ? end - start : 1, '^') + "\n";
    }
  }
  // A native error's stack already names it; anything else is "Uncaught ...".
  bool isError = !exception.IsEmpty() && exception->IsNativeError();
  std::string described = DescribeThrown(isolate, context, exception, isError);
  if (isError && described.find("\n    at ") != std::string::npos) {
    text += described;
  } else {
    text += "Uncaught " + described;
  }
  std::fprintf(stderr, "%s\n", text.c_str());
  std::fflush(stderr);
}

void ReportException(v8::Isolate* isolate, v8::TryCatch& tryCatch) {
  Runtime* runtime = Runtime::Current();
  if (runtime && runtime->GetIsolate() == isolate) {
    runtime->ReportUncaught(tryCatch);
  } else if (!tryCatch.HasTerminated()) {
    PrintException(isolate, tryCatch);
  }
}

// Ends the script at once: no further statement runs. A termination
// request is seen only when script code next checks for interrupts, so one
// tiny script function is entered to reach that check now.
void StopScript(v8::Isolate* isolate) {
  isolate->TerminateExecution();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Script> script;
  v8::Local<v8::Value> ignored;
  if (v8::Script::Compile(context, v8::String::NewFromUtf8Literal(isolate, "(function () {})()"))
          .ToLocal(&script) &&
      script->Run(context).ToLocal(&ignored)) {
    return;  // only when termination was already handled
  }
}

}  // namespace host
}  // namespace tarn
