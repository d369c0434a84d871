// Process-wide access to the engine runtime. Safe from any thread.
#pragma once

#include <memory>

#include "TarnFullProcessRuntime.h"

class TarnProcessManager {
 public:
  static TarnProcessManager* Instance();

  // The current runtime; empty before the engine has started one.
  std::shared_ptr<TarnFullProcessRuntime> Runtime();
  // Set by the engine host when it starts and stops a runtime.
  void SetRuntime(std::shared_ptr<TarnFullProcessRuntime> runtime);

 private:
  TarnProcessManager() = default;
};
