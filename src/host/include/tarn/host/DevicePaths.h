// How the host turns a device path (an app folder under /opt/usr/apps) into
// a path of this machine. On the set it is the path itself. The host does not
// link a platform: a process that has one loaded (the simulated TV in
// tarn-run and the tests) gets that platform's `platform::devicePath`,
// found once by name in the process; a resolver set here wins over both.
#pragma once

#include <string>

namespace tarn {
namespace host {

using DevicePathResolver = std::string (*)(const std::string& absolutePath);

// Any thread, before the script runs. Null restores the default.
void SetDevicePathResolver(DevicePathResolver resolver);

std::string ResolveDevicePath(const std::string& absolutePath);

}  // namespace host
}  // namespace tarn
