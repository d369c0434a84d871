// ES modules: `import`, `export`, `import()` and `import.meta`. One module
// map per run, keyed by each file's real path, so a module is evaluated once
// however it is named. Nothing is loaded or allocated until a script imports.
#pragma once

#include <v8.h>

#include <string>

namespace tarn {
namespace host {

class Runtime;

// Whether a script file runs as a module by its name alone (".mjs").
bool IsModulePath(const std::string& path);

// The folder a script's relative paths start from, by its resource name: the
// file's own folder; the current folder for code without a file ("[eval]",
// "[stdin]", an empty name).
std::string ScriptBaseDirectory(const std::string& resourceName);

// Turns on the engine's syntax for import assertions (`assert {type:
// "json"}`), off by default in this V8. Before V8 is initialised.
void EnableModuleSyntax();

// Sets the isolate's hooks for `import()` and `import.meta`. Cheap: a classic
// script that imports nothing costs nothing more.
void InstallModuleHooks(v8::Isolate* isolate);

// Loads, links and evaluates the main module from its source text. `name` is
// the file as given, "[eval]" or "[stdin]". False with the exception pending
// when the module graph cannot be loaded or linked; an error thrown while it
// is evaluated (at once or after a top-level await) is reported as uncaught
// through the runtime.
bool RunMainModule(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& name,
                   const std::string& source);

// After the loop has ended by itself: a main module whose top-level await
// never settled ends the run with status 13, as node does, with one line on
// stderr.
void CheckMainModuleSettled(Runtime* runtime);

// Forgets every module; before the isolate goes.
void ShutdownModules();

}  // namespace host
}  // namespace tarn
