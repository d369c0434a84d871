#include "repl/InterruptWatch.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace tarn {
namespace host {
namespace repl {

InterruptWatch::InterruptWatch(v8::Isolate* isolate) : isolate_(isolate) {
  if (pipe2(wake_, O_CLOEXEC) != 0) return;
  thread_ = std::thread([this] { Watch(); });
}

void InterruptWatch::Stop(std::deque<unsigned char>* keys) {
  if (thread_.joinable()) {
    char byte = 0;
    while (write(wake_[1], &byte, 1) < 0 && errno == EINTR) {
    }
    thread_.join();
  }
  for (int& fd : wake_) {
    if (fd >= 0) close(fd);
    fd = -1;
  }
  if (keys) keys->insert(keys->end(), keys_.begin(), keys_.end());
  keys_.clear();
}

void InterruptWatch::Watch() {
  bool input = true;
  for (;;) {
    struct pollfd fds[2] = {{wake_[0], POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    if (poll(fds, input ? 2 : 1, -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (fds[0].revents) return;
    if (!fds[1].revents) continue;
    unsigned char buffer[256];
    ssize_t count = read(STDIN_FILENO, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      input = false;  // the end of input is the prompt's to see
      continue;
    }
    for (ssize_t i = 0; i < count; ++i) {
      if (buffer[i] == 0x03 && !interrupted_.load()) {
        interrupted_.store(true);
        isolate_->TerminateExecution();
      } else {
        keys_.push_back(buffer[i]);
      }
    }
  }
}

}  // namespace repl
}  // namespace host
}  // namespace tarn
