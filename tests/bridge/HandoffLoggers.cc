// The bridge's loggers for the hand-off test bridge, which builds the
// bridge's hand-off source on its own (the bridge library exports its entry
// point only). Same name as the bridge's, so captures see the same lines.
#include "QDUtilBridge.h"
#include "binding/BridgeLog.h"

namespace Bridge {
const std::string QDUtilBridge::LOGGER_NAME = "tarn.qdutil.bridge";
tarn::util::Logger QDUtilBridge::logger_(QDUtilBridge::LOGGER_NAME);
tarn::util::Logger staticLogger("tarn.qdutil.bridge");
}  // namespace Bridge
