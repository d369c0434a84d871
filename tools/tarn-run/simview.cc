#include "simview.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "beside_program.h"

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

}  // namespace

void noteSimViewOption(const std::string& name, bool hasValue, const std::string& value) {
  // Given more than once, the last address counts; read-only given once
  // counts.
  g_view.given = true;
  g_view.readOnly = g_view.readOnly || name == "--sim-view-readonly";
  if (hasValue || !g_view.hasValue) {
    g_view.option = name;
    g_view.hasValue = hasValue;
    g_view.value = value;
  }
}

bool simViewRequested() { return g_view.given; }

std::unique_ptr<tarn::host::Extension> startSimView(int* status) {
  *status = 0;
  if (!g_view.given) return nullptr;
  const std::string path = besideProgram(TARN_SIM_VIEW_LIBRARY);
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
