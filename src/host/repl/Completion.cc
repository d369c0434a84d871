#include "repl/Completion.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "engine/ScriptText.h"
#include "repl/ReplText.h"

namespace tarn {
namespace host {
namespace repl {

namespace {

using host::Text;
using host::Utf8;

// A property's value when reading it runs no code: a data property found
// on the object or its prototypes, never a getter, an accessor of native
// code, a proxy or an interceptor.
bool PlainProperty(v8::Isolate* isolate, v8::Local<v8::Context> context,
                   v8::Local<v8::Object> object, const std::string& name,
                   v8::Local<v8::Value>* value) {
  v8::Local<v8::String> key = Text(isolate, name);
  v8::Local<v8::Value> current = object;
  for (int depth = 0; depth < 64 && current->IsObject(); ++depth) {
    v8::Local<v8::Object> holder = current.As<v8::Object>();
    if (holder->IsProxy() || holder->HasRealNamedCallbackProperty(context, key).FromMaybe(true)) {
      return false;
    }
    if (holder->HasRealNamedProperty(context, key).FromMaybe(false)) {
      v8::Local<v8::Value> descriptor;
      if (!holder->GetOwnPropertyDescriptor(context, key).ToLocal(&descriptor) ||
          !descriptor->IsObject()) {
        return false;
      }
      v8::Local<v8::Object> fields = descriptor.As<v8::Object>();
      if (!fields->HasOwnProperty(context, Text(isolate, "value")).FromMaybe(false)) {
        return false;
      }
      return fields->Get(context, Text(isolate, "value")).ToLocal(value);
    }
    current = holder->GetPrototype();
  }
  return false;
}

void Names(v8::Isolate* isolate, v8::Local<v8::Context> context, v8::Local<v8::Value> value,
           std::set<std::string>* names, bool skipObjectPrototype = false) {
  v8::Local<v8::Value> objectPrototype;
  if (skipObjectPrototype) objectPrototype = v8::Object::New(isolate)->GetPrototype();
  for (int depth = 0; depth < 64 && value->IsObject(); ++depth) {
    v8::Local<v8::Object> object = value.As<v8::Object>();
    if (object->IsProxy()) return;
    if (!objectPrototype.IsEmpty() && object->StrictEquals(objectPrototype)) return;
    v8::Local<v8::Array> keys;
    if (!object
             ->GetOwnPropertyNames(
                 context, static_cast<v8::PropertyFilter>(v8::ALL_PROPERTIES | v8::SKIP_SYMBOLS),
                 v8::KeyConversionMode::kConvertToString)
             .ToLocal(&keys)) {
      return;
    }
    for (uint32_t i = 0; i < keys->Length(); ++i) {
      v8::Local<v8::Value> key;
      if (!keys->Get(context, i).ToLocal(&key)) return;
      std::string text = Utf8(isolate, key);
      if (Identifier(text) && !(skipObjectPrototype && text == "constructor")) {
        names->insert(text);
      }
    }
    value = object->GetPrototype();
  }
}

// The value of a dotted name: the first part a global or a declared name,
// the rest plain properties.
bool Resolve(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& chain,
             const std::set<std::string>& declared, v8::Local<v8::Value>* value) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= chain.size()) {
    size_t end = chain.find('.', start);
    if (end == std::string::npos) end = chain.size();
    parts.push_back(chain.substr(start, end - start));
    start = end + 1;
  }
  for (const std::string& part : parts) {
    if (!Identifier(part)) return false;
  }
  v8::Local<v8::Value> current;
  if (declared.count(parts[0])) {
    // A let, const or class of an earlier line lives outside the global
    // object: reading a bare name runs no code.
    v8::Local<v8::Script> script;
    if (!v8::Script::Compile(context, Text(isolate, parts[0])).ToLocal(&script) ||
        !script->Run(context).ToLocal(&current)) {
      return false;
    }
  } else if (!PlainProperty(isolate, context, context->Global(), parts[0], &current)) {
    return false;
  }
  for (size_t i = 1; i < parts.size(); ++i) {
    if (!current->IsObject()) {
      v8::Local<v8::Object> wrapper;
      if (current->IsNullOrUndefined() || !current->ToObject(context).ToLocal(&wrapper)) {
        return false;
      }
      current = wrapper;
    }
    if (!PlainProperty(isolate, context, current.As<v8::Object>(), parts[i], &current))
      return false;
  }
  *value = current;
  return true;
}

}  // namespace

std::vector<std::string> CompletionMatches(v8::Isolate* isolate, v8::Local<v8::Context> context,
                                           const std::string& before,
                                           const std::set<std::string>& declared,
                                           std::string* prefix) {
  size_t start = before.size();
  while (start > 0 && (IdentifierPart(before[start - 1]) || before[start - 1] == '.')) --start;
  std::string chain = before.substr(start);
  if (chain.empty() || chain[0] == '.') return {};
  size_t dot = chain.rfind('.');
  *prefix = dot == std::string::npos ? chain : chain.substr(dot + 1);
  std::string base = dot == std::string::npos ? std::string() : chain.substr(0, dot);

  std::set<std::string> names;
  if (base.empty()) {
    // Globals and earlier lines' declarations; what every object has
    // (Object.prototype's members) is no name to type on its own.
    Names(isolate, context, context->Global(), &names, true);
    names.insert(declared.begin(), declared.end());
  } else {
    v8::Local<v8::Value> value;
    if (!Resolve(isolate, context, base, declared, &value)) return {};
    if (!value->IsObject()) {
      if (value->IsNullOrUndefined()) return {};
      v8::Local<v8::Object> wrapper;
      if (!value->ToObject(context).ToLocal(&wrapper)) return {};
      value = wrapper;
    }
    Names(isolate, context, value, &names);
  }
  std::vector<std::string> matches;
  for (const std::string& name : names) {
    if (name.compare(0, prefix->size(), *prefix) == 0) matches.push_back(name);
  }
  return matches;
}

std::string CommonPrefix(const std::vector<std::string>& matches) {
  if (matches.empty()) return std::string();
  std::string common = matches.front();
  for (const std::string& match : matches) {
    size_t k = 0;
    while (k < common.size() && k < match.size() && common[k] == match[k]) ++k;
    common.resize(k);
  }
  return common;
}

void ListMatches(const std::vector<std::string>& matches) {
  size_t width = 0;
  for (const std::string& match : matches) width = std::max(width, match.size());
  width += 2;
  struct winsize size;
  size_t columns = 80;
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) columns = size.ws_col;
  size_t perRow = std::max<size_t>(1, columns / width);
  std::string text = "\r\n";
  for (size_t i = 0; i < matches.size(); ++i) {
    text += matches[i];
    bool endOfRow = (i + 1) % perRow == 0 || i + 1 == matches.size();
    text += endOfRow ? std::string("\r\n") : std::string(width - matches[i].size(), ' ');
  }
  text += "\r\n";
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

}  // namespace repl
}  // namespace host
}  // namespace tarn
