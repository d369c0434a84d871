// What the prompt prints: a line's value, a thrown value, and the status it
// ends the run with.
#pragma once

#include <v8.h>

namespace tarn {
namespace host {
namespace repl {

// A line's value as node's prompt shows it: util.inspect's text (texts in
// quotes), not console.log's.
void PrintValue(v8::Isolate* isolate, v8::Local<v8::Context> context, v8::Local<v8::Value> value);

// "Uncaught " and the error's stack without the prompt's own frames, or,
// for a thrown value that is no error, its inspected text.
void PrintError(v8::Isolate* isolate, v8::Local<v8::Context> context, v8::Local<v8::Value> error);

// tarn.exitCode when it is a number, else 0: the status a closing prompt
// ends the run with.
int ExitCodeOf(v8::Isolate* isolate, v8::Local<v8::Context> context);

}  // namespace repl
}  // namespace host
}  // namespace tarn
