/* The platform's Bluetooth stack: bring-up, tear-down and the bonded
 * devices. Open service, C interface; calls return BT_ERROR_NONE (0) or a
 * negative BT_ERROR_ code. */
#pragma once

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  BT_ERROR_NONE = 0,
  BT_ERROR_INVALID_PARAMETER = -22,
  BT_ERROR_NOT_INITIALIZED = -0x0101,
  BT_ERROR_NOT_ENABLED = -0x0102,
  BT_ERROR_OPERATION_FAILED = -0x0103,
} bt_error_e;

typedef struct {
  int major_device_class;
  int minor_device_class;
  int major_service_class_mask;
} bt_class_s;

/* One bonded device, valid only during the callback that receives it. */
typedef struct {
  char* remote_address; /* "AA:BB:CC:DD:EE:FF" */
  char* remote_name;
  bt_class_s bt_class;
  char** service_uuid;
  int service_count;
  bool is_bonded;
  bool is_connected;
  bool is_authorized;
} bt_device_info_s;

/* Return true to go on with the next device, false to stop. */
typedef bool (*bt_adapter_bonded_device_cb)(bt_device_info_s* device_info, void* user_data);

int bt_initialize(void);
/* BT_ERROR_NOT_INITIALIZED when not initialised. */
int bt_deinitialize(void);
/* Calls `callback` once per bonded device, in order, in the caller's thread,
 * before returning. BT_ERROR_NOT_INITIALIZED before bt_initialize,
 * BT_ERROR_NOT_ENABLED when the adapter is off. */
int bt_adapter_foreach_bonded_device(bt_adapter_bonded_device_cb callback, void* user_data);

#ifdef __cplusplus
}
#endif
