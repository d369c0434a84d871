// Script values seen from native code: conversions follow the script's own
// rules, and a conversion that runs throwing script code unwinds with the
// script's exception left pending.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "ScriptObject.h"
#include "V8TestEnvironment.h"

namespace {

using Bridge::ScriptArray;
using Bridge::ScriptExceptionPending;
using Bridge::ScriptObject;

class ScriptObjectTest : public testing_v8::V8Test {
 protected:
  ScriptObject Value(v8::Local<v8::Context> context, const std::string& source) {
    v8::Local<v8::Value> value = Run(context, source, nullptr);
    EXPECT_FALSE(value.IsEmpty()) << source;
    return ScriptObject(value);
  }
  // The message of the exception a conversion left pending.
  template <class F>
  std::string PendingMessage(F conversion) {
    v8::TryCatch tryCatch(isolate());
    try {
      conversion();
    } catch (const ScriptExceptionPending&) {
      if (!tryCatch.HasCaught()) return "nothing pending";
      return Text(tryCatch.Message()->Get());
    }
    return "no exception";
  }
};

TEST_F(ScriptObjectTest, ConversionsFollowTheScriptRules) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = v8::Context::New(isolate());
  v8::Context::Scope contextScope(context);
  EXPECT_TRUE(std::isnan(ScriptObject().asNumber()));
  EXPECT_EQ(ScriptObject().asString(), "undefined");
  EXPECT_FALSE(ScriptObject().asBool());
  EXPECT_EQ(ScriptObject::Null().asNumber(), 0);
  EXPECT_EQ(Value(context, "'800'").asNumber(), 800);
  EXPECT_EQ(Value(context, "({ valueOf() { return 7; } })").asNumber(), 7);
  EXPECT_EQ(Value(context, "[1, 2]").asString(), "1,2");
  EXPECT_TRUE(Value(context, "({})").asBool());
  EXPECT_FALSE(Value(context, "''").asBool());
  EXPECT_TRUE(std::isnan(Value(context, "'x'").asNumber()));
  EXPECT_EQ(ScriptObject("t\xc3\xa9xt").asString(), "t\xc3\xa9xt");
  EXPECT_TRUE(ScriptObject(std::string()).isString());
  EXPECT_EQ(ScriptObject(static_cast<const char*>(nullptr)).asString(), "");
}

TEST_F(ScriptObjectTest, ThrowingConversionsLeaveTheScriptExceptionPending) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = v8::Context::New(isolate());
  v8::Context::Scope contextScope(context);
  ScriptObject valueOf = Value(context, "({ valueOf() { throw new Error('valueOf ran'); } })");
  EXPECT_EQ(PendingMessage([&] { valueOf.asNumber(); }), "Uncaught Error: valueOf ran");
  ScriptObject toString = Value(context, "({ toString() { throw new Error('toString ran'); } })");
  EXPECT_EQ(PendingMessage([&] { toString.asString(); }), "Uncaught Error: toString ran");
  ScriptObject symbol = Value(context, "Symbol('s')");
  EXPECT_EQ(PendingMessage([&] { symbol.asString(); }),
            "Uncaught TypeError: Cannot convert a Symbol value to a string");
  ScriptObject bigint = Value(context, "5n");
  EXPECT_EQ(PendingMessage([&] { bigint.asNumber(); }),
            "Uncaught TypeError: Cannot convert a BigInt value to a number");
  EXPECT_EQ(bigint.asString(), "5") << "a BigInt reads as a text without trouble";
  ScriptObject getter = Value(context, "({ get key() { throw new Error('getter ran'); } })");
  EXPECT_EQ(PendingMessage([&] { getter.get("key"); }), "Uncaught Error: getter ran");
  ScriptObject proxy = Value(context,
                             "new Proxy({}, { has() { throw new Error('has trap'); }, get() { "
                             "throw new Error('get trap'); } })");
  EXPECT_EQ(PendingMessage([&] { proxy.has("x"); }), "Uncaught Error: has trap");
  EXPECT_EQ(PendingMessage([&] { proxy.get("x"); }), "Uncaught Error: get trap");
  EXPECT_TRUE(proxy.asBool()) << "truthiness never runs script";
}

TEST_F(ScriptObjectTest, RecordsAndListsAreBuiltWithSet) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = v8::Context::New(isolate());
  v8::Context::Scope contextScope(context);
  ScriptObject record = ScriptObject::NewObject();
  record.set("text", std::string("abc"));
  record.set("flag", true);
  record.set("count", 3);
  record.set("nothing", ScriptObject());
  ScriptArray list;
  list.set(0, record);
  list.set(1, ScriptObject::Null());
  EXPECT_EQ(list.Length(), 2);
  EXPECT_TRUE(list.has(1));
  EXPECT_FALSE(list.has(2));
  EXPECT_FALSE(list.has(-1));
  EXPECT_TRUE(list.get(5).isUndefined());
  v8::Local<v8::String> json;
  ASSERT_TRUE(v8::JSON::Stringify(context, list.getValue()).ToLocal(&json));
  EXPECT_EQ(Text(json), "[{\"text\":\"abc\",\"flag\":true,\"count\":3},null]");
  EXPECT_TRUE(record.get("nothing").isUndefined());
  EXPECT_TRUE(record.has("nothing"));
  EXPECT_FALSE(ScriptObject(5).has("x")) << "a number has no properties";
  ScriptObject number(5);
  number.set("x", 1);  // nothing happens
  EXPECT_TRUE(number.get("x").isUndefined());
}

// Record keys are kept per isolate up to a bound; past it, and for long or
// odd names, keys are still exact, in this context and in a later one.
TEST_F(ScriptObjectTest, ManyLongAndOddKeysStayExact) {
  v8::HandleScope scope(isolate());
  for (int round = 0; round < 2; ++round) {
    v8::Local<v8::Context> context = v8::Context::New(isolate());
    v8::Context::Scope contextScope(context);
    ScriptObject record = ScriptObject::NewObject();
    for (int i = 0; i < 600; ++i) record.set("k" + std::to_string(i), i);
    const std::string longKey(5000, 'x');
    const std::string withNul("a\0b", 3);
    record.set(longKey, 1);
    record.set(withNul, 2);
    record.set("\xC3\xA9t\xC3\xA9", 3);
    record.set("", 4);
    for (int i = 0; i < 600; ++i) {
      ASSERT_EQ(record.get("k" + std::to_string(i)).asNumber(), i) << i;
    }
    EXPECT_EQ(record.get(longKey).asNumber(), 1);
    EXPECT_EQ(record.get(withNul).asNumber(), 2);
    EXPECT_TRUE(record.get("a").isUndefined()) << "a NUL does not cut the key";
    v8::Local<v8::Object> object = record.getValue().As<v8::Object>();
    v8::Local<v8::Value> accent;
    ASSERT_TRUE(object->Get(context, v8::String::NewFromUtf8Literal(isolate(), "\xC3\xA9t\xC3\xA9"))
                    .ToLocal(&accent));
    EXPECT_EQ(accent->NumberValue(context).FromMaybe(0), 3);
    EXPECT_EQ(record.get("").asNumber(), 4);
    EXPECT_TRUE(record.has("k599"));
    EXPECT_FALSE(record.has("k600"));
  }
}

TEST_F(ScriptObjectTest, KeptValuesOutliveTheirHandleScope) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = v8::Context::New(isolate());
  v8::Context::Scope contextScope(context);
  ScriptObject kept;
  {
    v8::HandleScope inner(isolate());
    kept = Value(context, "(function (a) { return a + 1; })");
  }
  isolate()->LowMemoryNotification();  // a full collection
  Bridge::ScriptFunction function = kept.asFunction();
  ScriptArray args;
  args.set(0, 41);
  EXPECT_EQ(function.invoke(args).asNumber(), 42);
  EXPECT_TRUE(Bridge::ScriptFunction().invoke(args).isUndefined()) << "null is not called";
  EXPECT_TRUE(Bridge::ScriptFunction(ScriptObject(3)).invoke(args).isUndefined());
}

// Every kind survives copy, move and assignment into every other kind: the
// value's storage is shared between kinds, so a text or handle left behind or
// ended twice would show here (and under the sanitizers).
TEST_F(ScriptObjectTest, CopiesMovesAndAssignmentsKeepEveryKind) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = v8::Context::New(isolate());
  v8::Context::Scope contextScope(context);
  const std::string longText(100, 'x');
  std::vector<ScriptObject> values = {ScriptObject(),
                                      ScriptObject::Null(),
                                      ScriptObject(true),
                                      ScriptObject(-2.5),
                                      ScriptObject("short"),
                                      ScriptObject(longText),
                                      Value(context, "({ n: 9 })")};
  auto same = [&](const ScriptObject& a, const ScriptObject& b) {
    if (a.kind() != b.kind()) return false;
    if (a.isObject()) {
      v8::HandleScope inner(isolate());
      return a.getValue(isolate())->StrictEquals(b.getValue(isolate()));
    }
    return a.asString() == b.asString();
  };
  for (const ScriptObject& from : values) {
    ScriptObject copy(from);
    EXPECT_TRUE(same(copy, from));
    ScriptObject moved(std::move(copy));
    EXPECT_TRUE(same(moved, from));
    EXPECT_TRUE(copy.isUndefined()) << "a moved-from value is undefined";
    for (const ScriptObject& into : values) {
      ScriptObject target(into);
      target = from;
      EXPECT_TRUE(same(target, from));
      ScriptObject source(from);
      ScriptObject other(into);
      other = std::move(source);
      EXPECT_TRUE(same(other, from));
    }
    ScriptObject self(from);
    const ScriptObject& alias = self;
    self = alias;
    EXPECT_TRUE(same(self, from)) << "self-assignment keeps the value";
  }
  EXPECT_EQ(values[5].asString(), longText);
  EXPECT_EQ(values[6].get("n").asNumber(), 9);
}

// What a method call answers for each kind: numbers that fit a small integer
// go in as one, everything else as the script value it stands for.
void AnswerOf(const v8::FunctionCallbackInfo<v8::Value>& info) {
  const int which = static_cast<int>(info[0].As<v8::Number>()->Value());
  const std::string longText(40, 'y');
  const ScriptObject answers[] = {ScriptObject(),
                                  ScriptObject::Null(),
                                  ScriptObject(false),
                                  ScriptObject(7),
                                  ScriptObject(-0.0),
                                  ScriptObject(2147483648.0),
                                  ScriptObject(-2147483648.0),
                                  ScriptObject(1.5),
                                  ScriptObject(std::nan("")),
                                  ScriptObject(longText),
                                  ScriptObject(-1e300)};
  answers[which].answer(info.GetReturnValue(), info.GetIsolate());
}

TEST_F(ScriptObjectTest, AnswersCarryEveryKind) {
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = v8::Context::New(isolate());
  v8::Context::Scope contextScope(context);
  v8::Local<v8::Function> answer = v8::Function::New(context, AnswerOf).ToLocalChecked();
  ASSERT_TRUE(context->Global()
                  ->Set(context, v8::String::NewFromUtf8Literal(isolate(), "answer"), answer)
                  .FromJust());
  const std::string longText(40, 'y');
  const std::string expected[] = {"undefined",   "null", "false", "7",      "-0",     "2147483648",
                                  "-2147483648", "1.5",  "NaN",   longText, "-1e+300"};
  for (int i = 0; i < 11; ++i) {
    const std::string source =
        "(function(v){ return Object.is(v, -0) ? '-0' : String(v); })(answer(" + std::to_string(i) +
        "))";
    EXPECT_EQ(Text(Run(context, source, nullptr)), expected[i]) << i;
  }
  EXPECT_EQ(Text(Run(context, "typeof answer(9)", nullptr)), "string");
  EXPECT_EQ(Text(Run(context, "typeof answer(3)", nullptr)), "number");
}

}  // namespace
