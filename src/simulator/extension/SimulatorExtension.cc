// `tarn.sim` and the --sim-* options. Values cross between script and the
// state as JSON text (JSON.stringify / JSON.parse), so what a script reads is
// exactly what a state file would hold. Every failure is a script Error with
// the simulator's message; nothing here aborts on script input.
#include "SimulatorExtension.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include <json/reader.h>
#include <json/writer.h>

#include "tvsim/Simulator.h"

namespace tvsim {

namespace {

v8::Local<v8::String> v8Text(v8::Isolate* isolate, const std::string& text) {
  v8::Local<v8::String> s;
  if (!v8::String::NewFromUtf8(isolate, text.data(), v8::NewStringType::kNormal,
                               static_cast<int>(text.size()))
           .ToLocal(&s)) {
    return v8::String::Empty(isolate);
  }
  return s;
}

void throwError(v8::Isolate* isolate, const std::string& message) {
  isolate->ThrowException(v8::Exception::Error(v8Text(isolate, message)));
}

// Script value to JSON; false with a pending exception or a thrown error.
bool toJson(v8::Isolate* isolate, v8::Local<v8::Context> context, v8::Local<v8::Value> value,
            Json::Value* out) {
  if (value->IsUndefined() || value->IsNull()) {
    *out = Json::Value();
    return true;
  }
  v8::Local<v8::String> text;
  if (!v8::JSON::Stringify(context, value).ToLocal(&text)) return false;
  v8::String::Utf8Value utf8(isolate, text);
  if (!*utf8) {
    throwError(isolate, "value cannot be written as JSON");
    return false;
  }
  Json::CharReaderBuilder builder;
  builder["stackLimit"] = Simulator::kMaxJsonDepth;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string errors;
  bool parsed = false;
  try {
    parsed = reader->parse(*utf8, *utf8 + utf8.length(), out, &errors);
  } catch (const Json::Exception&) {
    throwError(isolate,
               ("value nested deeper than " + std::to_string(Simulator::kMaxJsonDepth) + " levels")
                   .c_str());
    return false;
  }
  if (!parsed) {
    throwError(isolate, "value cannot be written as JSON");
    return false;
  }
  return true;
}

bool toScript(v8::Isolate* isolate, v8::Local<v8::Context> context, const Json::Value& value,
              v8::Local<v8::Value>* out) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return v8::JSON::Parse(context, v8Text(isolate, Json::writeString(builder, value))).ToLocal(out);
}

// Argument i as text; false (with an error thrown) when it is not a string.
bool textArg(const v8::FunctionCallbackInfo<v8::Value>& info, int i, const char* what,
             std::string* out) {
  if (info.Length() <= i || !info[i]->IsString()) {
    throwError(info.GetIsolate(), std::string(what) + " must be a string");
    return false;
  }
  v8::String::Utf8Value utf8(info.GetIsolate(), info[i]);
  *out = *utf8 ? std::string(*utf8, static_cast<size_t>(utf8.length())) : std::string();
  return true;
}

void answer(const v8::FunctionCallbackInfo<v8::Value>& info, const Json::Value& value) {
  v8::Local<v8::Value> result;
  if (toScript(info.GetIsolate(), info.GetIsolate()->GetCurrentContext(), value, &result)) {
    info.GetReturnValue().Set(result);
  }
}

void Get(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string path;
  if (info.Length() > 0 && !info[0]->IsUndefined() && !textArg(info, 0, "path", &path)) return;
  Json::Value value;
  std::string error;
  if (!Simulator::get(path, &value, &error)) return throwError(info.GetIsolate(), error);
  answer(info, value);
}

void Set(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string path;
  if (!textArg(info, 0, "path", &path)) return;
  if (info.Length() < 2) return throwError(info.GetIsolate(), "set(path, value): value missing");
  Json::Value value;
  if (!toJson(info.GetIsolate(), info.GetIsolate()->GetCurrentContext(), info[1], &value)) return;
  std::string error;
  if (!Simulator::set(path, value, &error)) return throwError(info.GetIsolate(), error);
  info.GetReturnValue().Set(true);
}

void Remove(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string path;
  if (!textArg(info, 0, "path", &path)) return;
  std::string error;
  if (!Simulator::remove(path, &error)) return throwError(info.GetIsolate(), error);
  info.GetReturnValue().Set(true);
}

void Load(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string file;
  if (!textArg(info, 0, "file", &file)) return;
  std::string error;
  if (!Simulator::loadStateFile(file, &error)) return throwError(info.GetIsolate(), error);
  info.GetReturnValue().Set(true);
}

void Reset(const v8::FunctionCallbackInfo<v8::Value>& info) {
  Simulator::reset();
  info.GetReturnValue().Set(true);
}

void ForceResult(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string operation;
  if (!textArg(info, 0, "operation", &operation)) return;
  if (info.Length() < 2)
    return throwError(info.GetIsolate(), "forceResult(operation, value): value missing");
  Json::Value value;
  if (!toJson(info.GetIsolate(), info.GetIsolate()->GetCurrentContext(), info[1], &value)) return;
  std::string error;
  if (!Simulator::forceResult(operation, value, &error))
    return throwError(info.GetIsolate(), error);
  info.GetReturnValue().Set(true);
}

void ClearForcedResults(const v8::FunctionCallbackInfo<v8::Value>& info) {
  Simulator::clearForcedResults();
  info.GetReturnValue().Set(true);
}

void Operations(const v8::FunctionCallbackInfo<v8::Value>& info) {
  Json::Value list(Json::arrayValue);
  for (const auto& name : Simulator::operations()) list.append(name);
  answer(info, list);
}

void Fire(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string event;
  if (!textArg(info, 0, "event", &event)) return;
  Json::Value arguments(Json::arrayValue);
  for (int i = 1; i < info.Length(); ++i) {
    Json::Value v;
    if (!toJson(info.GetIsolate(), info.GetIsolate()->GetCurrentContext(), info[i], &v)) return;
    arguments.append(v);
  }
  std::string error;
  if (!Simulator::fire(event, arguments, &error)) return throwError(info.GetIsolate(), error);
  info.GetReturnValue().Set(true);
}

void WaitForNotifications(const v8::FunctionCallbackInfo<v8::Value>& info) {
  int64_t ms = 10000;
  if (info.Length() > 0 && info[0]->IsNumber()) {
    double d = info[0].As<v8::Number>()->Value();
    ms = d > 0 && d < 3600000 ? static_cast<int64_t>(d) : ms;
  }
  info.GetReturnValue().Set(Simulator::waitForNotifications(std::chrono::milliseconds(ms)));
}

// journal() or journal("vconf_get_int") / journal("TvPowerClient.requestPowerOff").
void Journal(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string filter;
  if (info.Length() > 0 && !info[0]->IsUndefined() && !textArg(info, 0, "operation", &filter))
    return;
  std::vector<JournalEntry> entries;
  std::string error;
  if (!Simulator::journal(filter, &entries, &error)) return throwError(info.GetIsolate(), error);
  Json::Value list(Json::arrayValue);
  for (const auto& e : entries) list.append(e.toJson());
  answer(info, list);
}

void ClearJournal(const v8::FunctionCallbackInfo<v8::Value>& info) {
  Simulator::clearJournal();
  info.GetReturnValue().Set(true);
}

void Root(const v8::FunctionCallbackInfo<v8::Value>& info) {
  info.GetReturnValue().Set(v8Text(info.GetIsolate(), Simulator::root()));
}

// A device path (absolute, no ".." component) under the root folder; false
// with a thrown error otherwise.
bool hostPathOf(const v8::FunctionCallbackInfo<v8::Value>& info, std::string* out) {
  v8::Isolate* isolate = info.GetIsolate();
  std::string path;
  if (info.Length() > 0 && info[0]->IsString()) {
    v8::String::Utf8Value utf8(isolate, info[0]);
    if (*utf8) path.assign(*utf8, static_cast<size_t>(utf8.length()));
  }
  if (path.empty() || path[0] != '/' || ("/" + path + "/").find("/../") != std::string::npos) {
    throwError(isolate, "expected an absolute device path without \"..\"");
    return false;
  }
  *out = Simulator::root() + path;
  return true;
}

// readFile(devicePath): the file's bytes as a Uint8Array, null when it
// cannot be read as a regular file.
void ReadFile(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string path;
  if (!hostPathOf(info, &path)) return;
  std::error_code ec;
  if (!std::filesystem::is_regular_file(path, ec)) {
    info.GetReturnValue().SetNull();
    return;
  }
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (!in.good() && !in.eof()) {
    info.GetReturnValue().SetNull();
    return;
  }
  v8::Local<v8::ArrayBuffer> buffer = v8::ArrayBuffer::New(info.GetIsolate(), bytes.size());
  if (!bytes.empty()) std::memcpy(buffer->GetBackingStore()->Data(), bytes.data(), bytes.size());
  info.GetReturnValue().Set(v8::Uint8Array::New(buffer, 0, bytes.size()));
}

// makeFolder(devicePath): makes the folder and its parents; false on failure.
void MakeFolder(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string path;
  if (!hostPathOf(info, &path)) return;
  std::error_code ec;
  std::filesystem::create_directories(path, ec);
  info.GetReturnValue().Set(!ec && std::filesystem::is_directory(path, ec));
}

// removePath(devicePath): removes a file or a whole folder; the number of
// entries removed.
void RemovePath(const v8::FunctionCallbackInfo<v8::Value>& info) {
  std::string path;
  if (!hostPathOf(info, &path)) return;
  std::error_code ec;
  const auto removed = std::filesystem::remove_all(path, ec);
  info.GetReturnValue().Set(static_cast<double>(ec ? 0 : removed));
}

void DefaultState(const v8::FunctionCallbackInfo<v8::Value>& info) {
  Json::Value value;
  Json::CharReaderBuilder builder;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  const std::string text = Simulator::defaultStateText();
  std::string errors;
  if (reader->parse(text.data(), text.data() + text.size(), &value, &errors)) answer(info, value);
}

// "path=value": the value as JSON when it reads as JSON, else as text.
bool applySet(const std::string& assignment, std::string* error) {
  const size_t eq = assignment.find('=');
  if (eq == std::string::npos || eq == 0) {
    *error = "--sim-set " + assignment + ": expected PATH=VALUE";
    return false;
  }
  const std::string path = assignment.substr(0, eq);
  const std::string text = assignment.substr(eq + 1);
  Json::Value value;
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["strictRoot"] = false;  // a bare number, text or true is a value too
  builder["stackLimit"] = Simulator::kMaxJsonDepth;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string errors;
  try {
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) value = text;
  } catch (const Json::Exception&) {
    *error = "--sim-set " + path + ": the value is nested deeper than " +
             std::to_string(Simulator::kMaxJsonDepth) + " levels";
    return false;
  }
  std::string why;
  if (!Simulator::set(path, value, &why)) {
    *error = "--sim-set " + assignment + ": " + why;
    return false;
  }
  return true;
}

}  // namespace

SimulatorExtension::~SimulatorExtension() {
  g_free(stateFile_);
  g_free(rootDir_);
  g_free(journalFile_);
  g_strfreev(sets_);
}

GOptionGroup* SimulatorExtension::optionGroup() {
  static const GOptionEntry entries[] = {
      {"sim-state", 0, 0, G_OPTION_ARG_FILENAME, nullptr,
       "Load the simulated TV's state from FILE (laid over the built-in state)", "FILE"},
      {"sim-root", 0, 0, G_OPTION_ARG_FILENAME, nullptr,
       "Resolve device paths under DIR, kept at exit (default: a fresh temporary folder)", "DIR"},
      {"sim-journal", 0, 0, G_OPTION_ARG_FILENAME, nullptr,
       "Write the journal of platform calls to FILE at exit (JSON Lines)", "FILE"},
      {"sim-set", 0, 0, G_OPTION_ARG_STRING_ARRAY, nullptr,
       "Set one state value, VALUE as JSON or else as text (repeatable)", "PATH=VALUE"},
      {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
  // A new group means a new parse: GOption overwrites without freeing.
  g_clear_pointer(&stateFile_, g_free);
  g_clear_pointer(&rootDir_, g_free);
  g_clear_pointer(&journalFile_, g_free);
  g_clear_pointer(&sets_, g_strfreev);
  GOptionEntry bound[5];
  for (int i = 0; i < 5; ++i) bound[i] = entries[i];
  bound[0].arg_data = &stateFile_;
  bound[1].arg_data = &rootDir_;
  bound[2].arg_data = &journalFile_;
  bound[3].arg_data = &sets_;
  GOptionGroup* group = g_option_group_new(
      "sim", "Simulated TV options:", "Show the simulated TV's options", nullptr, nullptr);
  g_option_group_add_entries(group, bound);
  return group;
}

bool SimulatorExtension::start(std::string* error) {
  std::string why;
  if (rootDir_ && !Simulator::setRoot(rootDir_, &why)) {
    *error = "--sim-root: " + why;
    return false;
  }
  if (journalFile_) {
    // Found out now, not after the script ran.
    std::ofstream probe(journalFile_, std::ios::app);
    if (!probe) {
      *error = std::string("--sim-journal: cannot write ") + journalFile_;
      return false;
    }
    Simulator::setJournalFile(journalFile_);
  }
  if (stateFile_ && !Simulator::loadStateFile(stateFile_, &why)) {
    *error = why;
    return false;
  }
  for (gchar** s = sets_; s && *s; ++s) {
    if (!applySet(*s, error)) return false;
  }
  return true;
}

void SimulatorExtension::install(v8::Isolate* isolate, v8::Local<v8::Context> context,
                                 v8::Local<v8::Object> tarn) {
  v8::Local<v8::Object> sim = v8::Object::New(isolate);
  const std::pair<const char*, v8::FunctionCallback> functions[] = {
      {"get", Get},
      {"set", Set},
      {"remove", Remove},
      {"load", Load},
      {"reset", Reset},
      {"defaultState", DefaultState},
      {"forceResult", ForceResult},
      {"clearForcedResults", ClearForcedResults},
      {"operations", Operations},
      {"fire", Fire},
      {"waitForNotifications", WaitForNotifications},
      {"journal", Journal},
      {"clearJournal", ClearJournal},
      {"root", Root},
      {"readFile", ReadFile},
      {"makeFolder", MakeFolder},
      {"removePath", RemovePath},
  };
  for (const auto& f : functions) {
    v8::Local<v8::Function> function;
    if (!v8::FunctionTemplate::New(isolate, f.second)->GetFunction(context).ToLocal(&function)) {
      return;
    }
    if (sim->Set(context, v8Text(isolate, f.first), function).IsNothing()) return;
  }
  if (tarn->Set(context, v8Text(isolate, "sim"), sim).IsNothing()) return;
}

void SimulatorExtension::stop() { Simulator::shutdown(); }

std::unique_ptr<tarn::host::Extension> makeSimulatorExtension() {
  return std::make_unique<SimulatorExtension>();
}

}  // namespace tvsim
