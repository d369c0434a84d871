// The script engine of a process runtime, as bridges see it.
#pragma once

#include <v8.h>

#include "TarnEventArgsMap.h"

namespace tarn {
namespace util {
// Interrupt events of the power life cycle.
enum INTERUPT_EVENT {
  INTERUPT_EVENT_SUSPEND = 0x1009009E,
  INTERUPT_EVENT_FACTORY_RESET = 0x1009009F,
  INTERUPT_EVENT_SERVICE_RESET = 0x100900A0,
  INTERUPT_EVENT_WAKEUP = 0x100900A4,
  INTERUPT_EVENT_LATE_WAKEUP = 0x100900A5,
  INTERUPT_EVENT_POWER_STANDBY = 0x100900AA,
};
}  // namespace util
}  // namespace tarn

namespace Bridge {

class ScriptEngine {
 public:
  virtual ~ScriptEngine() = default;

  // Both may be called from any thread. The event is queued and delivered
  // later on the script thread, never inside the caller.
  virtual void sendEvent(int code, const TarnEventArgsMap& args) = 0;
  virtual void sendInteruptEvent(int code, const TarnEventArgsMap& args) = 0;

  virtual v8::Isolate* GetIsolate() const = 0;
};

}  // namespace Bridge
