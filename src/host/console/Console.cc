// console: native methods that keep the console's state (group indentation,
// counters, timers) and write whole lines; how values look is decided by the
// embedded formatter (console/*.js, with its engine helpers in
// console/ValueProbes.cc), compiled in a context on the first call that
// needs it. Lines of plain texts are joined here without it, so a script
// that only logs texts never compiles it.
#include "console/Console.h"
#include "console/ValueProbes.h"
#include "engine/ScriptText.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "engine/Runtime.h"

namespace tarn {
namespace host {

// console/FormatterText.cc: the formatter's embedded source and its length.
const unsigned char* FormatterText(std::size_t* length);

namespace {

using Clock = std::chrono::steady_clock;

struct ConsoleState {
  Runtime* runtime = nullptr;
  std::string groupIndent;
  std::map<std::string, double> counts;
  std::map<std::string, Clock::time_point> timers;
};

ConsoleState& State() {
  static ConsoleState state;
  return state;
}

// UTF-8 as node writes it: a lone surrogate becomes U+FFFD.
std::string Utf8(v8::Isolate* isolate, v8::Local<v8::String> text) {
  std::string out(static_cast<size_t>(text->Utf8Length(isolate)), '\0');
  if (!out.empty()) {
    text->WriteUtf8(isolate, &out[0], static_cast<int>(out.size()), nullptr,
                    v8::String::NO_NULL_TERMINATION | v8::String::REPLACE_INVALID_UTF8);
  }
  return out;
}

// --- the formatter ---------------------------------------------------------

v8::Local<v8::String> Str(v8::Isolate* isolate, const char* text) {
  return v8::String::NewFromUtf8(isolate, text, v8::NewStringType::kInternalized)
      .FromMaybe(v8::String::Empty(isolate));
}

// The embedded source, handed to the engine without a copy (it is ASCII).
class EmbeddedSource : public v8::String::ExternalOneByteStringResource {
 public:
  EmbeddedSource() { text_ = FormatterText(&length_); }
  const char* data() const override { return reinterpret_cast<const char*>(text_); }
  size_t length() const override { return length_; }
  void Dispose() override {}  // static storage, never freed

 private:
  const unsigned char* text_;
  size_t length_ = 0;
};

// The formatter's functions in this context, compiled on first use and kept
// in the context's embedder data. The source is the body of a function of
// the engine helpers that returns the entry points.
v8::MaybeLocal<v8::Object> Formatter(v8::Local<v8::Context> context) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::EscapableHandleScope scope(isolate);
  if (context->GetNumberOfEmbedderDataFields() > static_cast<uint32_t>(kFormatterContextSlot)) {
    v8::Local<v8::Value> cached = context->GetEmbedderData(kFormatterContextSlot);
    if (cached->IsObject()) return scope.Escape(cached.As<v8::Object>());
  }
  v8::Context::Scope contextScope(context);
  static EmbeddedSource text;
  v8::Local<v8::String> body;
  if (!v8::String::NewExternalOneByte(isolate, &text).ToLocal(&body)) return {};
  v8::ScriptOrigin origin(isolate, Str(isolate, "tarn:inspect"));
  v8::ScriptCompiler::Source source(body, origin);
  v8::Local<v8::String> parameters[] = {Str(isolate, "natives")};
  v8::Local<v8::Function> factory;
  v8::Local<v8::Object> natives;
  if (!v8::ScriptCompiler::CompileFunction(context, &source, 1, parameters).ToLocal(&factory) ||
      !MakeValueProbes(context).ToLocal(&natives)) {
    return {};
  }
  v8::Local<v8::Value> argv[] = {natives};
  v8::Local<v8::Value> api;
  if (!factory->Call(context, v8::Undefined(isolate), 1, argv).ToLocal(&api) || !api->IsObject()) {
    return {};
  }
  context->SetEmbedderData(kFormatterContextSlot, api);
  return scope.Escape(api.As<v8::Object>());
}

// Calls one of the formatter's functions; false with the exception pending.
bool CallFormatter(v8::Local<v8::Context> context, const char* name, int argc,
                   v8::Local<v8::Value>* argv, v8::Local<v8::Value>* result) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Object> api;
  v8::Local<v8::Value> function;
  if (!Formatter(context).ToLocal(&api) ||
      !api->Get(context, Str(isolate, name)).ToLocal(&function)) {
    return false;
  }
  if (!function->IsFunction()) {
    isolate->ThrowException(v8::Exception::Error(Str(isolate, "console formatter missing")));
    return false;
  }
  v8::Context::Scope contextScope(context);
  return function.As<v8::Function>()
      ->Call(context, v8::Undefined(isolate), argc, argv)
      .ToLocal(result);
}

bool CallForText(v8::Local<v8::Context> context, const char* name, int argc,
                 v8::Local<v8::Value>* argv, std::string* out) {
  v8::Local<v8::Value> result;
  if (!CallFormatter(context, name, argc, argv, &result)) return false;
  v8::Local<v8::String> text;
  if (!result->ToString(context).ToLocal(&text)) return false;
  *out = Utf8(context->GetIsolate(), text);
  return true;
}

v8::Local<v8::Array> ArgumentArray(const v8::FunctionCallbackInfo<v8::Value>& info, int start) {
  std::vector<v8::Local<v8::Value>> items;
  for (int i = start; i < info.Length(); ++i) items.push_back(info[i]);
  return v8::Array::New(info.GetIsolate(), items.data(), items.size());
}

// A line of arguments as node's util.format makes it. Texts alone without a
// format in the first are joined here.
bool FormatArguments(v8::Local<v8::Context> context, const v8::Local<v8::Value>* args, int count,
                     std::string* out) {
  v8::Isolate* isolate = context->GetIsolate();
  bool plain = true;
  for (int i = 0; i < count && plain; ++i) plain = args[i]->IsString();
  if (plain) {
    std::string line;
    for (int i = 0; i < count; ++i) {
      std::string part = Utf8(isolate, args[i].As<v8::String>());
      if (i == 0 && count > 1 && part.find('%') != std::string::npos) {
        plain = false;
        break;
      }
      if (i) line += ' ';
      line += part;
    }
    if (plain) {
      *out = std::move(line);
      return true;
    }
  }
  std::vector<v8::Local<v8::Value>> items(args, args + count);
  v8::Local<v8::Value> argv[] = {v8::Array::New(isolate, items.data(), items.size())};
  return CallForText(context, "format", 1, argv, out);
}

bool FormatInfo(const v8::FunctionCallbackInfo<v8::Value>& info, int start, std::string* out) {
  std::vector<v8::Local<v8::Value>> items;
  for (int i = start; i < info.Length(); ++i) items.push_back(info[i]);
  return FormatArguments(info.GetIsolate()->GetCurrentContext(), items.data(),
                         static_cast<int>(items.size()), out);
}

// --- writing ---------------------------------------------------------------

// Writes one line, indented by the open groups (every line of it). Output
// that cannot be written ends the run, as an error would.
void WriteLine(v8::Isolate* isolate, FILE* stream, const std::string& text, bool indent = true) {
  std::string line;
  const std::string& prefix = State().groupIndent;
  if (indent && !prefix.empty()) {
    line.reserve(text.size() + prefix.size() + 1);
    line += prefix;
    for (char c : text) {
      line += c;
      if (c == '\n') line += prefix;
    }
  } else {
    line = text;
  }
  line += '\n';
  if (std::fwrite(line.data(), 1, line.size(), stream) != line.size() || std::fflush(stream) != 0) {
    int error = errno;
    clearerr(stream);
    std::fprintf(stderr, "tarn-run: cannot write to %s: %s\n",
                 stream == stdout ? "standard output" : "standard error", std::strerror(error));
    if (State().runtime && !State().runtime->Exiting()) {
      State().runtime->RequestExit(1);
      StopScript(isolate);
    }
  }
}

// A process warning, worded as node words its console warnings.
void Warn(v8::Isolate* isolate, const std::string& text) {
  WriteLine(isolate, stderr,
            "(tarn-run:" + std::to_string(static_cast<long>(getpid())) + ") Warning: " + text,
            false);
}

void PrintTo(const v8::FunctionCallbackInfo<v8::Value>& info, FILE* stream) {
  std::string line;
  if (FormatInfo(info, 0, &line)) WriteLine(info.GetIsolate(), stream, line);
}

// --- the methods -----------------------------------------------------------

void Log(const v8::FunctionCallbackInfo<v8::Value>& info) { PrintTo(info, stdout); }
void Error(const v8::FunctionCallbackInfo<v8::Value>& info) { PrintTo(info, stderr); }

void Dir(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Value> argv[] = {info[0], info[1]};
  std::string text;
  if (CallForText(isolate->GetCurrentContext(), "dir", 2, argv, &text)) {
    WriteLine(isolate, stdout, text);
  }
}

void Table(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Value> argv[] = {info[0], info[1]};
  v8::Local<v8::Value> result;
  if (!CallFormatter(context, "table", 2, argv, &result)) return;
  std::string text;
  if (result->IsString()) {
    text = Utf8(isolate, result.As<v8::String>());
  } else {
    // Not tabular data: shown as console.log shows it.
    v8::Local<v8::Value> data = info[0];
    if (!FormatArguments(context, &data, 1, &text)) return;
  }
  WriteLine(isolate, stdout, text);
}

// A label argument as text ("default" when absent); false with the
// exception pending when it cannot be one (a Symbol).
bool Label(const v8::FunctionCallbackInfo<v8::Value>& info, std::string* label) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() < 1 || info[0]->IsUndefined()) {
    *label = "default";
    return true;
  }
  v8::Local<v8::String> text;
  if (!info[0]->ToString(isolate->GetCurrentContext()).ToLocal(&text)) return false;
  *label = Utf8(isolate, text);
  return true;
}

void Time(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string label;
  if (!Label(info, &label)) return;
  if (State().timers.count(label)) {
    Warn(info.GetIsolate(), "Label '" + label + "' already exists for console.time()");
    return;
  }
  State().timers[label] = Clock::now();
}

// timeEnd and timeLog: "label: 1.234ms", then timeLog's extra arguments.
void TimeReport(const v8::FunctionCallbackInfo<v8::Value>& info, bool end) {
  v8::Isolate* isolate = info.GetIsolate();
  std::string label;
  if (!Label(info, &label)) return;
  auto found = State().timers.find(label);
  if (found == State().timers.end()) {
    Warn(isolate,
         "No such label '" + label + "' for console." + (end ? "timeEnd" : "timeLog") + "()");
    return;
  }
  double ms = std::chrono::duration<double, std::milli>(Clock::now() - found->second).count();
  if (end) State().timers.erase(found);
  v8::Local<v8::Value> argv[] = {
      Text(isolate, label), v8::Number::New(isolate, ms),
      end ? v8::Undefined(isolate).As<v8::Value>() : ArgumentArray(info, 1).As<v8::Value>()};
  std::string text;
  if (CallForText(isolate->GetCurrentContext(), "timeLine", 3, argv, &text)) {
    WriteLine(isolate, stdout, text);
  }
}

void TimeEnd(const v8::FunctionCallbackInfo<v8::Value>& info) { TimeReport(info, true); }
void TimeLog(const v8::FunctionCallbackInfo<v8::Value>& info) { TimeReport(info, false); }

void Count(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string label;
  if (!Label(info, &label)) return;
  double count = ++State().counts[label];
  char number[32];
  std::snprintf(number, sizeof number, "%.0f", count);
  WriteLine(info.GetIsolate(), stdout, label + ": " + number);
}

void CountReset(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string label;
  if (!Label(info, &label)) return;
  // node looks the label up as given, before turning it into a text: a label
  // that is not a text is never found.
  bool given = info.Length() > 0 && !info[0]->IsUndefined();
  auto found = State().counts.find(label);
  if (found == State().counts.end() || (given && !info[0]->IsString())) {
    Warn(info.GetIsolate(), "Count for '" + label + "' does not exist");
    return;
  }
  State().counts.erase(found);
}

void Group(const v8::FunctionCallbackInfo<v8::Value>& info) {
  if (info.Length() > 0) {
    std::string line;
    if (!FormatInfo(info, 0, &line)) return;
    WriteLine(info.GetIsolate(), stdout, line);
  }
  State().groupIndent += "  ";
}

void GroupEnd(const v8::FunctionCallbackInfo<v8::Value>&) {
  std::string& indent = State().groupIndent;
  indent.resize(indent.size() >= 2 ? indent.size() - 2 : 0);
}

void Assert(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (info.Length() > 0 && info[0]->BooleanValue(isolate)) return;
  v8::Local<v8::Value> argv[] = {ArgumentArray(info, 1)};
  std::string text;
  if (CallForText(isolate->GetCurrentContext(), "assertLine", 1, argv, &text)) {
    WriteLine(isolate, stderr, text);
  }
}

void Trace(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Value> argv[] = {ArgumentArray(info, 0)};
  std::string text;
  if (CallForText(isolate->GetCurrentContext(), "trace", 1, argv, &text)) {
    WriteLine(isolate, stderr, text);
  }
}

// Clears a terminal (cursor home, erase below), as node does; nothing when
// standard output is not one.
void Clear(const v8::FunctionCallbackInfo<v8::Value>& info) {
  const char* term = std::getenv("TERM");
  if (!isatty(STDOUT_FILENO) || (term && std::strcmp(term, "dumb") == 0)) return;
  static const char kClear[] = "\x1b[1;1H\x1b[0J";
  if (std::fwrite(kClear, 1, sizeof kClear - 1, stdout) != sizeof kClear - 1 ||
      std::fflush(stdout) != 0) {
    WriteLine(info.GetIsolate(), stdout, "");  // reports the failure
  }
}

// The profiler's methods do nothing without an inspector attached.
void Nothing(const v8::FunctionCallbackInfo<v8::Value>&) {}

void MakeConsole(v8::Local<v8::Name>, const v8::PropertyCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Object> console = v8::Object::New(isolate);
  struct Method {
    const char* name;
    v8::FunctionCallback callback;
  };
  // node's order of the global console's keys.
  static const Method kMethods[] = {
      {"log", Log},
      {"warn", Error},
      {"dir", Dir},
      {"time", Time},
      {"timeEnd", TimeEnd},
      {"timeLog", TimeLog},
      {"trace", Trace},
      {"assert", Assert},
      {"clear", Clear},
      {"count", Count},
      {"countReset", CountReset},
      {"group", Group},
      {"groupEnd", GroupEnd},
      {"table", Table},
      {"debug", Log},
      {"info", Log},
      {"dirxml", Log},
      {"error", Error},
      {"groupCollapsed", Group},
      {"profile", Nothing},
      {"profileEnd", Nothing},
      {"timeStamp", Nothing},
  };
  for (const Method& method : kMethods) {
    v8::Local<v8::Function> function;
    if (!v8::Function::New(context, method.callback, v8::Local<v8::Value>(), 0,
                           v8::ConstructorBehavior::kThrow)
             .ToLocal(&function)) {
      return;
    }
    v8::Local<v8::String> name = Str(isolate, method.name);
    function->SetName(name);
    if (!console->Set(context, name, function).FromMaybe(false)) return;
  }
  if (console
          ->DefineOwnProperty(context, v8::Symbol::GetToStringTag(isolate), Str(isolate, "console"),
                              static_cast<v8::PropertyAttribute>(v8::ReadOnly | v8::DontEnum))
          .IsNothing()) {
    return;
  }
  info.GetReturnValue().Set(console);
}

v8::Local<v8::Object> OptionsObject(v8::Local<v8::Context> context, const InspectOptions& o) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Object> object = v8::Object::New(isolate);
  auto set = [&](const char* key, v8::Local<v8::Value> value) {
    return object->Set(context, Str(isolate, key), value).FromMaybe(false);
  };
  auto number = [&](int value) -> v8::Local<v8::Value> {
    if (value == InspectOptions::kNoDepthLimit) return v8::Number::New(isolate, INFINITY);
    return v8::Integer::New(isolate, value);
  };
  if (set("depth", o.depth == InspectOptions::kNoDepthLimit ? v8::Null(isolate).As<v8::Value>()
                                                            : number(o.depth)) &&
      set("showHidden", v8::Boolean::New(isolate, o.showHidden)) &&
      set("showProxy", v8::Boolean::New(isolate, o.showProxy)) &&
      set("customInspect", v8::Boolean::New(isolate, o.customInspect)) &&
      set("getters", v8::Boolean::New(isolate, o.getters)) &&
      set("sorted", v8::Boolean::New(isolate, o.sorted)) &&
      set("breakLength", number(o.breakLength)) && set("compact", number(o.compact)) &&
      set("maxArrayLength", number(o.maxArrayLength))) {
    set("maxStringLength", number(o.maxStringLength));
  }
  return object;
}

}  // namespace

void InstallConsole(Runtime* runtime, v8::Local<v8::Context> context) {
  v8::Isolate* isolate = context->GetIsolate();
  State().runtime = runtime;
  // Made on first use: a script that never touches console pays nothing.
  if (context->Global()
          ->SetLazyDataProperty(context, Str(isolate, "console").As<v8::Name>(), MakeConsole,
                                v8::Local<v8::Value>(), v8::DontEnum)
          .IsNothing()) {
    return;
  }
}

void ShutdownConsole() {
  State().groupIndent.clear();
  State().counts.clear();
  State().timers.clear();
  State().runtime = nullptr;
}

std::string Inspect(v8::Local<v8::Context> context, v8::Local<v8::Value> value,
                    const InspectOptions& options) {
  v8::HandleScope scope(context->GetIsolate());
  v8::Local<v8::Value> argv[] = {value, OptionsObject(context, options)};
  std::string text;
  if (!CallForText(context, "inspect", 2, argv, &text)) return std::string();
  return text;
}

std::string FormatLogArguments(v8::Local<v8::Context> context,
                               const std::vector<v8::Local<v8::Value>>& args) {
  v8::HandleScope scope(context->GetIsolate());
  std::string text;
  if (!FormatArguments(context, args.data(), static_cast<int>(args.size()), &text)) {
    return std::string();
  }
  return text;
}

}  // namespace host
}  // namespace tarn
