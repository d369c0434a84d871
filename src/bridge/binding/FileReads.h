// Reading the set's files the way the platform's C calls do, for handlers
// whose answer depends on whether the file opened at all: a folder opens but
// cannot be read, and that is told apart from a file that is missing.
#pragma once

#include <cstddef>
#include <string>

#include "binding/Files.h"

namespace Bridge {
namespace files {

enum class ReadStatus {
  kRead,        // opened and read to its end (or to the limit)
  kCannotOpen,  // missing, or not openable for reading
  kReadError,   // opened, then a read failed (a folder, an I/O error)
};

// Reads `path` with stdio in pieces of `chunk` bytes until the end, appending
// exactly the bytes of each piece; stops quietly at `limit` bytes.
ReadStatus readInChunks(const std::string& path, std::size_t chunk, std::string* contents,
                        std::size_t limit = kDefaultLimit);

// One read(2) of at most `maxBytes` bytes from the start of `path`.
// `*readResult` is read's own answer (negative on failure).
ReadStatus readPrefix(const std::string& path, std::size_t maxBytes, std::string* contents,
                      long* readResult);

}  // namespace files
}  // namespace Bridge
