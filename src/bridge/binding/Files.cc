#include "binding/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace Bridge {
namespace files {

bool readWhole(const std::string& path, std::string* contents, std::size_t limit) {
  contents->clear();
  // Non-blocking open: a FIFO or device node must not stall the script thread.
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return false;
  struct stat info;
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    return false;
  }
  // Kernel reports claim size 0, so read until the end rather than trusting it.
  char buffer[65536];
  bool ok = true;
  for (;;) {
    ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0) {
      if (errno == EINTR) continue;
      ok = false;
      break;
    }
    if (n == 0) break;
    if (contents->size() + static_cast<std::size_t>(n) > limit) {
      ok = false;
      break;
    }
    contents->append(buffer, static_cast<std::size_t>(n));
  }
  ::close(fd);
  if (!ok) contents->clear();
  return ok;
}

bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

}  // namespace files
}  // namespace Bridge
