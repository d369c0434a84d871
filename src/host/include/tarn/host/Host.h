// The engine host: one V8 isolate and context on the calling (script) thread,
// a GLib main loop on the default main context, bridges loaded from shared
// libraries, and the script-visible globals (console, timers, `tarn`).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tarn/host/Debugger.h"
#include "tarn/host/Extension.h"

namespace tarn {
namespace host {

struct HostOptions {
  std::vector<std::string> bridges;  // bridge libraries, loaded in order
  std::string scriptPath;
  std::vector<std::string> scriptArgs;
  // With `evaluate`, `code` is run instead of a script file (named "[eval]",
  // relative paths taken from the working folder); with `print` as well, its
  // value is then printed as console.log prints it.
  bool evaluate = false;
  bool print = false;
  // Runs the script (or `code`) as an ES module; a script file whose name
  // ends in ".mjs" always is one.
  bool module = false;
  std::string code;
  std::string programPath;  // argv[0], to find ICU data
  // V8's own flags ("--max-old-space-size=64", "--expose-gc", ...), set
  // before the engine starts.
  std::vector<std::string> engineFlags;
  // Heap snapshots written as the heap nears its limit, before the run ends
  // with status 134.
  int heapSnapshotsNearLimit = 0;
};

// Every thread of the process allocates from one malloc arena, unless the
// environment chose the number (MALLOC_ARENA_MAX, or arena_max in
// GLIBC_TUNABLES). A host that runs for weeks wants it: a thread that
// allocates little keeps its own arena's pages at the highest mark it ever
// reached, while in a shared arena the script thread's traffic fills such
// room again. Call first thing in main(), before any thread starts.
void ShareOneMallocArena();

class Host {
 public:
  explicit Host(HostOptions options);
  ~Host();

  // Extensions are installed in the order added; not owned.
  void AddExtension(Extension* extension);

  // A debugger told about the run (tarn-run --inspect); not owned. None by
  // default.
  void SetDebugger(ScriptDebugger* debugger);

  // Loads the bridges, runs the script and the main loop until nothing is
  // pending or the script exits. Returns the process exit status: the
  // script's code, 1 after an uncaught error, 2 when a bridge or the script
  // file cannot be loaded (with a message on stderr), 134 when the script's
  // heap reached its limit.
  int Run();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace host
}  // namespace tarn
