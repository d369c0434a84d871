#include "engine/HeapLimit.h"

#include <sys/time.h>

#include <v8-profiler.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "AppConfig.h"
#include "Runtime.h"

namespace tarn {
namespace host {

namespace {

struct HeapWatch {
  int snapshotsLeft = 0;
  bool ending = false;  // the fatal message is out; the run is being ended
  bool snapshotPending = false;
  int raisesForSnapshot = 0;
  size_t initialLimit = 0;
};
HeapWatch g_watch;

// The snapshot serialiser's chunks, straight into a file.
class SnapshotFile : public v8::OutputStream {
 public:
  explicit SnapshotFile(std::FILE* file) : file_(file) {}
  void EndOfStream() override {}
  WriteResult WriteAsciiChunk(char* data, int size) override {
    size_t length = size > 0 ? static_cast<size_t>(size) : 0;
    return std::fwrite(data, 1, length, file_) == length ? kContinue : kAbort;
  }

 private:
  std::FILE* file_;
};

// Named and placed as the bridges' snapshots are: heapdump-SECONDS-MICRO-
// SECONDS.heapsnapshot in the app's data folder.
void WriteSnapshot(v8::Isolate* isolate) {
  struct timeval now = {};
  gettimeofday(&now, nullptr);
  std::string path = AppConfig::Instance()->GetAppDataPath() + "/heapdump-" +
                     std::to_string(now.tv_sec) + "-" + std::to_string(now.tv_usec) +
                     ".heapsnapshot";
  const v8::HeapSnapshot* snapshot = isolate->GetHeapProfiler()->TakeHeapSnapshot();
  std::FILE* file = snapshot ? std::fopen(path.c_str(), "w") : nullptr;
  if (file) {
    SnapshotFile stream(file);
    snapshot->Serialize(&stream, v8::HeapSnapshot::kJSON);
    if (std::fclose(file) != 0) file = nullptr;
  }
  if (snapshot) const_cast<v8::HeapSnapshot*>(snapshot)->Delete();
  std::fprintf(stderr,
               file ? "tarn-run: the heap nears its limit: wrote a heap snapshot to %s\n"
                    : "tarn-run: the heap nears its limit: cannot write %s\n",
               path.c_str());
}

void PrintExhausted(size_t limit) {
  std::fprintf(stderr,
               "FATAL ERROR: Reached heap limit of %zu MB Allocation failed - JavaScript heap out "
               "of memory (--max-old-space-size sets the limit)\n",
               limit >> 20);
  std::fflush(stderr);
}

// A snapshot cannot be taken inside the collection that found the heap
// full: it is taken at the script's next interrupt check, with the room
// given meanwhile.
void SnapshotInterrupt(v8::Isolate* isolate, void*) {
  g_watch.snapshotPending = false;
  if (!g_watch.ending) WriteSnapshot(isolate);
}

size_t NearHeapLimit(void* data, size_t current, size_t initial) {
  auto* isolate = static_cast<v8::Isolate*>(data);
  g_watch.initialLimit = initial;
  // Room for the serialiser, then for the script to go on or to end.
  const size_t room = std::max<size_t>(initial / 4, size_t(16) << 20);
  if (g_watch.snapshotPending && g_watch.raisesForSnapshot < 4) {
    ++g_watch.raisesForSnapshot;
    return current + room;
  }
  if (g_watch.snapshotsLeft > 0 && !g_watch.snapshotPending && !g_watch.ending) {
    --g_watch.snapshotsLeft;
    g_watch.snapshotPending = true;
    g_watch.raisesForSnapshot = 0;
    isolate->RequestInterrupt(&SnapshotInterrupt, nullptr);
    return current + room;
  }
  if (g_watch.ending) {
    // The script could not be stopped within the room given: end here.
    std::abort();
  }
  g_watch.ending = true;
  PrintExhausted(initial);
  // Stopped as tarn.exit stops it, so the host's own shut-down runs.
  if (Runtime* runtime = Runtime::Current()) runtime->RequestExit(kHeapExhaustedStatus);
  isolate->TerminateExecution();
  return current + room;
}

// V8 found no room at all (an allocation too large for what is left): the
// abort handler stops the extensions and exits with the same status.
void OutOfMemory(const char* location, bool inHeap) {
  if (!g_watch.ending) {
    g_watch.ending = true;
    if (inHeap) {
      PrintExhausted(g_watch.initialLimit);
    } else {
      std::fprintf(stderr, "FATAL ERROR: %s Out of memory\n", location ? location : "");
      std::fflush(stderr);
    }
  }
  std::abort();
}

}  // namespace

void WatchHeapLimit(v8::Isolate* isolate, int snapshots) {
  g_watch = HeapWatch();
  g_watch.snapshotsLeft = snapshots;
  v8::HeapStatistics heap;
  isolate->GetHeapStatistics(&heap);
  g_watch.initialLimit = heap.heap_size_limit();
  isolate->AddNearHeapLimitCallback(&NearHeapLimit, isolate);
  isolate->SetOOMErrorHandler(&OutOfMemory);
}

void StopWatchingHeapLimit(v8::Isolate* isolate) {
  isolate->RemoveNearHeapLimitCallback(&NearHeapLimit, 0);
}

}  // namespace host
}  // namespace tarn
