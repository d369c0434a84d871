#include "engine/FreeMemory.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace tarn {
namespace host {

bool ReturnFreeMemory() {
#if defined(__GLIBC__)
  return malloc_trim(0) != 0;
#else
  return false;
#endif
}

FreeMemoryTimer::FreeMemoryTimer(GMainContext* context, unsigned intervalSeconds)
    : source_(g_timeout_source_new_seconds(intervalSeconds)) {
  g_source_set_priority(source_, G_PRIORITY_LOW);
  g_source_set_callback(source_, &FreeMemoryTimer::OnTimer, this, nullptr);
  g_source_attach(source_, context);
}

FreeMemoryTimer::~FreeMemoryTimer() {
  g_source_destroy(source_);
  g_source_unref(source_);
}

gboolean FreeMemoryTimer::OnTimer(gpointer self) {
  auto* timer = static_cast<FreeMemoryTimer*>(self);
  ++timer->rounds_;
  ReturnFreeMemory();
  return G_SOURCE_CONTINUE;
}

}  // namespace host
}  // namespace tarn
