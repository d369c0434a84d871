// Reading members of a script options object, and numbers taken only when
// the script passed a number. Members convert by the script's own rules, as
// the argument readers do (Args.h); on a value that is not an object, has()
// is false for every key. A getter or Proxy trap that throws stops the
// handler with ScriptExceptionPending, like any other conversion.
#pragma once

#include <cstdint>
#include <string>

#include "ScriptBridge.h"
#include "ScriptObject.h"
#include "binding/Args.h"

namespace Bridge {
namespace options {

// Whether `object` has `key` (own or inherited; the script's `in`).
inline bool has(const ScriptObject& object, const std::string& key) { return object.has(key); }

// The member converted by ToString.
inline std::string text(const ScriptObject& object, const std::string& key) {
  return object.get(key).asString();
}

// The member converted by ToNumber, truncated toward zero to a signed 32-bit
// integer (NaN, ±Infinity: 0; out of range: wrapped as `x | 0`).
inline std::int32_t int32(const ScriptObject& object, const std::string& key) {
  return detail::toIntegral<std::int32_t>(object.get(key).asNumber());
}

}  // namespace options

namespace args {

// The argument truncated to a signed 32-bit integer when the script passed a
// number value; `fallback` for a missing argument or any other type (a
// numeric text included), never converted, so no script code runs.
inline std::int32_t int32IfNumber(const ScriptArray& args, int index, std::int32_t fallback) {
  if (!present(args, index)) return fallback;
  const ScriptObject value = args.get(index);
  return value.isNumber() ? detail::toIntegral<std::int32_t>(value.asNumber()) : fallback;
}

}  // namespace args
}  // namespace Bridge
