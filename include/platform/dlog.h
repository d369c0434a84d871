/* The platform log: one line per call with a priority and a tag. Open
 * service, C interface. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
  DLOG_UNKNOWN = 0,
  DLOG_DEFAULT = 1,
  DLOG_VERBOSE = 2,
  DLOG_DEBUG = 3,
  DLOG_INFO = 4,
  DLOG_WARN = 5,
  DLOG_ERROR = 6,
  DLOG_FATAL = 7,
  DLOG_SILENT = 8,
} log_priority;

#define DLOG_ERROR_NONE 0
#define DLOG_ERROR_INVALID_PARAMETER -22

/* printf-style. Returns the number of bytes written, or
 * DLOG_ERROR_INVALID_PARAMETER for a priority out of range or a null format. */
int __dlog_print(int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

#ifdef __cplusplus
}
#endif
