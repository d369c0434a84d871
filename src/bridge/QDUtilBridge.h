// The "QDUtil" script class: one native bridge object per engine, whose static
// Handle… functions serve the class's script methods. Script names, handler
// names and constant values are fixed by the scripts already in the field,
// irregular spellings included.
#pragma once

#include <string>
#include <vector>

#include "Logger.h"
#include "ScriptBridge.h"
#include "ScriptObject.h"

namespace Bridge {

class QDUtilBridge : public ScriptInstanceBridge {
 public:
  static const std::string LOGGER_NAME;
  static tarn::util::Logger logger_;

  QDUtilBridge();
  ~QDUtilBridge() override;

  const char* getScriptClassName() const override;
  void mapScriptInterface(ScriptContext& context) override;
  void* constructFromScript(const ScriptArray& args) override;
  void destroyFromScript(void* native) override;

  // Numeric constants of the class: fixed values; writes are accepted and
  // ignored.
#define QD_METHOD(PLACE, NAME, HANDLER, AREA)
#define QD_PENDING(PLACE, NAME, HANDLER, AREA)
#define QD_CONSTANT(NAME, VALUE)    \
  int get##NAME() { return VALUE; } \
  void set##NAME(int) {}
#include "ScriptInterface.def"
#undef QD_METHOD
#undef QD_PENDING
#undef QD_CONSTANT

  // Script methods: Handle… functions take the bridge and the call's
  // arguments and answer one script value. Each lives in its area's folder.
#define QD_METHOD(PLACE, NAME, HANDLER, AREA) \
  static ScriptObject HANDLER(QDUtilBridge* self, const ScriptArray& args);
#define QD_PENDING(PLACE, NAME, HANDLER, AREA) QD_METHOD(PLACE, NAME, HANDLER, AREA)
#define QD_CONSTANT(NAME, VALUE)
#include "ScriptInterface.def"
#undef QD_METHOD
#undef QD_PENDING
#undef QD_CONSTANT

  // Idle function of the Bluetooth hand-off: runs on the script thread, owns
  // `data` (a BtDeviceEvent) and frees it; returns 0 so it runs once.
  static int FireOnCallbacks(void* data);

  // Script function that receives bonded Bluetooth devices; null until a
  // script registers one. Queued device records carry its address, so it is
  // read when each record is delivered, not when it was queued. Script
  // thread only.
  ScriptFunction btDeviceCallback;
};

}  // namespace Bridge

// Entry point the engine host looks up by its plain name; the only symbol the
// library exports (it is built with hidden visibility).
extern "C" __attribute__((visibility("default"))) std::vector<Bridge::ScriptBridge*> loadBridges();
