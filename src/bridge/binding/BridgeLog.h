// Log calls of the bridge. Every line names the bridge's source file, the
// calling function and line, and a level: 2 for ordinary lines, 3 for detail.
// The message is built only when a sink wants that level.
#pragma once

#include <sstream>

#include "Logger.h"
#include "dlog.h"

namespace Bridge {

constexpr const char* kBridgeSourceFile = "src/bridge/QDUtilBridge";
constexpr int kLogInfo = 2;
constexpr int kLogDetail = 3;

// Tag of the bridge's lines in the platform log.
constexpr const char* kDlogTag = "TARN";

// Logger of free functions (platform callbacks that have no bridge at hand).
extern tarn::util::Logger staticLogger;

}  // namespace Bridge

// QD_LOG(logger, level, a << b << c)
#define QD_LOG(logger, level, message)                                                          \
  do {                                                                                          \
    if (::tarn::util::Logger::isEnabled(level)) {                                               \
      std::ostringstream qdLogText_;                                                            \
      qdLogText_ << message;                                                                    \
      (logger).log(::Bridge::kBridgeSourceFile, __func__, __LINE__, (level), qdLogText_.str()); \
    }                                                                                           \
  } while (0)

// QD_LOG_AS(logger, function, level, a << b): as QD_LOG, for a helper that
// writes a step of a handler, so the line names that handler.
#define QD_LOG_AS(logger, function, level, message)                                               \
  do {                                                                                            \
    if (::tarn::util::Logger::isEnabled(level)) {                                                 \
      std::ostringstream qdLogText_;                                                              \
      qdLogText_ << message;                                                                      \
      (logger).log(::Bridge::kBridgeSourceFile, (function), __LINE__, (level), qdLogText_.str()); \
    }                                                                                             \
  } while (0)

// QD_DLOG(priority, "text %d", value): one platform-log line, prefixed with
// "file: function(line) > " as every platform-log line of the set is.
#define QD_DLOG(priority, format, ...)                                 \
  __dlog_print((priority), ::Bridge::kDlogTag, "%s: %s(%d) > " format, \
               ::Bridge::kBridgeSourceFile, __func__, __LINE__, ##__VA_ARGS__)
