// The bridge object: what loadBridges hands the host, construction from
// script, and what the engine base expects of it.
#include <memory>
#include <vector>

#include "QDUtilBridge.h"
#include "V8TestEnvironment.h"

namespace {

using Bridge::QDUtilBridge;
using Bridge::ScriptBridge;

class BridgeLifetimeTest : public testing_v8::V8Test {};

TEST_F(BridgeLifetimeTest, LoadBridgesGivesOneNewBridgeEachTime) {
  std::vector<ScriptBridge*> first = loadBridges();
  std::vector<ScriptBridge*> second = loadBridges();
  ASSERT_EQ(first.size(), 1u);
  ASSERT_EQ(second.size(), 1u);
  EXPECT_NE(first[0], second[0]);
  EXPECT_NE(dynamic_cast<QDUtilBridge*>(first[0]), nullptr);
  EXPECT_NE(dynamic_cast<QDUtilBridge*>(second[0]), nullptr);
  delete first[0];
  delete second[0];
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
