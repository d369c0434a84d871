#include "engine/MemoryUsage.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

namespace tarn {
namespace host {

namespace {
std::atomic<CountingAllocator*> g_allocator{nullptr};

double ResidentBytes() {
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  if (!file) return 0;
  unsigned long long size = 0, resident = 0;
  int read = std::fscanf(file, "%llu %llu", &size, &resident);
  std::fclose(file);
  if (read != 2) return 0;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}
}  // namespace

CountingAllocator::CountingAllocator() : inner_(v8::ArrayBuffer::Allocator::NewDefaultAllocator()) {
  CountingAllocator* none = nullptr;
  g_allocator.compare_exchange_strong(none, this);
}

CountingAllocator::~CountingAllocator() {
  CountingAllocator* self = this;
  g_allocator.compare_exchange_strong(self, nullptr);
}

CountingAllocator* CountingAllocator::Current() { return g_allocator.load(); }

void* CountingAllocator::Allocate(size_t length) {
  void* data = inner_->Allocate(length);
  if (data) allocated_.fetch_add(length, std::memory_order_relaxed);
  return data;
}

void* CountingAllocator::AllocateUninitialized(size_t length) {
  void* data = inner_->AllocateUninitialized(length);
  if (data) allocated_.fetch_add(length, std::memory_order_relaxed);
  return data;
}

void CountingAllocator::Free(void* data, size_t length) {
  if (!data) return;
  inner_->Free(data, length);
  allocated_.fetch_sub(length, std::memory_order_relaxed);
}

MemoryFigures CurrentMemory(v8::Isolate* isolate) {
  v8::HeapStatistics heap;
  isolate->GetHeapStatistics(&heap);
  MemoryFigures figures;
  figures.rss = ResidentBytes();
  figures.heapTotal = static_cast<double>(heap.total_heap_size());
  figures.heapUsed = static_cast<double>(heap.used_heap_size());
  figures.external = static_cast<double>(heap.external_memory());
  if (CountingAllocator* allocator = CountingAllocator::Current())
    figures.arrayBuffers = static_cast<double>(allocator->Allocated());
  // Array buffers are part of the memory V8 counts as external.
  if (figures.external < figures.arrayBuffers) figures.external = figures.arrayBuffers;
  return figures;
}

void MemoryUsage(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  MemoryFigures figures = CurrentMemory(isolate);
  const std::pair<const char*, double> fields[] = {{"rss", figures.rss},
                                                   {"heapTotal", figures.heapTotal},
                                                   {"heapUsed", figures.heapUsed},
                                                   {"external", figures.external},
                                                   {"arrayBuffers", figures.arrayBuffers}};
  v8::Local<v8::Object> result = v8::Object::New(isolate);
  for (const auto& field : fields) {
    v8::Local<v8::String> name;
    if (!v8::String::NewFromUtf8(isolate, field.first).ToLocal(&name) ||
        result->Set(context, name, v8::Number::New(isolate, field.second)).IsNothing()) {
      return;
    }
  }
  info.GetReturnValue().Set(result);
}

}  // namespace host
}  // namespace tarn
