// Engine bridge classes and the binding templates a bridge instantiates.
//
// A bridge exposes one native script class. The engine builds the class from
// the bridge's mapScriptInterface: methods go on the class's prototype and are
// reached through functionCallRouter; numeric constants are accessors on each
// instance, reached through getJSNumber/setJSNumber. Every script object of the
// class carries two internal fields: the native pointer returned by
// constructFromScript, and a tag naming the native class, so that a method
// called on an object of another bridge's class is refused, not misread.
#pragma once

#include <v8.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "Logger.h"
#include "ScriptObject.h"
#include "TarnException.h"

namespace Bridge {

class ScriptEngine;

// One tag per native class; only its address matters (word-aligned, as
// internal fields require).
template <class T>
struct NativeClassTag {
  static const long id;
};
template <class T>
const long NativeClassTag<T>::id = 0;

enum NativeField { kNativePointerField = 0, kNativeClassField = 1, kNativeFieldCount = 2 };

namespace detail {
// Throws a script Error with the given message into the current call.
void throwScriptError(v8::Isolate* isolate, const char* message);

// The one exception boundary of the engine's native entries. Called only from
// inside a catch block, it classifies the exception in flight. Where a script
// is on the stack (`scriptOnStack`: method calls, accessors, constructors) a
// TarnJsRuntimeException becomes a script Error with its text, a pending
// script exception is left as it is, and any other exception becomes the
// script Error "Internal error: ..." plus one log line. Where none is (idle
// calls, tasks, timers, weak callbacks) the exception is logged and the loop
// goes on. `entry` names the entry for the log line.
void nativeEntryFailed(v8::Isolate* isolate, const char* entry, bool scriptOnStack) noexcept;
// Writes the accessor trace line ("Trace JS Property(number) read: NAME").
void tracePropertyAccess(v8::Isolate* isolate, const char* what, v8::Local<v8::Name> name,
                         const char* function, int line);
// The property's name as UTF-8, for messages.
std::string propertyName(v8::Isolate* isolate, v8::Local<v8::Name> name);

// Script number to a native integer: truncated toward zero; NaN and
// infinities give 0; out-of-range values wrap as the script's ToInt32 does.
template <class N>
N toIntegral(double value) {
  if (!std::isfinite(value)) return 0;
  double t = std::trunc(value);
  double m = std::fmod(t, 4294967296.0);
  if (m < 0) m += 4294967296.0;
  auto bits = static_cast<std::uint32_t>(m);
  return static_cast<N>(static_cast<std::int32_t>(bits));
}
}  // namespace detail

// The native pointer behind a script object of class T; null when the object
// carries no native pointer of class T. Throws when it carries a cleared one.
template <class T>
V8_INLINE T* extract(v8::Local<v8::Object> object) {
  if (object.IsEmpty() || object->InternalFieldCount() < kNativeFieldCount) return nullptr;
  if (object->GetAlignedPointerFromInternalField(kNativeClassField) != &NativeClassTag<T>::id) {
    return nullptr;
  }
  void* native = object->GetAlignedPointerFromInternalField(kNativePointerField);
  if (!native) throw TarnJsRuntimeException("Attempt to access destroyed JavaScript object.");
  return static_cast<T*>(native);
}

// As extract, but an object without a native pointer of class T is an error.
template <class T>
T* extractNoNull(v8::Local<v8::Object> object) {
  T* native = extract<T>(object);
  if (!native) throw TarnJsRuntimeException("Attempt to pass a JSObject as a native object");
  return native;
}

namespace detail {
// Receivers already found to carry a native object of a given class. Between
// two garbage collections no object moves or dies, so an object's address
// names it; the cache is emptied at the start of every collection and
// whenever the engine clears a native pointer. One per isolate, script thread
// only.
struct ReceiverCache {
  v8::internal::Address object = 0;
  const void* nativeClass = nullptr;
  void* native = nullptr;
};
// Isolate data slot holding the isolate's ReceiverCache.
constexpr std::uint32_t kReceiverCacheSlot = 0;
// Records a checked receiver (making the isolate's cache on first use).
void rememberReceiver(v8::Isolate* isolate, v8::internal::Address object, const void* nativeClass,
                      void* native);
// Forgets every checked receiver; called when a native pointer changes.
void forgetReceivers(v8::Isolate* isolate);
}  // namespace detail

namespace detail {
// The receiver's native object when the isolate's cache already vouches for
// it, else null. Inline and free of engine calls.
template <class T>
V8_INLINE T* cachedReceiver(const v8::FunctionCallbackInfo<v8::Value>& info) {
  const auto* cache =
      static_cast<const ReceiverCache*>(info.GetIsolate()->GetData(kReceiverCacheSlot));
  if (!cache || cache->nativeClass != &NativeClassTag<T>::id) return nullptr;
  v8::Local<v8::Object> receiver = info.This();
  if (cache->object != *reinterpret_cast<const v8::internal::Address*>(*receiver)) return nullptr;
  return static_cast<T*>(cache->native);
}

// The full check of a receiver the cache does not know, remembered when it
// passes. Out of line: a loop calling one object's methods meets it once.
template <class T>
V8_NOINLINE T* checkReceiver(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Local<v8::Object> receiver = info.This();
  T* native = extract<T>(receiver);
  if (native) {
    rememberReceiver(info.GetIsolate(), *reinterpret_cast<const v8::internal::Address*>(*receiver),
                     &NativeClassTag<T>::id, native);
  }
  return native;
}
}  // namespace detail

// extract() for the receiver of a method call, with the cache in front: a
// script calling methods of one object in a loop pays the full check once.
template <class T>
V8_INLINE T* extractReceiver(const v8::FunctionCallbackInfo<v8::Value>& info) {
  T* native = detail::cachedReceiver<T>(info);
  return native ? native : detail::checkReceiver<T>(info);
}

template <class T>
using ScriptHandler = ScriptObject (*)(T*, const ScriptArray&);

// The engine callback of one script method. The arguments adapter lives on
// the stack for exactly the call, so nothing is allocated on the call path
// and nothing is left behind on the error path.
template <class T, ScriptHandler<T> Handler>
void functionCallRouter(const v8::FunctionCallbackInfo<v8::Value>& info) {
  V8Arguments<v8::Value> adapter(info);
  try {
    ScriptArray args(adapter);
    T* self = extractReceiver<T>(info);
    if (!self) throw TarnJsRuntimeException("Cannot call native method without object instance");
    Handler(self, args).answer(info.GetReturnValue(), info.GetIsolate());
  } catch (...) {
    // Unwinding through the engine is not possible.
    detail::nativeEntryFailed(info.GetIsolate(), "method call", true);
  }
}

template <class T, class N, N (T::*Getter)()>
void getJSNumber(v8::Local<v8::String> name, const v8::PropertyCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (tarn::util::Logger::isEnabled(tarn::util::LOG_TRACE)) {
    detail::tracePropertyAccess(isolate, "read", name, "getJSNumber", __LINE__);
  }
  try {
    T* self = extractNoNull<T>(info.Holder());
    info.GetReturnValue().Set(static_cast<double>((self->*Getter)()));
  } catch (...) {
    detail::nativeEntryFailed(isolate, "property read", true);
  }
}

template <class T, class N, void (T::*Setter)(N)>
void setJSNumber(v8::Local<v8::String> name, v8::Local<v8::Value> value,
                 const v8::PropertyCallbackInfo<void>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (tarn::util::Logger::isEnabled(tarn::util::LOG_TRACE)) {
    detail::tracePropertyAccess(isolate, "write", name, "setJSNumber", __LINE__);
  }
  try {
    T* self = extractNoNull<T>(info.Holder());
    if (!value->IsNumber() || std::isnan(value.As<v8::Number>()->Value())) {
      std::string text =
          "Number expected for property \"" + detail::propertyName(isolate, name) + "\"";
      throw TarnJsBadTypeException(text.c_str());
    }
    (self->*Setter)(detail::toIntegral<N>(value.As<v8::Number>()->Value()));
  } catch (...) {
    detail::nativeEntryFailed(isolate, "property write", true);
  }
}

class ScriptBridge {
 public:
  // What mapScriptInterface fills: the class's method and property templates.
  class ScriptContext {
   public:
    ScriptContext(v8::Isolate* isolate, v8::Local<v8::FunctionTemplate> classTemplate);

    v8::Isolate* isolate() const { return isolate_; }
    v8::Local<v8::FunctionTemplate> classTemplate() const { return classTemplate_; }
    // Methods are shared by all objects of the class through its prototype.
    v8::Local<v8::ObjectTemplate> methodTemplate() const;
    // Accessors are installed on each object, whose internal fields they read.
    v8::Local<v8::ObjectTemplate> propertyTemplate() const;

    template <class T>
    void setNativeClass() {
      nativeClass_ = &NativeClassTag<T>::id;
    }
    const void* nativeClass() const { return nativeClass_; }

    // Binds a script method name to a handler through its router.
    template <class T, ScriptHandler<T> Handler>
    void captureMethodCall(const char* name) {
      setNativeClass<T>();
      bindMethod(name, &functionCallRouter<T, Handler>);
    }

    // Installs a numeric accessor property.
    template <class T, class N, N (T::*Getter)(), void (T::*Setter)(N)>
    void captureNumberProperty(const char* name) {
      setNativeClass<T>();
      bindAccessor(name, &getJSNumber<T, N, Getter>, &setJSNumber<T, N, Setter>);
    }

    // Interned script name; names come from the bridge's own table.
    v8::Local<v8::String> name(const char* text) const;
    void bindMethod(const char* name, v8::FunctionCallback callback);
    void bindAccessor(const char* name, v8::AccessorGetterCallback getter,
                      v8::AccessorSetterCallback setter);

    // Installs what was bound; the engine calls it after mapScriptInterface.
    void finish();

   private:
    struct Accessor {
      const char* name;
      v8::AccessorGetterCallback getter;
      v8::AccessorSetterCallback setter;
    };
    v8::Isolate* isolate_;
    v8::Local<v8::FunctionTemplate> classTemplate_;
    const void* nativeClass_ = nullptr;
    std::vector<Accessor> accessors_;
  };

  explicit ScriptBridge(bool global);
  virtual ~ScriptBridge();

  virtual void bridgeTo(v8::Local<v8::ObjectTemplate> target) = 0;
  virtual void bridgeTo(v8::Local<v8::Object> target) = 0;
  virtual void contextReady() = 0;
  virtual void preContextReady(ScriptEngine* engine);
  virtual bool isInstance(ScriptObject object) const;
  virtual const char* getScriptClassName() const = 0;
  virtual void mapScriptInterface(ScriptContext& context) = 0;
  virtual void* constructFromScript(const ScriptArray& args) = 0;
  virtual void destroyFromScript(void* native) = 0;

  // The tag of the native class, known once mapScriptInterface has run.
  const void* nativeClass() const { return nativeClass_; }

  // The engine's trace logger, used by the property accessors.
  static tarn::util::Logger traceLogger;

 protected:
  // Engine bookkeeping: the bridge itself and a word the engine owns.
  ScriptBridge* self_;
  void* engineWord_;
  bool global_;
  const void* nativeClass_ = nullptr;
};

// A bridge whose script class is constructed with `new` and backed by native
// objects. bridgeTo(ObjectTemplate) puts the class constructor on a global
// template; bridgeTo(Object) puts it on an existing object.
class ScriptInstanceBridge : public ScriptBridge {
 public:
  explicit ScriptInstanceBridge(bool global);
  ~ScriptInstanceBridge() override;

  void bridgeTo(v8::Local<v8::ObjectTemplate> target) override;
  void bridgeTo(v8::Local<v8::Object> target) override;
  void contextReady() override;

  // The class constructor template, built once per isolate on first use.
  v8::Local<v8::FunctionTemplate> classTemplate(v8::Isolate* isolate);

 private:
  v8::Global<v8::FunctionTemplate> template_;
};

}  // namespace Bridge
