// What the console's formatter asks the engine for: facts about a value that
// script cannot learn without running its code (a proxy's target, a
// promise's result, an iterator's remaining entries, a collection's items).
#pragma once

#include <v8.h>

namespace tarn {
namespace host {

// An object holding the formatter's native helpers; empty with an exception
// pending when the engine could not make it.
v8::MaybeLocal<v8::Object> MakeValueProbes(v8::Local<v8::Context> context);

}  // namespace host
}  // namespace tarn
