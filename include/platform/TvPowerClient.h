// The TV's power service: power commands, the current power state and the
// power life-cycle notifications. Closed library, declared as free functions
// in a namespace. Notifications arrive on a thread of the service, never on
// the caller's; a callback must not block the service for long.
#pragma once

namespace TvPowerClient {

// Power states. 0 is normal; 1 and 2 are the device states of the set-state
// operations; 3 is reached by a power-off request (the set is suspended).
enum PowerState {
  POWER_STATE_NORMAL = 0,
  POWER_STATE_PICTURE_OFF = 1,
  POWER_STATE_STANDBY = 2,
  POWER_STATE_OFF = 3,
};

// Bit of a power-off request and of the power-off notice that marks a
// suspend; without it the notice carries a reset reason (13 service reset,
// 14 factory reset).
constexpr int POWER_OFF_SUSPEND = 0x40000000;

enum Error {
  POWER_ERROR_NONE = 0,
  POWER_ERROR_INVALID_PARAMETER = -1,
  POWER_ERROR_INVALID_STATE = -2,
  POWER_ERROR_NOT_SUBSCRIBED = -3,
};

// A notification: the integer is the wake-up reason, the power-off reason or
// the new power state; userData is what was given when subscribing.
// The return value is ignored by the service.
typedef int (*PowerCallback)(int value, void* userData);

// Asks the set to power off; the power-off subscribers are told `flags` as
// the reason. 0 on success.
int requestPowerOff(int flags);
// Picture off (1) or standby (2); also accepts 0. `flag` is 0 or 1.
int setDevicePowerState(int state, int flag);
// Back to normal (0); also accepts 1 and 2. `flag` is 0 or 1.
int setPowerState(int state, int flag);
// The current PowerState.
int getPowerState();
// Turns the screen on (1) or off (0). 0 on success.
int setScreenState(int on);
// The reason of the last wake-up, a platform number passed through.
int getWakeupReason();

// Subscriptions: 0 or more on success, a negative Error otherwise.
int subscribePreWakeup(PowerCallback callback, void* userData);
int subscribeWakeup(PowerCallback callback, void* userData);
int subscribePowerOff(PowerCallback callback, void* userData);
// 0 on success.
int subscribeStateChanged(PowerCallback callback, void* userData = nullptr);
// Removes the subscriptions made with `callback`; null removes them all.
// 0 when one was removed, POWER_ERROR_NOT_SUBSCRIBED when none was.
int unsubscribePreWakeup(PowerCallback callback);
int unsubscribeWakeup(PowerCallback callback);
int unsubscribePowerOff(PowerCallback callback);
int unsubscribeStateChanged(PowerCallback callback);

}  // namespace TvPowerClient
