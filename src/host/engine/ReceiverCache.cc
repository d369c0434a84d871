// The per-isolate cache of checked method receivers (see ScriptBridge.h):
// made on first use, emptied by a prologue callback of every garbage
// collection, kept until the process ends.
#include <memory>
#include <mutex>
#include <vector>

#include "ScriptBridge.h"

namespace Bridge {
namespace detail {

namespace {

void ForgetOnCollection(v8::Isolate* isolate, v8::GCType, v8::GCCallbackFlags, void*) {
  forgetReceivers(isolate);
}

// Caches outlive their isolates (there is no hook for an isolate's end); they
// are a few words each and one per isolate ever made.
std::mutex g_cachesMutex;
std::vector<std::unique_ptr<ReceiverCache>>& Caches() {
  static std::vector<std::unique_ptr<ReceiverCache>> caches;
  return caches;
}

}  // namespace

void rememberReceiver(v8::Isolate* isolate, v8::internal::Address object, const void* nativeClass,
                      void* native) {
  auto* cache = static_cast<ReceiverCache*>(isolate->GetData(kReceiverCacheSlot));
  if (!cache) {
    {
      std::lock_guard<std::mutex> lock(g_cachesMutex);
      Caches().push_back(std::make_unique<ReceiverCache>());
      cache = Caches().back().get();
    }
    isolate->SetData(kReceiverCacheSlot, cache);
    isolate->AddGCPrologueCallback(&ForgetOnCollection, nullptr, v8::kGCTypeAll);
  }
  cache->object = object;
  cache->nativeClass = nativeClass;
  cache->native = native;
}

void forgetReceivers(v8::Isolate* isolate) {
  if (auto* cache = static_cast<ReceiverCache*>(isolate->GetData(kReceiverCacheSlot))) {
    *cache = ReceiverCache();
  }
}

}  // namespace detail
}  // namespace Bridge
