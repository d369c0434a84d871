// Start-up and shut-down of the engine host around one script run.
#include "tarn/host/Host.h"

#include <dlfcn.h>
#include <libplatform/libplatform.h>

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <thread>

#include "ScriptBridge.h"
#include "TarnProcessManager.h"
#include "engine/EngineFlags.h"
#include "engine/FreeMemory.h"
#include "engine/HeapLimit.h"
#include "engine/MemoryUsage.h"
#include "engine/Runtime.h"
#include "script/Modules.h"
#include "script/ScriptApi.h"

namespace tarn {
namespace host {

namespace {

using LoadBridgesFunction = std::vector<Bridge::ScriptBridge*> (*)();

// -p: the value goes through the script's own console.log, so it prints
// exactly as the script would print it.
void PrintAsConsoleLog(v8::Isolate* isolate, v8::Local<v8::Context> context,
                       v8::Local<v8::Value> value) {
  v8::Local<v8::Value> console;
  v8::Local<v8::Value> log;
  if (!context->Global()
           ->Get(context, v8::String::NewFromUtf8Literal(isolate, "console"))
           .ToLocal(&console) ||
      !console->IsObject() ||
      !console.As<v8::Object>()
           ->Get(context, v8::String::NewFromUtf8Literal(isolate, "log"))
           .ToLocal(&log) ||
      !log->IsFunction()) {
    return;
  }
  // A throwing console.log leaves its exception for the caller's TryCatch.
  v8::Local<v8::Value> ignored;
  if (!log.As<v8::Function>()->Call(context, console, 1, &value).ToLocal(&ignored)) return;
}

void OnPromiseRejected(v8::PromiseRejectMessage message) {
  if (Runtime* runtime = Runtime::Current()) runtime->NotePromiseRejection(message);
}

std::string Directory(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

struct Host::Impl {
  HostOptions options;
  std::vector<Extension*> extensions;
  ScriptDebugger* debugger = nullptr;
  std::vector<Bridge::ScriptBridge*> bridges;

  // Loads every bridge library; false with a message on stderr.
  bool LoadBridges() {
    for (const std::string& path : options.bridges) {
      // Libraries stay loaded until the process ends: platform threads may
      // still hold their callbacks.
      void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
      if (!library) {
        std::fprintf(stderr, "tarn-run: cannot load bridge %s: %s\n", path.c_str(), dlerror());
        return false;
      }
      auto load = reinterpret_cast<LoadBridgesFunction>(dlsym(library, "loadBridges"));
      if (!load) {
        std::fprintf(stderr, "tarn-run: %s is not a bridge library: no loadBridges symbol\n",
                     path.c_str());
        return false;
      }
      try {
        std::vector<Bridge::ScriptBridge*> loaded = load();
        for (Bridge::ScriptBridge* bridge : loaded) {
          if (bridge) bridges.push_back(bridge);
        }
      } catch (const std::exception& e) {
        std::fprintf(stderr, "tarn-run: loadBridges of %s failed: %s\n", path.c_str(), e.what());
        return false;
      }
    }
    return true;
  }

  void DeleteBridges() {
    for (Bridge::ScriptBridge* bridge : bridges) delete bridge;
    bridges.clear();
  }
};

Host::Host(HostOptions options) : impl_(new Impl) { impl_->options = std::move(options); }

Host::~Host() = default;

void Host::AddExtension(Extension* extension) { impl_->extensions.push_back(extension); }

void Host::SetDebugger(ScriptDebugger* debugger) { impl_->debugger = debugger; }

namespace {

// SIGINT, SIGTERM and SIGHUP are taken by one thread of their own (blocked in
// every other thread, which inherit the mask): it stops the extensions (the
// simulated TV removes its temporary root) and ends the process with
// 128 + the signal's number.
//
// An abort (abort(), a fatal engine error, SIGABRT from outside) cannot be
// blocked: its handler runs in the aborting thread, where almost nothing is
// safe to call. It marks the abort and wakes the signal thread, which does
// the same clean-up and exits with 128 + SIGABRT; if that thread has not
// finished within a few seconds (a lock held by the aborting thread), the
// handler lets the abort go on as it would have.
std::vector<Extension*>* g_signalExtensions = nullptr;
std::mutex g_signalMutex;
pthread_t g_signalThread;
volatile sig_atomic_t g_aborting = 0;

void OnAbort(int) {
  if (pthread_equal(pthread_self(), g_signalThread) || g_aborting) return;
  g_aborting = 1;
  // Wake the signal thread through one of the signals it waits for.
  pthread_kill(g_signalThread, SIGTERM);
  for (int i = 0; i < 300; ++i) {
    struct timespec tick = {0, 10 * 1000 * 1000};
    nanosleep(&tick, nullptr);
  }
  // Returning lets abort() reset the action and raise again.
}

void WatchSignals(std::vector<Extension*>* extensions) {
  static std::once_flag once;
  {
    std::lock_guard<std::mutex> lock(g_signalMutex);
    g_signalExtensions = extensions;
  }
  std::call_once(once, [] {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::thread watcher([set] {
      int signal = 0;
      while (sigwait(&set, &signal) != 0) {
      }
      if (g_aborting) signal = SIGABRT;
      {
        std::lock_guard<std::mutex> lock(g_signalMutex);
        if (g_signalExtensions) {
          for (Extension* extension : *g_signalExtensions) extension->stop();
        }
      }
      std::fflush(stdout);
      _exit(128 + signal);
    });
    g_signalThread = watcher.native_handle();
    watcher.detach();
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = OnAbort;
    sigemptyset(&action.sa_mask);
    sigaction(SIGABRT, &action, nullptr);
  });
}

void StopWatchingSignals() {
  std::lock_guard<std::mutex> lock(g_signalMutex);
  g_signalExtensions = nullptr;
}

}  // namespace

void ShareOneMallocArena() { UseOneMallocArena(); }

int Host::Run() {
  const HostOptions& options = impl_->options;
  std::string source = options.code;
  if (!options.evaluate) {
    std::string error;
    if (!ReadScriptSource(options.scriptPath, &source, &error)) {
      std::fprintf(stderr, "tarn-run: %s\n", error.c_str());
      return 2;
    }
  }
  const std::string scriptName = options.evaluate            ? "[eval]"
                                 : options.scriptPath == "-" ? "[stdin]"
                                                             : options.scriptPath;
  WatchSignals(&impl_->extensions);

  v8::V8::InitializeICUDefaultLocation(options.programPath.c_str());
  v8::V8::InitializeExternalStartupData(options.programPath.c_str());
  std::unique_ptr<v8::Platform> platform = v8::platform::NewDefaultPlatform();
  v8::V8::InitializePlatform(platform.get());
  EnableModuleSyntax();
  SetEngineFlags(options.engineFlags);
  v8::V8::Initialize();
  v8::Isolate::CreateParams params;
  // Counts array buffers' bytes for tarn.memoryUsage().
  auto allocator = std::make_unique<CountingAllocator>();
  params.array_buffer_allocator = allocator.get();
  v8::Isolate* isolate = v8::Isolate::New(params);
  WatchHeapLimit(isolate, options.heapSnapshotsNearLimit);
  isolate->SetMicrotasksPolicy(v8::MicrotasksPolicy::kExplicit);
  isolate->SetPromiseRejectCallback(&OnPromiseRejected);
  InstallModuleHooks(isolate);

  auto runtime = std::make_shared<Runtime>(isolate, g_main_context_default());
  TarnProcessManager::Instance()->SetRuntime(runtime);

  int status = 0;
  {
    v8::Isolate::Scope isolateScope(isolate);
    v8::HandleScope handleScope(isolate);
    if (!impl_->LoadBridges()) {
      status = 2;
    } else {
      v8::Local<v8::ObjectTemplate> global = v8::ObjectTemplate::New(isolate);
      for (Bridge::ScriptBridge* bridge : impl_->bridges) bridge->bridgeTo(global);
      v8::Local<v8::Context> context = v8::Context::New(isolate, nullptr, global);
      v8::Context::Scope contextScope(context);
      runtime->SetContext(context);
      ScriptDebugger* debugger = impl_->debugger;
      if (debugger) {
        debugger->contextCreated(context);
        Runtime* current = runtime.get();
        runtime->SetUncaughtObserver([debugger, current](v8::Local<v8::Value> error,
                                                         v8::Local<v8::Message> message,
                                                         bool inPromise) {
          debugger->uncaughtError(current->Context(), error, message, inPromise);
        });
      }
      std::string directory = options.evaluate || options.scriptPath == "-"
                                  ? std::string(".")
                                  : Directory(options.scriptPath);
      ScriptApiConfig config{directory, options.scriptArgs};
      v8::Local<v8::Object> tarn = InstallScriptApi(runtime.get(), context, config);
      for (Extension* extension : impl_->extensions) extension->install(isolate, context, tarn);
      for (Bridge::ScriptBridge* bridge : impl_->bridges) bridge->contextReady();
      if (debugger) debugger->beforeScript(context);

      {
        v8::TryCatch tryCatch(isolate);
        v8::Local<v8::Value> value;
        bool asModule = options.module || (!options.evaluate && IsModulePath(options.scriptPath));
        if (!(asModule ? RunMainModule(isolate, context, scriptName, source)
                       : RunScriptSource(isolate, context, scriptName, source, &value))) {
          runtime->ReportUncaught(tryCatch);
        } else if (options.print) {
          PrintAsConsoleLog(isolate, context, value);
          if (tryCatch.HasCaught() && !isolate->IsExecutionTerminating()) {
            runtime->ReportUncaught(tryCatch);
          }
        }
      }
      if (isolate->IsExecutionTerminating()) isolate->CancelTerminateExecution();
      runtime->AfterScriptWork();
      {
        FreeMemoryTimer freeMemory(g_main_context_default(), kFreeMemoryReturnSeconds);
        runtime->Run();
      }
      if (isolate->IsExecutionTerminating()) isolate->CancelTerminateExecution();
      CheckMainModuleSettled(runtime.get());
      if (debugger) {
        debugger->scriptEnded(context);
        if (isolate->IsExecutionTerminating()) isolate->CancelTerminateExecution();
      }

      if (runtime->Exiting()) {
        status = runtime->ExitCode();
      } else {
        v8::TryCatch tryCatch(isolate);
        v8::Local<v8::Value> code;
        if (tarn->Get(context, v8::String::NewFromUtf8Literal(isolate, "exitCode"))
                .ToLocal(&code) &&
            code->IsNumber()) {
          status = Bridge::detail::toIntegral<int>(code.As<v8::Number>()->Value());
        }
      }
      // Nothing is handed over from now on: queued events and tasks are
      // discarded, queued idle calls settled (script calls refused), while
      // the bridges they may point into still exist.
      runtime->Close();
      ShutdownModules();
      ShutdownScriptApi();
    }
    runtime->Close();
    impl_->DeleteBridges();
    runtime->SetContext(v8::Local<v8::Context>());
    runtime->SetUncaughtObserver(nullptr);
    if (impl_->debugger) impl_->debugger->shutdown();
  }
  // Producer threads (the simulated TV's) are joined here; what they post
  // meanwhile is refused.
  StopWatchingSignals();
  for (Extension* extension : impl_->extensions) extension->stop();
  TarnProcessManager::Instance()->SetRuntime(nullptr);
  // A thread that took the runtime from the process manager just before may
  // still hold it for the length of a post: the runtime is destroyed here, on
  // the script thread, once it is the only holder.
  for (int waited = 0; runtime.use_count() > 1 && waited < 5000; ++waited) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  runtime.reset();
  StopWatchingHeapLimit(isolate);
  isolate->Dispose();
  v8::V8::Dispose();
  v8::V8::DisposePlatform();
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
    std::fprintf(stderr, "tarn-run: cannot write to standard output: %s\n", std::strerror(errno));
    if (status == 0) status = 1;
  }
  return status;
}

}  // namespace host
}  // namespace tarn
