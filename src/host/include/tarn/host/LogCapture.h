// Records the log lines of every logger, at every level, while it lives,
// whatever the stderr threshold. For tests; safe from any thread.
#pragma once

#include <vector>

#include "Logger.h"

namespace tarn {
namespace host {

class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // The lines recorded so far, oldest first; take() also forgets them.
  std::vector<tarn::util::LogRecord> records() const;
  std::vector<tarn::util::LogRecord> take();

  // Called by the logger for each line.
  void add(const tarn::util::LogRecord& record);

 private:
  struct State;
  State* state_;
};

}  // namespace host
}  // namespace tarn
