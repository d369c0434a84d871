// System information: fixed properties of the set, by integer key.
#pragma once

#include <stdbool.h>

extern "C" {

enum {
  SYSTEM_INFO_ERROR_NONE = 0,
  SYSTEM_INFO_ERROR_INVALID_PARAMETER = -22,
  SYSTEM_INFO_ERROR_IO_ERROR = -5,
  SYSTEM_INFO_ERROR_PERMISSION_DENIED = -13,
};

int system_info_get_value_int(int key, int* value);
int system_info_get_value_bool(int key, bool* value);
}
