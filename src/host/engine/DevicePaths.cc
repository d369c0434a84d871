// The platform's resolver is looked up by its mangled name with dlsym: the
// host library must not link the simulated platform (one-way dependencies),
// and a definition of its own would interpose on the platform's.
#include "tarn/host/DevicePaths.h"

#include <dlfcn.h>

#include <atomic>

namespace tarn {
namespace host {

namespace {

std::atomic<DevicePathResolver> g_resolver{nullptr};

std::string Identity(const std::string& path) { return path; }

DevicePathResolver PlatformResolver() {
  static const DevicePathResolver found = [] {
    // platform::devicePath(std::string const&)
    void* symbol = dlsym(RTLD_DEFAULT,
                         "_ZN8platform10devicePathERKNSt7__cxx1112basic_stringIcSt11char_"
                         "traitsIcESaIcEEE");
    return symbol ? reinterpret_cast<DevicePathResolver>(symbol) : &Identity;
  }();
  return found;
}

}  // namespace

void SetDevicePathResolver(DevicePathResolver resolver) { g_resolver.store(resolver); }

std::string ResolveDevicePath(const std::string& absolutePath) {
  DevicePathResolver resolver = g_resolver.load();
  return (resolver ? resolver : PlatformResolver())(absolutePath);
}

}  // namespace host
}  // namespace tarn
