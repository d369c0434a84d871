/* The platform libc's own clock-setting call. C interface. */
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Sets the wall clock to `seconds` since the epoch; the two integers are the
 * platform's and are passed through. 0 on success, -1 (errno EINVAL) for a
 * negative time. */
int qd_settimeofday(int64_t seconds, int arg1, int arg2);

#ifdef __cplusplus
}
#endif
