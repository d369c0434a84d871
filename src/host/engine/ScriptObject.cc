// Script values for native code. Primitives stay native until an engine value
// is asked for; everything else is held by a persistent handle. Conversions
// that run script and throw leave the exception pending and unwind the
// handler with ScriptExceptionPending.
#include "ScriptObject.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "TarnException.h"
#include "engine/Runtime.h"

namespace Bridge {

namespace {

v8::Isolate* CurrentIsolate() { return v8::Isolate::GetCurrent(); }

v8::Local<v8::Context> CurrentContext(v8::Isolate* isolate) { return isolate->GetCurrentContext(); }

v8::Local<v8::String> NewString(v8::Isolate* isolate, const std::string& text) {
  v8::Local<v8::String> result;
  if (!v8::String::NewFromUtf8(isolate, text.data(), v8::NewStringType::kNormal,
                               static_cast<int>(text.size()))
           .ToLocal(&result)) {
    // Only a text beyond the engine's maximum length fails here.
    throw TarnJsRuntimeException("text too long for a script string");
  }
  return result;
}

// Property names of records: handlers use a few fixed keys on every call, so
// each isolate keeps its first kMaxCachedKeys names as engine strings for the
// life of the isolate, and later ones are made per call. Names are
// internalized, which the engine would otherwise do on every store.
constexpr std::uint32_t kKeyCacheSlot = 1;
constexpr std::size_t kMaxCachedKeys = 256;
constexpr std::size_t kMaxCachedKeyLength = 64;
using KeyCache = std::unordered_map<std::string, v8::Eternal<v8::String>>;

// One per isolate ever made, never freed: an isolate has no end hook, and a
// cache holds at most kMaxCachedKeys short names.
KeyCache* KeyCacheOf(v8::Isolate* isolate) {
  static std::mutex mutex;
  static std::vector<std::unique_ptr<KeyCache>> caches;
  if (auto* cache = static_cast<KeyCache*>(isolate->GetData(kKeyCacheSlot))) return cache;
  std::lock_guard<std::mutex> lock(mutex);
  caches.push_back(std::make_unique<KeyCache>());
  isolate->SetData(kKeyCacheSlot, caches.back().get());
  return caches.back().get();
}

v8::Local<v8::String> NewKey(v8::Isolate* isolate, const std::string& key) {
  KeyCache* cache = KeyCacheOf(isolate);
  auto found = cache->find(key);
  if (found != cache->end()) return found->second.Get(isolate);
  v8::Local<v8::String> result;
  if (!v8::String::NewFromUtf8(isolate, key.data(), v8::NewStringType::kInternalized,
                               static_cast<int>(key.size()))
           .ToLocal(&result)) {
    throw TarnJsRuntimeException("text too long for a script string");
  }
  if (cache->size() < kMaxCachedKeys && key.size() <= kMaxCachedKeyLength) {
    cache->emplace(key, v8::Eternal<v8::String>(isolate, result));
  }
  return result;
}

std::string Utf8(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  v8::String::Utf8Value utf8(isolate, value);
  return *utf8 ? std::string(*utf8, utf8.length()) : std::string();
}

}  // namespace

ScriptObject::ScriptObject(const char* text) : kind_(Kind::String) {
  new (&text_) std::string(text ? text : "");
}

ScriptObject::ScriptObject(v8::Local<v8::Value> value) : kind_(Kind::Undefined), number_(0) {
  if (value.IsEmpty() || value->IsUndefined()) return;
  if (value->IsNull()) {
    kind_ = Kind::Null;
  } else if (value->IsBoolean()) {
    kind_ = Kind::Boolean;
    boolean_ = value->IsTrue();
  } else if (value->IsNumber()) {
    kind_ = Kind::Number;
    number_ = value.As<v8::Number>()->Value();
  } else if (value->IsString()) {
    new (&text_) std::string(Utf8(CurrentIsolate(), value));
    kind_ = Kind::String;
  } else {
    holdHandle(CurrentIsolate(), value);
  }
}

void ScriptObject::release() noexcept {
  if (kind_ == Kind::String) {
    text_.~basic_string();
  } else if (kind_ == Kind::Handle) {
    handle_.~Global();
  }
  kind_ = Kind::Undefined;
  number_ = 0;
}

void ScriptObject::copyFrom(const ScriptObject& other) {
  switch (other.kind_) {
    case Kind::String:
      new (&text_) std::string(other.text_);
      break;
    case Kind::Handle:
      new (&handle_) v8::Global<v8::Value>(CurrentIsolate(), other.handle_);
      break;
    case Kind::Boolean:
      boolean_ = other.boolean_;
      break;
    default:
      number_ = other.number_;
      break;
  }
  kind_ = other.kind_;
}

void ScriptObject::moveFrom(ScriptObject& other) noexcept {
  switch (other.kind_) {
    case Kind::String:
      new (&text_) std::string(std::move(other.text_));
      break;
    case Kind::Handle:
      new (&handle_) v8::Global<v8::Value>(std::move(other.handle_));
      break;
    case Kind::Boolean:
      boolean_ = other.boolean_;
      break;
    default:
      number_ = other.number_;
      break;
  }
  kind_ = other.kind_;
  other.release();
}

void ScriptObject::holdHandle(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  release();
  new (&handle_) v8::Global<v8::Value>(isolate, value);
  kind_ = Kind::Handle;
}

ScriptObject& ScriptObject::operator=(const ScriptObject& other) {
  if (this == &other) return *this;
  // Copied first: `other` may live inside what this holds.
  ScriptObject copy(other);
  release();
  moveFrom(copy);
  return *this;
}

ScriptObject& ScriptObject::operator=(ScriptObject&& other) noexcept {
  if (this == &other) return *this;
  release();
  moveFrom(other);
  return *this;
}

ScriptObject ScriptObject::Null() {
  ScriptObject value;
  value.kind_ = Kind::Null;
  return value;
}

ScriptObject ScriptObject::NewObject() {
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  return ScriptObject(v8::Object::New(isolate));
}

bool ScriptObject::isObject() const {
  if (kind_ != Kind::Handle) return false;
  v8::HandleScope scope(CurrentIsolate());
  return getValue()->IsObject();
}

bool ScriptObject::isFunction() const {
  if (kind_ != Kind::Handle) return false;
  v8::HandleScope scope(CurrentIsolate());
  return getValue()->IsFunction();
}

bool ScriptObject::isArray() const {
  if (kind_ != Kind::Handle) return false;
  v8::HandleScope scope(CurrentIsolate());
  return getValue()->IsArray();
}

double ScriptObject::asNumber() const {
  switch (kind_) {
    case Kind::Undefined:
      return std::numeric_limits<double>::quiet_NaN();
    case Kind::Null:
      return 0;
    case Kind::Boolean:
      return boolean_ ? 1 : 0;
    case Kind::Number:
      return number_;
    default:
      break;
  }
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  double result;
  if (!getValue(isolate)->NumberValue(CurrentContext(isolate)).To(&result)) {
    throw ScriptExceptionPending();
  }
  return result;
}

std::string ScriptObject::asString() const {
  switch (kind_) {
    case Kind::Undefined:
      return "undefined";
    case Kind::Null:
      return "null";
    case Kind::Boolean:
      return boolean_ ? "true" : "false";
    case Kind::String:
      return text_;
    default:
      break;
  }
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::String> text;
  if (!getValue(isolate)->ToString(CurrentContext(isolate)).ToLocal(&text)) {
    throw ScriptExceptionPending();
  }
  return Utf8(isolate, text);
}

bool ScriptObject::asBool() const {
  switch (kind_) {
    case Kind::Undefined:
    case Kind::Null:
      return false;
    case Kind::Boolean:
      return boolean_;
    case Kind::Number:
      return number_ != 0 && number_ == number_;
    case Kind::String:
      return !text_.empty();
    case Kind::Handle:
      break;
  }
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  return getValue(isolate)->BooleanValue(isolate);
}

ScriptFunction ScriptObject::asFunction() const { return ScriptFunction(*this); }

bool ScriptObject::has(const std::string& key) const {
  if (kind_ != Kind::Handle) return false;
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Value> value = getValue(isolate);
  if (!value->IsObject()) return false;
  bool result;
  if (!value.As<v8::Object>()->Has(CurrentContext(isolate), NewKey(isolate, key)).To(&result)) {
    throw ScriptExceptionPending();
  }
  return result;
}

ScriptObject ScriptObject::get(const std::string& key) const {
  if (kind_ != Kind::Handle) return ScriptObject();
  // Idle calls settled while the run ends free their records, call nothing.
  tarn::host::Runtime* runtime = tarn::host::Runtime::Current();
  if (runtime && runtime->ScriptBlocked()) return ScriptObject();
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Value> value = getValue(isolate);
  if (!value->IsObject()) return ScriptObject();
  v8::Local<v8::Value> member;
  if (!value.As<v8::Object>()
           ->Get(CurrentContext(isolate), NewKey(isolate, key))
           .ToLocal(&member)) {
    throw ScriptExceptionPending();
  }
  return ScriptObject(member);
}

void ScriptObject::set(const std::string& key, const ScriptObject& member) {
  if (kind_ != Kind::Handle) return;
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Value> value = getValue(isolate);
  if (!value->IsObject()) return;
  v8::Local<v8::Value> memberValue = member.getValue(isolate);
  if (memberValue.IsEmpty()) memberValue = v8::Undefined(isolate);
  if (value.As<v8::Object>()
          ->Set(CurrentContext(isolate), NewKey(isolate, key), memberValue)
          .IsNothing()) {
    throw ScriptExceptionPending();
  }
}

v8::Local<v8::Value> ScriptObject::getValue() const { return getValue(CurrentIsolate()); }

v8::Local<v8::Value> ScriptObject::heapValue(v8::Isolate* isolate) const {
  if (kind_ == Kind::String) return NewString(isolate, text_);
  if (kind_ == Kind::Handle) return v8::Local<v8::Value>::New(isolate, handle_);
  return v8::Local<v8::Value>();
}

ScriptArray::ScriptArray() {
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  holdHandle(isolate, v8::Array::New(isolate));
}

ScriptArray::ScriptArray(v8::Local<v8::Array> array) : ScriptObject(array) {}

int ScriptArray::Length() const {
  if (args_) return args_->Length();
  if (kind_ != Kind::Handle) return 0;
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Value> value = getValue(isolate);
  return value->IsArray() ? static_cast<int>(value.As<v8::Array>()->Length()) : 0;
}

bool ScriptArray::has(int index) const { return index >= 0 && index < Length(); }

ScriptObject ScriptArray::get(int index) const {
  if (index < 0) return ScriptObject();
  if (args_) return index < args_->Length() ? ScriptObject((*args_)[index]) : ScriptObject();
  if (kind_ != Kind::Handle) return ScriptObject();
  // Idle calls settled while the run ends free their records, call nothing.
  tarn::host::Runtime* runtime = tarn::host::Runtime::Current();
  if (runtime && runtime->ScriptBlocked()) return ScriptObject();
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Value> value = getValue(isolate);
  if (!value->IsObject()) return ScriptObject();
  v8::Local<v8::Value> element;
  if (!value.As<v8::Object>()->Get(CurrentContext(isolate), index).ToLocal(&element)) {
    throw ScriptExceptionPending();
  }
  return ScriptObject(element);
}

void ScriptArray::set(int index, const ScriptObject& element) {
  if (args_ || kind_ != Kind::Handle || index < 0) return;
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Value> value = getValue(isolate);
  if (!value->IsObject()) return;
  v8::Local<v8::Value> elementValue = element.getValue(isolate);
  if (elementValue.IsEmpty()) elementValue = v8::Undefined(isolate);
  if (value.As<v8::Object>()
          ->Set(CurrentContext(isolate), static_cast<uint32_t>(index), elementValue)
          .IsNothing()) {
    throw ScriptExceptionPending();
  }
}

ScriptObject ScriptFunction::invoke(const ScriptArray& args) const {
  if (kind_ != Kind::Handle) return ScriptObject();
  // Idle calls settled while the run ends free their records, call nothing.
  tarn::host::Runtime* runtime = tarn::host::Runtime::Current();
  if (runtime && runtime->ScriptBlocked()) return ScriptObject();
  v8::Isolate* isolate = CurrentIsolate();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Value> value = getValue(isolate);
  if (!value->IsFunction()) return ScriptObject();
  v8::Local<v8::Context> context = CurrentContext(isolate);
  std::vector<v8::Local<v8::Value>> argv;
  int count = args.Length();
  argv.reserve(count);
  for (int i = 0; i < count; ++i) {
    v8::Local<v8::Value> element = args.get(i).getValue(isolate);
    argv.push_back(element.IsEmpty() ? v8::Undefined(isolate).As<v8::Value>() : element);
  }
  v8::TryCatch tryCatch(isolate);
  v8::Local<v8::Value> result;
  if (!value.As<v8::Function>()
           ->Call(context, v8::Undefined(isolate), count, argv.data())
           .ToLocal(&result)) {
    tarn::host::ReportException(isolate, tryCatch);
    return ScriptObject();
  }
  return ScriptObject(result);
}

}  // namespace Bridge
