// Reading the set's files. Handlers never open files themselves: they ask for
// the whole file here, with a size limit, and get false for a file that is
// missing, unreadable, a folder, or larger than the limit.
#pragma once

#include <cstddef>
#include <string>

namespace Bridge {
namespace files {

// Default limit for the small text files the bridge reads (manifests,
// launcher list, log policy, kernel reports).
constexpr std::size_t kDefaultLimit = 16u * 1024u * 1024u;

// Reads the whole regular file at `path` into `contents`. False, with
// `contents` empty, when it cannot be opened or read, is not a regular file,
// or holds more than `limit` bytes.
bool readWhole(const std::string& path, std::string* contents, std::size_t limit = kDefaultLimit);

// Whether `path` exists (any kind of file), as access(path, F_OK) tells.
bool exists(const std::string& path);

}  // namespace files
}  // namespace Bridge
