// The script's console object (docs/host.md, "The console").
#pragma once

#include <v8.h>

#include "console/ValueFormat.h"

namespace tarn {
namespace host {

class Runtime;

// Puts `console` on the context's global object. The object and its
// methods are made on the script's first use of `console`; the formatter
// behind them is compiled on the first call that needs it.
void InstallConsole(Runtime* runtime, v8::Local<v8::Context> context);

// Forgets the groups, counters and timers; output failures no longer stop a
// runtime.
void ShutdownConsole();

}  // namespace host
}  // namespace tarn
