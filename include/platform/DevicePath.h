// Where an absolute device path (a kernel report under /proc, a marker under
// /tmp or /run, a device node under /dev, an app folder under /opt/usr/apps)
// is found. On the set this is the path itself; off the set, the same path
// under the simulator's root folder, with the kernel reports refreshed.
#pragma once

#include <string>

namespace platform {

// Absolute paths are resolved ("." and ".." folded, never above the root);
// anything else is returned unchanged.
std::string devicePath(const std::string& absolutePath);

}  // namespace platform
