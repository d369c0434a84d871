// Bluetooth: stack bring-up and tear-down, bonded devices delivered one script
// call per device through the idle hand-off, and the HID commands of the TV's
// own remote. Traps: the enumeration callback runs inside the platform call
// and must not touch script values; the stored function is read at delivery,
// so queued devices go to whatever function is stored by then; a null address
// or name from the stack becomes the empty text.
#include <exception>
#include <string>

#include "BtTvExtension.h"
#include "QDUtilBridge.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"
#include "bluetooth.h"
#include "events/Handoff.h"

namespace Bridge {

namespace {

// The TV's own remote control, not a bonded device.
constexpr const char* kOwnRemote = nullptr;
constexpr int kHidReserved = 0;

std::string textOrEmpty(const char* text) { return text ? std::string(text) : std::string(); }

// Called by the stack inside bt_adapter_foreach_bonded_device, once per
// bonded device; `userData` is the bridge. Copies plain data into a record
// and queues it; the record belongs to the hand-off from then on. Always goes
// on with the next device.
bool __bt_adapter_bonded_device_cb(bt_device_info_s* deviceInfo, void* userData) {
  if (!deviceInfo) return true;
  try {
    const std::string address = textOrEmpty(deviceInfo->remote_address);
    unsigned short vid = 0;
    unsigned short pid = 0;
    BtTvExtension::GetRemoteVidPid(address.c_str(), &vid, &pid);
    QD_LOG(staticLogger, kLogInfo, "[Tarn] [bt] __bt_adapter_bonded_device_cb");
    BtDeviceEvent* event = new BtDeviceEvent;
    event->remoteAddress = address;
    event->remoteName = textOrEmpty(deviceInfo->remote_name);
    event->isBonded = deviceInfo->is_bonded;
    event->isConnected = deviceInfo->is_connected;
    event->vid = vid;
    event->pid = pid;
    QDUtilBridge* bridge = static_cast<QDUtilBridge*>(userData);
    event->callback = bridge ? &bridge->btDeviceCallback : nullptr;
    queueBtDeviceEvent(event);
  } catch (const std::exception&) {
    // Out of memory: this device is lost; the stack must not see an exception.
  }
  return true;
}

bool sendHidCommand(int command) {
  return BtTvExtension::SendHidDeviceCommand(kOwnRemote, kHidReserved, command) == 0;
}

}  // namespace

ScriptObject QDUtilBridge::HandleInitializeBlueTooth(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogDetail, "[Tarn] [bt] HandleInitializeBlueTooth");
  const int result = bt_initialize();
  if (result != 0) QD_LOG(logger_, kLogDetail, "[Tarn] [bt] bt_initialize() failed.");
  return result;
}

ScriptObject QDUtilBridge::HandleDeInitializeBlueTooth(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogDetail, "[Tarn] [bt] HandleDeInitializeBlueTooth");
  const int result = bt_deinitialize();
  if (result != 0) QD_LOG(logger_, kLogDetail, "[Tarn] [bt] bt_deinitialize() failed.");
  return result;
}

// Any argument is stored, function or not; FireOnCallbacks skips a stored
// value that cannot be called.
ScriptObject QDUtilBridge::HandleGetBlueToothDevice(QDUtilBridge* self, const ScriptArray& args) {
  QD_LOG(logger_, kLogDetail, "HandleGetBlueToothDevice");
  self->btDeviceCallback = args::function(args, 0);
  const int result = bt_adapter_foreach_bonded_device(__bt_adapter_bonded_device_cb, self);
  QD_LOG(logger_, kLogDetail, "[BT]HandleGetBlueToothDevice ret :" << result);
  return result;
}

ScriptObject QDUtilBridge::HandleStartBT(QDUtilBridge*, const ScriptArray& args) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute StartBT");
  const bool on = args::flag(args, 0);
  return sendHidCommand(on ? BtTvExtension::HID_COMMAND_START_ON
                           : BtTvExtension::HID_COMMAND_START_OFF);
}

ScriptObject QDUtilBridge::HandleSetBT(QDUtilBridge*, const ScriptArray& args) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute SetBT");
  const bool on = args::flag(args, 0);
  return sendHidCommand(on ? BtTvExtension::HID_COMMAND_SET_ON
                           : BtTvExtension::HID_COMMAND_SET_OFF);
}

// Handlers: HandleInitializeBlueTooth, HandleDeInitializeBlueTooth,
// HandleGetBlueToothDevice, HandleStartBT, HandleSetBT.

}  // namespace Bridge
