// The argument readers every handler uses, against real script values: one
// table per reader, each row a script expression and the native value it must
// give.
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "ScriptBridge.h"
#include "V8TestEnvironment.h"
#include "binding/Args.h"
#include "binding/Files.h"

namespace {

using Bridge::ScriptArray;
using Bridge::ScriptObject;

// Each method answers what the reader made of argument 0 (or of argument
// `index` for "present"), as a script value the test compares.
class ReaderBridge : public Bridge::ScriptInstanceBridge {
 public:
  ReaderBridge() : ScriptInstanceBridge(false) {}
  const char* getScriptClassName() const override { return "Reader"; }
  void mapScriptInterface(ScriptContext& context) override {
    context.captureMethodCall<ReaderBridge, &ReaderBridge::HandleInt32>("int32");
    context.captureMethodCall<ReaderBridge, &ReaderBridge::HandleUint32>("uint32");
    context.captureMethodCall<ReaderBridge, &ReaderBridge::HandleFlag>("flag");
    context.captureMethodCall<ReaderBridge, &ReaderBridge::HandleText>("text");
    context.captureMethodCall<ReaderBridge, &ReaderBridge::HandlePresent>("present");
    context.captureMethodCall<ReaderBridge, &ReaderBridge::HandleKeep>("keep");
    context.captureMethodCall<ReaderBridge, &ReaderBridge::HandleCallKept>("callKept");
    context.captureMethodCall<ReaderBridge, &ReaderBridge::HandleValue>("value");
  }
  void* constructFromScript(const ScriptArray&) override { return this; }
  void destroyFromScript(void*) override {}

  static ScriptObject HandleInt32(ReaderBridge* self, const ScriptArray& args) {
    ++self->calls;
    return static_cast<double>(Bridge::args::int32(args, 0));
  }
  static ScriptObject HandleUint32(ReaderBridge* self, const ScriptArray& args) {
    ++self->calls;
    return static_cast<double>(Bridge::args::uint32(args, 0));
  }
  static ScriptObject HandleFlag(ReaderBridge* self, const ScriptArray& args) {
    ++self->calls;
    return Bridge::args::flag(args, 0);
  }
  static ScriptObject HandleText(ReaderBridge* self, const ScriptArray& args) {
    ++self->calls;
    return Bridge::args::text(args, 0);
  }
  static ScriptObject HandlePresent(ReaderBridge* self, const ScriptArray& args) {
    ++self->calls;
    return Bridge::args::present(args, 1);
  }

  // Keeps argument 0 as a callback; callKept calls it with 41.
  static ScriptObject HandleKeep(ReaderBridge* self, const ScriptArray& args) {
    ++self->calls;
    self->kept = Bridge::args::function(args, 0);
    return ScriptObject();
  }
  static ScriptObject HandleCallKept(ReaderBridge* self, const ScriptArray&) {
    ScriptArray callArgs;
    callArgs.set(0, 41);
    return self->kept.invoke(callArgs);
  }
  // Argument 0 itself, or its member "x" when argument 1 is true.
  static ScriptObject HandleValue(ReaderBridge* self, const ScriptArray& args) {
    ++self->calls;
    ScriptObject value = Bridge::args::value(args, 0);
    return Bridge::args::flag(args, 1) ? value.get("x") : value;
  }

  int calls = 0;
  Bridge::ScriptFunction kept;
};

struct Row {
  const char* call;      // script expression on the object `r`
  const char* expected;  // its result as text
};

class ArgsTest : public testing_v8::V8Test {
 protected:
  void Expect(const std::vector<Row>& rows) {
    v8::HandleScope scope(isolate());
    ReaderBridge bridge;
    v8::Local<v8::ObjectTemplate> global = v8::ObjectTemplate::New(isolate());
    bridge.bridgeTo(global);
    v8::Local<v8::Context> context = v8::Context::New(isolate(), nullptr, global);
    v8::Context::Scope contextScope(context);
    ASSERT_FALSE(Run(context, "var r = new Reader(); true", nullptr).IsEmpty());
    for (const Row& row : rows) {
      std::string error;
      v8::Local<v8::Value> result = Run(context, row.call, &error);
      ASSERT_FALSE(result.IsEmpty()) << row.call << ": " << error;
      EXPECT_EQ(Text(result), row.expected) << row.call;
    }
  }
  std::string ErrorOf(const std::string& source, int* calls) {
    v8::HandleScope scope(isolate());
    ReaderBridge bridge;
    v8::Local<v8::ObjectTemplate> global = v8::ObjectTemplate::New(isolate());
    bridge.bridgeTo(global);
    v8::Local<v8::Context> context = v8::Context::New(isolate(), nullptr, global);
    v8::Context::Scope contextScope(context);
    std::string error;
    EXPECT_TRUE(Run(context, "var r = new Reader();" + source, &error).IsEmpty()) << source;
    *calls = bridge.calls;
    return error;
  }
};

TEST_F(ArgsTest, IntegersTruncateTowardZero) {
  Expect({{"r.int32(1.9)", "1"},
          {"r.int32(-1.9)", "-1"},
          {"r.int32(-0.5)", "0"},
          {"r.int32('42')", "42"},
          {"r.int32(' -7.8 ')", "-7"},
          {"r.int32(true)", "1"},
          {"r.int32(null)", "0"},
          {"r.int32([5])", "5"}});
}

TEST_F(ArgsTest, IntegersOfNothingNaNAndInfinityAreZero) {
  Expect({{"r.int32()", "0"},
          {"r.int32(undefined)", "0"},
          {"r.int32(NaN)", "0"},
          {"r.int32('seven')", "0"},
          {"r.int32({})", "0"},
          {"r.int32(Infinity)", "0"},
          {"r.int32(-Infinity)", "0"}});
}

TEST_F(ArgsTest, IntegersOutsideTheRangeWrapAsTheScriptsToInt32) {
  Expect({{"r.int32(2147483647)", "2147483647"},
          {"r.int32(2147483648)", "-2147483648"},
          {"r.int32(4294967295)", "-1"},
          {"r.int32(4294967296)", "0"},
          {"r.int32(-2147483649)", "2147483647"},
          {"r.int32(1e300)", "0"},
          {"r.int32(2 ** 53 + 2)", "2"},
          {"r.int32(-(2 ** 40) - 3.7)", "-3"}});
}

TEST_F(ArgsTest, UnsignedIntegersAreTheSameBitsAsToUint32) {
  Expect({{"r.uint32(-1)", "4294967295"},
          {"r.uint32(4294967296 + 5)", "5"},
          {"r.uint32(-1.9)", "4294967295"},
          {"r.uint32(NaN)", "0"},
          {"r.uint32(Infinity)", "0"},
          {"r.uint32(2147483648)", "2147483648"}});
}

TEST_F(ArgsTest, FlagsFollowTheScriptsToBoolean) {
  Expect({{"r.flag()", "false"},
          {"r.flag(true)", "true"},
          {"r.flag(false)", "false"},
          {"r.flag(0)", "false"},
          {"r.flag(-0)", "false"},
          {"r.flag(NaN)", "false"},
          {"r.flag('')", "false"},
          {"r.flag(null)", "false"},
          {"r.flag(2)", "true"},
          {"r.flag('false')", "true"},
          {"r.flag({})", "true"},
          {"r.flag(Symbol('s'))", "true"},
          {"r.flag(0n)", "false"}});
}

TEST_F(ArgsTest, TextsFollowTheScriptsToString) {
  Expect({{"r.text()", "undefined"},
          {"r.text(null)", "null"},
          {"r.text(12.5)", "12.5"},
          {"r.text('h\\u00e9\\u4e2d')", "h\u00e9\u4e2d"},
          {"r.text({ toString() { return 'mine'; } })", "mine"},
          {"r.text([1, 2])", "1,2"}});
}

TEST_F(ArgsTest, PresenceCountsGivenArgumentsEvenUndefinedOnes) {
  Expect({{"r.present()", "false"},
          {"r.present(1)", "false"},
          {"r.present(1, undefined)", "true"},
          {"r.present(1, 2, 3)", "true"}});
}

TEST_F(ArgsTest, ValuesAndCallbacksAreKeptAsGiven) {
  Expect({{"r.value()", "undefined"},
          {"typeof r.value({ x: 1 })", "object"},
          {"r.value({ x: 'member' }, true)", "member"},
          {"r.value(5, true)", "undefined"},
          {"r.keep((n) => n + 1); r.callKept()", "42"},
          {"r.keep(7); r.callKept()", "undefined"},
          {"r.keep(); r.callKept()", "undefined"}});
}

// A conversion that runs script and throws stops the handler; the script
// gets its own exception back, unchanged.
TEST_F(ArgsTest, ThrowingConversionsHandTheScriptItsOwnException) {
  int calls = 0;
  EXPECT_EQ(ErrorOf("r.int32({ valueOf() { throw new RangeError('no number'); } })", &calls),
            "Uncaught RangeError: no number");
  EXPECT_EQ(ErrorOf("r.text({ toString() { throw new SyntaxError('no text'); } })", &calls),
            "Uncaught SyntaxError: no text");
  EXPECT_EQ(ErrorOf("r.text(Symbol('s'))", &calls),
            "Uncaught TypeError: Cannot convert a Symbol value to a string");
  EXPECT_EQ(ErrorOf("r.int32(10n)", &calls),
            "Uncaught TypeError: Cannot convert a BigInt value to a number");
  EXPECT_EQ(ErrorOf("r.uint32(new Proxy({}, { get() { throw new Error('trap'); } }))", &calls),
            "Uncaught Error: trap");
  EXPECT_EQ(calls, 1) << "the handler started, and stopped at the conversion";
}

TEST(FilesTest, WholeFilesUpToTheLimit) {
  char pattern[] = "/tmp/qdutil-files-XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  const std::string dir = pattern;
  const std::string file = dir + "/list.txt";
  FILE* out = std::fopen(file.c_str(), "w");
  ASSERT_NE(out, nullptr);
  std::string contents(100000, 'x');
  contents += "end";
  std::fputs(contents.c_str(), out);
  std::fclose(out);

  std::string read;
  EXPECT_TRUE(Bridge::files::readWhole(file, &read));
  EXPECT_EQ(read, contents);
  EXPECT_FALSE(Bridge::files::readWhole(file, &read, 1000)) << "larger than the limit";
  EXPECT_TRUE(read.empty());
  EXPECT_FALSE(Bridge::files::readWhole(dir, &read)) << "a folder is not a file";
  EXPECT_FALSE(Bridge::files::readWhole(dir + "/missing", &read));
  EXPECT_TRUE(Bridge::files::exists(file));
  EXPECT_TRUE(Bridge::files::exists(dir));
  EXPECT_FALSE(Bridge::files::exists(dir + "/missing"));
  // Kernel reports say size 0 and are read to their end all the same.
  EXPECT_TRUE(Bridge::files::readWhole("/proc/self/status", &read));
  EXPECT_NE(read.find("Pid:"), std::string::npos);
  std::remove(file.c_str());
  rmdir(dir.c_str());
}

}  // namespace
