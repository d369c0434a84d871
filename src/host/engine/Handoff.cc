// Lock order: mutex_, then GLib's context lock (g_source_attach and
// g_source_destroy are called under mutex_). GLib calls our source callbacks
// and destroy notifiers without its context lock, so they may take mutex_.
#include "engine/Handoff.h"

#include <algorithm>
#include <vector>

namespace tarn {
namespace host {

Handoff::Handoff(GMainContext* context, Hooks hooks)
    : context_(g_main_context_ref(context)), hooks_(std::move(hooks)) {}

Handoff::~Handoff() {
  Close();
  Flush([](GSourceFunc function, gpointer data) { function(data); });
  g_main_context_unref(context_);
}

bool Handoff::Post(Task task) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (closed_.load(std::memory_order_acquire)) return false;
  queue_.push_back(std::move(task));
  if (!wake_) {
    wake_ = g_idle_source_new();
    g_source_set_priority(wake_, G_PRIORITY_DEFAULT);
    g_source_set_callback(wake_, &Handoff::WakeCallback, this, nullptr);
    g_source_attach(wake_, context_);
  }
  return true;
}

gboolean Handoff::WakeCallback(gpointer self) {
  auto* handoff = static_cast<Handoff*>(self);
  {
    std::lock_guard<std::mutex> lock(handoff->mutex_);
    if (handoff->wake_) {
      g_source_unref(handoff->wake_);
      handoff->wake_ = nullptr;
    }
  }
  if (handoff->hooks_.drain) handoff->hooks_.drain();
  return G_SOURCE_REMOVE;
}

std::deque<Handoff::Task> Handoff::Take() {
  std::deque<Task> tasks;
  std::lock_guard<std::mutex> lock(mutex_);
  tasks.swap(queue_);
  return tasks;
}

size_t Handoff::Pending() {
  std::lock_guard<std::mutex> lock(mutex_);
  return queue_.size() + idleCalls_.size();
}

guint Handoff::AddIdle(gint priority, GSourceFunc function, gpointer data, GDestroyNotify notify) {
  if (!function) return 0;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!closed_.load(std::memory_order_acquire)) {
      auto* call =
          new IdleCall{this, function, data, notify, g_idle_source_new(), nextOrder_++, false};
      g_source_set_priority(call->source, priority);
      g_source_set_callback(call->source, &Handoff::RunIdleCall, call, &Handoff::FinishIdleCall);
      idleCalls_.insert(call);
      call->published.store(true, std::memory_order_release);
      return g_source_attach(call->source, context_);
    }
  }
  if (notify) notify(data);
  return 0;
}

gboolean Handoff::RunIdleCall(gpointer pointer) {
  auto* call = static_cast<IdleCall*>(pointer);
  // Always true here (attached after it was set); the acquire pairs with
  // the producer's release.
  if (!call->published.load(std::memory_order_acquire)) return G_SOURCE_CONTINUE;
  if (call->done) return G_SOURCE_REMOVE;
  gboolean again = call->owner->hooks_.runIdle
                       ? call->owner->hooks_.runIdle(call->function, call->data)
                       : call->function(call->data);
  if (!again) call->done = true;
  return again;
}

// The source's destroy notifier: last thing GLib does with a call, whether
// it ran to its end or was destroyed by Flush.
void Handoff::FinishIdleCall(gpointer pointer) {
  auto* call = static_cast<IdleCall*>(pointer);
  (void)call->published.load(std::memory_order_acquire);
  Handoff* owner = call->owner;
  if (call->notify) call->notify(call->data);
  {
    std::lock_guard<std::mutex> lock(owner->mutex_);
    owner->idleCalls_.erase(call);
  }
  g_source_unref(call->source);
  delete call;
  if (owner->hooks_.idleDone) owner->hooks_.idleDone();
}

void Handoff::Close() { closed_.store(true, std::memory_order_release); }

size_t Handoff::Flush(const std::function<void(GSourceFunc, gpointer)>& runOrphan) {
  std::deque<Task> tasks;
  std::vector<IdleCall*> calls;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    tasks.swap(queue_);
    if (wake_) {
      g_source_destroy(wake_);
      g_source_unref(wake_);
      wake_ = nullptr;
    }
    calls.assign(idleCalls_.begin(), idleCalls_.end());
  }
  std::sort(calls.begin(), calls.end(),
            [](const IdleCall* a, const IdleCall* b) { return a->order < b->order; });
  size_t settled = tasks.size() + calls.size();
  tasks.clear();
  for (IdleCall* call : calls) {
    if (!call->notify && !call->done) {
      call->done = true;
      runOrphan(call->function, call->data);
    }
    // Runs FinishIdleCall, which frees the call.
    g_source_destroy(call->source);
  }
  return settled;
}

}  // namespace host
}  // namespace tarn
