/* Short sound and vibration feedback. Open service, C interface; calls
 * return FEEDBACK_ERROR_NONE (0) or a negative FEEDBACK_ERROR_ code. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  FEEDBACK_ERROR_NONE = 0,
  FEEDBACK_ERROR_INVALID_PARAMETER = -22,
  FEEDBACK_ERROR_NOT_INITIALIZED = -0x0201,
} feedback_error_e;

/* No pattern: playing it succeeds and plays nothing. */
#define FEEDBACK_PATTERN_NONE -1
/* Patterns are 0 .. FEEDBACK_PATTERN_MAX. */
#define FEEDBACK_PATTERN_MAX 199

int feedback_initialize(void);
int feedback_deinitialize(void);
int feedback_play(int pattern);

#ifdef __cplusplus
}
#endif
