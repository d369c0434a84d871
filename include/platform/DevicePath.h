// Where an absolute device path (a kernel report under /proc, a marker under
// /tmp or /run, a device node under /dev) is found. On the set this is the
// path itself.
#pragma once

#include <string>

namespace platform {

std::string devicePath(const std::string& absolutePath);

}  // namespace platform
