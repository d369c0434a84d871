// The hand-off from any thread to the script thread, free of V8: a locked
// queue of tasks drained by one idle source at a time, and the toolkit idle
// calls, each its own once-only GSource, remembered until it has run or been
// discarded. Closing refuses new work; Flush settles what is still queued, so
// no record outlives the runtime.
#pragma once

#include <glib.h>

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <set>

namespace tarn {
namespace host {

class Handoff {
 public:
  using Task = std::function<void()>;
  struct Hooks {
    // Script thread: the wake source fired; call Take() and run the batch.
    std::function<void()> drain;
    // Script thread: runs one idle call's function (scopes, microtasks).
    std::function<gboolean(GSourceFunc, gpointer)> runIdle;
    // Script thread: an idle call has finished or was discarded.
    std::function<void()> idleDone;
  };

  Handoff(GMainContext* context, Hooks hooks);
  // Script thread. Flushes whatever is left.
  ~Handoff();
  Handoff(const Handoff&) = delete;
  Handoff& operator=(const Handoff&) = delete;

  // Any thread. False (the task is destroyed on the caller's thread, nothing
  // else happens) once closed.
  bool Post(Task task);

  // Any thread. The source id, or 0 once closed: then nothing is queued, the
  // destroy notifier (if any) is called at once and the data stays the
  // caller's when there is none.
  guint AddIdle(gint priority, GSourceFunc function, gpointer data, GDestroyNotify notify);

  // Script thread: the queued tasks, in order; the queue is left empty.
  std::deque<Task> Take();

  // Tasks queued plus idle calls not yet finished. Any thread.
  size_t Pending();

  // Any thread: refuse new work from now on.
  void Close();
  bool Closed() const { return closed_.load(std::memory_order_acquire); }

  // Script thread, after Close: discards queued tasks (destroyed here) and
  // settles every idle call still attached. One with a destroy notifier is
  // discarded through the notifier; one without runs once through
  // `runOrphan`, since its function alone frees its data. Returns how many
  // items were settled.
  size_t Flush(const std::function<void(GSourceFunc, gpointer)>& runOrphan);

 private:
  struct IdleCall {
    Handoff* owner;
    GSourceFunc function;
    gpointer data;
    GDestroyNotify notify;
    GSource* source;
    unsigned long order;  // settled in the order queued
    bool done;            // ran to completion or settled by Flush
    // Set last by the producer, read first by the script thread: the fields
    // above are then visible there without relying on GLib's own locking,
    // which the thread checker cannot see.
    std::atomic<bool> published{false};
  };
  static gboolean WakeCallback(gpointer self);
  static gboolean RunIdleCall(gpointer call);
  static void FinishIdleCall(gpointer call);

  GMainContext* context_;
  Hooks hooks_;
  std::atomic<bool> closed_{false};
  std::mutex mutex_;
  std::deque<Task> queue_;         // guarded by mutex_
  GSource* wake_ = nullptr;        // the scheduled drain; guarded by mutex_
  std::set<IdleCall*> idleCalls_;  // attached, not yet finished; guarded by mutex_
  unsigned long nextOrder_ = 0;    // guarded by mutex_
};

}  // namespace host
}  // namespace tarn
