/* Virtual configuration keys of the set ("db/...", "memory/..."), typed
 * values by text key. Open service, C interface. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#define VCONF_OK 0
#define VCONF_ERROR -1

/* Reads an integer key into *value; VCONF_ERROR when the key is missing or
 * is not an integer (value untouched). */
int vconf_get_int(const char* key, int* value);

/* A malloc'd copy of a text key that the caller frees, or null when the key
 * is missing or is not a text. */
char* vconf_get_str(const char* key);

#ifdef __cplusplus
}
#endif
