// Callback hand-off to the script thread. Device records cross as idle calls
// at priority 150 and are freed by FireOnCallbacks whatever the callback's
// state; engine events and tasks cross through the engine's own queue.
#include "events/Handoff.h"

#include <memory>

#include "QDUtilBridge.h"
#include "TarnProcessManager.h"
#include "binding/BridgeLog.h"
#include "clutter.h"

TarnFullProcessRuntime* _GetTarnFullProcessRuntime() {
  std::shared_ptr<TarnFullProcessRuntime> runtime = TarnProcessManager::Instance()->Runtime();
  return runtime.get();
}

namespace Bridge {

namespace {
gboolean fireOnCallbacksIdle(gpointer data) {
  return QDUtilBridge::FireOnCallbacks(data) ? TRUE : FALSE;
}
}  // namespace

void queueBtDeviceEvent(BtDeviceEvent* event) {
  clutter_threads_add_idle_full(kBtHandoffPriority, fireOnCallbacksIdle, event, nullptr);
}

int QDUtilBridge::FireOnCallbacks(void* data) {
  std::unique_ptr<BtDeviceEvent> event(static_cast<BtDeviceEvent*>(data));
  QD_LOG(logger_, kLogInfo, "[Tarn] [bt] FireOnCallbacks");
  if (!event || !event->callback) return 0;
  v8::HandleScope scope(v8::Isolate::GetCurrent());
  const ScriptFunction& callback = *event->callback;
  if (callback.isNull()) return 0;
  // Written whenever a callback is set; the wording is the field's.
  QD_LOG(logger_, kLogDetail, "[Tarn] [bt] js_callback.isNull");
  if (!callback.isFunction()) return 0;
  QD_LOG(logger_, kLogInfo, "[Tarn] [bt] js_callback.isFunction");
  ScriptObject device = ScriptObject::NewObject();
  device.set("remoteAddress", ScriptObject(event->remoteAddress));
  device.set("remoteName", ScriptObject(event->remoteName));
  device.set("isBonded", ScriptObject(event->isBonded));
  device.set("isConnected", ScriptObject(event->isConnected));
  device.set("vid", ScriptObject(event->vid));
  device.set("pid", ScriptObject(event->pid));
  ScriptArray arguments;
  arguments.set(0, device);
  callback.invoke(arguments);
  return 0;
}

}  // namespace Bridge
