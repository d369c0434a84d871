// Script values as native code sees them. A ScriptObject holds undefined, null,
// a boolean, a number or a text natively (no engine call until getValue()),
// and anything else (objects, functions, symbols, bigints) as a persistent
// engine handle, so it may be kept beyond the current call.
//
// Conversions follow the script language's own rules (asNumber is ToNumber,
// asString is ToString, asBool is ToBoolean). A conversion that runs script
// (valueOf, toString, a getter, a Proxy trap) may throw: the script exception
// is left pending and ScriptExceptionPending is thrown, so the handler stops
// and the router hands the script its own exception. Handlers never catch it.
//
// All of this is for the script thread only.
#pragma once

#include <v8.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <new>
#include <string>

namespace Bridge {

class ScriptFunction;

// Thrown by a conversion when the script code it ran threw; the script
// exception stays pending in the engine.
class ScriptExceptionPending {};

class ScriptObject {
 public:
  enum class Kind : std::uint8_t { Undefined, Null, Boolean, Number, String, Handle };

  // Primitives are two words and need no clean-up, so a handler's result
  // costs next to nothing to build, answer and drop on every call.
  ScriptObject() : kind_(Kind::Undefined), number_(0) {}
  ScriptObject(bool value) : kind_(Kind::Boolean), boolean_(value) {}
  ScriptObject(int value) : kind_(Kind::Number), number_(value) {}
  ScriptObject(unsigned int value) : kind_(Kind::Number), number_(value) {}
  ScriptObject(double value) : kind_(Kind::Number), number_(value) {}
  ScriptObject(const char* text);  // a null pointer gives the empty text
  ScriptObject(const std::string& text) : kind_(Kind::String) { new (&text_) std::string(text); }
  // Wraps an engine value; an empty handle gives undefined.
  explicit ScriptObject(v8::Local<v8::Value> value);

  ScriptObject(const ScriptObject& other) : kind_(Kind::Undefined), number_(0) { copyFrom(other); }
  ScriptObject(ScriptObject&& other) noexcept : kind_(Kind::Undefined), number_(0) {
    moveFrom(other);
  }
  ScriptObject& operator=(const ScriptObject& other);
  ScriptObject& operator=(ScriptObject&& other) noexcept;
  ~ScriptObject() {
    if (kind_ >= Kind::String) release();
  }

  static ScriptObject Null();
  // A new, empty script object ({}), to fill with set().
  static ScriptObject NewObject();

  Kind kind() const { return kind_; }
  bool isUndefined() const { return kind_ == Kind::Undefined; }
  bool isNull() const { return kind_ == Kind::Null; }
  bool isBoolean() const { return kind_ == Kind::Boolean; }
  bool isNumber() const { return kind_ == Kind::Number; }
  bool isString() const { return kind_ == Kind::String; }
  bool isObject() const;
  bool isFunction() const;
  bool isArray() const;

  // Script conversions; see the file comment for what happens when they throw.
  double asNumber() const;
  std::string asString() const;
  bool asBool() const;
  ScriptFunction asFunction() const;

  // Properties of an object value. On a value that is not an object, has()
  // is false, get() is undefined and set() does nothing.
  bool has(const std::string& key) const;
  ScriptObject get(const std::string& key) const;
  void set(const std::string& key, const ScriptObject& value);

  // The engine value, created in the current handle scope. Undefined gives
  // an empty handle, which a router answers with its default (undefined).
  v8::Local<v8::Value> getValue() const;
  v8::Local<v8::Value> getValue(v8::Isolate* isolate) const {
    switch (kind_) {
      case Kind::Undefined:
        return v8::Local<v8::Value>();
      case Kind::Null:
        return v8::Null(isolate);
      case Kind::Boolean:
        return v8::Boolean::New(isolate, boolean_);
      case Kind::Number:
        return v8::Number::New(isolate, number_);
      default:
        return heapValue(isolate);
    }
  }

  // Answers a call with this value; undefined leaves the call's default.
  // Primitives are written straight into the return slot.
  template <class R>
  V8_INLINE void answer(v8::ReturnValue<R> slot, v8::Isolate* isolate) const {
    switch (kind_) {
      case Kind::Undefined:
        return;
      case Kind::Null:
        slot.SetNull();
        return;
      case Kind::Boolean:
        slot.Set(boolean_);
        return;
      case Kind::Number: {
        // Small integers need no heap number; -0 must stay a double.
        const auto small = static_cast<std::int32_t>(
            number_ >= -2147483648.0 && number_ < 2147483648.0 ? number_ : 0);
        if (static_cast<double>(small) == number_ && (small != 0 || !std::signbit(number_))) {
          slot.Set(small);
        } else {
          slot.Set(number_);
        }
        return;
      }
      default:
        slot.Set(heapValue(isolate));
        return;
    }
  }

 protected:
  // Texts and handles.
  v8::Local<v8::Value> heapValue(v8::Isolate* isolate) const;
  // Ends the text or handle member; kind_ is then undefined.
  void release() noexcept;
  // Assumes this holds no text or handle.
  void copyFrom(const ScriptObject& other);
  void moveFrom(ScriptObject& other) noexcept;
  // Makes this hold an engine handle (releasing what it held).
  void holdHandle(v8::Isolate* isolate, v8::Local<v8::Value> value);

  Kind kind_;
  union {
    bool boolean_;
    double number_;
    std::string text_;
    v8::Global<v8::Value> handle_;
  };
};

// Source of call arguments, read on demand.
class Arguments {
 public:
  virtual ~Arguments() = default;
  virtual int Length() const = 0;
  virtual v8::Local<v8::Value> operator[](int index) const = 0;
};

template <class T>
class V8Arguments : public Arguments {
 public:
  explicit V8Arguments(const v8::FunctionCallbackInfo<T>& info) : info_(info) {}
  int Length() const override { return info_.Length(); }
  v8::Local<v8::Value> operator[](int index) const override { return info_[index]; }

 private:
  const v8::FunctionCallbackInfo<T>& info_;
};

// An argument list (a view over the call's arguments, which must outlive it)
// or a script array (a new one when default-constructed).
class ScriptArray : public ScriptObject {
 public:
  ScriptArray();
  explicit ScriptArray(const Arguments& args) : args_(&args) {}
  // Wraps a script array value.
  explicit ScriptArray(v8::Local<v8::Array> array);

  int Length() const;
  bool has(int index) const;
  ScriptObject get(int index) const;
  void set(int index, const ScriptObject& value);
  using ScriptObject::get;
  using ScriptObject::has;
  using ScriptObject::set;

 private:
  const Arguments* args_ = nullptr;
};

// A script value kept to be called later. invoke() calls it with the array's
// elements as arguments and `this` undefined. A script exception thrown by the
// function is reported by the engine as an uncaught error, and invoke then
// returns undefined. Invoking a value that is not a function returns undefined.
class ScriptFunction : public ScriptObject {
 public:
  ScriptFunction() : ScriptObject(Null()) {}
  ScriptFunction(const ScriptObject& value) : ScriptObject(value) {}

  ScriptObject invoke(const ScriptArray& args) const;
};

}  // namespace Bridge
