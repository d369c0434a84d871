// The engine's named logger. Every line carries the logger name, a level, the
// source file, the function and the line. Safe to use from any thread.
//
// Levels: 0 error, 1 warning, 2 info, 3 debug, 4 trace. A line is written when
// its level is at or below the threshold (TARN_LOG_LEVEL, or tarn-run
// --log-level); the default threshold is 2.
#pragma once

#include <atomic>
#include <string>

namespace tarn {
namespace util {

enum LogLevel { LOG_ERROR = 0, LOG_WARN = 1, LOG_INFO = 2, LOG_DEBUG = 3, LOG_TRACE = 4 };

struct LogRecord {
  std::string logger;
  int level;
  std::string file;
  std::string function;
  int line;
  std::string text;
  unsigned long thread;  // kernel thread id of the writer
};

class Logger {
 public:
  explicit Logger(const std::string& name);
  explicit Logger(const char* name);
  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;
  ~Logger();

  const std::string& name() const { return name_; }

  // Cheap test to call before building a message.
  static bool isEnabled(int level) {
    return level <= enabledLevel_.load(std::memory_order_relaxed);
  }

  void log(const char* file, const char* function, int line, int level,
           const std::string& message) const;

  // Threshold of lines written to stderr.
  static void setThreshold(int level);
  static int threshold();

  // Highest level any sink wants: the threshold, or trace while a capture
  // is active. Kept by the logging back end.
  static std::atomic<int> enabledLevel_;

 private:
  std::string name_;
};

}  // namespace util
}  // namespace tarn
