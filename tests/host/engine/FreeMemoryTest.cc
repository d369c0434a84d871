// Free pages go back to the system: a thread's arena left with blocks freed
// in its middle is resident until the host returns them, and the host's
// timer does so on its loop without keeping the loop alive.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <new>
#include <thread>
#include <vector>

#include "engine/FreeMemory.h"

namespace {

using tarn::host::FreeMemoryTimer;
using tarn::host::ReturnFreeMemory;

double ResidentMB() {
  long pages = 0;
  long resident = 0;
  FILE* statm = std::fopen("/proc/self/statm", "r");
  if (!statm) return -1;
  if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = -1;
  std::fclose(statm);
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

// 32 MB in 16 KiB blocks, from a thread of its own (so from an arena of its
// own); every block but each 64th is freed, so the free space lies between
// blocks still in use and the arena cannot shrink from its top.
std::vector<char*> FragmentAThreadArena() {
  std::vector<char*> kept;
  std::thread worker([&kept] {
    constexpr size_t kBlock = 16 * 1024;
    std::vector<char*> blocks;
    for (int i = 0; i < 2048; ++i) {
      char* block = static_cast<char*>(std::malloc(kBlock));
      std::memset(block, 1, kBlock);
      blocks.push_back(block);
    }
    for (size_t i = 0; i < blocks.size(); ++i) {
      if (i % 64 == 63) {
        kept.push_back(blocks[i]);
      } else {
        std::free(blocks[i]);
      }
    }
  });
  worker.join();
  return kept;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ALLOCATOR_IS_GLIBC 0
#else
#define ALLOCATOR_IS_GLIBC 1
#endif

TEST(FreeMemory, ReturnsTheFreePagesOfAThreadArena) {
  if (!ALLOCATOR_IS_GLIBC) GTEST_SKIP() << "the sanitizer's allocator keeps its own pages";
  std::vector<char*> kept = FragmentAThreadArena();
  double before = ResidentMB();
  EXPECT_TRUE(ReturnFreeMemory());
  double after = ResidentMB();
  for (char* block : kept) std::free(block);
  // About 31 MB lie free; most of it is whole pages.
  EXPECT_GT(before - after, 20.0) << "resident " << before << " MB before, " << after << " after";
}

TEST(FreeMemory, TimerFiresOnItsLoop) {
  GMainContext* context = g_main_context_new();
  // The timer lives in storage that outlasts it, so that the loop can be
  // asked about its address once it is gone.
  alignas(FreeMemoryTimer) unsigned char storage[sizeof(FreeMemoryTimer)];
  auto* timer = new (storage) FreeMemoryTimer(context, 1);
  EXPECT_NE(g_main_context_find_source_by_user_data(context, storage), nullptr);
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (timer->Rounds() < 2 && std::chrono::steady_clock::now() < deadline) {
    g_main_context_iteration(context, TRUE);
  }
  EXPECT_EQ(timer->Rounds(), 2u);
  timer->~FreeMemoryTimer();
  EXPECT_EQ(g_main_context_find_source_by_user_data(context, storage), nullptr);
  g_main_context_unref(context);
}

}  // namespace
