// The formatter's native helpers. Each one reads engine state directly, so
// that printing a value never runs a getter, a proxy trap or an iterator.
#include "console/ValueProbes.h"

#include <vector>

namespace tarn {
namespace host {
namespace {

v8::Local<v8::String> Name(v8::Isolate* isolate, const char* text) {
  return v8::String::NewFromUtf8(isolate, text, v8::NewStringType::kInternalized)
      .FromMaybe(v8::String::Empty(isolate));
}

// The kind of object the engine knows a value to be, whatever its prototype
// or Symbol.toStringTag claim: "" for none of those the formatter tells apart.
const char* KindName(v8::Local<v8::Value> v) {
  if (v->IsProxy()) return "proxy";
  if (v->IsArray()) return "array";
  if (v->IsFunction()) {
    const bool async = v->IsAsyncFunction(), generator = v->IsGeneratorFunction();
    if (async && generator) return "asyncGeneratorFunction";
    if (async) return "asyncFunction";
    if (generator) return "generatorFunction";
    return "function";
  }
  if (v->IsMap()) return "map";
  if (v->IsSet()) return "set";
  if (v->IsMapIterator()) return "mapIterator";
  if (v->IsSetIterator()) return "setIterator";
  if (v->IsWeakMap()) return "weakMap";
  if (v->IsWeakSet()) return "weakSet";
  if (v->IsTypedArray()) return "typedArray";
  if (v->IsArrayBuffer()) return "arrayBuffer";
  if (v->IsSharedArrayBuffer()) return "sharedArrayBuffer";
  if (v->IsDataView()) return "dataView";
  if (v->IsPromise()) return "promise";
  if (v->IsDate()) return "date";
  if (v->IsRegExp()) return "regExp";
  if (v->IsNativeError()) return "error";
  if (v->IsNumberObject()) return "Number";
  if (v->IsStringObject()) return "String";
  if (v->IsBooleanObject()) return "Boolean";
  if (v->IsBigIntObject()) return "BigInt";
  if (v->IsSymbolObject()) return "Symbol";
  if (v->IsArgumentsObject()) return "arguments";
  if (v->IsGeneratorObject()) return "generator";
  if (v->IsModuleNamespaceObject()) return "module";
  return "";
}

void KindOf(const v8::FunctionCallbackInfo<v8::Value>& info) {
  info.GetReturnValue().Set(Name(info.GetIsolate(), KindName(info[0])));
}

// proxyParts(value, oneLevel): [target, handler] of a proxy, looking
// through proxies of proxies unless oneLevel; both null once it is revoked.
// Undefined for anything else.
void ProxyParts(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!info[0]->IsProxy()) return;
  v8::Local<v8::Proxy> proxy = info[0].As<v8::Proxy>();
  v8::Local<v8::Value> handler = proxy->GetHandler();
  v8::Local<v8::Value> target = proxy->GetTarget();
  while (!info[1]->IsTrue() && target->IsProxy()) {
    handler = target.As<v8::Proxy>()->GetHandler();
    target = target.As<v8::Proxy>()->GetTarget();
  }
  v8::Local<v8::Value> parts[] = {target, handler};
  info.GetReturnValue().Set(v8::Array::New(isolate, parts, 2));
}

// [state, result]: state "pending", "fulfilled" or "rejected".
void PromiseParts(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!info[0]->IsPromise()) return;
  v8::Local<v8::Promise> promise = info[0].As<v8::Promise>();
  const v8::Promise::PromiseState state = promise->State();
  const char* name = state == v8::Promise::kPending     ? "pending"
                     : state == v8::Promise::kFulfilled ? "fulfilled"
                                                        : "rejected";
  v8::Local<v8::Value> parts[] = {Name(isolate, name), state == v8::Promise::kPending
                                                           ? v8::Undefined(isolate).As<v8::Value>()
                                                           : promise->Result()};
  info.GetReturnValue().Set(v8::Array::New(isolate, parts, 2));
}

// [entries, pairs] of an iterator or weak collection, without advancing it;
// pairs tells that entries alternate keys and values.
void Remaining(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!info[0]->IsObject()) return;
  bool pairs = false;
  v8::Local<v8::Array> entries;
  if (!info[0].As<v8::Object>()->PreviewEntries(&pairs).ToLocal(&entries)) return;
  v8::Local<v8::Value> parts[] = {entries, v8::Boolean::New(isolate, pairs)};
  info.GetReturnValue().Set(v8::Array::New(isolate, parts, 2));
}

// A Map's keys and values in turn, or a Set's values, read from the table.
void Items(const v8::FunctionCallbackInfo<v8::Value>& info) {
  if (info[0]->IsMap()) {
    info.GetReturnValue().Set(info[0].As<v8::Map>()->AsArray());
  } else if (info[0]->IsSet()) {
    info.GetReturnValue().Set(info[0].As<v8::Set>()->AsArray());
  }
}

// ownKeys(object, all, skipIndices): the object's own keys as texts and
// symbols, in the object's order; enumerable ones only unless `all`, and
// without array indices when `skipIndices` (a long array's are never all
// listed).
void OwnKeys(const v8::FunctionCallbackInfo<v8::Value>& info) {
  if (!info[0]->IsObject()) return;
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  v8::Local<v8::Array> keys;
  if (info[0]
          .As<v8::Object>()
          ->GetPropertyNames(
              context, v8::KeyCollectionMode::kOwnOnly,
              info[1]->IsTrue() ? v8::ALL_PROPERTIES : v8::ONLY_ENUMERABLE,
              info[2]->IsTrue() ? v8::IndexFilter::kSkipIndices : v8::IndexFilter::kIncludeIndices,
              v8::KeyConversionMode::kConvertToString)
          .ToLocal(&keys)) {
    info.GetReturnValue().Set(keys);
  }
}

// indices(array): its own index keys as numbers, ascending; read when the
// array has holes, so that a run of them is measured without visiting
// every missing index.
void Indices(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  if (!info[0]->IsObject()) return;
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Array> keys;
  if (!info[0]
           .As<v8::Object>()
           ->GetPropertyNames(
               context, v8::KeyCollectionMode::kOwnOnly,
               static_cast<v8::PropertyFilter>(v8::ALL_PROPERTIES | v8::SKIP_SYMBOLS),
               v8::IndexFilter::kIncludeIndices, v8::KeyConversionMode::kKeepNumbers)
           .ToLocal(&keys)) {
    return;
  }
  std::vector<v8::Local<v8::Value>> numbers;
  for (uint32_t i = 0; i < keys->Length(); ++i) {
    v8::Local<v8::Value> key;
    if (!keys->Get(context, i).ToLocal(&key)) return;
    if (!key->IsNumber()) break;  // indices come first
    numbers.push_back(key);
  }
  info.GetReturnValue().Set(v8::Array::New(isolate, numbers.data(), numbers.size()));
}

// proxyFreeChain(value): true when neither the object nor any object on its
// prototype chain is a proxy, so that reading their own properties runs no
// trap.
void ProxyFreeChain(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Local<v8::Value> holder = info[0];
  for (int steps = 0; steps < 10000 && holder->IsObject(); ++steps) {
    if (holder->IsProxy()) {
      info.GetReturnValue().Set(false);
      return;
    }
    holder = holder.As<v8::Object>()->GetPrototype();
  }
  info.GetReturnValue().Set(holder->IsNull());
}

// The engine's name for an object's constructor, used when no prototype
// says it.
void ConstructorName(const v8::FunctionCallbackInfo<v8::Value>& info) {
  if (!info[0]->IsObject()) return;
  info.GetReturnValue().Set(info[0].As<v8::Object>()->GetConstructorName());
}

struct Helper {
  const char* name;
  v8::FunctionCallback callback;
};

constexpr Helper kHelpers[] = {
    {"kindOf", KindOf},
    {"proxyParts", ProxyParts},
    {"promiseParts", PromiseParts},
    {"remaining", Remaining},
    {"items", Items},
    {"ownKeys", OwnKeys},
    {"constructorName", ConstructorName},
    {"indices", Indices},
    {"proxyFreeChain", ProxyFreeChain},
};

}  // namespace

v8::MaybeLocal<v8::Object> MakeValueProbes(v8::Local<v8::Context> context) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::EscapableHandleScope scope(isolate);
  v8::Local<v8::Object> natives = v8::Object::New(isolate);
  for (const Helper& helper : kHelpers) {
    v8::Local<v8::Function> function;
    if (!v8::Function::New(context, helper.callback, v8::Local<v8::Value>(), 1,
                           v8::ConstructorBehavior::kThrow)
             .ToLocal(&function) ||
        !natives->Set(context, Name(isolate, helper.name), function).FromMaybe(false)) {
      return {};
    }
  }
  return scope.Escape(natives);
}

}  // namespace host
}  // namespace tarn
