// The TV's Bluetooth extension: vendor and product ids of a bonded device
// and commands to the TV's own remote control. Closed library, free
// functions in a namespace; 0 on success or a negative Error.
#pragma once

namespace BtTvExtension {

enum Error {
  BTEXT_ERROR_NONE = 0,
  BTEXT_ERROR_INVALID_PARAMETER = -1,
  BTEXT_ERROR_NO_DEVICE = -2,
  BTEXT_ERROR_NO_DATA = -3,
};

// HID commands: start on/off, set on/off.
enum HidCommand {
  HID_COMMAND_SET_ON = 20,
  HID_COMMAND_SET_OFF = 21,
  HID_COMMAND_START_ON = 22,
  HID_COMMAND_START_OFF = 23,
};

// Vendor and product id of the bonded device at `address`. Outputs are left
// untouched unless 0 is returned (BTEXT_ERROR_NO_DATA: ids unknown).
int GetRemoteVidPid(const char* address, unsigned short* vid, unsigned short* pid);
// Sends `command` to the device at `address`; null means the TV's own remote
// control. `reserved` must be 0.
int SendHidDeviceCommand(const char* address, int reserved, int command);

}  // namespace BtTvExtension
