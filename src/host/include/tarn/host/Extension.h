// A piece that tarn-run adds to the engine host without the host knowing it:
// command-line options, start-up work, and script-visible objects under the
// global `tarn` object. The simulated TV platform plugs in this way.
#pragma once

#include <glib.h>
#include <v8.h>

#include <string>

namespace tarn {
namespace host {

class Extension {
 public:
  virtual ~Extension() = default;

  virtual const char* name() const = 0;

  // Options of this extension for tarn-run's command line; ownership passes
  // to the caller. Null when it has none.
  virtual GOptionGroup* optionGroup() { return nullptr; }

  // After the command line is parsed and before any bridge is loaded. On
  // false, tarn-run prints `error` and exits non-zero without running the
  // script.
  virtual bool start(std::string* error) {
    (void)error;
    return true;
  }

  // Once the script context exists, on the script thread: add objects to
  // `tarn` (the host's global object).
  virtual void install(v8::Isolate* isolate, v8::Local<v8::Context> context,
                       v8::Local<v8::Object> tarn) {
    (void)isolate;
    (void)context;
    (void)tarn;
  }

  // After the script has ended and bridges are destroyed.
  virtual void stop() {}
};

}  // namespace host
}  // namespace tarn
