// Arguments read by their script type rather than converted: a handler that
// takes an optional flag only when the script passed a real boolean, and
// ignores anything else without running any script code.
#pragma once

#include "ScriptBridge.h"
#include "ScriptObject.h"
#include "binding/Args.h"

namespace Bridge {
namespace args {

// The boolean at `index` when the argument is present and is a boolean;
// `fallback` for a missing argument or any other type (never converted).
inline bool booleanOr(const ScriptArray& args, int index, bool fallback) {
  if (!present(args, index)) return fallback;
  const ScriptObject value = args.get(index);
  return value.isBoolean() ? value.asBool() : fallback;
}

}  // namespace args
}  // namespace Bridge
