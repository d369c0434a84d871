// The least a V8 program can do to run a script file: the platform, one
// isolate, one context, compile, run, tear down; with --bridge PATH, also
// what any host of bridges must do: dlopen, loadBridges, the classes on the
// global template, contextReady, delete. Linked against the same libnode,
// engine host library and platform as tarn-run, it is the floor tarn-run's
// start-up is measured against (startup_bench).
#include <dlfcn.h>
#include <libplatform/libplatform.h>
#include <v8.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "ScriptBridge.h"

namespace {
using LoadBridges = std::vector<Bridge::ScriptBridge*> (*)();
}  // namespace

int main(int argc, char* argv[]) {
  std::vector<std::string> bridgePaths;
  int next = 1;
  while (next + 1 < argc && std::strcmp(argv[next], "--bridge") == 0) {
    bridgePaths.push_back(argv[next + 1]);
    next += 2;
  }
  if (next >= argc) {
    std::fprintf(stderr, "usage: %s [--bridge PATH]... SCRIPT.js\n", argv[0]);
    return 2;
  }
  std::ifstream in(argv[next], std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", argv[next]);
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
  std::vector<Bridge::ScriptBridge*> bridges;
  for (const std::string& path : bridgePaths) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    auto load = library ? reinterpret_cast<LoadBridges>(dlsym(library, "loadBridges")) : nullptr;
    if (!load) {
      std::fprintf(stderr, "cannot load bridge %s: %s\n", path.c_str(), dlerror());
      return 2;
    }
    for (Bridge::ScriptBridge* bridge : load()) bridges.push_back(bridge);
  }
  {
    v8::Isolate::Scope isolateScope(isolate);
    v8::HandleScope handleScope(isolate);
    v8::Local<v8::ObjectTemplate> global = v8::ObjectTemplate::New(isolate);
    for (Bridge::ScriptBridge* bridge : bridges) bridge->bridgeTo(global);
    v8::Local<v8::Context> context = v8::Context::New(isolate, nullptr, global);
    v8::Context::Scope contextScope(context);
    for (Bridge::ScriptBridge* bridge : bridges) bridge->contextReady();
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
    for (Bridge::ScriptBridge* bridge : bridges) delete bridge;
  }
  isolate->Dispose();
  v8::V8::Dispose();
  v8::V8::DisposePlatform();
  delete params.array_buffer_allocator;
  return status;
}
