// The runtime of the engine's process: owns the script engine once the
// script context exists.
#pragma once

namespace Bridge {
class ScriptEngine;
}

class TarnFullProcessRuntime {
 public:
  virtual ~TarnFullProcessRuntime() = default;
  // Null until the script engine has been created, and after it is gone.
  virtual Bridge::ScriptEngine* GetScriptEngine() = 0;
};
