// The front panel's micro-controller: the pre-power key, the power-key press
// counter and the booting time. Closed library, free functions in a
// namespace; every operation returns 0 on success or a negative Error.
#pragma once

#include <cstdint>

namespace PanelMcuClient {

enum Error {
  MCU_ERROR_NONE = 0,
  MCU_ERROR_INVALID_PARAMETER = -1,
  MCU_ERROR_IO = -2,
};

// Commands of controlPowerKeyPressCount.
enum PressCountCommand : unsigned char {
  PRESS_COUNT_RESET = 0,
  PRESS_COUNT_READ = 1,
};

// The booting-time record the panel fills: the first field is the booting
// time as an unsigned 32-bit count; the rest is the panel's own.
struct BootingTime {
  uint32_t bootingTime;
  uint8_t reserved[28];
};
static_assert(sizeof(BootingTime) == 32, "the panel fills 32 bytes");

// Pre-power: state non-zero means on.
int getPrePower(int* state);
int setPrePower(int on);
// RESET sets the count to 0 (count untouched); READ stores it in *count.
int controlPowerKeyPressCount(unsigned char command, int* count);
int getBootingTime(BootingTime* info);

}  // namespace PanelMcuClient
