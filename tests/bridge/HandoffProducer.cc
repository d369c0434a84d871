// A test bridge ("HandoffProducer") that plays a platform service: its
// methods start threads that are not the script thread and, from there,
// queue Bluetooth device records through the QDUtil bridge's hand-off and
// send engine events and dispatcher tasks, so script tests can watch what
// reaches the script thread, when and in which order.
#include <malloc.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ScriptBridge.h"
#include "ScriptEngine.h"
#include "TaskDispatcher.h"
#include "events/Handoff.h"

namespace {

using Bridge::ScriptArray;
using Bridge::ScriptObject;

class HandoffProducer : public Bridge::ScriptInstanceBridge {
 public:
  HandoffProducer() : ScriptInstanceBridge(false) {}
  ~HandoffProducer() override { joinAll(); }

  const char* getScriptClassName() const override { return "HandoffProducer"; }
  void mapScriptInterface(ScriptContext& context) override {
    using P = HandoffProducer;
    context.captureMethodCall<P, &P::HandleSetCallback>("setCallback");
    context.captureMethodCall<P, &P::HandleQueueDevices>("queueDevices");
    context.captureMethodCall<P, &P::HandleSend>("send");
    context.captureMethodCall<P, &P::HandleSetTaskCallback>("setTaskCallback");
    context.captureMethodCall<P, &P::HandleJoin>("join");
    context.captureMethodCall<P, &P::HandleHeapInUse>("heapInUse");
    context.captureMethodCall<P, &P::HandleTasksOffScriptThread>("tasksOffScriptThread");
  }
  void* constructFromScript(const ScriptArray&) override {
    scriptThread_ = std::this_thread::get_id();
    return this;
  }
  void destroyFromScript(void*) override {}

  // setCallback(value): the function (or any value) the queued records carry.
  static ScriptObject HandleSetCallback(HandoffProducer* self, const ScriptArray& args) {
    self->callback_ = Bridge::ScriptFunction(args.get(0));
    return true;
  }

  // queueDevices(count, nameLength): a foreign thread queues `count` records;
  // record i has address "DEV-i", a name of `nameLength` letters ("" for 0),
  // bonded when i is even, connected when i is odd, vid i, pid count - i.
  static ScriptObject HandleQueueDevices(HandoffProducer* self, const ScriptArray& args) {
    const int count = static_cast<int>(args.get(0).asNumber());
    const int nameLength = static_cast<int>(args.get(1).asNumber());
    Bridge::ScriptFunction* target = &self->callback_;
    self->start([count, nameLength, target] {
      for (int i = 0; i < count; ++i) {
        auto* event = new Bridge::BtDeviceEvent();
        event->remoteAddress = "DEV-" + std::to_string(i);
        event->remoteName = std::string(static_cast<size_t>(nameLength), 'n');
        event->isBonded = i % 2 == 0;
        event->isConnected = i % 2 == 1;
        event->vid = i;
        event->pid = count - i;
        event->callback = target;
        Bridge::queueBtDeviceEvent(event);
      }
    });
    return true;
  }

  // send(count): a foreign thread sends, for i = 0..count-1 in turn, engine
  // event 1000 + i, interrupt event 2000 + i, or a dispatcher task that calls
  // the task callback with 3000 + i (i % 3 picks which). Each event carries
  // {"i": i}.
  static ScriptObject HandleSend(HandoffProducer* self, const ScriptArray& args) {
    const int count = static_cast<int>(args.get(0).asNumber());
    self->start([self, count] {
      Bridge::ScriptEngine* engine = _GetTarnFullProcessRuntime()->GetScriptEngine();
      for (int i = 0; i < count; ++i) {
        TarnEventArgsMap map{{"i", std::to_string(i)}};
        if (i % 3 == 0) {
          engine->sendEvent(1000 + i, map);
        } else if (i % 3 == 1) {
          engine->sendInteruptEvent(2000 + i, map);
        } else {
          tarn::util::TaskDispatcher::Instance()->AddTask([self, i] { self->runTask(3000 + i); });
        }
      }
    });
    return true;
  }

  static ScriptObject HandleSetTaskCallback(HandoffProducer* self, const ScriptArray& args) {
    self->taskCallback_ = Bridge::ScriptFunction(args.get(0));
    return true;
  }

  // Waits for the producing threads to finish queueing.
  static ScriptObject HandleJoin(HandoffProducer* self, const ScriptArray&) {
    self->joinAll();
    return true;
  }

  // Bytes of the heap in use, to see records freed.
  static ScriptObject HandleHeapInUse(HandoffProducer*, const ScriptArray&) {
    return static_cast<double>(mallinfo2().uordblks);
  }

  static ScriptObject HandleTasksOffScriptThread(HandoffProducer* self, const ScriptArray&) {
    return self->tasksOffScriptThread_.load();
  }

 private:
  void start(std::function<void()> work) {
    std::lock_guard<std::mutex> lock(mutex_);
    threads_.emplace_back(std::move(work));
  }
  void joinAll() {
    std::vector<std::thread> threads;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      threads.swap(threads_);
    }
    for (auto& t : threads) t.join();
  }
  // Script thread (a dispatcher task).
  void runTask(int value) {
    if (std::this_thread::get_id() != scriptThread_) ++tasksOffScriptThread_;
    if (!taskCallback_.isFunction()) return;
    ScriptArray arguments;
    arguments.set(0, ScriptObject(value));
    taskCallback_.invoke(arguments);
  }

  Bridge::ScriptFunction callback_;
  Bridge::ScriptFunction taskCallback_;
  std::thread::id scriptThread_;
  std::atomic<int> tasksOffScriptThread_{0};
  std::mutex mutex_;
  std::vector<std::thread> threads_;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) std::vector<Bridge::ScriptBridge*> loadBridges() {
  return std::vector<Bridge::ScriptBridge*>{new HandoffProducer()};
}
