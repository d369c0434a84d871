// Reading a handler's arguments. Every handler reads its arguments through
// these, so a given script value means the same thing to every method.
//
// A missing argument converts as the script's undefined does: number NaN (so
// integer 0), text "undefined", flag false. Numbers become integers by
// truncation toward zero; NaN and ±Infinity give 0; a value outside the
// integer's range wraps modulo 2^32 as the script's own ToInt32/ToUint32 do,
// never undefined behaviour. A conversion that runs script (valueOf, toString,
// a getter, a Proxy trap) and throws stops the handler: ScriptExceptionPending
// reaches the router, which hands the script its own exception.
#pragma once

#include <cstdint>
#include <string>

#include "ScriptBridge.h"
#include "ScriptObject.h"

namespace Bridge {
namespace args {

// Whether the call has an argument at `index` (given, even if undefined).
inline bool present(const ScriptArray& args, int index) {
  return index >= 0 && index < args.Length();
}

// The argument as the script's ToNumber gives it.
inline double number(const ScriptArray& args, int index) { return args.get(index).asNumber(); }

// Truncated toward zero to a signed 32-bit integer (NaN, ±Infinity: 0; out of
// range: wrapped).
inline std::int32_t int32(const ScriptArray& args, int index) {
  return detail::toIntegral<std::int32_t>(number(args, index));
}

// As int32, for handlers whose platform call takes an int.
inline int integer(const ScriptArray& args, int index) { return int32(args, index); }

// Truncated toward zero to an unsigned 32-bit integer (the bit pattern of
// int32: -1 gives 4294967295).
inline std::uint32_t uint32(const ScriptArray& args, int index) {
  return static_cast<std::uint32_t>(int32(args, index));
}

// The script's ToBoolean: false for a missing argument, 0, "", null,
// undefined and NaN; true for any object.
inline bool flag(const ScriptArray& args, int index) { return args.get(index).asBool(); }

// The script's ToString ("undefined" for a missing argument).
inline std::string text(const ScriptArray& args, int index) { return args.get(index).asString(); }

// The argument itself, to keep or to read members of (undefined when missing).
inline ScriptObject value(const ScriptArray& args, int index) { return args.get(index); }

// The argument kept as a callback, whatever it holds: calling a value that is
// not a function does nothing.
inline ScriptFunction function(const ScriptArray& args, int index) {
  return args.get(index).asFunction();
}

}  // namespace args
}  // namespace Bridge
