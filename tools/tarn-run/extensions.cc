// The extensions tarn-run installs: the simulated TV platform (`tarn.sim`
// and the --sim-* options).
#include "extensions.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "DevicePath.h"
#include "SimulatorExtension.h"
#include "tarn/host/DevicePaths.h"
#include "tvsim/Simulator.h"

std::vector<std::unique_ptr<tarn::host::Extension>> tarnRunExtensions() {
  std::vector<std::unique_ptr<tarn::host::Extension>> extensions;
  extensions.push_back(tvsim::makeSimulatorExtension());
  // The host's device paths go through the simulated TV's root folder.
  tarn::host::SetDevicePathResolver(&platform::devicePath);
  return extensions;
}

bool simulatorRootUsable(std::string* error) {
  const char* given = std::getenv("TVSIM_ROOT");
  struct stat info;
  if (given && *given && stat(given, &info) == 0 && !S_ISDIR(info.st_mode)) {
    *error = std::string("TVSIM_ROOT ") + given + " is not a folder";
    return false;
  }
  if (!given || !*given) {
    // A fresh temporary root is made on first use, so a script that never
    // touches a device file costs no file tree: here only the folder it will
    // be made in is checked.
    const char* tmp = std::getenv("TMPDIR");
    const std::string parent = tmp && *tmp ? tmp : "/tmp";
    if (stat(parent.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) ||
        access(parent.c_str(), W_OK | X_OK) != 0) {
      *error = std::string("the simulated TV has no root folder (TMPDIR ") +
               (tmp ? std::string("\"") + tmp + "\"" : std::string("not set")) + ")";
      return false;
    }
    return true;
  }
  const std::string root = tvsim::Simulator::root();
  if (root.empty() || root == "/") {
    *error = std::string("the simulated TV has no root folder (TVSIM_ROOT \"") + given + "\")";
    return false;
  }
  // A root of the user's own is written into before anything else touches
  // it: a probe file.
  std::string probe = root + "/.tarn-run-probe-XXXXXX";
  int fd = mkstemp(&probe[0]);
  if (fd < 0) {
    *error = "the simulated TV's root folder " + root + " is not writable: " + std::strerror(errno);
    return false;
  }
  close(fd);
  unlink(probe.c_str());
  return true;
}
