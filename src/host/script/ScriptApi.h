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
  // tarn.load takes a relative path from here when no script calls it.
  std::string scriptDirectory;
  std::vector<std::string> args;
};

// Installs console, setTimeout/clearTimeout/setInterval/clearInterval and
// `tarn` on the context's global object; returns the `tarn` object.
v8::Local<v8::Object> InstallScriptApi(Runtime* runtime, v8::Local<v8::Context> context,
                                       const ScriptApiConfig& config);

// Frees what the script API still holds (timers, log capture, the console's
// groups, counters and timers).
void ShutdownScriptApi();

// The largest script file the host reads (64 MiB).
constexpr size_t kMaxScriptBytes = 64u << 20;

// Reads a script in one pass: a file, a FIFO or pipe, "-" for standard
// input. False with a one-line message in *error for an empty path, a folder,
// a read error or more than kMaxScriptBytes.
bool ReadScriptSource(const std::string& path, std::string* source, std::string* error);

// Compiles and runs a script text in the global scope under the given name;
// false with the script exception pending.
bool RunScriptSource(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& name,
                     const std::string& source);
// As RunScriptSource, handing back the script's completion value.
bool RunScriptSource(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& name,
                     const std::string& content, v8::Local<v8::Value>* result);

// Runs a script file in the global scope; false with the script exception
// pending (or a message in *error when the file cannot be read).
bool RunScriptFile(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& path,
                   std::string* error);

}  // namespace host
}  // namespace tarn
