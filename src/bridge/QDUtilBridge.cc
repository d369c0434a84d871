// Entry point, static loggers and the life of the one bridge object. Every
// "QDUtil" object that script constructs is backed by this same bridge, and
// script-side destruction never frees it: the host owns it.
#include "QDUtilBridge.h"

#include <memory>

#include "AppContextClient.h"
#include "binding/BridgeLog.h"

namespace Bridge {

// Same translation unit, so they are built in this order and torn down in
// the reverse one.
const std::string QDUtilBridge::LOGGER_NAME = "tarn.qdutil.bridge";
tarn::util::Logger QDUtilBridge::logger_(QDUtilBridge::LOGGER_NAME);
tarn::util::Logger staticLogger("tarn.qdutil.bridge");

QDUtilBridge::QDUtilBridge() : ScriptInstanceBridge(false), btDeviceCallback(ScriptObject::Null()) {
  QD_LOG(logger_, kLogInfo, "constructor");
  int status = AppContextClient::initialize();
  QD_LOG(logger_, kLogInfo, "context init ret:" << status);
}

QDUtilBridge::~QDUtilBridge() {
  QD_LOG(logger_, kLogInfo, "destructor");
  int status = AppContextClient::finalize();
  QD_LOG(logger_, kLogInfo, "context fini ret:" << status);
}

const char* QDUtilBridge::getScriptClassName() const { return "QDUtil"; }

void* QDUtilBridge::constructFromScript(const ScriptArray&) { return this; }

void QDUtilBridge::destroyFromScript(void*) {}

}  // namespace Bridge

std::vector<Bridge::ScriptBridge*> loadBridges() {
  std::vector<Bridge::ScriptBridge*> bridges;
  std::unique_ptr<Bridge::QDUtilBridge> bridge(new Bridge::QDUtilBridge());
  bridges.push_back(bridge.get());
  bridge.release();
  return bridges;
}
