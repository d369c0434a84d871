// The routes by which platform callbacks, on platform threads, reach the
// script thread: a Bluetooth device record queued as a once-only idle call
// (FireOnCallbacks), and the engine's event and task entry points, which are
// safe from any thread. Nothing here touches a script value off the script
// thread.
#pragma once

#include <string>

#include "ScriptObject.h"
#include "TarnFullProcessRuntime.h"

namespace Bridge {

// One bonded Bluetooth device on its way to the script thread. Allocated with
// new by the platform-side callback, owned by FireOnCallbacks once queued.
struct BtDeviceEvent {
  std::string remoteAddress;
  std::string remoteName;
  bool isBonded = false;
  bool isConnected = false;
  int vid = 0;
  int pid = 0;
  // The bridge's stored callback member; not owned. Read when the record is
  // delivered, so a function set after queueing still receives it.
  ScriptFunction* callback = nullptr;
};

// Idle priority of the device hand-off: the toolkit's redraw priority (high
// idle 100 + 50), ahead of default idle work (200).
constexpr int kBtHandoffPriority = 150;

// Queues `event` for FireOnCallbacks on the script thread. Any thread;
// ownership passes with the call.
void queueBtDeviceEvent(BtDeviceEvent* event);

}  // namespace Bridge

// The engine's runtime of this process, not owned; null before the engine
// has started one. Any thread.
TarnFullProcessRuntime* _GetTarnFullProcessRuntime();
