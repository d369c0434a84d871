// The bridge's message language. Off the set the bridge is linked with
// --wrap=setlocale, so only its own calls land here; V8, GLib and the host
// call libc directly. Each call is journaled as library "libc" and passed
// through to the PC's libc. A language given for LC_MESSAGES is kept in
// `window.language` whether or not the PC has that locale: it is what the
// set's windows would be shown in. A forced result (null only) makes the
// call fail and do nothing else.
#include <clocale>

#include "Core.h"

using namespace tvsim::detail;

extern "C" {

char* __wrap_setlocale(int category, const char* locale) {
  Call call("libc", "setlocale", args(category, text(locale)));
  Json::Value forced;
  if (call.forced(&forced)) return call.finish(static_cast<char*>(nullptr));
  if (category == LC_MESSAGES && locale) {
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    core.state["window"]["language"] = locale;
  }
  return call.finish(setlocale(category, locale));
}

}  // extern "C"
