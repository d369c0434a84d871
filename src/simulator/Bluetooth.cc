// Bluetooth: the stack's bring-up, the bonded devices (reported one by one
// in the caller's thread, as the stack does) and the TV's Bluetooth
// extension with vendor/product ids and remote-control commands.
#include <cstring>
#include <string>
#include <vector>

#include "BtTvExtension.h"
#include "Core.h"
#include "bluetooth.h"

using namespace tvsim::detail;

extern "C" {

int bt_initialize(void) {
  Call call("bluetooth", "bt_initialize", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  core.state["bluetooth"]["initialized"] = true;
  return call.finish(static_cast<int>(BT_ERROR_NONE));
}

int bt_deinitialize(void) {
  Call call("bluetooth", "bt_deinitialize", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& initialized = core.state["bluetooth"]["initialized"];
  if (!initialized.asBool()) return call.finish(static_cast<int>(BT_ERROR_NOT_INITIALIZED));
  initialized = false;
  return call.finish(static_cast<int>(BT_ERROR_NONE));
}

int bt_adapter_foreach_bonded_device(bt_adapter_bonded_device_cb callback, void* user_data) {
  Call call("bluetooth", "bt_adapter_foreach_bonded_device",
            args(pointer(reinterpret_cast<const void*>(callback)), pointer(user_data)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!callback) return call.finish(static_cast<int>(BT_ERROR_INVALID_PARAMETER));
  std::vector<Json::Value> devices;
  {
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    const Json::Value& bt = core.state["bluetooth"];
    if (!bt["initialized"].asBool()) return call.finish(static_cast<int>(BT_ERROR_NOT_INITIALIZED));
    if (!bt["adapterEnabled"].asBool()) return call.finish(static_cast<int>(BT_ERROR_NOT_ENABLED));
    for (const auto& d : bt["devices"]) {
      if (d["bonded"].asBool()) devices.push_back(d);
    }
  }
  // Reported without the state's lock, so the callback may call the platform.
  for (const auto& d : devices) {
    std::string address = d["address"].asString();
    std::string name = d["name"].asString();
    bt_device_info_s info{};
    info.remote_address = d["address"].isNull() ? nullptr : &address[0];
    info.remote_name = d["name"].isNull() ? nullptr : &name[0];
    info.is_bonded = true;
    info.is_connected = d["connected"].asBool();
    info.is_authorized = true;
    const bool more = callback(&info, user_data);
    tvsim::JournalEntry entry;
    entry.library = "tvsim";
    entry.operation = "report.bondedDevice";
    entry.arguments = args(text(info.remote_address), text(info.remote_name));
    entry.result = more;
    entry.thread = currentThreadId();
    Core::instance().appendJournal(std::move(entry));
    if (!more) break;
  }
  return call.finish(static_cast<int>(BT_ERROR_NONE));
}

}  // extern "C"

namespace BtTvExtension {

int GetRemoteVidPid(const char* address, unsigned short* vid, unsigned short* pid) {
  Call call("BtTvExtension", "GetRemoteVidPid", args(text(address), pointer(vid), pointer(pid)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!address || !vid || !pid) return call.finish(static_cast<int>(BTEXT_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  const Json::Value& devices = core.state["bluetooth"]["devices"];
  auto matches = [address](const Json::Value& d) {
    const Json::Value& a = d["address"];
    return !a.isNull() && std::strcmp(a.asCString(), address) == 0;
  };
  // Callers ask device after device during an enumeration: look just after
  // the last match first, so thousands of devices do not cost a full scan
  // each.
  static thread_local Json::ArrayIndex next = 0;
  Json::ArrayIndex found = devices.size();
  if (next < devices.size() && matches(devices[next])) found = next;
  for (Json::ArrayIndex i = 0; found == devices.size() && i < devices.size(); ++i) {
    if (matches(devices[i])) found = i;
  }
  if (found < devices.size()) {
    next = found + 1;
    const Json::Value& d = devices[found];
    if (d["vid"].isNull() || d["pid"].isNull())
      return call.finish(static_cast<int>(BTEXT_ERROR_NO_DATA));
    *vid = static_cast<unsigned short>(d["vid"].asUInt());
    *pid = static_cast<unsigned short>(d["pid"].asUInt());
    return call.finish(static_cast<int>(BTEXT_ERROR_NONE));
  }
  return call.finish(static_cast<int>(BTEXT_ERROR_NO_DEVICE));
}

int SendHidDeviceCommand(const char* address, int reserved, int command) {
  Call call("BtTvExtension", "SendHidDeviceCommand", args(text(address), reserved, command));
  if (auto forced = call.forcedInt()) return *forced;
  if (reserved != 0 || command < HID_COMMAND_SET_ON || command > HID_COMMAND_START_OFF) {
    return call.finish(static_cast<int>(BTEXT_ERROR_INVALID_PARAMETER));
  }
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& bt = core.state["bluetooth"];
  if (address) {
    bool found = false;
    for (const auto& d : bt["devices"]) found = found || d["address"].asString() == address;
    if (!found) return call.finish(static_cast<int>(BTEXT_ERROR_NO_DEVICE));
    return call.finish(static_cast<int>(BTEXT_ERROR_NONE));
  }
  // The TV's own remote control keeps what it was last told.
  Json::Value& hid = bt["hid"];
  switch (command) {
    case HID_COMMAND_SET_ON:
    case HID_COMMAND_SET_OFF:
      hid["set"] = command == HID_COMMAND_SET_ON;
      break;
    default:
      hid["started"] = command == HID_COMMAND_START_ON;
      break;
  }
  return call.finish(static_cast<int>(BTEXT_ERROR_NONE));
}

}  // namespace BtTvExtension
