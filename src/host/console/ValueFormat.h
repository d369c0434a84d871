// How values print: the one formatter behind console, tarn-run -p and any
// other place that shows a script value to a person. Its output matches
// node's util.inspect and util.format (docs/host.md, "The console"); the
// formatter itself is script code embedded in the host (console/*.js, with
// engine helpers in console/ValueProbes.cc), compiled in a context on its
// first use there.
#pragma once

#include <v8.h>

#include <climits>
#include <string>
#include <vector>

namespace tarn {
namespace host {

// node's inspect options, with its defaults.
struct InspectOptions {
  static constexpr int kNoDepthLimit = INT_MAX;
  int depth = 2;                // nesting levels shown before [Object]; kNoDepthLimit: all
  bool showHidden = false;      // non-enumerable properties and symbols too
  bool showProxy = false;       // a proxy as Proxy [ target, handler ]
  bool customInspect = true;    // call [Symbol.for('nodejs.util.inspect.custom')]
  bool getters = false;         // run getters to show their values (never by default)
  bool sorted = false;          // keys sorted
  int breakLength = 80;         // an object longer than this on one line is broken up
  int compact = 3;              // innermost levels joined on one line
  int maxArrayLength = 100;     // array, Set and Map entries shown
  int maxStringLength = 10000;  // characters of a text shown
};

// The text node's util.inspect(value, options) gives. Runs no getter and hits
// no proxy trap unless the options ask for it. Empty, with the exception left
// pending for the caller's TryCatch, only when script execution was stopped
// (termination) or the engine ran out of memory.
std::string Inspect(v8::Local<v8::Context> context, v8::Local<v8::Value> value,
                    const InspectOptions& options = InspectOptions());

// The line console.log writes for these arguments (without the newline):
// node's util.format, so a first argument that is a text may hold %s %d %i
// %f %j %o %O %c %%. Same failure rule as Inspect.
std::string FormatLogArguments(v8::Local<v8::Context> context,
                               const std::vector<v8::Local<v8::Value>>& args);

// The context's embedder-data slot that holds the compiled formatter.
constexpr int kFormatterContextSlot = 32;

}  // namespace host
}  // namespace tarn
