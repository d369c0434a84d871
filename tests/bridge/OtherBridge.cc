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
  void* constructFromScript(const Bridge::ScriptArray&) override { return &payload_; }
  void destroyFromScript(void*) override {}

  static Bridge::ScriptObject HandlePing(OtherBridge* self, const Bridge::ScriptArray&) {
    return self->payload_.text;
  }

 private:
  // Deliberately not the bridge itself: a different native layout behind the
  // same internal field.
  struct Payload {
    const char* text = "pong";
  } payload_;
};

}  // namespace

extern "C" std::vector<Bridge::ScriptBridge*> loadBridges() {
  return std::vector<Bridge::ScriptBridge*>{new OtherBridge()};
}
