// The bridge object: what loadBridges hands the host, construction from
// script, and what the engine base expects of it.
#include <memory>
#include <vector>

#include "QDUtilBridge.h"
#include "V8TestEnvironment.h"
#include "tarn/host/LogCapture.h"
#include "tvsim/Simulator.h"

namespace {

using Bridge::QDUtilBridge;
using Bridge::ScriptBridge;

class BridgeLifetimeTest : public testing_v8::V8Test {};

size_t Calls(const std::string& library, const std::string& operation) {
  size_t count = 0;
  for (const tvsim::JournalEntry& entry : tvsim::Simulator::journal()) {
    if (entry.library == library && entry.operation == operation) ++count;
  }
  return count;
}

std::vector<std::string> Texts(const std::vector<tarn::util::LogRecord>& records) {
  std::vector<std::string> texts;
  for (const auto& record : records) {
    if (record.logger == "tarn.qdutil.bridge") texts.push_back(record.text);
  }
  return texts;
}

TEST_F(BridgeLifetimeTest, LoadBridgesGivesOneNewBridgeEachTime) {
  tvsim::Simulator::clearJournal();
  std::vector<ScriptBridge*> first = loadBridges();
  EXPECT_EQ(Calls("AppContextClient", "initialize"), 1u);
  std::vector<ScriptBridge*> second = loadBridges();
  EXPECT_EQ(Calls("AppContextClient", "initialize"), 2u) << "each bridge connects once";
  ASSERT_EQ(first.size(), 1u);
  ASSERT_EQ(second.size(), 1u);
  EXPECT_NE(first[0], second[0]);
  EXPECT_NE(dynamic_cast<QDUtilBridge*>(first[0]), nullptr);
  EXPECT_NE(dynamic_cast<QDUtilBridge*>(second[0]), nullptr);
  delete first[0];
  delete second[0];
  EXPECT_EQ(Calls("AppContextClient", "finalize"), 2u) << "each bridge disconnects once";
}

TEST_F(BridgeLifetimeTest, ConstructionAndDestructionLogTheServiceStatus) {
  tarn::host::LogCapture capture;
  std::unique_ptr<QDUtilBridge> bridge(new QDUtilBridge());
  EXPECT_EQ(Texts(capture.take()), (std::vector<std::string>{"constructor", "context init ret:0"}));
  bridge.reset();
  std::vector<tarn::util::LogRecord> records = capture.take();
  EXPECT_EQ(Texts(records), (std::vector<std::string>{"destructor", "context fini ret:0"}));
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].function, "~QDUtilBridge");
  EXPECT_EQ(records[0].file, "src/bridge/QDUtilBridge");
  EXPECT_EQ(records[0].level, 2);
}

TEST_F(BridgeLifetimeTest, FailedServiceConnectionStillMakesABridge) {
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::forceResult("AppContextClient.initialize", -1, &error)) << error;
  tarn::host::LogCapture capture;
  std::unique_ptr<QDUtilBridge> bridge(new QDUtilBridge());
  EXPECT_EQ(Texts(capture.take()),
            (std::vector<std::string>{"constructor", "context init ret:-1"}));
  EXPECT_STREQ(bridge->getScriptClassName(), "QDUtil");
}

TEST_F(BridgeLifetimeTest, ConstructFromScriptAnswersTheBridgeItself) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = v8::Context::New(isolate());
  v8::Context::Scope contextScope(context);
  QDUtilBridge bridge;
  Bridge::ScriptArray none;
  EXPECT_EQ(bridge.constructFromScript(none), &bridge);
  Bridge::ScriptArray some;
  some.set(0, 1);
  some.set(1, "two");
  some.set(2, Bridge::ScriptObject::Null());
  EXPECT_EQ(bridge.constructFromScript(some), &bridge);
}

TEST_F(BridgeLifetimeTest, DestroyFromScriptChangesNothing) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::ObjectTemplate> global = v8::ObjectTemplate::New(isolate());
  QDUtilBridge bridge;
  bridge.bridgeTo(global);
  v8::Local<v8::Context> context = v8::Context::New(isolate(), nullptr, global);
  v8::Context::Scope contextScope(context);
  int unrelated = 0;
  bridge.destroyFromScript(nullptr);
  bridge.destroyFromScript(&unrelated);
  bridge.destroyFromScript(&bridge);
  v8::Local<v8::Value> result = Run(context, "new QDUtil().registerKey()", nullptr);
  ASSERT_FALSE(result.IsEmpty());
  EXPECT_TRUE(result->IsTrue());
}

TEST_F(BridgeLifetimeTest, ClassNameIsQDUtilBeforeAndAfterMapping) {
  v8::HandleScope scope(isolate());
  QDUtilBridge bridge;
  EXPECT_STREQ(bridge.getScriptClassName(), "QDUtil");
  v8::Local<v8::ObjectTemplate> global = v8::ObjectTemplate::New(isolate());
  bridge.bridgeTo(global);  // runs mapScriptInterface
  v8::Local<v8::Context> context = v8::Context::New(isolate(), nullptr, global);
  v8::Context::Scope contextScope(context);
  v8::Local<v8::Value> methods =
      Run(context, "Object.getOwnPropertyNames(QDUtil.prototype).length", nullptr);
  ASSERT_FALSE(methods.IsEmpty());
  EXPECT_GT(methods.As<v8::Number>()->Value(), 1) << "the interface was mapped";
  EXPECT_STREQ(bridge.getScriptClassName(), "QDUtil");
}

}  // namespace
