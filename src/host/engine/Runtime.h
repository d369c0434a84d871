// The engine's runtime on the script thread: the isolate and its context, the
// GLib main loop, the queue through which other threads hand work over, and
// the hold count that keeps the loop running while something is pending.
#pragma once

#include <glib.h>
#include <v8.h>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ScriptBridge.h"
#include "ScriptEngine.h"
#include "TarnFullProcessRuntime.h"
#include "engine/Handoff.h"

namespace tarn {
namespace host {

class Runtime : public TarnFullProcessRuntime, public Bridge::ScriptEngine {
 public:
  // The runtime of the process, or null outside a running host.
  static Runtime* Current();

  Runtime(v8::Isolate* isolate, GMainContext* mainContext);
  ~Runtime() override;

  // TarnFullProcessRuntime: this, once a script context exists and until the
  // runtime closes. Any thread.
  Bridge::ScriptEngine* GetScriptEngine() override;

  // ScriptEngine: any thread; delivered later to the "event" and "interrupt"
  // listeners.
  void sendEvent(int code, const TarnEventArgsMap& args) override;
  void sendInteruptEvent(int code, const TarnEventArgsMap& args) override;
  v8::Isolate* GetIsolate() const override { return isolate_; }

  // Any thread: runs task later on the script thread, in order, inside a
  // handle scope and the context. False once the runtime is closed: the
  // task is refused (destroyed on the caller's thread, never run).
  bool Post(std::function<void()> task);

  // Any thread: a toolkit idle call (clutter_threads_add_idle_full). 0 once
  // closed.
  guint AddIdle(gint priority, GSourceFunc function, gpointer data, GDestroyNotify notify);

  // Script thread, after the script has ended: refuses new work, discards
  // queued tasks and events and settles queued idle calls (Handoff::Flush),
  // with script calls refused meanwhile. Returns the number of items settled.
  size_t Close();
  bool Closed() const { return handoff_.Closed(); }
  // While true, ScriptFunction::invoke calls nothing (idle calls settled at
  // exit run their native part only).
  bool ScriptBlocked() const { return scriptBlocked_; }

  // Pending work that keeps the loop running. Any thread.
  void Hold();
  void Release();

  void SetContext(v8::Local<v8::Context> context);
  v8::Local<v8::Context> Context() const;
  GMainContext* MainContext() const { return mainContext_; }

  // Script listeners of engine events ("event", "interrupt"). Script thread.
  void AddListener(const std::string& name, v8::Local<v8::Function> listener);
  void RemoveListener(const std::string& name, v8::Local<v8::Function> listener);

  // Runs the loop until nothing is pending or an exit is requested.
  void Run();
  // Stops at the next opportunity with this status.
  void RequestExit(int code);
  bool Exiting() const { return exiting_.load(std::memory_order_acquire); }
  int ExitCode() const { return exitCode_; }
  void SetExitCode(int code) { exitCode_ = code; }

  // After each piece of script work: runs microtasks, reports promises
  // rejected without a handler, and quits when nothing is left.
  void AfterScriptWork();
  // Quits the loop when nothing is pending.
  void MaybeQuit();
  bool HasPendingWork();
  // Whether anything but the caller's own `own` holds is pending.
  bool PendingBeyond(int own) { return holds_.load() > own || handoff_.Pending() > 0; }

  // Reports an uncaught script error and ends the run with status 1.
  void ReportUncaught(v8::TryCatch& tryCatch);
  // The same for an exception caught by other means (a rejected promise the
  // host waits on); its place is the one the error recorded when made.
  void ReportUncaught(v8::Local<v8::Value> exception);

  // An interactive session reports errors itself and goes on: while a sink
  // is set, uncaught errors and promises rejected without a handler are
  // handed to it (on the script thread) instead of ending the run.
  using ErrorSink = std::function<void(v8::Local<v8::Value> error)>;
  void SetErrorSink(ErrorSink sink) { errorSink_ = std::move(sink); }

  // Promises rejected with no handler are reported after the microtasks of
  // the current piece of work have run.
  void NotePromiseRejection(v8::PromiseRejectMessage message);

  // Told of each error that ends the run, before it is printed: an uncaught
  // one with its message, or the reason of a promise rejected without a
  // handler (no message). Script thread; a debugger shows them.
  using UncaughtObserver = std::function<void(v8::Local<v8::Value> error,
                                              v8::Local<v8::Message> message, bool inPromise)>;
  void SetUncaughtObserver(UncaughtObserver observer) { uncaughtObserver_ = std::move(observer); }

 private:
  void Drain();
  gboolean RunIdle(GSourceFunc function, gpointer data);
  // Debug builds assert that script-thread work runs there.
  bool OnScriptThread() const { return std::this_thread::get_id() == scriptThread_; }
  std::thread::id scriptThread_ = std::this_thread::get_id();
  void Dispatch(const char* name, int code, const TarnEventArgsMap& args);

  v8::Isolate* isolate_;
  GMainContext* mainContext_;
  GMainLoop* loop_;
  v8::Global<v8::Context> context_;

  std::atomic<bool> ready_{false};  // a context exists; read by other threads
  bool scriptBlocked_ = false;
  Handoff handoff_;

  std::atomic<int> holds_{0};
  std::atomic<bool> exiting_{false};
  int exitCode_ = 0;
  std::map<std::string, std::vector<v8::Global<v8::Function>>> listeners_;
  std::vector<std::pair<v8::Global<v8::Promise>, v8::Global<v8::Value>>> rejections_;
  ErrorSink errorSink_;
  UncaughtObserver uncaughtObserver_;
};

// Runs a native entry of the loop that no script is below (a task, an idle
// call, a timer) inside the one exception boundary: a native exception is
// logged and the loop goes on. Returns false when one was thrown.
template <class F>
bool LoopEntry(v8::Isolate* isolate, const char* entry, F&& body) noexcept {
  try {
    body();
    return true;
  } catch (...) {
    Bridge::detail::nativeEntryFailed(isolate, entry, false);
    return false;
  }
}

// A thrown value as one text, without letting script code (getters,
// toString) run outside a TryCatch: a Symbol as "Symbol(x)", an error by its
// stack when preferStack, else its string form, else a fallback text.
std::string DescribeThrown(v8::Isolate* isolate, v8::Local<v8::Context> context,
                           v8::Local<v8::Value> value, bool preferStack);

// Prints an exception with its location, source line and stack on stderr.
void PrintException(v8::Isolate* isolate, v8::TryCatch& tryCatch);
void PrintException(v8::Isolate* isolate, v8::Local<v8::Message> message,
                    v8::Local<v8::Value> exception);

// Reports a caught exception as uncaught: through the runtime when there is
// one (the run then ends with status 1), else just printed.
void ReportException(v8::Isolate* isolate, v8::TryCatch& tryCatch);

// Ends the running script at once: no further statement of it runs.
void StopScript(v8::Isolate* isolate);

}  // namespace host
}  // namespace tarn
