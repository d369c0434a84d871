// Hand-off to the script thread: engine events, dispatcher tasks and idle
// calls are delivered later on the script thread, in order, never inside the
// caller, whichever thread sends them.
#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "TarnProcessManager.h"
#include "TaskDispatcher.h"
#include "V8TestEnvironment.h"
#include "clutter.h"
#include "engine/Runtime.h"
#include "script/ScriptApi.h"

namespace {

using tarn::host::Runtime;

class RuntimeTest : public testing_v8::V8Test {
 protected:
  void SetUp() override {
    V8Test::SetUp();
    runtime_ = std::make_shared<Runtime>(isolate(), g_main_context_default());
    TarnProcessManager::Instance()->SetRuntime(runtime_);
  }
  void TearDown() override {
    tarn::host::ShutdownScriptApi();
    TarnProcessManager::Instance()->SetRuntime(nullptr);
    runtime_.reset();
    V8Test::TearDown();
  }

  // A context with the script API, remembered by the runtime.
  v8::Local<v8::Context> NewScriptContext() {
    v8::Local<v8::Context> context = v8::Context::New(isolate());
    runtime_->SetContext(context);
    v8::Context::Scope contextScope(context);
    tarn::host::InstallScriptApi(runtime_.get(), context, tarn::host::ScriptApiConfig{".", {}});
    return context;
  }

  // Runs the loop, with a guard that ends a run that would never finish.
  void RunLoop() {
    guint guard = g_timeout_add_seconds(
        10,
        [](gpointer self) -> gboolean {
          static_cast<RuntimeTest*>(self)->timedOut_ = true;
          static_cast<RuntimeTest*>(self)->runtime_->RequestExit(99);
          return G_SOURCE_REMOVE;
        },
        this);
    runtime_->Run();
    if (!timedOut_) g_source_remove(guard);
    ASSERT_FALSE(timedOut_) << "the loop did not finish";
  }

  std::string Eval(v8::Local<v8::Context> context, const std::string& source) {
    std::string error;
    v8::Local<v8::Value> value = Run(context, source, &error);
    return value.IsEmpty() ? "error: " + error : Text(value);
  }

  std::shared_ptr<Runtime> runtime_;
  bool timedOut_ = false;
};

const char kRecorder[] =
    "var seen = [];"
    "function listener(code, args) {"
    "  seen.push(code + ':' + JSON.stringify(args));"
    "  if (seen.length === expected) { tarn.off('event', listener); tarn.off('interrupt', "
    "listener); }"
    "}"
    "tarn.on('event', listener); tarn.on('interrupt', listener);";

TEST_F(RuntimeTest, EventsFromAnotherThreadReachListenersOnTheScriptThreadInOrder) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  Eval(context, std::string("var expected = 3;") + kRecorder);
  std::thread sender([this] {
    runtime_->sendEvent(6, {{"json", "{\"a\":1}"}});
    runtime_->sendInteruptEvent(0x100900A4, {});
    runtime_->sendEvent(0, {{"json", ""}});
  });
  sender.join();
  RunLoop();
  EXPECT_EQ(Eval(context, "seen.join('|')"),
            "6:{\"json\":\"{\\\"a\\\":1}\"}|269025444:{}|0:{\"json\":\"\"}");
}

TEST_F(RuntimeTest, EventSentFromTheScriptThreadArrivesOnlyAfterTheSenderReturns) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  Eval(context, std::string("var expected = 1;") + kRecorder);
  runtime_->sendEvent(1, {});
  EXPECT_EQ(Eval(context, "seen.length"), "0") << "not delivered inside sendEvent";
  RunLoop();
  EXPECT_EQ(Eval(context, "seen.join('|')"), "1:{}");
}

TEST_F(RuntimeTest, EventsWithoutListenersAreDroppedAndTheLoopEnds) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  runtime_->sendEvent(2, {});
  RunLoop();
  EXPECT_FALSE(runtime_->Exiting());
}

TEST_F(RuntimeTest, DispatcherTasksRunLaterAndInOrderFromAnyThread) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  std::vector<int> ran;
  std::thread::id scriptThread = std::this_thread::get_id();
  std::vector<std::thread::id> threads;
  auto task = [&](int n) {
    return [&, n] {
      ran.push_back(n);
      threads.push_back(std::this_thread::get_id());
    };
  };
  tarn::util::TaskDispatcher::Instance()->AddTask(task(1));
  EXPECT_TRUE(ran.empty()) << "not run inside AddTask";
  std::thread other([&] {
    tarn::util::TaskDispatcher::Instance()->AddTask(task(2));
    tarn::util::TaskDispatcher::Instance()->AddTask(task(3));
  });
  other.join();
  RunLoop();
  EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
  for (std::thread::id id : threads) EXPECT_EQ(id, scriptThread);
}

std::vector<std::string>* g_order = nullptr;

gboolean RecordIdle150(gpointer) {
  g_order->push_back("150");
  return FALSE;
}
gboolean RecordIdle200(gpointer) {
  g_order->push_back("200");
  return FALSE;
}
void CountNotify(gpointer data) { ++*static_cast<int*>(data); }

TEST_F(RuntimeTest, ToolkitIdleRunsOnceAheadOfDefaultIdles) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  std::vector<std::string> order;
  g_order = &order;
  int notified = 0;
  g_idle_add_full(G_PRIORITY_DEFAULT_IDLE, &RecordIdle200, nullptr, nullptr);
  guint id = clutter_threads_add_idle_full(150, &RecordIdle150, &notified, &CountNotify);
  EXPECT_NE(id, 0u);
  EXPECT_TRUE(order.empty()) << "not run inside the call";
  while (g_main_context_iteration(g_main_context_default(), FALSE)) {
  }
  EXPECT_EQ(order, (std::vector<std::string>{"150", "200"}));
  EXPECT_EQ(notified, 1) << "the destroy notifier runs once the idle is done";
  g_order = nullptr;
}

TEST_F(RuntimeTest, RuntimeWithoutContextHasNoScriptEngine) {
  EXPECT_EQ(runtime_->GetScriptEngine(), nullptr);
  v8::HandleScope scope(isolate());
  NewScriptContext();
  EXPECT_EQ(runtime_->GetScriptEngine(), runtime_.get());
  EXPECT_EQ(TarnProcessManager::Instance()->Runtime().get(), runtime_.get());
}

}  // namespace
