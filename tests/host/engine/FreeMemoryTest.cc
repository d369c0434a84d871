// Free pages go back to the system: a thread's arena left with blocks freed
// in its middle is resident until the host returns them, and the host's
// timer does so on its loop without keeping the loop alive. Threads share
// one arena once tarn-run asks for it, unless the environment chose.
//
// A program of its own: how many arenas threads make depends on what the
// process did before, so each arena case runs in a child forked from a
// process that has started no thread (death tests run first).
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>

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
using tarn::host::UseOneMallocArena;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ALLOCATOR_IS_GLIBC 0
#else
#define ALLOCATOR_IS_GLIBC 1
#endif

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

// The number of arenas the allocator reports (one "<heap nr=" each), the
// main one included.
int Arenas() {
  char* text = nullptr;
  size_t size = 0;
  FILE* report = open_memstream(&text, &size);
  if (!report) return -1;
  malloc_info(0, report);
  std::fclose(report);
  int arenas = 0;
  for (const char* at = text; (at = std::strstr(at, "<heap nr=")) != nullptr; ++at) ++arenas;
  std::free(text);
  return arenas;
}

// How many arenas four threads allocating at the same time add.
int ArenasAddedByFourThreads() {
  const int before = Arenas();
  std::atomic<int> started{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&started] {
      void* block = std::malloc(1000);
      ++started;
      while (started.load() < 4) std::this_thread::yield();
      std::free(block);
    });
  }
  for (std::thread& thread : threads) thread.join();
  return Arenas() - before;
}

TEST(FreeMemoryDeathTest, ThreadsShareOneArena) {
  if (!ALLOCATOR_IS_GLIBC) GTEST_SKIP() << "the sanitizer's allocator has no arenas";
  EXPECT_EXIT(
      {
        unsetenv("MALLOC_ARENA_MAX");
        unsetenv("GLIBC_TUNABLES");
        UseOneMallocArena();
        std::exit(ArenasAddedByFourThreads());
      },
      testing::ExitedWithCode(0), "");
}

TEST(FreeMemoryDeathTest, TheEnvironmentChoosesTheArenas) {
  if (!ALLOCATOR_IS_GLIBC) GTEST_SKIP() << "the sanitizer's allocator has no arenas";
  // The allocator read its settings when the process started; here only
  // tarn-run's choice is left out because the environment names one.
  EXPECT_EXIT(
      {
        setenv("GLIBC_TUNABLES", "glibc.malloc.arena_max=8", 1);
        UseOneMallocArena();
        // How many the allocator adds for four threads is its own choice
        // (one to three here); that it adds some is what matters.
        std::exit(ArenasAddedByFourThreads() > 0 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

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
