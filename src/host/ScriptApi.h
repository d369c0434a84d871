// The globals a script sees besides the bridges' classes: console, timers and
// the `tarn` object.
#pragma once

#include <v8.h>

#include <string>
#include <vector>

namespace tarn {
namespace host {

class Runtime;

struct ScriptApiConfig {
  std::string scriptDirectory;  // tarn.load resolves relative paths here
  std::vector<std::string> args;
};

// Installs console, setTimeout/clearTimeout/setInterval/clearInterval and
// `tarn` on the context's global object; returns the `tarn` object.
v8::Local<v8::Object> InstallScriptApi(Runtime* runtime, v8::Local<v8::Context> context,
                                       const ScriptApiConfig& config);

// Frees what the script API still holds (timers, log capture).
void ShutdownScriptApi();

// Runs a script file in the global scope; false with the script exception
// pending (or a message in *error when the file cannot be read).
bool RunScriptFile(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& path,
                   std::string* error);

}  // namespace host
}  // namespace tarn
