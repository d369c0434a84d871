// The debugger behind tarn-run --inspect and --inspect-brk: V8's inspector
// on the script thread, reached through the DebuggerEndpoints.h server. It lives in a
// library of its own (libtarndebugger.so) that tarn-run loads only when one
// of the options is given, so a run without them neither loads nor starts
// anything of it.
#pragma once

#include <cstdint>
#include <string>

#include "WebServer.h"
#include "tarn/host/Debugger.h"

namespace tarn {
namespace debugger {

// Where the debugger listens, from the option's value.
using web::ListenAddress;

// Reads "[HOST:]PORT" (null: the default 127.0.0.1:9229), as the shared
// reader does.
inline bool ParseListenAddress(const char* value, ListenAddress* address, std::string* error) {
  return web::ParseListenAddress(value, 9229, address, error);
}

}  // namespace debugger
}  // namespace tarn

// The library's entry, looked up by tarn-run with dlsym. `option` is the
// option as given ("--inspect-brk"), `value` its value or null, `target` the
// script's path as given or "[eval]"/"[stdin]". Returns the debugger, listening
// and with its address printed; or null with *status 2 after a message for a
// bad value, or null with *status 0 when it cannot listen (the message
// printed, the script then runs without a debugger, as node does).
extern "C" tarn::host::ScriptDebugger* tarnStartDebugger(const char* option, const char* value,
                                                         int breakOnStart, const char* target,
                                                         int* status);
