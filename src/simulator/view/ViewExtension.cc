// tarn-run --sim-view: the view's entry point, which tarn-run looks up in
// this library only when the option is given, and the extension that keeps
// the run going for the view once the script's own work is done.
#include <dlfcn.h>

#include <cstdio>
#include <memory>
#include <string>

#include "SimView.h"
#include "engine/Runtime.h"
#include "tarn/host/Extension.h"
#include "tvsim/Simulator.h"

namespace tvsim {
namespace view {

namespace {

// The port the view takes when none is given.
constexpr uint16_t kDefaultPort = 9300;

// The page's files: share/tarn/sim-view beside the lib folder this library
// is in, in the build tree and in an installed tree alike.
std::string PageFolder() {
  Dl_info info;
  if (dladdr(reinterpret_cast<void*>(&PageFolder), &info) == 0 || !info.dli_fname) return "";
  std::string path = info.dli_fname;
  const size_t slash = path.rfind('/');
  path.resize(slash == std::string::npos ? 0 : slash);
  return (path.empty() ? std::string(".") : path) + "/../share/tarn/sim-view";
}

class ViewExtension : public tarn::host::Extension {
 public:
  explicit ViewExtension(std::unique_ptr<SimView> view) : view_(std::move(view)) {}
  ~ViewExtension() override { stop(); }

  const char* name() const override { return "sim-view"; }

  void install(v8::Isolate* isolate, v8::Local<v8::Context> context,
               v8::Local<v8::Object>) override {
    runtime_ = tarn::host::Runtime::Current();
    if (!runtime_) return;
    // The view keeps the run going; the script's own work ending is noticed
    // and said once.
    runtime_->Hold();
    // Engine events reach the journal as the script's listeners get them.
    for (const char* kind : {"event", "interrupt"}) {
      v8::Local<v8::Function> listener;
      if (v8::Function::New(context, &ViewExtension::JournalEvent,
                            v8::String::NewFromUtf8(isolate, kind).ToLocalChecked())
              .ToLocal(&listener)) {
        runtime_->AddListener(kind, listener);
        ++holds_;
      }
    }
    GSource* source = g_timeout_source_new(100);
    g_source_set_callback(
        source,
        [](gpointer self) -> gboolean {
          auto* extension = static_cast<ViewExtension*>(self);
          if (extension->runtime_->PendingBeyond(extension->holds_)) return G_SOURCE_CONTINUE;
          std::fprintf(stderr,
                       "tarn-run: the script's work is done; the simulated TV view stays up "
                       "until Ctrl+C\n");
          std::fflush(stderr);
          return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(source, runtime_->MainContext());
    g_source_unref(source);
  }

  void stop() override {
    if (view_) view_->Stop();
  }

 private:
  static std::string Text(v8::Isolate* isolate, v8::Local<v8::Value> value) {
    v8::String::Utf8Value utf8(isolate, value);
    return *utf8 ? std::string(*utf8, static_cast<size_t>(utf8.length())) : std::string();
  }

  // (code, args) of an engine event, journaled as library "engine".
  static void JournalEvent(const v8::FunctionCallbackInfo<v8::Value>& info) {
    v8::Isolate* isolate = info.GetIsolate();
    const std::string kind = Text(isolate, info.Data());
    Json::Value arguments(Json::arrayValue);
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X",
                  info.Length() > 0 && info[0]->IsInt32()
                      ? static_cast<unsigned>(info[0].As<v8::Int32>()->Value())
                      : 0u);
    arguments.append(code);
    Json::Value fields(Json::objectValue);
    v8::Local<v8::Context> context = isolate->GetCurrentContext();
    v8::Local<v8::Array> names;
    if (info.Length() > 1 && info[1]->IsObject() &&
        info[1].As<v8::Object>()->GetOwnPropertyNames(context).ToLocal(&names)) {
      for (uint32_t i = 0; i < names->Length(); ++i) {
        v8::Local<v8::Value> name, value;
        if (!names->Get(context, i).ToLocal(&name) ||
            !info[1].As<v8::Object>()->Get(context, name).ToLocal(&value)) {
          continue;
        }
        fields[Text(isolate, name)] = Text(isolate, value);
      }
    }
    arguments.append(fields);
    tvsim::Simulator::journalNote("engine", kind, arguments, Json::Value());
  }

  std::unique_ptr<SimView> view_;
  tarn::host::Runtime* runtime_ = nullptr;
  // The view's own holds on the run: its own and its listeners'.
  int holds_ = 1;
};

}  // namespace

}  // namespace view
}  // namespace tvsim

// `option` as given ("--sim-view"), `value` its value or null. The view,
// listening and with its address printed; or null with *status 2 after a
// message.
extern "C" __attribute__((visibility("default"))) tarn::host::Extension* tarnStartSimView(
    const char* option, const char* value, int readOnly, int* status) {
  using namespace tvsim::view;
  *status = 0;
  tarn::web::ListenAddress address;
  std::string error;
  if (!tarn::web::ParseListenAddress(value, kDefaultPort, &address, &error)) {
    std::fprintf(stderr, "tarn-run: %s%s%s: %s\n", option, value ? "=" : "", value ? value : "",
                 error.c_str());
    *status = 2;
    return nullptr;
  }
  auto view = std::make_unique<SimView>(PageFolder(), readOnly != 0);
  if (!view->Start(address.bind, address.port, &error)) {
    std::fprintf(stderr, "tarn-run: %s: cannot serve the simulated TV view on %s:%u: %s\n", option,
                 address.display.c_str(), static_cast<unsigned>(address.port), error.c_str());
    *status = 2;
    return nullptr;
  }
  const unsigned port = view->Port();
  if (!address.loopback) {
    std::fprintf(stderr,
                 "Warning: the simulated TV view listens on %s:%u, which other machines may "
                 "reach; anyone who opens it sees the set%s.\n",
                 address.display.c_str(), port, readOnly ? "" : " and can steer it");
  }
  std::fprintf(stderr, "Simulated TV view on http://%s:%u/\n", address.display.c_str(), port);
  std::fflush(stderr);
  return new ViewExtension(std::move(view));
}
