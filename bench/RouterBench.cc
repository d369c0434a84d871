// Cost per call of the QDUtil binding frame against bare V8 callbacks doing
// the same work, measured in one process with the same loop shape:
//   - an inert method ("registerKey") against a bare method returning true
//     (and the router's value handling alone, to split its cost),
//     both prototype methods of a class whose objects have internal fields;
//   - a constant read ("NB_MODE") against a bare accessor returning a number;
//   - when the bridge binds it, "ExtractForegroundColor" against a bare
//     function that reads three numbers.
// Prints nanoseconds per iteration and the ratios. Best of several rounds, so
// a busy machine inflates nothing but the spread.
#include <libplatform/libplatform.h>
#include <v8.h>

#include <sys/time.h>
#include <algorithm>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "ScriptBridge.h"

extern "C" std::vector<Bridge::ScriptBridge*> loadBridges();

namespace {

void BareTrue(const v8::FunctionCallbackInfo<v8::Value>& info) { info.GetReturnValue().Set(true); }

// The router's value handling alone (argument list over the call, a handler
// out of line answering a ScriptObject, its engine value), without the
// receiver check: splits the router's cost between the two.
Bridge::ScriptObject __attribute__((noinline)) ReturnTrue(const Bridge::ScriptArray&) {
  return true;
}
void ValuesOnly(const v8::FunctionCallbackInfo<v8::Value>& info) {
  Bridge::V8Arguments<v8::Value> adapter(info);
  Bridge::ScriptArray args(adapter);
  Bridge::ScriptObject result = ReturnTrue(args);
  v8::Local<v8::Value> value = result.getValue(info.GetIsolate());
  if (!value.IsEmpty()) info.GetReturnValue().Set(value);
}
void BareThreeNumbers(const v8::FunctionCallbackInfo<v8::Value>& info) {
  int sum = 0;
  for (int i = 0; i < 3; ++i) {
    v8::Local<v8::Value> v = info[i];
    if (i < info.Length() && v->IsNumber())
      sum += static_cast<int>(v.As<v8::Number>()->Value()) & 0xff;
  }
  info.GetReturnValue().Set(sum);
}

// What "qd_gettimeofday" does, on a bare callback: the wall clock's seconds
// as the set's 32-bit time.
void BareGetTimeOfDay(const v8::FunctionCallbackInfo<v8::Value>& info) {
  struct timeval now {};
  if (gettimeofday(&now, nullptr) == -1) {
    info.GetReturnValue().Set(-1);
    return;
  }
  info.GetReturnValue().Set(static_cast<std::int32_t>(static_cast<std::uint32_t>(now.tv_sec)));
}
// What "ExtractForegroundColor" does, on a bare callback: the same three
// reads, the same grey and the same result object built with V8 alone.
int Channel(const v8::FunctionCallbackInfo<v8::Value>& info, int index) {
  v8::Local<v8::Value> v = info[index];
  if (index >= info.Length() || !v->IsNumber()) return 0;
  return static_cast<int>(v->Int32Value(info.GetIsolate()->GetCurrentContext()).FromMaybe(0)) &
         0xff;
}
void BareExtractColour(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  const unsigned avg = (Channel(info, 0) + Channel(info, 1) + Channel(info, 2)) / 3;
  const float grey = avg <= 153 ? static_cast<float>(avg) / 153.0f * 102.0f + 153.5f
                                : static_cast<float>(avg - 153) / 102.0f * 66.0f + 40.5f;
  v8::Local<v8::Integer> v = v8::Integer::New(isolate, static_cast<int>(grey));
  v8::Local<v8::Object> colour = v8::Object::New(isolate);
  v8::Local<v8::Object> result = v8::Object::New(isolate);
  auto key = [isolate](const char* name) {
    return v8::String::NewFromUtf8(isolate, name, v8::NewStringType::kInternalized)
        .ToLocalChecked();
  };
  if (colour->Set(context, key("r"), v).IsNothing() ||
      colour->Set(context, key("g"), v).IsNothing() ||
      colour->Set(context, key("b"), v).IsNothing() ||
      result->Set(context, key("success"), v8::True(isolate)).IsNothing() ||
      result->Set(context, key("color"), colour).IsNothing()) {
    return;
  }
  info.GetReturnValue().Set(result);
}
void BareConstant(v8::Local<v8::String>, const v8::PropertyCallbackInfo<v8::Value>& info) {
  // Reads its holder's field as the bridge's accessor does, then answers.
  if (info.Holder()->InternalFieldCount() > 0 &&
      info.Holder()->GetAlignedPointerFromInternalField(0) != nullptr) {
    info.GetReturnValue().Set(5.0);
  }
}

double RunLoop(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& body,
               long iterations) {
  std::string source = "(function(n){let s=0;for(let i=0;i<n;i++){" + body + "}return s;})";
  v8::Local<v8::String> text;
  if (!v8::String::NewFromUtf8(isolate, source.c_str()).ToLocal(&text)) std::abort();
  v8::Local<v8::Script> script;
  v8::Local<v8::Value> fnValue;
  if (!v8::Script::Compile(context, text).ToLocal(&script) ||
      !script->Run(context).ToLocal(&fnValue)) {
    std::fprintf(stderr, "cannot compile loop: %s\n", body.c_str());
    std::exit(1);
  }
  v8::Local<v8::Function> fn = fnValue.As<v8::Function>();
  v8::Local<v8::Value> arg = v8::Number::New(isolate, static_cast<double>(iterations));
  double best = 1e100;
  for (int round = 0; round < 7; ++round) {
    auto start = std::chrono::steady_clock::now();
    v8::Local<v8::Value> result;
    if (!fn->Call(context, context->Global(), 1, &arg).ToLocal(&result)) {
      std::fprintf(stderr, "loop threw: %s\n", body.c_str());
      std::exit(1);
    }
    auto end = std::chrono::steady_clock::now();
    double ns = std::chrono::duration<double, std::nano>(end - start).count() / iterations;
    best = std::min(best, ns);
  }
  return best;
}

}  // namespace

int main(int argc, char* argv[]) {
  long iterations = 5000000;
  if (argc > 1) {
    char* end = nullptr;
    iterations = std::strtol(argv[1], &end, 10);
    if (argc > 2 || end == argv[1] || *end != '\0' || iterations < 1) {
      std::fprintf(stderr, "usage: %s [ITERATIONS PER ROUND, default 5000000]\n", argv[0]);
      return 2;
    }
  }
  v8::V8::InitializeICUDefaultLocation(argv[0]);
  std::unique_ptr<v8::Platform> platform = v8::platform::NewDefaultPlatform();
  v8::V8::InitializePlatform(platform.get());
  v8::V8::Initialize();
  v8::Isolate::CreateParams params;
  params.array_buffer_allocator = v8::ArrayBuffer::Allocator::NewDefaultAllocator();
  v8::Isolate* isolate = v8::Isolate::New(params);
  std::vector<Bridge::ScriptBridge*> bridges = loadBridges();
  {
    v8::Isolate::Scope isolateScope(isolate);
    v8::HandleScope handleScope(isolate);
    v8::Local<v8::ObjectTemplate> global = v8::ObjectTemplate::New(isolate);
    v8::Local<v8::FunctionTemplate> bareClass = v8::FunctionTemplate::New(isolate);
    bareClass->InstanceTemplate()->SetInternalFieldCount(2);
    bareClass->PrototypeTemplate()->Set(isolate, "registerKey",
                                        v8::FunctionTemplate::New(isolate, BareTrue));
    bareClass->PrototypeTemplate()->Set(isolate, "valuesOnly",
                                        v8::FunctionTemplate::New(isolate, ValuesOnly));
    bareClass->PrototypeTemplate()->Set(isolate, "threeNumbers",
                                        v8::FunctionTemplate::New(isolate, BareThreeNumbers));
    bareClass->PrototypeTemplate()->Set(isolate, "ExtractForegroundColor",
                                        v8::FunctionTemplate::New(isolate, BareExtractColour));
    bareClass->PrototypeTemplate()->Set(isolate, "qd_gettimeofday",
                                        v8::FunctionTemplate::New(isolate, BareGetTimeOfDay));
    bareClass->InstanceTemplate()->SetAccessor(
        v8::String::NewFromUtf8Literal(isolate, "NB_MODE", v8::NewStringType::kInternalized),
        BareConstant);
    global->Set(isolate, "BareClass", bareClass);
    for (Bridge::ScriptBridge* bridge : bridges) bridge->bridgeTo(global);
    v8::Local<v8::Context> context = v8::Context::New(isolate, nullptr, global);
    v8::Context::Scope contextScope(context);
    for (Bridge::ScriptBridge* bridge : bridges) bridge->contextReady();

    // The bare object's field must be non-null, as a constructed QDUtil's is.
    v8::Local<v8::Object> bare;
    if (!bareClass->InstanceTemplate()->NewInstance(context).ToLocal(&bare)) return 1;
    static int token = 0;
    bare->SetAlignedPointerInInternalField(0, &token);
    if (context->Global()
            ->Set(context, v8::String::NewFromUtf8Literal(isolate, "bare"), bare)
            .IsNothing()) {
      return 1;
    }
    v8::Local<v8::Script> setup;
    v8::Local<v8::Value> ignored;
    if (!v8::Script::Compile(context,
                             v8::String::NewFromUtf8Literal(isolate, "var q = new QDUtil();"))
             .ToLocal(&setup) ||
        !setup->Run(context).ToLocal(&ignored)) {
      std::fprintf(stderr, "cannot construct QDUtil\n");
      return 1;
    }

    std::printf("iterations per round: %ld (best of 7 rounds)\n", iterations);
    double empty = RunLoop(isolate, context, "s+=1;", iterations);
    std::printf("%-44s %7.2f ns/iteration\n", "empty loop", empty);

    double bareCall = RunLoop(isolate, context, "if(bare.registerKey())s++;", iterations);
    double inert = RunLoop(isolate, context, "if(q.registerKey())s++;", iterations);
    double values = RunLoop(isolate, context, "if(bare.valuesOnly())s++;", iterations);
    std::printf("%-44s %7.2f ns/call\n", "bare.registerKey(), a bare method", bareCall);
    std::printf("%-44s %7.2f ns/call\n", "q.registerKey() through the router", inert);
    std::printf("%-44s %7.2f ns/call\n", "bare.valuesOnly(): router values, no check", values);
    std::printf("%-44s %7.2f   (target <= 1.50)\n", "ratio inert / bare", inert / bareCall);

    double bareTime = RunLoop(isolate, context, "s+=bare.qd_gettimeofday();", iterations);
    double time = RunLoop(isolate, context, "s+=q.qd_gettimeofday();", iterations);
    std::printf("%-44s %7.2f ns/call\n", "bare callback calling gettimeofday", bareTime);
    std::printf("%-44s %7.2f ns/call\n", "q.qd_gettimeofday() through the router", time);
    std::printf("%-44s %7.2f   (target <= 1.50)\n", "ratio qd_gettimeofday / bare",
                time / bareTime);

    double bareRead = RunLoop(isolate, context, "s+=bare.NB_MODE;", iterations);
    double constRead = RunLoop(isolate, context, "s+=q.NB_MODE;", iterations);
    std::printf("%-44s %7.2f ns/read\n", "bare accessor returning a number", bareRead);
    std::printf("%-44s %7.2f ns/read\n", "q.NB_MODE through getJSNumber", constRead);
    std::printf("%-44s %7.2f\n", "ratio constant / bare", constRead / bareRead);

    v8::Local<v8::Value> hasExtract;
    v8::Local<v8::Script> probe;
    if (v8::Script::Compile(context, v8::String::NewFromUtf8Literal(
                                         isolate, "typeof q.ExtractForegroundColor === 'function'"))
            .ToLocal(&probe) &&
        probe->Run(context).ToLocal(&hasExtract) && hasExtract->IsTrue()) {
      double bareThree = RunLoop(isolate, context, "s+=bare.threeNumbers(10,200,30);", iterations);
      double bareExtract =
          RunLoop(isolate, context, "if(bare.ExtractForegroundColor(10,200,30))s++;", iterations);
      double extract =
          RunLoop(isolate, context, "if(q.ExtractForegroundColor(10,200,30))s++;", iterations);
      std::printf("%-44s %7.2f ns/call\n", "bare callback reading three numbers", bareThree);
      std::printf("%-44s %7.2f ns/call\n", "bare: same reads, same result object", bareExtract);
      std::printf("%-44s %7.2f ns/call\n", "q.ExtractForegroundColor(10,200,30)", extract);
      std::printf("%-44s %7.2f   (target <= 1.30)\n", "ratio ExtractForegroundColor / bare",
                  extract / bareExtract);
    } else {
      std::printf("ExtractForegroundColor is not bound in this build; not measured\n");
    }
  }
  for (Bridge::ScriptBridge* bridge : bridges) delete bridge;
  isolate->Dispose();
  v8::V8::Dispose();
  v8::V8::DisposePlatform();
  delete params.array_buffer_allocator;
  return 0;
}
