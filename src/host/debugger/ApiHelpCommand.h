// help() in the debugger's console: the reference text of a QDUtil method,
// as the prompt's .help prints it. V8's inspector offers it beside $0, dir()
// and the other console helpers, only to what a debugger evaluates.
#pragma once

#include <v8.h>

namespace tarn {
namespace debugger {

// Adds help(methodOrName) to the console helpers object V8 passes.
void InstallConsoleHelp(v8::Local<v8::Context> context, v8::Local<v8::Object> helpers);

}  // namespace debugger
}  // namespace tarn
