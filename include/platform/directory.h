// The engine's well-known directories of applications and packages.
#pragma once

#include <string>

namespace tarn {
namespace util {
namespace directory {

// Absolute data directory of an app-data area ("VCApp", "tarnapps/apps_temp"),
// ending in a separator.
std::string GetAppDataPath(const std::string& name);

// Absolute install directory of a package ("org.tarn.apps"), without a
// trailing separator.
std::string GetPackagePath(const std::string& packageId);

}  // namespace directory
}  // namespace util
}  // namespace tarn
