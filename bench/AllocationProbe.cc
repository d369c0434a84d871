// A measuring bridge for the soak: script class "AllocationProbe", whose
// inUse() answers the bytes the process's allocator holds for live blocks
// right now (malloc's own figure, not RSS). RSS moves with the allocator's
// free lists and, under AddressSanitizer, with its size classes; the bytes in
// use move only when something is kept, so their growth is the retention.
#include <malloc.h>

#include <vector>

#include "ScriptBridge.h"

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer runtime's own count of the bytes handed out and not freed
// (declared here: the compiler's sanitizer headers are not always installed).
extern "C" size_t __sanitizer_get_current_allocated_bytes(void);
#endif

namespace {

double bytesInUse() {
#if defined(__SANITIZE_ADDRESS__)
  // Blocks in the sanitizer's quarantine are freed ones: not counted.
  return static_cast<double>(__sanitizer_get_current_allocated_bytes());
#else
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
#endif
}

class AllocationProbe : public Bridge::ScriptInstanceBridge {
 public:
  AllocationProbe() : ScriptInstanceBridge(false) {}
  const char* getScriptClassName() const override { return "AllocationProbe"; }
  void mapScriptInterface(ScriptContext& context) override {
    context.captureMethodCall<AllocationProbe, &AllocationProbe::HandleInUse>("inUse");
  }
  void* constructFromScript(const Bridge::ScriptArray&) override { return this; }
  void destroyFromScript(void*) override {}

  static Bridge::ScriptObject HandleInUse(AllocationProbe*, const Bridge::ScriptArray&) {
    return bytesInUse();
  }
};

}  // namespace

extern "C" std::vector<Bridge::ScriptBridge*> loadBridges() {
  return std::vector<Bridge::ScriptBridge*>{new AllocationProbe()};
}
