// System information: fixed properties of the set, by integer key (129 the
// panel's vertical resolution, 343 exhibition mode, 319 MLS support). Open
// service, C interface.
#pragma once

#include <stdbool.h>

extern "C" {

enum {
  SYSTEM_INFO_ERROR_NONE = 0,
  SYSTEM_INFO_ERROR_INVALID_PARAMETER = -22,
  SYSTEM_INFO_ERROR_IO_ERROR = -5,
  SYSTEM_INFO_ERROR_PERMISSION_DENIED = -13,
};

// SYSTEM_INFO_ERROR_INVALID_PARAMETER for an unknown key, a key of the other
// type or a null output (left untouched).
int system_info_get_value_int(int key, int* value);
int system_info_get_value_bool(int key, bool* value);
}
