// The binding templates (router, accessors, extract) against a real isolate,
// through a small test class bound with the same ScriptContext calls the
// QDUtil bridge uses.
#include <string>

#include "QDUtilBridge.h"
#include "ScriptBridge.h"
#include "V8TestEnvironment.h"

namespace {

using Bridge::ScriptArray;
using Bridge::ScriptObject;

class ProbeBridge : public Bridge::ScriptInstanceBridge {
 public:
  ProbeBridge() : ScriptInstanceBridge(false) {}
  const char* getScriptClassName() const override { return "Probe"; }
  void mapScriptInterface(ScriptContext& context) override {
    context.captureMethodCall<ProbeBridge, &ProbeBridge::HandleNothing>("nothing");
    context.captureMethodCall<ProbeBridge, &ProbeBridge::HandleBadType>("badType");
    context.captureMethodCall<ProbeBridge, &ProbeBridge::HandleRuntime>("runtime");
    context.captureMethodCall<ProbeBridge, &ProbeBridge::HandleNativeFailure>("nativeFailure");
    context.captureMethodCall<ProbeBridge, &ProbeBridge::HandleCount>("count");
    context.captureMethodCall<ProbeBridge, &ProbeBridge::HandleReadNumber>("readNumber");
  }
  void* constructFromScript(const ScriptArray&) override { return this; }
  void destroyFromScript(void*) override {}

  static ScriptObject HandleNothing(ProbeBridge*, const ScriptArray&) { return ScriptObject(); }
  static ScriptObject HandleBadType(ProbeBridge*, const ScriptArray&) {
    throw TarnJsBadTypeException("Number expected");
  }
  static ScriptObject HandleRuntime(ProbeBridge*, const ScriptArray&) {
    throw TarnJsRuntimeException("runtime trouble");
  }
  static ScriptObject HandleNativeFailure(ProbeBridge*, const ScriptArray&) {
    throw std::runtime_error("disk on fire");
  }
  static ScriptObject HandleCount(ProbeBridge* self, const ScriptArray& args) {
    ++self->calls;
    return args.Length();
  }
  static ScriptObject HandleReadNumber(ProbeBridge* self, const ScriptArray& args) {
    ++self->calls;
    return args.get(0).asNumber();
  }

  int calls = 0;
};

class BindingFrameTest : public testing_v8::V8Test {
 protected:
  v8::Local<v8::Context> NewContext(Bridge::ScriptBridge& bridge) {
    v8::Local<v8::ObjectTemplate> global = v8::ObjectTemplate::New(isolate());
    bridge.bridgeTo(global);
    v8::Local<v8::Context> context = v8::Context::New(isolate(), nullptr, global);
    return context;
  }
  std::string Error(v8::Local<v8::Context> context, const std::string& source) {
    std::string error;
    EXPECT_TRUE(Run(context, source, &error).IsEmpty()) << source;
    return error;
  }
};

TEST_F(BindingFrameTest, HandlerReturningUndefinedMakesTheCallUndefined) {
  v8::HandleScope scope(isolate());
  ProbeBridge bridge;
  v8::Local<v8::Context> context = NewContext(bridge);
  v8::Context::Scope contextScope(context);
  v8::Local<v8::Value> result = Run(context, "new Probe().nothing()", nullptr);
  ASSERT_FALSE(result.IsEmpty());
  EXPECT_TRUE(result->IsUndefined());
}

TEST_F(BindingFrameTest, RuntimeExceptionsBecomeScriptErrorsWithTheirText) {
  v8::HandleScope scope(isolate());
  ProbeBridge bridge;
  v8::Local<v8::Context> context = NewContext(bridge);
  v8::Context::Scope contextScope(context);
  EXPECT_EQ(Error(context, "new Probe().badType()"), "Uncaught Error: Bad Type: Number expected");
  EXPECT_EQ(Error(context, "new Probe().runtime()"), "Uncaught Error: runtime trouble");
  v8::Local<v8::Value> isError = Run(
      context, "try { new Probe().runtime(); false } catch (e) { e instanceof Error }", nullptr);
  ASSERT_FALSE(isError.IsEmpty());
  EXPECT_TRUE(isError->IsTrue());
}

TEST_F(BindingFrameTest, OtherNativeExceptionsDoNotEscapeIntoTheEngine) {
  v8::HandleScope scope(isolate());
  ProbeBridge bridge;
  v8::Local<v8::Context> context = NewContext(bridge);
  v8::Context::Scope contextScope(context);
  EXPECT_EQ(Error(context, "new Probe().nativeFailure()"),
            "Uncaught Error: Internal error: disk on fire");
  v8::Local<v8::Value> after = Run(context, "new Probe().count(1, 2, 3)", nullptr);
  ASSERT_FALSE(after.IsEmpty());
  EXPECT_EQ(Text(after), "3");
}

TEST_F(BindingFrameTest, ForeignReceiverNeverReachesTheHandler) {
  v8::HandleScope scope(isolate());
  ProbeBridge bridge;
  v8::Local<v8::Context> context = NewContext(bridge);
  v8::Context::Scope contextScope(context);
  const std::string message = "Uncaught Error: Cannot call native method without object instance";
  EXPECT_EQ(Error(context, "Probe.prototype.count.call({})"), message);
  EXPECT_EQ(Error(context, "Probe.prototype.count.call(7)"), message);
  EXPECT_EQ(Error(context, "Probe.prototype.count.call(new Proxy(new Probe(), {}))"), message);
  EXPECT_EQ(bridge.calls, 0);
}

TEST_F(BindingFrameTest, ConversionThatThrowsStopsTheHandlerWithTheScriptsOwnError) {
  v8::HandleScope scope(isolate());
  ProbeBridge bridge;
  v8::Local<v8::Context> context = NewContext(bridge);
  v8::Context::Scope contextScope(context);
  EXPECT_EQ(Error(context, "new Probe().readNumber({ valueOf() { throw new RangeError('no'); } })"),
            "Uncaught RangeError: no");
  EXPECT_EQ(Error(context, "new Probe().readNumber(Symbol('s'))"),
            "Uncaught TypeError: Cannot convert a Symbol value to a number");
  EXPECT_EQ(Error(context, "new Probe().readNumber(5n)"),
            "Uncaught TypeError: Cannot convert a BigInt value to a number");
  EXPECT_EQ(bridge.calls, 3) << "each handler starts, and stops at the conversion";
  v8::Local<v8::Value> ok = Run(context, "new Probe().readNumber('800')", nullptr);
  ASSERT_FALSE(ok.IsEmpty());
  EXPECT_EQ(Text(ok), "800");
}

// A plain object carrying the constant's accessor but no native pointer.
TEST_F(BindingFrameTest, ConstantOnAPlainObjectIsRefused) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::ObjectTemplate> plain = v8::ObjectTemplate::New(isolate());
  plain->SetAccessor(
      v8::String::NewFromUtf8Literal(isolate(), "NB_MODE"),
      &Bridge::getJSNumber<Bridge::QDUtilBridge, int, &Bridge::QDUtilBridge::getNB_MODE>,
      &Bridge::setJSNumber<Bridge::QDUtilBridge, int, &Bridge::QDUtilBridge::setNB_MODE>);
  v8::Local<v8::ObjectTemplate> global = v8::ObjectTemplate::New(isolate());
  global->Set(isolate(), "plain", plain);
  v8::Local<v8::Context> context = v8::Context::New(isolate(), nullptr, global);
  v8::Context::Scope contextScope(context);
  EXPECT_EQ(Error(context, "plain.NB_MODE"),
            "Uncaught Error: Attempt to pass a JSObject as a native object");
  EXPECT_EQ(Error(context, "plain.NB_MODE = 3"),
            "Uncaught Error: Attempt to pass a JSObject as a native object");
}

TEST(ExceptionFamily, MessagesAreCopiedAndPrefixed) {
  EXPECT_STREQ(TarnException(nullptr).what(), "");
  std::string text = "temporary";
  TarnJsRuntimeException runtime(text.c_str());
  text = "changed";
  EXPECT_STREQ(runtime.what(), "temporary");
  EXPECT_STREQ(runtime.msg(), "temporary");
  TarnJsBadTypeException badType("Number expected for property \"X\"");
  EXPECT_STREQ(badType.what(), "Bad Type: Number expected for property \"X\"");
  const TarnJsRuntimeException& asRuntime = badType;
  EXPECT_STREQ(asRuntime.what(), "Bad Type: Number expected for property \"X\"");
}

TEST(NumberConversion, TruncatesTowardZeroAndWrapsLikeToInt32) {
  using Bridge::detail::toIntegral;
  EXPECT_EQ(toIntegral<int>(1.9), 1);
  EXPECT_EQ(toIntegral<int>(-1.9), -1);
  EXPECT_EQ(toIntegral<int>(639.9), 639);
  EXPECT_EQ(toIntegral<int>(std::nan("")), 0);
  EXPECT_EQ(toIntegral<int>(1.0 / 0.0), 0);
  EXPECT_EQ(toIntegral<int>(4294967296.0 + 5), 5);
  EXPECT_EQ(toIntegral<int>(2147483648.0), -2147483647 - 1);
  EXPECT_EQ(toIntegral<int>(-2147483649.0), 2147483647);
  EXPECT_EQ(toIntegral<unsigned>(-1.0), 4294967295u);
  EXPECT_EQ(toIntegral<int>(1e300), 0);
}

}  // namespace

// Checked receivers are remembered by address, which is only sound while no
// collection has moved or freed anything: every collection forgets them.
TEST_F(BindingFrameTest, CheckedReceiversAreForgottenAtEveryCollection) {
  v8::HandleScope scope(isolate());
  ProbeBridge bridge;
  v8::Local<v8::Context> context = NewContext(bridge);
  v8::Context::Scope contextScope(context);
  ASSERT_FALSE(Run(context, "var p = new Probe(); p.count()", nullptr).IsEmpty());
  auto* cache = static_cast<Bridge::detail::ReceiverCache*>(
      isolate()->GetData(Bridge::detail::kReceiverCacheSlot));
  ASSERT_NE(cache, nullptr);
  EXPECT_NE(cache->object, 0u);
  EXPECT_EQ(cache->native, &bridge);
  isolate()->LowMemoryNotification();
  EXPECT_EQ(cache->object, 0u);
  EXPECT_EQ(cache->native, nullptr);
  // Objects moved by the collection are checked afresh and still answer.
  v8::Local<v8::Value> after = Run(context, "p.count(1, 2)", nullptr);
  ASSERT_FALSE(after.IsEmpty());
  EXPECT_EQ(Text(after), "2");
  EXPECT_EQ(Error(context, "Probe.prototype.count.call({})"),
            "Uncaught Error: Cannot call native method without object instance");
  EXPECT_EQ(bridge.calls, 2);
}
