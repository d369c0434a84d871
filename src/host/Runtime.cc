// Work from other threads enters one locked queue; the first item schedules a
// single idle source on the script thread's context, which drains the queue
// later. A source attached from the script thread itself still runs only
// when the loop turns, so a sender is never re-entered.
#include "Runtime.h"

#include <cstdio>

#include "TarnProcessManager.h"

namespace tarn {
namespace host {

namespace {
Runtime* g_current = nullptr;

std::string Utf8(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  v8::String::Utf8Value utf8(isolate, value);
  return *utf8 ? std::string(*utf8, utf8.length()) : std::string("<unprintable value>");
}
}  // namespace

Runtime* Runtime::Current() { return g_current; }

Runtime::Runtime(v8::Isolate* isolate, GMainContext* mainContext)
    : isolate_(isolate),
      mainContext_(g_main_context_ref(mainContext)),
      loop_(g_main_loop_new(mainContext, FALSE)) {
  g_current = this;
}

Runtime::~Runtime() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (wake_) {
      g_source_destroy(wake_);
      g_source_unref(wake_);
      wake_ = nullptr;
    }
    queue_.clear();
  }
  if (g_current == this) g_current = nullptr;
  g_main_loop_unref(loop_);
  g_main_context_unref(mainContext_);
}

Bridge::ScriptEngine* Runtime::GetScriptEngine() { return context_.IsEmpty() ? nullptr : this; }

void Runtime::sendEvent(int code, const TarnEventArgsMap& args) {
  Post([this, code, args] { Dispatch("event", code, args); });
}

void Runtime::sendInteruptEvent(int code, const TarnEventArgsMap& args) {
  Post([this, code, args] { Dispatch("interrupt", code, args); });
}

void Runtime::Post(std::function<void()> task) {
  std::lock_guard<std::mutex> lock(mutex_);
  queue_.push_back(std::move(task));
  if (!wake_) {
    wake_ = g_idle_source_new();
    g_source_set_priority(wake_, G_PRIORITY_DEFAULT);
    g_source_set_callback(wake_, &Runtime::DrainCallback, this, nullptr);
    g_source_attach(wake_, mainContext_);
  }
}

gboolean Runtime::DrainCallback(gpointer self) {
  static_cast<Runtime*>(self)->Drain();
  return G_SOURCE_REMOVE;
}

void Runtime::Drain() {
  std::deque<std::function<void()>> tasks;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    tasks.swap(queue_);
    if (wake_) {
      g_source_unref(wake_);
      wake_ = nullptr;
    }
  }
  for (auto& task : tasks) {
    if (exiting_) break;
    v8::HandleScope scope(isolate_);
    v8::Context::Scope contextScope(Context());
    task();
    AfterScriptWork();
  }
  MaybeQuit();
}

void Runtime::Hold() { holds_.fetch_add(1); }

void Runtime::Release() {
  holds_.fetch_sub(1);
  MaybeQuit();
}

void Runtime::SetContext(v8::Local<v8::Context> context) {
  if (context.IsEmpty()) {
    context_.Reset();
  } else {
    context_.Reset(isolate_, context);
  }
}

v8::Local<v8::Context> Runtime::Context() const {
  return v8::Local<v8::Context>::New(isolate_, context_);
}

void Runtime::AddListener(const std::string& name, v8::Local<v8::Function> listener) {
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
    if (exiting_) return;
    v8::TryCatch tryCatch(isolate_);
    v8::Local<v8::Value> ignored;
    if (!listener->Call(context, v8::Undefined(isolate_), 2, argv).ToLocal(&ignored)) {
      ReportUncaught(tryCatch);
      return;
    }
  }
}

bool Runtime::HasPendingWork() {
  if (holds_.load() > 0) return true;
  std::lock_guard<std::mutex> lock(mutex_);
  return !queue_.empty();
}

void Runtime::Run() {
  // A quit before the loop runs would be forgotten by it: look first.
  if (exiting_ || !HasPendingWork()) return;
  g_main_loop_run(loop_);
}

void Runtime::RequestExit(int code) {
  exitCode_ = code;
  exiting_ = true;
  g_main_loop_quit(loop_);
}

void Runtime::AfterScriptWork() {
  if (exiting_) return;
  isolate_->PerformMicrotaskCheckpoint();
  if (rejections_.empty()) return;
  v8::HandleScope scope(isolate_);
  auto rejection = std::move(rejections_.front());
  rejections_.clear();
  v8::Local<v8::Value> reason = rejection.second.Get(isolate_);
  std::string text = Utf8(isolate_, reason);
  if (reason->IsObject()) {
    v8::Local<v8::Value> stack;
    if (reason.As<v8::Object>()
            ->Get(Context(), v8::String::NewFromUtf8Literal(isolate_, "stack"))
            .ToLocal(&stack) &&
        stack->IsString()) {
      text = Utf8(isolate_, stack);
    }
  }
  std::fprintf(stderr, "Uncaught (in promise) %s\n", text.c_str());
  RequestExit(1);
}

void Runtime::MaybeQuit() {
  if (exiting_) {
    g_main_loop_quit(loop_);
    return;
  }
  if (!HasPendingWork()) g_main_loop_quit(loop_);
}

void Runtime::ReportUncaught(v8::TryCatch& tryCatch) {
  if (exiting_ || tryCatch.HasTerminated()) return;
  PrintException(isolate_, tryCatch);
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

void PrintException(v8::Isolate* isolate, v8::TryCatch& tryCatch) {
  v8::HandleScope scope(isolate);
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Message> message = tryCatch.Message();
  std::string text;
  if (!message.IsEmpty()) {
    std::string file = Utf8(isolate, message->GetScriptResourceName());
    int line = message->GetLineNumber(context).FromMaybe(0);
    text += file + ":" + std::to_string(line) + "\n";
    v8::Local<v8::String> sourceLine;
    if (message->GetSourceLine(context).ToLocal(&sourceLine)) {
      text += Utf8(isolate, sourceLine) + "\n";
      int start = message->GetStartColumn(context).FromMaybe(0);
      int end = message->GetEndColumn(context).FromMaybe(start + 1);
      text += std::string(start, ' ') + std::string(end > start ? end - start : 1, '^') + "\n";
    }
  }
  v8::Local<v8::Value> stack;
  if (tryCatch.StackTrace(context).ToLocal(&stack) && stack->IsString()) {
    text += Utf8(isolate, stack);
  } else {
    text += "Uncaught " + Utf8(isolate, tryCatch.Exception());
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

}  // namespace host
}  // namespace tarn
