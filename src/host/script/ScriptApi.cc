// Timers, queueMicrotask, structuredClone and the `tarn` object (console is
// Console.cc's). Timers are GLib timeout sources on the script thread's
// context; each pending timer and each event listener holds the main loop
// open.
#include "script/ScriptApi.h"
#include "engine/ScriptText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <sstream>
#include <utility>

#include "AppConfig.h"
#include "ScriptBridge.h"
#include "ScriptEngine.h"
#include "console/Console.h"
#include "engine/EngineServices.h"
#include "engine/MemoryUsage.h"
#include "engine/Runtime.h"
#include "script/Modules.h"
#include "tarn/host/LogCapture.h"

#ifndef TARN_VERSION
#define TARN_VERSION "0.0.0"
#endif

namespace tarn {
namespace host {

namespace {

struct Timer {
  Runtime* runtime;
  v8::Global<v8::Function> function;
  std::vector<v8::Global<v8::Value>> args;
  bool repeat;
  guint id = 0;
};

struct ApiState {
  Runtime* runtime = nullptr;
  ScriptApiConfig config;
  std::map<guint, Timer*> timers;
  std::unique_ptr<LogCapture> capture;
};

ApiState& State() {
  static ApiState state;
  return state;
}

void ThrowType(v8::Isolate* isolate, const char* message) {
  isolate->ThrowException(v8::Exception::TypeError(Text(isolate, message)));
}

bool SetFunction(v8::Local<v8::Context> context, v8::Local<v8::Object> target, const char* name,
                 v8::FunctionCallback callback) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Function> function;
  if (!v8::Function::New(context, callback).ToLocal(&function)) return false;
  function->SetName(Text(isolate, name));
  return target->Set(context, Text(isolate, name), function).FromMaybe(false);
}

// --- queueMicrotask and structuredClone -------------------------------

std::string TypeName(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  if (value->IsUndefined()) return "undefined";
  if (value->IsNull()) return "null";
  return "type " + Utf8(isolate, value->TypeOf(isolate));
}

// Runs one queued callback; what it throws is an uncaught error of the
// script, as a throwing timer callback is.
void RunQueuedMicrotask(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::TryCatch tryCatch(isolate);
  v8::Local<v8::Value> ignored;
  if (!info.Data()
           .As<v8::Function>()
           ->Call(context, v8::Undefined(isolate), 0, nullptr)
           .ToLocal(&ignored) &&
      tryCatch.HasCaught() && !tryCatch.HasTerminated()) {
    State().runtime->ReportUncaught(tryCatch);
    StopScript(isolate);
  }
}

void QueueMicrotask(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Value> callback = info[0];
  if (!callback->IsFunction()) {
    isolate->ThrowException(v8::Exception::TypeError(
        Text(isolate, "The \"callback\" argument must be of type function. Received " +
                          TypeName(isolate, callback))));
    return;
  }
  v8::Local<v8::Function> run;
  if (!v8::Function::New(isolate->GetCurrentContext(), RunQueuedMicrotask, callback)
           .ToLocal(&run)) {
    return;
  }
  isolate->EnqueueMicrotask(run);
}

// The engine's own serializer does the copy, so what can be cloned (and the
// error for what cannot) is the engine's; that error is named
// DataCloneError, as on the web.
void StructuredClone(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  if (info.Length() < 1) {
    isolate->ThrowException(
        v8::Exception::TypeError(Text(isolate, "The \"value\" argument must be specified")));
    return;
  }
  v8::ValueSerializer serializer(isolate);
  serializer.WriteHeader();
  bool written = false;
  {
    v8::TryCatch tryCatch(isolate);
    if (!serializer.WriteValue(context, info[0]).To(&written) || !written) {
      if (tryCatch.HasCaught() && !tryCatch.HasTerminated()) {
        v8::Local<v8::Value> error = tryCatch.Exception();
        if (error->IsNativeError() &&
            error.As<v8::Object>()
                ->Set(context, Text(isolate, "name"), Text(isolate, "DataCloneError"))
                .IsNothing()) {
          return;
        }
        tryCatch.ReThrow();
      }
      return;
    }
  }
  const std::pair<uint8_t*, size_t> data = serializer.Release();
  std::unique_ptr<uint8_t, void (*)(void*)> owned(data.first, std::free);
  v8::ValueDeserializer deserializer(isolate, data.first, data.second);
  bool header = false;
  v8::Local<v8::Value> copy;
  if (!deserializer.ReadHeader(context).To(&header) || !header ||
      !deserializer.ReadValue(context).ToLocal(&copy)) {
    return;
  }
  info.GetReturnValue().Set(copy);
}

// --- timers ------------------------------------------------------------

gboolean FireTimer(gpointer pointer) {
  auto* timer = static_cast<Timer*>(pointer);
  Runtime* runtime = timer->runtime;
  if (runtime->Exiting()) return G_SOURCE_REMOVE;
  v8::Isolate* isolate = runtime->GetIsolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Context> context = runtime->Context();
  v8::Context::Scope contextScope(context);
  v8::TryCatch tryCatch(isolate);
  bool repeat = timer->repeat;
  bool ok = false;
  LoopEntry(isolate, "timer", [&] {
    std::vector<v8::Local<v8::Value>> argv;
    for (auto& arg : timer->args) argv.push_back(arg.Get(isolate));
    v8::Local<v8::Value> ignored;
    ok = timer->function.Get(isolate)
             ->Call(context, v8::Undefined(isolate), static_cast<int>(argv.size()), argv.data())
             .ToLocal(&ignored);
  });
  if (!ok && tryCatch.HasCaught()) {
    runtime->ReportUncaught(tryCatch);
    return G_SOURCE_REMOVE;
  }
  runtime->AfterScriptWork();
  return ok && repeat ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void ForgetTimer(gpointer pointer) {
  auto* timer = static_cast<Timer*>(pointer);
  State().timers.erase(timer->id);
  Runtime* runtime = timer->runtime;
  delete timer;
  runtime->Release();
}

// The delay in whole milliseconds. A delay below 1 (0, negatives, NaN,
// anything that is no number) or above 2^31 - 1 becomes 1: a timer is never
// due at once, so a script polling with setTimeout(f, 0) leaves the loop
// time for its idle calls (the bridges' device records) between two runs.
// The value is converted as arithmetic converts it (a Symbol or BigInt
// throws); an overflow is warned about, as the delay silently changes.
bool TimerDelay(const v8::FunctionCallbackInfo<v8::Value>& info, guint* delay) {
  constexpr double kTimeoutMax = 2147483647.0;
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  double value = 1;
  if (info.Length() > 1 && !info[1]->NumberValue(context).To(&value)) return false;
  if (value > kTimeoutMax) {
    v8::Local<v8::String> text;
    std::string shown = v8::Number::New(isolate, value)->ToString(context).ToLocal(&text)
                            ? Utf8(isolate, text)
                            : std::string("Infinity");
    std::fprintf(stderr,
                 "(tarn-run:%d) TimeoutOverflowWarning: %s does not fit into a 32-bit signed "
                 "integer.\nTimeout duration was set to 1.\n",
                 static_cast<int>(getpid()), shown.c_str());
  }
  *delay = value >= 1 && value <= kTimeoutMax ? static_cast<guint>(value) : 1;
  return true;
}

void AddTimer(const v8::FunctionCallbackInfo<v8::Value>& info, bool repeat) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() < 1 || !info[0]->IsFunction()) {
    ThrowType(isolate, "The callback must be a function");
    return;
  }
  guint delay = 1;
  if (!TimerDelay(info, &delay)) return;
  Runtime* runtime = State().runtime;
  auto* timer =
      new Timer{runtime, v8::Global<v8::Function>(isolate, info[0].As<v8::Function>()), {}, repeat};
  for (int i = 2; i < info.Length(); ++i) timer->args.emplace_back(isolate, info[i]);
  GSource* source = g_timeout_source_new(delay);
  g_source_set_callback(source, &FireTimer, timer, &ForgetTimer);
  runtime->Hold();
  timer->id = g_source_attach(source, runtime->MainContext());
  g_source_unref(source);
  State().timers[timer->id] = timer;
  info.GetReturnValue().Set(static_cast<double>(timer->id));
}

void SetTimeout(const v8::FunctionCallbackInfo<v8::Value>& info) { AddTimer(info, false); }
void SetInterval(const v8::FunctionCallbackInfo<v8::Value>& info) { AddTimer(info, true); }

void ClearTimer(const v8::FunctionCallbackInfo<v8::Value>& info) {
  if (info.Length() < 1 || !info[0]->IsNumber()) return;
  double id = info[0].As<v8::Number>()->Value();
  if (!(id >= 1 && id <= G_MAXUINT)) return;
  auto found = State().timers.find(static_cast<guint>(id));
  if (found == State().timers.end()) return;
  GSource* source = g_main_context_find_source_by_id(State().runtime->MainContext(), found->first);
  if (source) g_source_destroy(source);
}

// --- tarn ---------------------------------------------------------------

// tarn.exit([code]): the code is an integer 0-255, as a number or a text of
// digits; without one, tarn.exitCode.
void Exit(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Value> value = info.Length() > 0 ? info[0] : v8::Undefined(isolate).As<v8::Value>();
  if (value->IsUndefined()) {
    v8::Local<v8::Value> tarn, exitCode;
    if (!context->Global()->Get(context, Text(isolate, "tarn")).ToLocal(&tarn) ||
        !tarn->IsObject() ||
        !tarn.As<v8::Object>()->Get(context, Text(isolate, "exitCode")).ToLocal(&exitCode)) {
      return;
    }
    value = exitCode->IsUndefined() ? v8::Integer::New(isolate, 0).As<v8::Value>() : exitCode;
  }
  double number = -1;
  if (value->IsNumber()) {
    number = value.As<v8::Number>()->Value();
  } else if (value->IsString()) {
    std::string text = Utf8(isolate, value);
    if (!text.empty() && text.size() <= 3 &&
        text.find_first_not_of("0123456789") == std::string::npos) {
      number = std::stod(text);
    }
  }
  if (!(number >= 0 && number <= 255 && number == static_cast<int>(number))) {
    ThrowType(isolate, "tarn.exit: the code must be an integer from 0 to 255");
    return;
  }
  State().runtime->RequestExit(static_cast<int>(number));
  StopScript(isolate);
}

void Load(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() < 1 || !info[0]->IsString()) {
    ThrowType(isolate, "tarn.load: the path must be a text");
    return;
  }
  // A relative path starts from the folder of the file that calls, as
  // require's does (code of eval or new Function counts as its caller's);
  // without a calling script (a timer calling tarn.load itself), from the
  // main script's folder.
  std::string caller;
  std::string directory = State().config.scriptDirectory;
  v8::Local<v8::StackTrace> stack = v8::StackTrace::CurrentStackTrace(isolate, 16);
  for (int i = 0; i < stack->GetFrameCount(); ++i) {
    v8::Local<v8::String> name =
        stack->GetFrame(isolate, static_cast<uint32_t>(i))->GetScriptName();
    if (!name.IsEmpty() && name->Length() > 0) {
      caller = Utf8(isolate, name);
      directory = ScriptBaseDirectory(caller);
      break;
    }
  }
  std::string path = Utf8(isolate, info[0]);
  if (path.find('\0') != std::string::npos) {
    ThrowType(isolate, "tarn.load: the path must not contain NUL");
    return;
  }
  if (path.empty() || path[0] != '/') path = directory + "/" + path;
  std::string error;
  if (!RunScriptFile(isolate, isolate->GetCurrentContext(), path, &error) && !error.empty()) {
    if (!caller.empty()) error += " (tarn.load called from " + caller + ")";
    isolate->ThrowException(v8::Exception::Error(Text(isolate, error)));
  }
}

bool ListenerArguments(const v8::FunctionCallbackInfo<v8::Value>& info, std::string* name) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() < 2 || !info[0]->IsString() || !info[1]->IsFunction()) {
    ThrowType(isolate, "expected an event name (\"event\" or \"interrupt\") and a function");
    return false;
  }
  *name = Utf8(isolate, info[0]);
  if (*name != "event" && *name != "interrupt") {
    isolate->ThrowException(v8::Exception::RangeError(
        Text(isolate, "unknown engine event \"" + *name + "\"; use \"event\" or \"interrupt\"")));
    return false;
  }
  return true;
}

void On(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string name;
  if (ListenerArguments(info, &name))
    State().runtime->AddListener(name, info[1].As<v8::Function>());
}

void Off(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string name;
  if (ListenerArguments(info, &name)) {
    State().runtime->RemoveListener(name, info[1].As<v8::Function>());
  }
}

void LogCaptureStart(const v8::FunctionCallbackInfo<v8::Value>&) {
  if (!State().capture) State().capture.reset(new LogCapture());
}

void LogCaptureStop(const v8::FunctionCallbackInfo<v8::Value>&) { State().capture.reset(); }

void LogTake(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Array> list = v8::Array::New(isolate);
  if (!State().capture) {
    info.GetReturnValue().Set(list);
    return;
  }
  uint32_t index = 0;
  for (const auto& record : State().capture->take()) {
    v8::Local<v8::Object> item = v8::Object::New(isolate);
    bool ok =
        item->Set(context, Text(isolate, "logger"), Text(isolate, record.logger))
            .FromMaybe(false) &&
        item->Set(context, Text(isolate, "level"), v8::Integer::New(isolate, record.level))
            .FromMaybe(false) &&
        item->Set(context, Text(isolate, "file"), Text(isolate, record.file)).FromMaybe(false) &&
        item->Set(context, Text(isolate, "function"), Text(isolate, record.function))
            .FromMaybe(false) &&
        item->Set(context, Text(isolate, "line"), v8::Integer::New(isolate, record.line))
            .FromMaybe(false) &&
        item->Set(context, Text(isolate, "text"), Text(isolate, record.text)).FromMaybe(false) &&
        list->Set(context, index++, item).FromMaybe(false);
    if (!ok) return;
  }
  info.GetReturnValue().Set(list);
}

void StageHintList(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Array> list = v8::Array::New(isolate);
  uint32_t index = 0;
  for (const auto& hint : StageHints()) {
    v8::Local<v8::Object> item = v8::Object::New(isolate);
    if (!item->Set(context, Text(isolate, "key"), Text(isolate, hint.first)).FromMaybe(false) ||
        !item->Set(context, Text(isolate, "value"), Text(isolate, hint.second)).FromMaybe(false) ||
        !list->Set(context, index++, item).FromMaybe(false)) {
      return;
    }
  }
  info.GetReturnValue().Set(list);
}

// The renderer's texture-atlas settings as bridges left them in AppConfig.
void AtlasSettings(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  const AppConfig* config = AppConfig::Instance();
  v8::Local<v8::Object> item = v8::Object::New(isolate);
  if (!item->Set(context, Text(isolate, "width"), v8::Integer::New(isolate, config->gATLAS_WIDTH()))
           .FromMaybe(false) ||
      !item->Set(context, Text(isolate, "height"),
                 v8::Boolean::New(isolate, config->gATLAS_HEIGHT()))
           .FromMaybe(false)) {
    return;
  }
  info.GetReturnValue().Set(item);
}

// Clears a native object's pointer, as the engine does once it has handed the
// object back to its bridge: later calls on it meet a destroyed object.
void DetachNative(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() < 1 || !info[0]->IsObject() ||
      info[0].As<v8::Object>()->InternalFieldCount() < Bridge::kNativeFieldCount) {
    ThrowType(isolate, "tarn.test.detachNative: expected an object of a bridge class");
    return;
  }
  info[0].As<v8::Object>()->SetAlignedPointerInInternalField(Bridge::kNativePointerField, nullptr);
  Bridge::detail::forgetReceivers(isolate);
}

// tarn.interrupts: the engine's interrupt codes by name, frozen, so that a
// listener compares with tarn.interrupts.WAKEUP rather than a bare number.
bool InstallInterruptNames(v8::Local<v8::Context> context, v8::Local<v8::Object> target) {
  v8::Isolate* isolate = context->GetIsolate();
  static const std::pair<const char*, int> kCodes[] = {
      {"SUSPEND", tarn::util::INTERUPT_EVENT_SUSPEND},
      {"FACTORY_RESET", tarn::util::INTERUPT_EVENT_FACTORY_RESET},
      {"SERVICE_RESET", tarn::util::INTERUPT_EVENT_SERVICE_RESET},
      {"WAKEUP", tarn::util::INTERUPT_EVENT_WAKEUP},
      {"LATE_WAKEUP", tarn::util::INTERUPT_EVENT_LATE_WAKEUP},
      {"POWER_STANDBY", tarn::util::INTERUPT_EVENT_POWER_STANDBY},
  };
  v8::Local<v8::Object> names = v8::Object::New(isolate);
  for (const auto& code : kCodes) {
    if (names->Set(context, Text(isolate, code.first), v8::Integer::New(isolate, code.second))
            .IsNothing()) {
      return false;
    }
  }
  return names->SetIntegrityLevel(context, v8::IntegrityLevel::kFrozen).FromMaybe(false) &&
         target->Set(context, Text(isolate, "interrupts"), names).FromMaybe(false);
}

v8::Local<v8::Object> NewNamespace(v8::Local<v8::Context> context, v8::Local<v8::Object> parent,
                                   const char* name) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Object> object = v8::Object::New(isolate);
  if (parent->Set(context, Text(isolate, name), object).IsNothing()) return object;
  return object;
}

}  // namespace

bool ReadScriptSource(const std::string& path, std::string* source, std::string* error) {
  if (path.empty()) {
    *error = "cannot read script: the path is empty";
    return false;
  }
  // One open and one pass: a FIFO or a pipe can be read only once.
  int fd = path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    *error = "cannot read script " + path;
    return false;
  }
  struct stat info;
  if (fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
    close(fd);
    *error = "cannot read script " + path + ": it is a directory";
    return false;
  }
  source->clear();
  char buffer[65536];
  for (;;) {
    ssize_t count = read(fd, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      *error = "cannot read script " + path + ": " + std::strerror(errno);
      close(fd);
      return false;
    }
    if (count == 0) break;
    if (source->size() + static_cast<size_t>(count) > kMaxScriptBytes) {
      *error = "cannot read script " + path + ": larger than the limit of " +
               std::to_string(kMaxScriptBytes) + " bytes";
      close(fd);
      source->clear();
      return false;
    }
    source->append(buffer, static_cast<size_t>(count));
  }
  close(fd);
  return true;
}

bool RunScriptSource(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& name,
                     const std::string& content) {
  v8::Local<v8::Value> result;
  return RunScriptSource(isolate, context, name, content, &result);
}

bool RunScriptSource(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& name,
                     const std::string& content, v8::Local<v8::Value>* result) {
  if (content.size() > static_cast<size_t>(v8::String::kMaxLength)) {
    isolate->ThrowException(v8::Exception::RangeError(Text(isolate, "script too long")));
    return false;
  }
  v8::Local<v8::String> source = Text(isolate, content);
  v8::ScriptOrigin origin(isolate, Text(isolate, name));
  v8::Local<v8::Script> script;
  return v8::Script::Compile(context, source, &origin).ToLocal(&script) &&
         script->Run(context).ToLocal(result);
}

bool RunScriptFile(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& path,
                   std::string* error) {
  std::string content;
  if (!ReadScriptSource(path, &content, error)) return false;
  return RunScriptSource(isolate, context, path, content);
}

v8::Local<v8::Object> InstallScriptApi(Runtime* runtime, v8::Local<v8::Context> context,
                                       const ScriptApiConfig& config) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::EscapableHandleScope scope(isolate);
  State().runtime = runtime;
  State().config = config;
  v8::Local<v8::Object> global = context->Global();

  InstallConsole(runtime, context);
  SetFunction(context, global, "setTimeout", SetTimeout);
  SetFunction(context, global, "setInterval", SetInterval);
  SetFunction(context, global, "clearTimeout", ClearTimer);
  SetFunction(context, global, "clearInterval", ClearTimer);
  SetFunction(context, global, "queueMicrotask", QueueMicrotask);
  SetFunction(context, global, "structuredClone", StructuredClone);

  v8::Local<v8::Object> tarn = NewNamespace(context, global, "tarn");
  v8::Local<v8::Array> args = v8::Array::New(isolate);
  for (size_t i = 0; i < config.args.size(); ++i) {
    if (args->Set(context, static_cast<uint32_t>(i), Text(isolate, config.args[i])).IsNothing())
      break;
  }
  if (tarn->Set(context, Text(isolate, "args"), args).IsNothing() ||
      tarn->Set(context, Text(isolate, "version"), Text(isolate, TARN_VERSION)).IsNothing() ||
      tarn->Set(context, Text(isolate, "exitCode"), v8::Integer::New(isolate, 0)).IsNothing()) {
    return scope.Escape(tarn);
  }
  SetFunction(context, tarn, "exit", Exit);
  SetFunction(context, tarn, "load", Load);
  SetFunction(context, tarn, "on", On);
  SetFunction(context, tarn, "off", Off);
  SetFunction(context, tarn, "memoryUsage", MemoryUsage);
  if (!InstallInterruptNames(context, tarn)) return scope.Escape(tarn);
  v8::Local<v8::Object> log = NewNamespace(context, tarn, "log");
  SetFunction(context, log, "capture", LogCaptureStart);
  SetFunction(context, log, "take", LogTake);
  SetFunction(context, log, "stop", LogCaptureStop);
  v8::Local<v8::Object> stage = NewNamespace(context, tarn, "stage");
  SetFunction(context, stage, "hints", StageHintList);
  v8::Local<v8::Object> appConfig = NewNamespace(context, tarn, "config");
  SetFunction(context, appConfig, "atlas", AtlasSettings);
  v8::Local<v8::Object> test = NewNamespace(context, tarn, "test");
  SetFunction(context, test, "detachNative", DetachNative);
  return scope.Escape(tarn);
}

void ShutdownScriptApi() {
  ShutdownConsole();
  State().capture.reset();
  // Destroying a source runs ForgetTimer, which edits the map.
  while (!State().timers.empty()) {
    guint id = State().timers.begin()->first;
    GSource* source = g_main_context_find_source_by_id(State().runtime->MainContext(), id);
    if (source) {
      g_source_destroy(source);
    } else {
      State().timers.erase(id);
    }
  }
  State().runtime = nullptr;
}

}  // namespace host
}  // namespace tarn
