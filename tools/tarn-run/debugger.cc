#include "debugger.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstring>

#include "beside_program.h"

#ifndef TARN_DEBUGGER_LIBRARY
#define TARN_DEBUGGER_LIBRARY "libtarndebugger.so"
#endif

namespace {

struct InspectRequest {
  bool given = false;
  bool breakOnStart = false;
  std::string option;
  bool hasValue = false;
  std::string value;
};
InspectRequest g_request;

using StartDebuggerFunction = tarn::host::ScriptDebugger* (*)(const char*, const char*, int,
                                                               const char*, int*);

}  // namespace

gboolean inspectOption(const gchar* name, const gchar* value, gpointer, GError**) {
  // Given more than once, the last address counts; -brk given once counts.
  g_request.given = true;
  g_request.breakOnStart = g_request.breakOnStart || std::strcmp(name, "--inspect-brk") == 0;
  g_request.option = name;
  g_request.hasValue = value != nullptr;
  g_request.value = value ? value : "";
  return TRUE;
}

std::unique_ptr<tarn::host::ScriptDebugger> startDebugger(const std::string& target, int* status) {
  *status = 0;
  if (!g_request.given) return nullptr;
  std::string path = besideProgram(TARN_DEBUGGER_LIBRARY);
  // Stays loaded until the process ends.
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    std::fprintf(stderr, "tarn-run: %s: the debugger cannot be loaded: %s\n",
                 g_request.option.c_str(), dlerror());
    *status = 2;
    return nullptr;
  }
  auto start = reinterpret_cast<StartDebuggerFunction>(dlsym(library, "tarnStartDebugger"));
  if (!start) {
    std::fprintf(stderr, "tarn-run: %s is not the debugger library: no tarnStartDebugger\n",
                 path.c_str());
    *status = 2;
    return nullptr;
  }
  return std::unique_ptr<tarn::host::ScriptDebugger>(
      start(g_request.option.c_str(), g_request.hasValue ? g_request.value.c_str() : nullptr,
            g_request.breakOnStart ? 1 : 0, target.c_str(), status));
}
