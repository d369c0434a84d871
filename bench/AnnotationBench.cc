// Cost of one profiler marker from script ("ANNOTATE_MARKER_COLOR_STR") against
// a bare fwrite + fflush of the same record bytes to a file in the same
// folder, measured in one process. Annotations are meant to stay in timed
// code, so the target is a ratio of at most 1.5. Best of several rounds.
#include <libplatform/libplatform.h>
#include <v8.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "DevicePath.h"
#include "ScriptBridge.h"

extern "C" std::vector<Bridge::ScriptBridge*> loadBridges();

namespace {

constexpr int kRounds = 7;

double ScriptLoop(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& body,
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
  for (int round = 0; round < kRounds; ++round) {
    auto start = std::chrono::steady_clock::now();
    v8::Local<v8::Value> result;
    if (!fn->Call(context, context->Global(), 1, &arg).ToLocal(&result)) {
      std::fprintf(stderr, "loop threw: %s\n", body.c_str());
      std::exit(1);
    }
    auto end = std::chrono::steady_clock::now();
    best = std::min(best, std::chrono::duration<double, std::nano>(end - start).count() /
                              static_cast<double>(iterations));
  }
  return best;
}

// The marker record of "red" and "frame", written and flushed per iteration.
double BareLoop(const std::string& path, long iterations) {
  const unsigned char record[] = {0x1C, 0x05, 9,   0,   0x1B, 0xFF, 0x00,
                                  0x00, 'f',  'r', 'a', 'm',  'e'};
  FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) {
    std::fprintf(stderr, "cannot open %s\n", path.c_str());
    std::exit(1);
  }
  double best = 1e100;
  for (int round = 0; round < kRounds; ++round) {
    auto start = std::chrono::steady_clock::now();
    for (long i = 0; i < iterations; ++i) {
      std::fwrite(record, 1, 8, file);
      std::fwrite(record + 8, 1, sizeof record - 8, file);
      std::fflush(file);
    }
    auto end = std::chrono::steady_clock::now();
    best = std::min(best, std::chrono::duration<double, std::nano>(end - start).count() /
                              static_cast<double>(iterations));
  }
  std::fclose(file);
  return best;
}

}  // namespace

int main(int argc, char* argv[]) {
  long iterations = argc > 1 ? std::atol(argv[1]) : 200000;
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
    for (Bridge::ScriptBridge* bridge : bridges) bridge->bridgeTo(global);
    v8::Local<v8::Context> context = v8::Context::New(isolate, nullptr, global);
    v8::Context::Scope contextScope(context);
    for (Bridge::ScriptBridge* bridge : bridges) bridge->contextReady();
    v8::Local<v8::Script> setup;
    v8::Local<v8::Value> ignored;
    if (!v8::Script::Compile(context,
                             v8::String::NewFromUtf8Literal(isolate, "var q = new QDUtil();"))
             .ToLocal(&setup) ||
        !setup->Run(context).ToLocal(&ignored)) {
      std::fprintf(stderr, "cannot construct QDUtil\n");
      return 1;
    }
    // The bare stream writes beside the annotation device, on the same disk.
    const std::string barePath = platform::devicePath("/dev/gator/bare-annotate");
    std::printf("iterations per round: %ld (best of %d rounds)\n", iterations, kRounds);
    // Bare rounds before and after the script rounds, so drift of the disk
    // or the machine shows in neither figure alone.
    const double bareBefore = BareLoop(barePath, iterations);
    const double marker = ScriptLoop(
        isolate, context, "if(q.ANNOTATE_MARKER_COLOR_STR('red','frame'))s++;", iterations);
    const double bareAfter = BareLoop(barePath, iterations);
    const double bare = std::min(bareBefore, bareAfter);
    std::printf("%-44s %8.1f / %.1f ns/record\n", "bare rounds before / after", bareBefore,
                bareAfter);
    std::printf("%-44s %8.1f ns/record\n", "bare fwrite + fflush of the record", bare);
    std::printf("%-44s %8.1f ns/call\n", "q.ANNOTATE_MARKER_COLOR_STR('red','frame')", marker);
    std::printf("%-44s %8.2f   (target <= 1.50)\n", "ratio marker / bare", marker / bare);
    std::remove(barePath.c_str());
  }
  for (Bridge::ScriptBridge* bridge : bridges) delete bridge;
  isolate->Dispose();
  v8::V8::Dispose();
  v8::V8::DisposePlatform();
  delete params.array_buffer_allocator;
  return 0;
}
