// A test bridge ("Thrower") whose native code throws from inside every kind
// of engine entry (method call, property read and write, constructor, weak
// callback, idle call, task), and whose own threads flood the hand-off with
// events, tasks and idle calls while the script ends at any moment.
#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <cstdlib>

#include "ScriptBridge.h"
#include "ScriptEngine.h"
#include "TarnEventArgsMap.h"
#include "TarnProcessManager.h"
#include "TaskDispatcher.h"
#include "clutter.h"

namespace {

std::atomic<long> g_liveRecords{0};

// One heap record handed over per idle call, as a bridge's device records are.
struct Record {
  Record() { ++g_liveRecords; }
  ~Record() { --g_liveRecords; }
  std::string text = "a record with some text in it";
};

[[noreturn]] void Throw(const std::string& kind, const char* where) {
  if (kind == "runtime") throw TarnJsRuntimeException((std::string(where) + " failed").c_str());
  if (kind == "other") throw 42;
  throw std::runtime_error(std::string(where) + " failed");
}

gboolean FreeRecord(gpointer data) {
  delete static_cast<Record*>(data);
  return G_SOURCE_REMOVE;
}
gboolean KeepRecord(gpointer) { return G_SOURCE_REMOVE; }
void DestroyRecord(gpointer data) { delete static_cast<Record*>(data); }

class Thrower : public Bridge::ScriptInstanceBridge {
 public:
  Thrower() : ScriptInstanceBridge(false) {}
  ~Thrower() override {
    for (std::thread& thread : threads_) thread.join();
    if (g_liveRecords.load() != 0) {
      std::fprintf(stderr, "Thrower: %ld records never freed\n", g_liveRecords.load());
    }
  }
  const char* getScriptClassName() const override { return "Thrower"; }
  void mapScriptInterface(ScriptContext& context) override {
    context.captureMethodCall<Thrower, &Thrower::HandleCall>("call");
    context.captureMethodCall<Thrower, &Thrower::HandleAbort>("abort");
    context.captureMethodCall<Thrower, &Thrower::HandleIdle>("idle");
    context.captureMethodCall<Thrower, &Thrower::HandleTask>("task");
    context.captureMethodCall<Thrower, &Thrower::HandleCollect>("collect");
    context.captureMethodCall<Thrower, &Thrower::HandleFlood>("flood");
    context.captureMethodCall<Thrower, &Thrower::HandleLiveRecords>("liveRecords");
    context.captureMethodCall<Thrower, &Thrower::HandleQueueIdle>("queueIdle");
    context.captureNumberProperty<Thrower, int, &Thrower::Boom, &Thrower::SetBoom>("BOOM");
  }
  void* constructFromScript(const Bridge::ScriptArray& args) override {
    if (args.Length() > 0) Throw(args.get(0).asString(), "constructor");
    return this;
  }
  void destroyFromScript(void* native) override {
    if (native && throwOnCollect_) Throw("std", "weak callback");
  }

  int Boom() { Throw("std", "property read"); }
  void SetBoom(int) { Throw("runtime", "property write"); }

  static Bridge::ScriptObject HandleCall(Thrower*, const Bridge::ScriptArray& args) {
    Throw(args.get(0).asString(), "method call");
  }
  // abort(): the process aborts on the script thread, as a fatal error would.
  static Bridge::ScriptObject HandleAbort(Thrower*, const Bridge::ScriptArray&) { std::abort(); }
  // idle(kind): an idle call that throws, then one that prints "idle after".
  static Bridge::ScriptObject HandleIdle(Thrower*, const Bridge::ScriptArray& args) {
    auto* kind = new std::string(args.get(0).asString());
    clutter_threads_add_idle_full(
        150,
        [](gpointer data) -> gboolean { Throw(*static_cast<std::string*>(data), "idle call"); },
        kind, [](gpointer data) { delete static_cast<std::string*>(data); });
    clutter_threads_add_idle_full(
        150,
        [](gpointer) -> gboolean {
          std::printf("idle after\n");
          std::fflush(stdout);
          return G_SOURCE_REMOVE;
        },
        nullptr, nullptr);
    return true;
  }
  // task(kind): a dispatcher task that throws, then one that prints.
  static Bridge::ScriptObject HandleTask(Thrower*, const Bridge::ScriptArray& args) {
    std::string kind = args.get(0).asString();
    tarn::util::TaskDispatcher::Instance()->AddTask([kind] { Throw(kind, "task"); });
    tarn::util::TaskDispatcher::Instance()->AddTask([] {
      std::printf("task after\n");
      std::fflush(stdout);
    });
    return true;
  }
  static Bridge::ScriptObject HandleCollect(Thrower* self, const Bridge::ScriptArray&) {
    self->throwOnCollect_ = true;
    v8::Isolate::GetCurrent()->LowMemoryNotification();
    return true;
  }
  // flood(threads, events, idleCalls): threads of the bridge's own post
  // events, tasks and idle calls (half of them without a destroy notifier)
  // until done, whatever the engine is doing.
  static Bridge::ScriptObject HandleFlood(Thrower* self, const Bridge::ScriptArray& args) {
    int threads = static_cast<int>(args.get(0).asNumber());
    long events = static_cast<long>(args.get(1).asNumber());
    long idles = static_cast<long>(args.get(2).asNumber());
    for (int t = 0; t < threads; ++t) {
      self->threads_.emplace_back([t, threads, events, idles] {
        for (long i = t; i < events || i < idles; i += threads) {
          if (i < events) {
            // As a bridge does: the runtime's plain pointer, the shared one let go.
            TarnFullProcessRuntime* runtime = TarnProcessManager::Instance()->Runtime().get();
            Bridge::ScriptEngine* engine = runtime ? runtime->GetScriptEngine() : nullptr;
            if (engine) {
              TarnEventArgsMap map;
              map["n"] = std::to_string(i);
              if (i % 2) {
                engine->sendEvent(static_cast<int>(i % 7), map);
              } else {
                engine->sendInteruptEvent(static_cast<int>(i % 7), map);
              }
            }
            tarn::util::TaskDispatcher::Instance()->AddTask([] {});
          }
          if (i < idles) QueueRecord(i);
        }
      });
    }
    return true;
  }
  // queueIdle(n): n idle calls with a record each, queued now on this thread.
  static Bridge::ScriptObject HandleQueueIdle(Thrower*, const Bridge::ScriptArray& args) {
    long count = static_cast<long>(args.get(0).asNumber());
    for (long i = 0; i < count; ++i) QueueRecord(i);
    return true;
  }
  static void QueueRecord(long i) {
    if (i % 2) {
      auto* record = new Record();
      if (!clutter_threads_add_idle_full(150, &FreeRecord, record, nullptr)) delete record;
    } else {
      clutter_threads_add_idle_full(150, &KeepRecord, new Record(), &DestroyRecord);
    }
  }
  static Bridge::ScriptObject HandleLiveRecords(Thrower*, const Bridge::ScriptArray&) {
    return static_cast<int>(g_liveRecords.load());
  }

 private:
  std::vector<std::thread> threads_;
  bool throwOnCollect_ = false;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) std::vector<Bridge::ScriptBridge*> loadBridges() {
  return std::vector<Bridge::ScriptBridge*>{new Thrower()};
}
