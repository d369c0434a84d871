// The least a V8 program can do to run a script file: the platform, one
// isolate, one context, compile, run, tear down. Linked against the same
// libnode as tarn-run, it is the floor tarn-run's start-up is measured
// against (startup_bench).
#include <libplatform/libplatform.h>
#include <v8.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

int main(int argc, char* argv[]) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s SCRIPT.js\n", argv[0]);
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", argv[1]);
    return 2;
  }
  const std::string source((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  v8::V8::InitializeICUDefaultLocation(argv[0]);
  std::unique_ptr<v8::Platform> platform = v8::platform::NewDefaultPlatform();
  v8::V8::InitializePlatform(platform.get());
  v8::V8::Initialize();
  v8::Isolate::CreateParams params;
  params.array_buffer_allocator = v8::ArrayBuffer::Allocator::NewDefaultAllocator();
  v8::Isolate* isolate = v8::Isolate::New(params);
  int status = 0;
  {
    v8::Isolate::Scope isolateScope(isolate);
    v8::HandleScope handleScope(isolate);
    v8::Local<v8::Context> context = v8::Context::New(isolate);
    v8::Context::Scope contextScope(context);
    v8::TryCatch tryCatch(isolate);
    v8::Local<v8::String> text;
    v8::Local<v8::Script> script;
    v8::Local<v8::Value> result;
    if (!v8::String::NewFromUtf8(isolate, source.data(), v8::NewStringType::kNormal,
                                 static_cast<int>(source.size()))
             .ToLocal(&text) ||
        !v8::Script::Compile(context, text).ToLocal(&script) ||
        !script->Run(context).ToLocal(&result)) {
      std::fprintf(stderr, "the script failed\n");
      status = 1;
    }
  }
  isolate->Dispose();
  v8::V8::Dispose();
  v8::V8::DisposePlatform();
  delete params.array_buffer_allocator;
  return status;
}
