// The formatter's C++ entry points, used as a read-eval-print loop uses them:
// a value shown as node's util.inspect shows it, an argument list as
// console.log prints it, nothing run that the value hides behind getters or
// proxy traps, and the formatter compiled only when first needed.
#include "console/ValueFormat.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "V8TestEnvironment.h"
#include "engine/Runtime.h"
#include "script/ScriptApi.h"

namespace {

using tarn::host::FormatLogArguments;
using tarn::host::Inspect;
using tarn::host::InspectOptions;

class InspectTest : public testing_v8::V8Test {
 protected:
  void SetUp() override {
    V8Test::SetUp();
    runtime_ = std::make_shared<tarn::host::Runtime>(isolate(), g_main_context_default());
  }
  void TearDown() override {
    tarn::host::ShutdownScriptApi();
    runtime_.reset();
    V8Test::TearDown();
  }

  v8::Local<v8::Context> NewScriptContext() {
    v8::Local<v8::Context> context = v8::Context::New(isolate());
    runtime_->SetContext(context);
    v8::Context::Scope contextScope(context);
    tarn::host::InstallScriptApi(runtime_.get(), context, tarn::host::ScriptApiConfig{".", {}});
    return context;
  }

  v8::Local<v8::Value> Value(v8::Local<v8::Context> context, const std::string& source) {
    std::string error;
    v8::Local<v8::Value> value = Run(context, source, &error);
    EXPECT_FALSE(value.IsEmpty()) << source << ": " << error;
    return value.IsEmpty() ? v8::Undefined(isolate()).As<v8::Value>() : value;
  }

  std::string Show(v8::Local<v8::Context> context, const std::string& source,
                   const InspectOptions& options = InspectOptions()) {
    return Inspect(context, Value(context, source), options);
  }

  static bool FormatterCompiled(v8::Local<v8::Context> context) {
    return context->GetNumberOfEmbedderDataFields() >
               static_cast<uint32_t>(tarn::host::kFormatterContextSlot) &&
           context->GetEmbedderData(tarn::host::kFormatterContextSlot)->IsObject();
  }

  std::shared_ptr<tarn::host::Runtime> runtime_;
};

TEST_F(InspectTest, ValuesLookAsInNode) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  EXPECT_EQ(Show(context, "'text'"), "'text'");
  EXPECT_EQ(Show(context, "-0"), "-0");
  EXPECT_EQ(Show(context, "[undefined, , 1n]"), "[ undefined, <1 empty item>, 1n ]");
  EXPECT_EQ(Show(context, "({a: {b: {c: {d: 1}}}})"), "{ a: { b: { c: [Object] } } }");
  EXPECT_EQ(Show(context, "new Map([[1, 'one']])"), "Map(1) { 1 => 'one' }");
  EXPECT_EQ(Show(context, "(() => { const c = {}; c.c = c; return c; })()"),
            "<ref *1> { c: [Circular *1] }");
  EXPECT_EQ(Show(context, "class A { constructor() { this.x = 1; } }; new A()"), "A { x: 1 }");
}

TEST_F(InspectTest, OptionsWorkAsInNode) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  InspectOptions shallow;
  shallow.depth = 0;
  EXPECT_EQ(Show(context, "({a: {b: 1}})", shallow), "{ a: [Object] }");
  InspectOptions all;
  all.depth = InspectOptions::kNoDepthLimit;
  EXPECT_EQ(Show(context, "({a: {b: {c: {d: {e: 1}}}}})", all),
            "{\n  a: {\n    b: { c: { d: { e: 1 } } }\n  }\n}");
  InspectOptions hidden;
  hidden.showHidden = true;
  EXPECT_EQ(Show(context, "[1]", hidden), "[ 1, [length]: 1 ]");
  InspectOptions few;
  few.maxArrayLength = 2;
  EXPECT_EQ(Show(context, "[1, 2, 3]", few), "[ 1, 2, ... 1 more item ]");
  InspectOptions narrow;
  narrow.breakLength = 10;
  EXPECT_EQ(Show(context, "({alpha: 1, beta: 2})", narrow), "{\n  alpha: 1,\n  beta: 2\n}");
  InspectOptions sorted;
  sorted.sorted = true;
  EXPECT_EQ(Show(context, "({b: 1, a: 2})", sorted), "{ a: 2, b: 1 }");
}

TEST_F(InspectTest, GettersAndProxyTrapsAreNotRun) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  Value(context,
        "var runs = 0;"
        "var trap = () => { runs++; throw new Error('trap'); };"
        "var watched = { get g() { runs++; return 1; }, inner: new Proxy({ p: 1 }, {"
        "  get: trap, ownKeys: trap, getOwnPropertyDescriptor: trap, getPrototypeOf: trap,"
        "  has: trap }) };");
  EXPECT_EQ(Show(context, "watched"), "{ g: [Getter], inner: { p: 1 } }");
  // %s shows an object to depth 0; %O as inspect does.
  EXPECT_EQ(FormatLogArguments(context, {Value(context, "'%s|%O'"), Value(context, "watched"),
                                         Value(context, "watched")}),
            "{ g: [Getter], inner: [Object] }|{ g: [Getter], inner: { p: 1 } }");
  EXPECT_EQ(Text(Value(context, "runs")), "0");
}

TEST_F(InspectTest, ArgumentListsAsConsoleLogPrintsThem) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  EXPECT_EQ(FormatLogArguments(context, {Value(context, "'%s is %d'"), Value(context, "'x'"),
                                         Value(context, "42"), Value(context, "[1]")}),
            "x is 42 [ 1 ]");
  EXPECT_EQ(FormatLogArguments(context, {Value(context, "'bare'"), Value(context, "'text'")}),
            "bare text");
  EXPECT_EQ(FormatLogArguments(context, {}), "");
}

TEST_F(InspectTest, FormatterIsCompiledOnlyWhenFirstNeeded) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  EXPECT_FALSE(FormatterCompiled(context)) << "not at start-up";
  EXPECT_EQ(FormatLogArguments(context, {Value(context, "'only'"), Value(context, "'texts'")}),
            "only texts");
  Value(context,
        "console.count('inspect-test'); console.countReset('inspect-test'); typeof console");
  EXPECT_FALSE(FormatterCompiled(context)) << "texts alone need no formatter";
  EXPECT_EQ(Show(context, "({})"), "{}");
  EXPECT_TRUE(FormatterCompiled(context));
}

TEST_F(InspectTest, WorksInAContextWithoutTheScriptApi) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = v8::Context::New(isolate());
  v8::Context::Scope contextScope(context);
  EXPECT_EQ(Show(context, "[new Set([1]), Symbol('s')]"), "[ Set(1) { 1 }, Symbol(s) ]");
}

TEST_F(InspectTest, TerminationLeavesAnEmptyTextAndTheExceptionToTheCaller) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = NewScriptContext();
  v8::Context::Scope contextScope(context);
  v8::Local<v8::Value> value = Value(context, "({a: 1})");
  v8::TryCatch tryCatch(isolate());
  isolate()->TerminateExecution();
  EXPECT_EQ(Inspect(context, value), "");
  EXPECT_TRUE(tryCatch.HasTerminated());
  isolate()->CancelTerminateExecution();
  EXPECT_EQ(Inspect(context, value), "{ a: 1 }");
}

}  // namespace
