// How a bridge's class becomes a script class: a constructor template whose
// instances carry the native pointer and the class tag, methods on its
// prototype, accessors on each instance. Objects the collector frees are
// handed back to the bridge with destroyFromScript.
#include "ScriptBridge.h"

#include <set>

#include "engine/Runtime.h"

namespace Bridge {

tarn::util::Logger ScriptBridge::traceLogger("tarn.engine.trace");

namespace detail {

void throwScriptError(v8::Isolate* isolate, const char* message) {
  v8::Local<v8::String> text;
  if (!v8::String::NewFromUtf8(isolate, message ? message : "").ToLocal(&text)) {
    text = v8::String::Empty(isolate);
  }
  isolate->ThrowException(v8::Exception::Error(text));
}

void nativeEntryFailed(v8::Isolate* isolate, const char* entry, bool scriptOnStack) noexcept {
  static tarn::util::Logger logger("tarn.engine");
  std::string text;
  bool runtimeError = false;
  try {
    throw;
  } catch (const ScriptExceptionPending&) {
    // The script's own exception is pending; a loop entry's TryCatch reports it.
    return;
  } catch (const TarnJsRuntimeException& e) {
    text = e.what();
    runtimeError = true;
  } catch (const std::exception& e) {
    text = std::string("Internal error: ") + e.what();
  } catch (...) {
    text = "Internal error: unknown native exception";
  }
  try {
    if (!runtimeError || !scriptOnStack) {
      logger.log(__FILE__, "nativeEntryFailed", __LINE__, tarn::util::LOG_ERROR,
                 std::string("native exception in ") + (entry ? entry : "native entry") +
                     (scriptOnStack ? ": " : " (ignored, the loop goes on): ") + text);
    }
    if (scriptOnStack && isolate) throwScriptError(isolate, text.c_str());
  } catch (...) {
    // Out of memory while reporting: nothing more can be said.
  }
}

std::string propertyName(v8::Isolate* isolate, v8::Local<v8::Name> name) {
  v8::String::Utf8Value utf8(isolate, name);
  return *utf8 ? std::string(*utf8, utf8.length()) : std::string();
}

void tracePropertyAccess(v8::Isolate* isolate, const char* what, v8::Local<v8::Name> name,
                         const char* function, int line) {
  ScriptBridge::traceLogger.log(
      "ScriptBridge.h", function, line, tarn::util::LOG_TRACE,
      std::string("Trace JS Property(number) ") + what + ": " + propertyName(isolate, name));
}

}  // namespace detail

ScriptBridge::ScriptContext::ScriptContext(v8::Isolate* isolate,
                                           v8::Local<v8::FunctionTemplate> classTemplate)
    : isolate_(isolate), classTemplate_(classTemplate) {}

v8::Local<v8::ObjectTemplate> ScriptBridge::ScriptContext::methodTemplate() const {
  return classTemplate_->PrototypeTemplate();
}

v8::Local<v8::ObjectTemplate> ScriptBridge::ScriptContext::propertyTemplate() const {
  return classTemplate_->InstanceTemplate();
}

v8::Local<v8::String> ScriptBridge::ScriptContext::name(const char* text) const {
  v8::Local<v8::String> result;
  if (!v8::String::NewFromUtf8(isolate_, text ? text : "", v8::NewStringType::kInternalized)
           .ToLocal(&result)) {
    return v8::String::Empty(isolate_);
  }
  return result;
}

void ScriptBridge::ScriptContext::bindMethod(const char* methodName,
                                             v8::FunctionCallback callback) {
  v8::Local<v8::FunctionTemplate> function =
      v8::FunctionTemplate::New(isolate_, callback, v8::Local<v8::Value>(),
                                v8::Local<v8::Signature>(), 0, v8::ConstructorBehavior::kThrow);
  methodTemplate()->Set(name(methodName), function, v8::None);
}

void ScriptBridge::ScriptContext::bindAccessor(const char* propertyName,
                                               v8::AccessorGetterCallback getter,
                                               v8::AccessorSetterCallback setter) {
  accessors_.push_back(Accessor{propertyName, getter, setter});
}

// An object template lists its accessors newest first, so they go in last to
// first: objects then enumerate them in binding order.
void ScriptBridge::ScriptContext::finish() {
  for (auto it = accessors_.rbegin(); it != accessors_.rend(); ++it) {
    propertyTemplate()->SetAccessor(name(it->name), it->getter, it->setter, v8::Local<v8::Value>(),
                                    v8::DEFAULT, v8::None);
  }
  accessors_.clear();
}

ScriptBridge::ScriptBridge(bool global) : self_(this), engineWord_(nullptr), global_(global) {}

ScriptBridge::~ScriptBridge() = default;

void ScriptBridge::preContextReady(ScriptEngine*) {}

bool ScriptBridge::isInstance(ScriptObject object) const {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Value> value = object.getValue(isolate);
  if (value.IsEmpty() || !value->IsObject()) return false;
  v8::Local<v8::Object> instance = value.As<v8::Object>();
  return nativeClass_ && instance->InternalFieldCount() >= kNativeFieldCount &&
         instance->GetAlignedPointerFromInternalField(kNativeClassField) == nativeClass_;
}

namespace {

// One script object of a bridge class, watched so that the bridge hears when
// the collector frees it.
struct WeakNative {
  ScriptInstanceBridge* bridge;
  void* native;
  v8::Global<v8::Object> handle;
};

// Objects not yet collected, per bridge; freed with the bridge.
std::map<const ScriptInstanceBridge*, std::set<WeakNative*>>& LiveObjects() {
  static std::map<const ScriptInstanceBridge*, std::set<WeakNative*>> live;
  return live;
}

void OnCollected(const v8::WeakCallbackInfo<WeakNative>& info) {
  WeakNative* weak = info.GetParameter();
  weak->handle.Reset();
  LiveObjects()[weak->bridge].erase(weak);
  try {
    weak->bridge->destroyFromScript(weak->native);
  } catch (...) {
    detail::nativeEntryFailed(info.GetIsolate(), "weak callback", false);
  }
  delete weak;
}

void Construct(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  auto* bridge = static_cast<ScriptInstanceBridge*>(info.Data().As<v8::External>()->Value());
  if (!info.IsConstructCall()) {
    std::string text = std::string("Class constructor ") + bridge->getScriptClassName() +
                       " cannot be invoked without 'new'";
    v8::Local<v8::String> message;
    if (v8::String::NewFromUtf8(isolate, text.c_str()).ToLocal(&message)) {
      isolate->ThrowException(v8::Exception::TypeError(message));
    }
    return;
  }
  V8Arguments<v8::Value> adapter(info);
  void* native = nullptr;
  try {
    ScriptArray args(adapter);
    native = bridge->constructFromScript(args);
  } catch (...) {
    detail::nativeEntryFailed(isolate, "constructor", true);
    return;
  }
  v8::Local<v8::Object> self = info.This();
  self->SetAlignedPointerInInternalField(kNativePointerField, native);
  self->SetAlignedPointerInInternalField(kNativeClassField,
                                         const_cast<void*>(bridge->nativeClass()));
  auto* weak = new WeakNative{bridge, native, v8::Global<v8::Object>(isolate, self)};
  weak->handle.SetWeak(weak, &OnCollected, v8::WeakCallbackType::kParameter);
  LiveObjects()[bridge].insert(weak);
}

}  // namespace

ScriptInstanceBridge::ScriptInstanceBridge(bool global) : ScriptBridge(global) {}

ScriptInstanceBridge::~ScriptInstanceBridge() {
  auto found = LiveObjects().find(this);
  if (found != LiveObjects().end()) {
    for (WeakNative* weak : found->second) {
      weak->handle.Reset();
      delete weak;
    }
    LiveObjects().erase(found);
  }
}

v8::Local<v8::FunctionTemplate> ScriptInstanceBridge::classTemplate(v8::Isolate* isolate) {
  v8::EscapableHandleScope scope(isolate);
  if (!template_.IsEmpty()) return scope.Escape(template_.Get(isolate));
  v8::Local<v8::FunctionTemplate> constructor =
      v8::FunctionTemplate::New(isolate, &Construct, v8::External::New(isolate, this));
  ScriptContext context(isolate, constructor);
  v8::Local<v8::String> className = context.name(getScriptClassName());
  constructor->SetClassName(className);
  constructor->InstanceTemplate()->SetInternalFieldCount(kNativeFieldCount);
  mapScriptInterface(context);
  context.finish();
  nativeClass_ = context.nativeClass();
  template_.Reset(isolate, constructor);
  return scope.Escape(constructor);
}

void ScriptInstanceBridge::bridgeTo(v8::Local<v8::ObjectTemplate> target) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::HandleScope scope(isolate);
  v8::Local<v8::FunctionTemplate> constructor = classTemplate(isolate);
  ScriptContext naming(isolate, constructor);
  target->Set(naming.name(getScriptClassName()), constructor, v8::DontEnum);
}

void ScriptInstanceBridge::bridgeTo(v8::Local<v8::Object> target) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  v8::HandleScope scope(isolate);
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::FunctionTemplate> constructor = classTemplate(isolate);
  ScriptContext naming(isolate, constructor);
  v8::Local<v8::Function> function;
  if (!constructor->GetFunction(context).ToLocal(&function)) return;
  if (target->DefineOwnProperty(context, naming.name(getScriptClassName()), function, v8::DontEnum)
          .IsNothing()) {
    return;
  }
}

void ScriptInstanceBridge::contextReady() {}

}  // namespace Bridge
