// Ctrl+C while a prompt line's code runs.
#pragma once

#include <v8.h>

#include <atomic>
#include <deque>
#include <thread>
#include <vector>

namespace tarn {
namespace host {
namespace repl {

// While a line's code runs, the script thread cannot read the terminal: a
// thread of its own does, and Ctrl+C there stops the code
// (TerminateExecution may be called from any thread). Other keys are kept,
// in order, for the prompt.
class InterruptWatch {
 public:
  explicit InterruptWatch(v8::Isolate* isolate);
  ~InterruptWatch() { Stop(); }
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  // Ends the watch; what it read besides the Ctrl+C goes to *keys.
  void Stop(std::deque<unsigned char>* keys = nullptr);

  bool Interrupted() const { return interrupted_.load(); }

 private:
  void Watch();

  v8::Isolate* isolate_;
  int wake_[2] = {-1, -1};
  std::thread thread_;
  std::atomic<bool> interrupted_{false};
  std::vector<unsigned char> keys_;  // read by the watch only until joined
};

}  // namespace repl
}  // namespace host
}  // namespace tarn
