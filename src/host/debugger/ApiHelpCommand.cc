// help(q.getAppId), help("getAppId") or help("q.getAppId") answers the
// method's reference text as a string, which the debugger's console shows.
// A method is recognised by its function's name: the bridge names each one
// after its script name.
#include "debugger/ApiHelpCommand.h"

#include <string>

#include "console/ApiHelp.h"
#include "engine/ScriptText.h"

namespace tarn {
namespace debugger {

namespace {

constexpr char kUsage[] =
    "help(q.NAME) or help(\"NAME\"): the reference of the QDUtil method or constant NAME\n";

void Help(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  std::string topic;
  if (info.Length() > 0 && info[0]->IsFunction()) {
    topic = host::Utf8(isolate, info[0].As<v8::Function>()->GetName());
  } else if (info.Length() > 0 && info[0]->IsString()) {
    topic = host::Utf8(isolate, info[0]);
  }
  std::string text = topic.empty() ? kUsage : host::ApiHelpText(topic);
  info.GetReturnValue().Set(host::Text(isolate, text));
}

}  // namespace

void InstallConsoleHelp(v8::Local<v8::Context> context, v8::Local<v8::Object> helpers) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Function> help;
  if (!v8::Function::New(context, Help).ToLocal(&help)) return;
  help->SetName(host::Text(isolate, "help"));
  // A failed store leaves the helpers without help(); nothing else depends on it.
  if (helpers->Set(context, host::Text(isolate, "help"), help).IsNothing()) return;
}

}  // namespace debugger
}  // namespace tarn
