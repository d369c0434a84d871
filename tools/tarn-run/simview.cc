#include "simview.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#ifndef TARN_SIM_VIEW_LIBRARY
#define TARN_SIM_VIEW_LIBRARY "libtarnsimview.so"
#endif

namespace {

struct ViewRequest {
  bool given = false;
  bool readOnly = false;
  std::string option = "--sim-view";
  bool hasValue = false;
  std::string value;
};
ViewRequest g_view;

// Options of tarn-run that take the next argument as their value when given
// without '='.
bool TakesNextArgument(const char* argument) {
  static const char* const options[] = {
      "-b",     "--bridge", "-l",      "--log-level", "--tarn-data", "--app-data", "-e",
      "--eval", "-p",       "--print", "--sim-state", "--sim-root",  "--sim-set",  "--sim-journal"};
  for (const char* option : options) {
    if (std::strcmp(argument, option) == 0) return true;
  }
  return false;
}

// Takes "--NAME" or "--NAME=VALUE"; false when argument is neither.
bool Matches(const char* argument, const char* name, bool* hasValue, std::string* value) {
  const size_t length = std::strlen(name);
  if (std::strncmp(argument, name, length) != 0) return false;
  if (argument[length] == '\0') {
    *hasValue = false;
    value->clear();
    return true;
  }
  if (argument[length] != '=') return false;
  *hasValue = true;
  *value = argument + length + 1;
  return true;
}

std::string BesideProgram(const char* name) {
  char self[4096];
  ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) return name;
  std::string path(self, static_cast<size_t>(length));
  size_t slash = path.rfind('/');
  return path.substr(0, slash == std::string::npos ? 0 : slash) + "/../lib/" + name;
}

}  // namespace

void takeSimViewOptions(int* argc, char** argv) {
  int kept = 1;
  int i = 1;
  for (; i < *argc; ++i) {
    const char* argument = argv[i];
    if (std::strcmp(argument, "--") == 0 || argument[0] != '-' || argument[1] == '\0') break;
    bool hasValue = false;
    std::string value;
    if (Matches(argument, "--sim-view-readonly", &hasValue, &value) ||
        Matches(argument, "--sim-view", &hasValue, &value)) {
      // Given more than once, the last address counts; read-only given once
      // counts.
      g_view.given = true;
      g_view.readOnly = g_view.readOnly || std::strncmp(argument, "--sim-view-readonly", 19) == 0;
      if (hasValue || !g_view.hasValue) {
        g_view.option = std::string(argument).substr(0, std::strcspn(argument, "="));
        g_view.hasValue = hasValue;
        g_view.value = value;
      }
      continue;
    }
    argv[kept++] = argv[i];
    if (TakesNextArgument(argument) && i + 1 < *argc) argv[kept++] = argv[++i];
  }
  for (; i < *argc; ++i) argv[kept++] = argv[i];
  argv[kept] = nullptr;
  *argc = kept;
}

bool simViewRequested() { return g_view.given; }

std::unique_ptr<tarn::host::Extension> startSimView(int* status) {
  *status = 0;
  if (!g_view.given) return nullptr;
  const std::string path = BesideProgram(TARN_SIM_VIEW_LIBRARY);
  // Stays loaded until the process ends.
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    std::fprintf(stderr, "tarn-run: %s: the simulated TV view cannot be loaded: %s\n",
                 g_view.option.c_str(), dlerror());
    *status = 2;
    return nullptr;
  }
  using Start = tarn::host::Extension* (*)(const char*, const char*, int, int*);
  auto start = reinterpret_cast<Start>(dlsym(library, "tarnStartSimView"));
  if (!start) {
    std::fprintf(stderr, "tarn-run: %s is not the simulated TV view: no tarnStartSimView\n",
                 path.c_str());
    *status = 2;
    return nullptr;
  }
  return std::unique_ptr<tarn::host::Extension>(
      start(g_view.option.c_str(), g_view.hasValue ? g_view.value.c_str() : nullptr,
            g_view.readOnly ? 1 : 0, status));
}
