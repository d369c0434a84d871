// A measuring bridge for the soak: script class "AllocationProbe", whose
// inUse() answers the bytes the process's allocator holds for live blocks
// right now, in every arena (malloc's own figure, not RSS). RSS moves with
// the allocator's free lists and, under AddressSanitizer, with its size
// classes; the bytes in use move only when something is kept, so their
// growth is the retention.
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "ScriptBridge.h"

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer runtime's own count of the bytes handed out and not freed
// (declared here: the compiler's sanitizer headers are not always installed).
extern "C" size_t __sanitizer_get_current_allocated_bytes(void);
#endif

namespace {

#if !defined(__SANITIZE_ADDRESS__)
// The number in `attribute="..."` of the first element after `from` that
// starts with `element`; 0 when there is none.
double figureAfter(const std::string& xml, size_t from, const char* element) {
  const size_t at = xml.find(element, from);
  if (at == std::string::npos) return 0;
  const size_t size = xml.find("size=\"", at);
  if (size == std::string::npos) return 0;
  return std::strtod(xml.c_str() + size + 6, nullptr);
}

// The soak's threads (simulated TV, bus, engine workers) each allocate in an
// arena of their own, which mallinfo2() leaves out. The whole-process
// summary at the end of malloc_info()'s report gives what we need: memory
// held from the system, minus what sits free, plus large mapped blocks.
double allArenasInUse() {
  char* text = nullptr;
  size_t length = 0;
  FILE* stream = open_memstream(&text, &length);
  if (!stream) return 0;
  const int status = malloc_info(0, stream);
  std::fclose(stream);
  const std::string xml(text ? text : "", length);
  std::free(text);
  if (status != 0) return 0;
  const size_t lastHeap = xml.rfind("</heap>");
  const size_t totals = lastHeap == std::string::npos ? 0 : lastHeap;
  return figureAfter(xml, totals, "<system type=\"current\"") -
         figureAfter(xml, totals, "<total type=\"fast\"") -
         figureAfter(xml, totals, "<total type=\"rest\"") +
         figureAfter(xml, totals, "<total type=\"mmap\"");
}
#endif

double bytesInUse() {
#if defined(__SANITIZE_ADDRESS__)
  // Blocks in the sanitizer's quarantine are freed ones: not counted.
  return static_cast<double>(__sanitizer_get_current_allocated_bytes());
#else
  return allArenasInUse();
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
