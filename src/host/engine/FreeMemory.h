// Giving the allocator's free pages back to the system while the host runs.
// Blocks freed in the middle of a malloc arena keep their pages resident
// until something reuses them, and each thread's arena keeps the highest mark
// it ever reached: over days of calls, captures and events the resident size
// creeps up with nothing in use. A low-priority timer hands those pages back
// now and then. Having every thread share one arena (ShareOneMallocArena,
// for tarn-run's main) keeps quiet threads from holding arenas of their own.
#pragma once

#include <glib.h>

namespace tarn {
namespace host {

// One malloc arena for every thread from now on, unless the environment
// names the arenas (MALLOC_ARENA_MAX, or arena_max in GLIBC_TUNABLES).
void UseOneMallocArena();

// How often the host gives free pages back, in seconds.
constexpr unsigned kFreeMemoryReturnSeconds = 30;

// Gives every arena's whole free pages back to the system; true when some
// were. Costs a walk of the free lists (0.13 to 0.31 ms under the soak's
// load), and a page fault for the next allocation on a returned page.
bool ReturnFreeMemory();

// A timer on `context` that returns free memory every `intervalSeconds`, at
// low priority so that it never delays script work. It does not keep the
// loop running: the host quits when the script's work is done, as before.
class FreeMemoryTimer {
 public:
  FreeMemoryTimer(GMainContext* context, unsigned intervalSeconds);
  ~FreeMemoryTimer();
  FreeMemoryTimer(const FreeMemoryTimer&) = delete;
  FreeMemoryTimer& operator=(const FreeMemoryTimer&) = delete;

  // How many times the timer has fired.
  unsigned Rounds() const { return rounds_; }

 private:
  static gboolean OnTimer(gpointer self);

  GSource* source_;
  unsigned rounds_ = 0;
};

}  // namespace host
}  // namespace tarn
