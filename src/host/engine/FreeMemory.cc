#include "engine/FreeMemory.h"

#include <cstdlib>
#include <cstring>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace tarn {
namespace host {

namespace {

bool EnvironmentSetsArenas() {
  const char* tunables = std::getenv("GLIBC_TUNABLES");
  return std::getenv("MALLOC_ARENA_MAX") != nullptr ||
         (tunables && std::strstr(tunables, "arena_max") != nullptr);
}

}  // namespace

void UseOneMallocArena() {
#if defined(__GLIBC__)
  if (!EnvironmentSetsArenas()) mallopt(M_ARENA_MAX, 1);
#endif
}

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
