// The engine's task queue on the script thread.
#pragma once

#include <functional>

namespace tarn {
namespace util {

class TaskDispatcher {
 public:
  static TaskDispatcher* Instance();
  virtual ~TaskDispatcher() = default;

  // Safe from any thread; the task runs later on the script thread, in the
  // order added, never inside the caller.
  virtual void AddTask(std::function<void()> task) = 0;
};

}  // namespace util
}  // namespace tarn
