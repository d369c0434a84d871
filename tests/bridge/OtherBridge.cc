// A second bridge with a class of its own ("OtherNative"), loaded beside the
// QDUtil bridge in tests so that each can be handed the other's objects.
#include <vector>

#include "ScriptBridge.h"

namespace {

class OtherBridge : public Bridge::ScriptInstanceBridge {
 public:
  OtherBridge() : ScriptInstanceBridge(false) {}
  const char* getScriptClassName() const override { return "OtherNative"; }
  void mapScriptInterface(ScriptContext& context) override {
    context.captureMethodCall<OtherBridge, &OtherBridge::HandlePing>("ping");
  }
  void* constructFromScript(const Bridge::ScriptArray&) override { return this; }
  void destroyFromScript(void*) override {}

  static Bridge::ScriptObject HandlePing(OtherBridge* self, const Bridge::ScriptArray&) {
    return self->reply_;
  }

 private:
  // A native layout unlike the QDUtil bridge's behind the same internal field.
  const char* reply_ = "pong";
};

}  // namespace

extern "C" std::vector<Bridge::ScriptBridge*> loadBridges() {
  return std::vector<Bridge::ScriptBridge*>{new OtherBridge()};
}
