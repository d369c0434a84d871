// The set's power: power commands and state, subscriptions to the power
// life cycle (delivered on the simulator's thread), the front panel and the
// welcome screen.
#include <algorithm>

#include "AvOutputClient.h"
#include "Core.h"
#include "PanelMcuClient.h"
#include "TvPowerClient.h"

using namespace tvsim::detail;

namespace TvPowerClient {

namespace {

Json::Value& power(Core& core) { return core.state["power"]; }

int setState(const char* operation, int state, int flag) {
  Call call("TvPowerClient", operation, args(state, flag));
  if (auto forced = call.forcedInt()) return *forced;
  if (state < POWER_STATE_NORMAL || state > POWER_STATE_STANDBY || (flag != 0 && flag != 1)) {
    return call.finish(static_cast<int>(POWER_ERROR_INVALID_PARAMETER));
  }
  {
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    core.changePowerStateLocked(state);
  }
  return call.finish(static_cast<int>(POWER_ERROR_NONE));
}

int subscribe(const char* operation, PowerEvent event, PowerCallback callback, void* userData) {
  Call call("TvPowerClient", operation,
            args(pointer(reinterpret_cast<const void*>(callback)), pointer(userData)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!callback) return call.finish(static_cast<int>(POWER_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  core.subscriptions.push_back(Subscription{event, callback, userData});
  return call.finish(static_cast<int>(POWER_ERROR_NONE));
}

int unsubscribe(const char* operation, PowerEvent event, PowerCallback callback) {
  Call call("TvPowerClient", operation, args(pointer(reinterpret_cast<const void*>(callback))));
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  auto& subs = core.subscriptions;
  auto end = std::remove_if(subs.begin(), subs.end(), [&](const Subscription& s) {
    return s.event == event && (!callback || s.callback == callback);
  });
  const bool removed = end != subs.end();
  subs.erase(end, subs.end());
  return call.finish(static_cast<int>(removed ? POWER_ERROR_NONE : POWER_ERROR_NOT_SUBSCRIBED));
}

}  // namespace

int requestPowerOff(int flags) {
  Call call("TvPowerClient", "requestPowerOff", args(flags));
  if (auto forced = call.forcedInt()) return *forced;
  if (flags < 0) return call.finish(static_cast<int>(POWER_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  if (power(core)["state"].asInt() == POWER_STATE_OFF) {
    return call.finish(static_cast<int>(POWER_ERROR_INVALID_STATE));
  }
  core.notifyLocked(PowerEvent::PowerOff, flags);
  core.changePowerStateLocked(POWER_STATE_OFF);
  return call.finish(static_cast<int>(POWER_ERROR_NONE));
}

int setDevicePowerState(int state, int flag) {
  return setState("setDevicePowerState", state, flag);
}

int setPowerState(int state, int flag) { return setState("setPowerState", state, flag); }

int getPowerState() {
  Call call("TvPowerClient", "getPowerState", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  return call.finish(power(core)["state"].asInt());
}

int setScreenState(int on) {
  Call call("TvPowerClient", "setScreenState", args(on));
  if (auto forced = call.forcedInt()) return *forced;
  if (on != 0 && on != 1) return call.finish(static_cast<int>(POWER_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  if (power(core)["state"].asInt() == POWER_STATE_OFF) {
    return call.finish(static_cast<int>(POWER_ERROR_INVALID_STATE));
  }
  power(core)["screenOn"] = on == 1;
  return call.finish(static_cast<int>(POWER_ERROR_NONE));
}

int getWakeupReason() {
  Call call("TvPowerClient", "getWakeupReason", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  return call.finish(power(core)["wakeupReason"].asInt());
}

int subscribePreWakeup(PowerCallback callback, void* userData) {
  return subscribe("subscribePreWakeup", PowerEvent::PreWakeup, callback, userData);
}
int subscribeWakeup(PowerCallback callback, void* userData) {
  return subscribe("subscribeWakeup", PowerEvent::Wakeup, callback, userData);
}
int subscribePowerOff(PowerCallback callback, void* userData) {
  return subscribe("subscribePowerOff", PowerEvent::PowerOff, callback, userData);
}
int subscribeStateChanged(PowerCallback callback, void* userData) {
  return subscribe("subscribeStateChanged", PowerEvent::StateChanged, callback, userData);
}
int unsubscribePreWakeup(PowerCallback callback) {
  return unsubscribe("unsubscribePreWakeup", PowerEvent::PreWakeup, callback);
}
int unsubscribeWakeup(PowerCallback callback) {
  return unsubscribe("unsubscribeWakeup", PowerEvent::Wakeup, callback);
}
int unsubscribePowerOff(PowerCallback callback) {
  return unsubscribe("unsubscribePowerOff", PowerEvent::PowerOff, callback);
}
int unsubscribeStateChanged(PowerCallback callback) {
  return unsubscribe("unsubscribeStateChanged", PowerEvent::StateChanged, callback);
}

}  // namespace TvPowerClient

namespace PanelMcuClient {

int getPrePower(int* state) {
  Call call("PanelMcuClient", "getPrePower", args(pointer(state)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!state) return call.finish(static_cast<int>(MCU_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  *state = core.state["power"]["prePower"].asInt();
  return call.finish(static_cast<int>(MCU_ERROR_NONE));
}

int setPrePower(int on) {
  Call call("PanelMcuClient", "setPrePower", args(on));
  if (auto forced = call.forcedInt()) return *forced;
  if (on != 0 && on != 1) return call.finish(static_cast<int>(MCU_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  core.state["power"]["prePower"] = on;
  return call.finish(static_cast<int>(MCU_ERROR_NONE));
}

int controlPowerKeyPressCount(unsigned char command, int* count) {
  Call call("PanelMcuClient", "controlPowerKeyPressCount",
            args(static_cast<int>(command), pointer(count)));
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& presses = core.state["power"]["powerKeyPressCount"];
  if (command == PRESS_COUNT_RESET) {
    presses = 0;
    return call.finish(static_cast<int>(MCU_ERROR_NONE));
  }
  if (command == PRESS_COUNT_READ && count) {
    *count = presses.asInt();
    return call.finish(static_cast<int>(MCU_ERROR_NONE));
  }
  return call.finish(static_cast<int>(MCU_ERROR_INVALID_PARAMETER));
}

int getBootingTime(BootingTime* info) {
  Call call("PanelMcuClient", "getBootingTime", args(pointer(info)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!info) return call.finish(static_cast<int>(MCU_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  info->bootingTime = core.state["power"]["bootingTime"].asUInt();
  return call.finish(static_cast<int>(MCU_ERROR_NONE));
}

}  // namespace PanelMcuClient

namespace AvOutputClient {

int setWelcomeMode(int value) {
  Call call("AvOutputClient", "setWelcomeMode", args(value));
  if (auto forced = call.forcedInt()) return *forced;
  if (value < 0) return call.finish(static_cast<int>(AVOUT_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  core.state["av"]["welcomeMode"] = value;
  return call.finish(static_cast<int>(AVOUT_ERROR_NONE));
}

}  // namespace AvOutputClient
