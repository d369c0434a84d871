// console, timers and the `tarn` object. Timers are GLib timeout sources on
// the script thread's context; each pending timer and each event listener
// holds the main loop open.
#include "ScriptApi.h"

#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "EngineServices.h"
#include "Runtime.h"
#include "ScriptBridge.h"
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

std::string Utf8(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  v8::String::Utf8Value utf8(isolate, value);
  return *utf8 ? std::string(*utf8, utf8.length()) : std::string();
}

v8::Local<v8::String> Text(v8::Isolate* isolate, const std::string& text) {
  v8::Local<v8::String> result;
  if (!v8::String::NewFromUtf8(isolate, text.data(), v8::NewStringType::kNormal,
                               static_cast<int>(text.size()))
           .ToLocal(&result)) {
    return v8::String::Empty(isolate);
  }
  return result;
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

// --- console -----------------------------------------------------------

// One argument as console shows it: texts as they are, errors with their
// stack, plain data as JSON, anything else as its string form.
bool Describe(v8::Local<v8::Context> context, v8::Local<v8::Value> value, std::string* out) {
  v8::Isolate* isolate = context->GetIsolate();
  if (value->IsString()) {
    *out = Utf8(isolate, value);
    return true;
  }
  if (value->IsNativeError()) {
    v8::Local<v8::Value> stack;
    if (value.As<v8::Object>()->Get(context, Text(isolate, "stack")).ToLocal(&stack) &&
        stack->IsString()) {
      *out = Utf8(isolate, stack);
      return true;
    }
  }
  if (value->IsObject() && !value->IsFunction()) {
    v8::TryCatch tryCatch(isolate);
    v8::Local<v8::String> json;
    if (v8::JSON::Stringify(context, value).ToLocal(&json) && !json->IsUndefined()) {
      *out = Utf8(isolate, json);
      return true;
    }
  }
  v8::Local<v8::String> detail;
  if (!value->ToDetailString(context).ToLocal(&detail)) return false;
  *out = Utf8(isolate, detail);
  return true;
}

void Print(const v8::FunctionCallbackInfo<v8::Value>& info, FILE* stream) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  std::string line;
  for (int i = 0; i < info.Length(); ++i) {
    std::string part;
    if (!Describe(context, info[i], &part)) return;
    if (i) line += ' ';
    line += part;
  }
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stream);
  std::fflush(stream);
}

void ConsoleLog(const v8::FunctionCallbackInfo<v8::Value>& info) { Print(info, stdout); }
void ConsoleError(const v8::FunctionCallbackInfo<v8::Value>& info) { Print(info, stderr); }

// --- timers ------------------------------------------------------------

gboolean FireTimer(gpointer pointer) {
  auto* timer = static_cast<Timer*>(pointer);
  Runtime* runtime = timer->runtime;
  if (runtime->Exiting()) return G_SOURCE_REMOVE;
  v8::Isolate* isolate = runtime->GetIsolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Context> context = runtime->Context();
  v8::Context::Scope contextScope(context);
  std::vector<v8::Local<v8::Value>> argv;
  for (auto& arg : timer->args) argv.push_back(arg.Get(isolate));
  v8::TryCatch tryCatch(isolate);
  v8::Local<v8::Value> ignored;
  bool repeat = timer->repeat;
  if (!timer->function.Get(isolate)
           ->Call(context, v8::Undefined(isolate), static_cast<int>(argv.size()), argv.data())
           .ToLocal(&ignored)) {
    runtime->ReportUncaught(tryCatch);
    return G_SOURCE_REMOVE;
  }
  runtime->AfterScriptWork();
  return repeat ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void ForgetTimer(gpointer pointer) {
  auto* timer = static_cast<Timer*>(pointer);
  State().timers.erase(timer->id);
  Runtime* runtime = timer->runtime;
  delete timer;
  runtime->Release();
}

void AddTimer(const v8::FunctionCallbackInfo<v8::Value>& info, bool repeat) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() < 1 || !info[0]->IsFunction()) {
    ThrowType(isolate, "The callback must be a function");
    return;
  }
  double delay = 0;
  if (info.Length() > 1 && !info[1]->NumberValue(isolate->GetCurrentContext()).To(&delay)) return;
  if (!(delay >= 1)) delay = repeat ? 1 : 0;  // NaN, negatives and 0 alike
  if (delay > G_MAXUINT) delay = G_MAXUINT;
  Runtime* runtime = State().runtime;
  auto* timer =
      new Timer{runtime, v8::Global<v8::Function>(isolate, info[0].As<v8::Function>()), {}, repeat};
  for (int i = 2; i < info.Length(); ++i) timer->args.emplace_back(isolate, info[i]);
  GSource* source = g_timeout_source_new(static_cast<guint>(delay));
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

void Exit(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  int code = 0;
  if (info.Length() > 0 && info[0]->IsNumber()) {
    code = Bridge::detail::toIntegral<int>(info[0].As<v8::Number>()->Value());
  }
  State().runtime->RequestExit(code);
  isolate->TerminateExecution();
}

void Load(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() < 1 || !info[0]->IsString()) {
    ThrowType(isolate, "tarn.load: the path must be a text");
    return;
  }
  std::string path = Utf8(isolate, info[0]);
  if (path.empty() || path[0] != '/') path = State().config.scriptDirectory + "/" + path;
  std::string error;
  if (!RunScriptFile(isolate, isolate->GetCurrentContext(), path, &error) && !error.empty()) {
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

v8::Local<v8::Object> NewNamespace(v8::Local<v8::Context> context, v8::Local<v8::Object> parent,
                                   const char* name) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Object> object = v8::Object::New(isolate);
  if (parent->Set(context, Text(isolate, name), object).IsNothing()) return object;
  return object;
}

}  // namespace

bool RunScriptFile(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& path,
                   std::string* error) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    *error = "cannot read script " + path;
    return false;
  }
  std::stringstream content;
  content << file.rdbuf();
  v8::Local<v8::String> source = Text(isolate, content.str());
  v8::ScriptOrigin origin(isolate, Text(isolate, path));
  v8::Local<v8::Script> script;
  v8::Local<v8::Value> result;
  return v8::Script::Compile(context, source, &origin).ToLocal(&script) &&
         script->Run(context).ToLocal(&result);
}

v8::Local<v8::Object> InstallScriptApi(Runtime* runtime, v8::Local<v8::Context> context,
                                       const ScriptApiConfig& config) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::EscapableHandleScope scope(isolate);
  State().runtime = runtime;
  State().config = config;
  v8::Local<v8::Object> global = context->Global();

  v8::Local<v8::Object> console = NewNamespace(context, global, "console");
  SetFunction(context, console, "log", ConsoleLog);
  SetFunction(context, console, "info", ConsoleLog);
  SetFunction(context, console, "error", ConsoleError);
  SetFunction(context, console, "warn", ConsoleError);
  SetFunction(context, global, "setTimeout", SetTimeout);
  SetFunction(context, global, "setInterval", SetInterval);
  SetFunction(context, global, "clearTimeout", ClearTimer);
  SetFunction(context, global, "clearInterval", ClearTimer);

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
  v8::Local<v8::Object> log = NewNamespace(context, tarn, "log");
  SetFunction(context, log, "capture", LogCaptureStart);
  SetFunction(context, log, "take", LogTake);
  SetFunction(context, log, "stop", LogCaptureStop);
  v8::Local<v8::Object> stage = NewNamespace(context, tarn, "stage");
  SetFunction(context, stage, "hints", StageHintList);
  v8::Local<v8::Object> test = NewNamespace(context, tarn, "test");
  SetFunction(context, test, "detachNative", DetachNative);
  return scope.Escape(tarn);
}

void ShutdownScriptApi() {
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
