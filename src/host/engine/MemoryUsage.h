// The process's footprint as a script sees it: tarn.memoryUsage(), with the
// fields of node's process.memoryUsage(), and the array-buffer allocator
// that counts the bytes behind ArrayBuffers for it.
#pragma once

#include <v8.h>

#include <atomic>
#include <cstddef>
#include <memory>

namespace tarn {
namespace host {

// V8's default allocator, counting the bytes it holds for array buffers.
class CountingAllocator : public v8::ArrayBuffer::Allocator {
 public:
  CountingAllocator();
  ~CountingAllocator() override;

  void* Allocate(size_t length) override;
  void* AllocateUninitialized(size_t length) override;
  void Free(void* data, size_t length) override;

  // The process's one counting allocator (the host's), or null.
  static CountingAllocator* Current();
  size_t Allocated() const { return allocated_.load(std::memory_order_relaxed); }

 private:
  std::unique_ptr<v8::ArrayBuffer::Allocator> inner_;
  std::atomic<size_t> allocated_{0};
};

struct MemoryFigures {
  double rss = 0;  // resident set, bytes
  double heapTotal = 0;
  double heapUsed = 0;
  double external = 0;
  double arrayBuffers = 0;
};

// The figures now; rss from the kernel's /proc/self/statm (0 if unreadable).
MemoryFigures CurrentMemory(v8::Isolate* isolate);

// tarn.memoryUsage(): { rss, heapTotal, heapUsed, external, arrayBuffers },
// in bytes.
void MemoryUsage(const v8::FunctionCallbackInfo<v8::Value>& info);

}  // namespace host
}  // namespace tarn
