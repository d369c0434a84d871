// The interface table: binds each script method of ScriptInterface.def to its
// handler through the router, and installs the numeric constants, in the
// list's order.
#include "QDUtilBridge.h"
#include "binding/BridgeLog.h"

namespace Bridge {

void QDUtilBridge::mapScriptInterface(ScriptContext& context) {
  using B = QDUtilBridge;
  QD_LOG(logger_, kLogInfo, "Mapping TarnUtil script interfaces");

#define QD_METHOD(PLACE, NAME, HANDLER, AREA) context.captureMethodCall<B, &B::HANDLER>(NAME);
#define QD_PENDING(PLACE, NAME, HANDLER, AREA)
#define QD_CONSTANT(NAME, VALUE) \
  context.captureNumberProperty<B, int, &B::get##NAME, &B::set##NAME>(#NAME);
#include "ScriptInterface.def"
#undef QD_METHOD
#undef QD_PENDING
#undef QD_CONSTANT
}

}  // namespace Bridge
