#include "repl/ReplOutput.h"

#include <cstdio>
#include <string>

#include "ScriptBridge.h"
#include "console/ValueFormat.h"
#include "engine/Runtime.h"
#include "engine/ScriptText.h"
#include "repl/ReplText.h"

namespace tarn {
namespace host {
namespace repl {

using host::DescribeThrown;
using host::Inspect;
using host::Text;
using host::Utf8;

void PrintValue(v8::Isolate* isolate, v8::Local<v8::Context> context, v8::Local<v8::Value> value) {
  v8::TryCatch tryCatch(isolate);
  const std::string text = Inspect(context, value);
  if (tryCatch.HasCaught() || tryCatch.HasTerminated()) return;
  std::printf("%s\n", text.c_str());
  std::fflush(stdout);
}

void PrintError(v8::Isolate* isolate, v8::Local<v8::Context> context, v8::Local<v8::Value> error) {
  if (error.IsEmpty()) error = v8::Undefined(isolate);
  if (error->IsNativeError()) {
    v8::TryCatch tryCatch(isolate);
    v8::Local<v8::Value> stack;
    if (error.As<v8::Object>()->Get(context, Text(isolate, "stack")).ToLocal(&stack) &&
        stack->IsString()) {
      std::printf("Uncaught %s\n", repl::TrimReplFrames(Utf8(isolate, stack)).c_str());
      std::fflush(stdout);
      return;
    }
  }
  v8::TryCatch tryCatch(isolate);
  std::string text = Inspect(context, error);
  if (tryCatch.HasCaught() || tryCatch.HasTerminated()) {
    text = DescribeThrown(isolate, context, error, true);
  }
  std::printf("Uncaught %s\n", text.c_str());
  std::fflush(stdout);
}

int ExitCodeOf(v8::Isolate* isolate, v8::Local<v8::Context> context) {
  v8::Context::Scope contextScope(context);
  v8::TryCatch tryCatch(isolate);
  v8::Local<v8::Value> tarn, code;
  if (!context->Global()->Get(context, Text(isolate, "tarn")).ToLocal(&tarn) || !tarn->IsObject() ||
      !tarn.As<v8::Object>()->Get(context, Text(isolate, "exitCode")).ToLocal(&code) ||
      !code->IsNumber()) {
    return 0;
  }
  return Bridge::detail::toIntegral<int>(code.As<v8::Number>()->Value());
}

}  // namespace repl
}  // namespace host
}  // namespace tarn
