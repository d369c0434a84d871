// What the host tells a script debugger (tarn-run --inspect) about the run.
// Every call comes on the script thread, inside the isolate; the debugger may
// block there (waiting for a client, or for it to leave).
#pragma once

#include <v8.h>

namespace tarn {
namespace host {

class ScriptDebugger {
 public:
  virtual ~ScriptDebugger() = default;

  // The script's context exists, before the host's globals (console, timers,
  // `tarn`) and the bridges' objects are installed in it.
  virtual void contextCreated(v8::Local<v8::Context> context) = 0;

  // An error ends the run: uncaught (with its message), or a promise's
  // rejection that nothing handled (no message). Before it is printed.
  virtual void uncaughtError(v8::Local<v8::Context> context, v8::Local<v8::Value> error,
                             v8::Local<v8::Message> message, bool inPromise) = 0;

  // Everything is installed; the script runs next.
  virtual void beforeScript(v8::Local<v8::Context> context) = 0;

  // The main loop has ended (nothing pending, tarn.exit or an uncaught
  // error); the context still exists.
  virtual void scriptEnded(v8::Local<v8::Context> context) = 0;

  // The context is gone and the isolate is about to be disposed. Also called
  // when the script never ran (a bridge could not be loaded).
  virtual void shutdown() = 0;
};

}  // namespace host
}  // namespace tarn
