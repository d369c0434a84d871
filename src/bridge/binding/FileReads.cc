#include "binding/FileReads.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

namespace Bridge {
namespace files {

ReadStatus readInChunks(const std::string& path, std::size_t chunk, std::string* contents,
                        std::size_t limit) {
  contents->clear();
  if (chunk == 0) chunk = 1;
  // Non-blocking so that a FIFO in the file's place cannot stall the script
  // thread; regular files and folders are unaffected.
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return ReadStatus::kCannotOpen;
  std::FILE* file = ::fdopen(fd, "r");
  if (!file) {
    ::close(fd);
    return ReadStatus::kCannotOpen;
  }
  std::vector<char> buffer(chunk, '\0');
  ReadStatus status = ReadStatus::kRead;
  while (!std::feof(file)) {
    std::size_t n = std::fread(buffer.data(), 1, chunk, file);
    if (contents->size() + n > limit) n = limit - contents->size();
    contents->append(buffer.data(), n);
    if (contents->size() >= limit) break;
    if (std::ferror(file)) {
      status = ReadStatus::kReadError;
      break;
    }
    std::fill(buffer.begin(), buffer.end(), '\0');
  }
  std::fclose(file);
  return status;
}

ReadStatus readPrefix(const std::string& path, std::size_t maxBytes, std::string* contents,
                      long* readResult) {
  contents->clear();
  *readResult = 0;
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return ReadStatus::kCannotOpen;
  std::vector<char> buffer(maxBytes + 1, '\0');
  ssize_t n;
  do {
    n = ::read(fd, buffer.data(), maxBytes);
  } while (n < 0 && errno == EINTR);
  ::close(fd);
  *readResult = static_cast<long>(n);
  if (n < 0) return ReadStatus::kReadError;
  contents->assign(buffer.data(), static_cast<std::size_t>(n));
  return ReadStatus::kRead;
}

}  // namespace files
}  // namespace Bridge
