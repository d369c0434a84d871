// The module map and the engine's module hooks. A module graph is loaded in
// full before it is linked (a work list, not recursion, so a chain of any
// length costs no native stack here): every file read, resolved and compiled
// once, keyed by its real path. Linking then only looks up what loading
// recorded, and loading errors name the import that failed.
#include "script/Modules.h"
#include "engine/ScriptText.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engine/Runtime.h"
#include "script/ModulePaths.h"
#include "script/ScriptApi.h"

namespace tarn {
namespace host {

namespace {

using modules::Absolute;
using modules::CurrentDirectory;
using modules::Directory;
using modules::EndsWith;
using modules::FileUrl;
using modules::Importer;
using modules::SpecifierPath;
using modules::Throw;

using Assertions = std::vector<std::pair<std::string, std::string>>;

struct ModuleRecord {
  v8::Global<v8::Module> module;
  // The real path of its file; for a main module without a file, "[eval]"
  // or "[stdin]".
  std::string name;
  std::string directory;  // where its relative specifiers start
  bool hasFile = true;
  bool json = false;
  v8::Global<v8::Value> jsonValue;  // until the module is evaluated
  // What each specifier of its imports loaded, filled in before linking.
  std::map<std::string, ModuleRecord*> imports;
};

struct Loader {
  std::map<std::string, std::unique_ptr<ModuleRecord>> byPath;
  std::vector<std::unique_ptr<ModuleRecord>> withoutFile;
  std::unordered_multimap<int, ModuleRecord*> byHash;
  v8::Global<v8::Promise> mainEvaluation;
  std::string mainName;
};

std::unique_ptr<Loader>& LoaderSlot() {
  static std::unique_ptr<Loader> loader;
  return loader;
}

// Made at the first import, so a classic script that imports nothing never
// pays for it.
Loader& GetLoader() {
  std::unique_ptr<Loader>& loader = LoaderSlot();
  if (!loader) loader.reset(new Loader);
  return *loader;
}

ModuleRecord* Find(v8::Local<v8::Module> module) {
  std::unique_ptr<Loader>& loader = LoaderSlot();
  if (!loader) return nullptr;
  auto range = loader->byHash.equal_range(module->GetIdentityHash());
  for (auto it = range.first; it != range.second; ++it) {
    if (it->second->module == module) return it->second;
  }
  return nullptr;
}

v8::MaybeLocal<v8::Value> EvaluateJson(v8::Local<v8::Context> context,
                                       v8::Local<v8::Module> module) {
  v8::Isolate* isolate = context->GetIsolate();
  ModuleRecord* record = Find(module);
  if (!record) {
    Throw(isolate, false, "JSON module without a record", nullptr);
    return v8::MaybeLocal<v8::Value>();
  }
  v8::Local<v8::Value> value = record->jsonValue.Get(isolate);
  record->jsonValue.Reset();
  if (module->SetSyntheticModuleExport(isolate, Text(isolate, "default"), value).IsNothing()) {
    return v8::MaybeLocal<v8::Value>();
  }
  v8::Local<v8::Promise::Resolver> done;
  if (!v8::Promise::Resolver::New(context).ToLocal(&done) ||
      done->Resolve(context, v8::Undefined(isolate)).IsNothing()) {
    return v8::MaybeLocal<v8::Value>();
  }
  return done->GetPromise();
}

ModuleRecord* AddRecord(v8::Isolate* isolate, v8::Local<v8::Module> module,
                        std::unique_ptr<ModuleRecord> record) {
  Loader& loader = GetLoader();
  record->module.Reset(isolate, module);
  ModuleRecord* added = record.get();
  loader.byHash.emplace(module->GetIdentityHash(), added);
  if (record->hasFile) {
    loader.byPath[record->name] = std::move(record);
  } else {
    loader.withoutFile.push_back(std::move(record));
  }
  return added;
}

// Compiles module source text under its name; null with the engine's
// SyntaxError pending (it names the file and line).
ModuleRecord* CompileSource(v8::Isolate* isolate, const std::string& name,
                            const std::string& directory, bool hasFile, const std::string& source) {
  v8::Local<v8::String> text;
  if (!v8::String::NewFromUtf8(isolate, source.data(), v8::NewStringType::kNormal,
                               static_cast<int>(source.size()))
           .ToLocal(&text)) {
    Throw(isolate, false, "cannot load module " + name + ": the text is too long", nullptr);
    return nullptr;
  }
  v8::ScriptOrigin origin(isolate, Text(isolate, name), 0, 0, false, -1, v8::Local<v8::Value>(),
                          false, false, true);
  v8::ScriptCompiler::Source compiled(text, origin);
  v8::Local<v8::Module> module;
  if (!v8::ScriptCompiler::CompileModule(isolate, &compiled).ToLocal(&module)) return nullptr;
  auto record = std::make_unique<ModuleRecord>();
  record->name = name;
  record->directory = directory;
  record->hasFile = hasFile;
  return AddRecord(isolate, module, std::move(record));
}

// A JSON file as a module whose default export is the parsed value; a file
// that does not parse is a SyntaxError naming it.
ModuleRecord* CompileJson(v8::Isolate* isolate, v8::Local<v8::Context> context,
                          const std::string& path, const std::string& source) {
  v8::Local<v8::Value> value;
  std::string reason;
  {
    v8::TryCatch tryCatch(isolate);
    v8::Local<v8::String> text;
    if (!v8::String::NewFromUtf8(isolate, source.data(), v8::NewStringType::kNormal,
                                 static_cast<int>(source.size()))
             .ToLocal(&text) ||
        !v8::JSON::Parse(context, text).ToLocal(&value)) {
      if (tryCatch.HasTerminated()) {
        tryCatch.ReThrow();
        return nullptr;
      }
      reason = "the text is too long";
      v8::Local<v8::Value> exception = tryCatch.Exception();
      v8::Local<v8::Value> message;
      if (!exception.IsEmpty() && exception->IsObject() &&
          exception.As<v8::Object>()->Get(context, Text(isolate, "message")).ToLocal(&message) &&
          message->IsString()) {
        reason = Utf8(isolate, message);
      }
    }
  }
  if (value.IsEmpty()) {
    isolate->ThrowException(v8::Exception::SyntaxError(Text(isolate, path + ": " + reason)));
    return nullptr;
  }
  std::vector<v8::Local<v8::String>> exports = {Text(isolate, "default")};
  v8::Local<v8::Module> module =
      v8::Module::CreateSyntheticModule(isolate, Text(isolate, path), exports, EvaluateJson);
  auto record = std::make_unique<ModuleRecord>();
  record->name = path;
  record->directory = Directory(path);
  record->json = true;
  record->jsonValue.Reset(isolate, value);
  return AddRecord(isolate, module, std::move(record));
}

// Checks an import's assertions against the file it names: a .json file
// needs `type: "json"`, and only that type and that key are known.
bool CheckAssertions(v8::Isolate* isolate, const std::string& path, bool json,
                     const Assertions& assertions, const Importer& importer) {
  std::string type;
  for (const auto& assertion : assertions) {
    if (assertion.first == "type") {
      type = assertion.second;
    } else {
      Throw(isolate, true,
            "Import assertion \"" + assertion.first + "\" with value \"" + assertion.second +
                "\" is not supported (imported from " + importer.Text() + ")",
            "ERR_IMPORT_ATTRIBUTE_UNSUPPORTED");
      return false;
    }
  }
  if (!type.empty() && type != "json") {
    Throw(isolate, true,
          "Import assertion type \"" + type + "\" is unsupported (imported from " +
              importer.Text() + ")",
          "ERR_IMPORT_ASSERTION_TYPE_UNSUPPORTED");
    return false;
  }
  if (json && type.empty()) {
    Throw(isolate, true,
          "Module \"" + path + "\" needs an import assertion of type \"json\" (imported from " +
              importer.Text() + ")",
          "ERR_IMPORT_ASSERTION_TYPE_MISSING");
    return false;
  }
  if (!json && !type.empty()) {
    Throw(isolate, true,
          "Module \"" + path + "\" is not of type \"json\" (imported from " + importer.Text() + ")",
          "ERR_IMPORT_ASSERTION_TYPE_FAILED");
    return false;
  }
  return true;
}

// Resolves one import and loads its file unless the map has it already;
// null with an Error thrown that names the specifier and the importer.
ModuleRecord* Import(v8::Isolate* isolate, v8::Local<v8::Context> context,
                     const std::string& directory, const std::string& specifier,
                     const Assertions& assertions, const Importer& importer) {
  std::string path;
  if (!SpecifierPath(isolate, directory, specifier, importer, &path)) return nullptr;
  std::string named = path == specifier ? "'" + path + "'" : "'" + specifier + "' (" + path + ")";
  char resolved[PATH_MAX];
  if (!realpath(path.c_str(), resolved)) {
    int error = errno;
    if (error == ENOENT || error == ENOTDIR) {
      Throw(isolate, false, "Cannot find module " + named + " imported from " + importer.Text(),
            "ERR_MODULE_NOT_FOUND");
    } else {
      Throw(isolate, false,
            "Cannot load module " + named + " imported from " + importer.Text() + ": " +
                std::strerror(error),
            "ERR_MODULE_NOT_FOUND");
    }
    return nullptr;
  }
  std::string real = resolved;
  struct stat info;
  if (stat(real.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
    Throw(isolate, false,
          "Directory import " + named + " is not supported resolving ES modules imported from " +
              importer.Text(),
          "ERR_UNSUPPORTED_DIR_IMPORT");
    return nullptr;
  }
  bool json = EndsWith(real, ".json");
  if (!CheckAssertions(isolate, real, json, assertions, importer)) return nullptr;
  Loader& loader = GetLoader();
  auto found = loader.byPath.find(real);
  if (found != loader.byPath.end()) return found->second.get();
  std::string source, error;
  if (!ReadScriptSource(real, &source, &error)) {
    Throw(isolate, false,
          "Cannot load module " + named + " imported from " + importer.Text() + ": " + error,
          "ERR_MODULE_NOT_FOUND");
    return nullptr;
  }
  if (json) return CompileJson(isolate, context, real, source);
  return CompileSource(isolate, real, Directory(real), true, source);
}

// Loads every module the root needs, breadth first over a work list.
// Modules linked before (with their whole graph) are not looked into again.
bool LoadGraph(v8::Isolate* isolate, v8::Local<v8::Context> context, ModuleRecord* root) {
  std::vector<ModuleRecord*> work{root};
  std::set<ModuleRecord*> seen{root};
  while (!work.empty()) {
    ModuleRecord* record = work.back();
    work.pop_back();
    if (record->json) continue;
    v8::HandleScope scope(isolate);
    v8::Local<v8::Module> module = record->module.Get(isolate);
    if (module->GetStatus() != v8::Module::kUninstantiated) continue;
    v8::Local<v8::FixedArray> requests = module->GetModuleRequests();
    for (int i = 0; i < requests->Length(); ++i) {
      v8::Local<v8::ModuleRequest> request = requests->Get(context, i).As<v8::ModuleRequest>();
      std::string specifier = Utf8(isolate, request->GetSpecifier());
      v8::Location location = module->SourceOffsetToLocation(request->GetSourceOffset());
      Importer importer{record->name, location.GetLineNumber() + 1};
      // Static assertions come as key, value, source offset.
      Assertions assertions;
      v8::Local<v8::FixedArray> raw = request->GetImportAssertions();
      for (int j = 0; j + 1 < raw->Length(); j += 3) {
        assertions.emplace_back(Utf8(isolate, raw->Get(context, j).As<v8::Value>()),
                                Utf8(isolate, raw->Get(context, j + 1).As<v8::Value>()));
      }
      ModuleRecord* imported =
          Import(isolate, context, record->directory, specifier, assertions, importer);
      if (!imported) return false;
      record->imports[specifier] = imported;
      if (seen.insert(imported).second) work.push_back(imported);
    }
  }
  return true;
}

v8::MaybeLocal<v8::Module> ResolveLoaded(v8::Local<v8::Context> context,
                                         v8::Local<v8::String> specifier, v8::Local<v8::FixedArray>,
                                         v8::Local<v8::Module> referrer) {
  v8::Isolate* isolate = context->GetIsolate();
  std::string text = Utf8(isolate, specifier);
  ModuleRecord* record = Find(referrer);
  if (record) {
    auto found = record->imports.find(text);
    if (found != record->imports.end()) return found->second->module.Get(isolate);
  }
  Throw(isolate, false,
        "Cannot link module '" + text + "'" +
            (record ? " imported from " + record->name : std::string()) + ": it was not loaded",
        "ERR_MODULE_NOT_FOUND");
  return v8::MaybeLocal<v8::Module>();
}

// Loads and links a graph; evaluation is the caller's. False with the
// exception pending.
bool LoadAndLink(v8::Isolate* isolate, v8::Local<v8::Context> context, ModuleRecord* root) {
  if (!LoadGraph(isolate, context, root)) return false;
  v8::Local<v8::Module> module = root->module.Get(isolate);
  if (module->GetStatus() != v8::Module::kUninstantiated) return true;
  bool linked = false;
  return module->InstantiateModule(context, ResolveLoaded).To(&linked) && linked;
}

// --- the main module ---------------------------------------------------

// The main module's evaluation failed, at once or after a top-level await:
// an uncaught error, reported with the place the error itself records.
void MainModuleRejected(const v8::FunctionCallbackInfo<v8::Value>& info) {
  if (Runtime* runtime = Runtime::Current()) runtime->ReportUncaught(info[0]);
}

// --- import() ----------------------------------------------------------

struct DynamicImport {
  v8::Global<v8::Promise::Resolver> resolver;
  std::string directory;
  std::string specifier;
  Assertions assertions;
  Importer importer;
};

// An error of compiling or linking (a syntax error, a missing export)
// records its place only in the engine's message, which a rejection does not
// carry: its stack then starts with that place, file, line and source line,
// as node's does.
void MarkPlace(v8::Isolate* isolate, v8::Local<v8::Context> context, v8::Local<v8::Value> exception,
               v8::Local<v8::Message> message) {
  if (message.IsEmpty() || !message->GetScriptResourceName()->IsString() ||
      !exception->IsNativeError()) {
    return;
  }
  v8::TryCatch tryCatch(isolate);
  v8::Local<v8::Object> error = exception.As<v8::Object>();
  v8::Local<v8::Value> stack;
  if (!error->Get(context, Text(isolate, "stack")).ToLocal(&stack) || !stack->IsString()) return;
  std::string text = Utf8(isolate, stack);
  if (text.find("\n    at ") != std::string::npos) return;  // it has frames of its own
  std::string place = Utf8(isolate, message->GetScriptResourceName()) + ":" +
                      std::to_string(message->GetLineNumber(context).FromMaybe(0)) + "\n";
  v8::Local<v8::String> sourceLine;
  if (message->GetSourceLine(context).ToLocal(&sourceLine)) {
    int start = message->GetStartColumn(context).FromMaybe(0);
    int end = message->GetEndColumn(context).FromMaybe(start + 1);
    if (start < 0 || start > 4096) start = 0;
    if (end <= start || end - start > 4096) end = start + 1;
    place += Utf8(isolate, sourceLine) + "\n" + std::string(start, ' ') +
             std::string(end - start, '^') + "\n";
  }
  if (error->Set(context, Text(isolate, "stack"), Text(isolate, place + "\n" + text)).IsNothing()) {
    return;
  }
}

void ImportEvaluated(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Array> data = info.Data().As<v8::Array>();
  v8::Local<v8::Value> resolver, space;
  if (!data->Get(context, 0).ToLocal(&resolver) || !data->Get(context, 1).ToLocal(&space) ||
      resolver.As<v8::Promise::Resolver>()->Resolve(context, space).IsNothing()) {
    return;
  }
}

void ImportFailed(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Local<v8::Context> context = info.GetIsolate()->GetCurrentContext();
  if (info.Data().As<v8::Promise::Resolver>()->Reject(context, info[0]).IsNothing()) return;
}

// On the loop, after the script that called import() has gone on, as under
// node: load, link and evaluate, then settle the import's promise.
void RunDynamicImport(v8::Isolate* isolate, const DynamicImport& request) {
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Promise::Resolver> resolver = request.resolver.Get(isolate);
  v8::TryCatch tryCatch(isolate);
  ModuleRecord* record = Import(isolate, context, request.directory, request.specifier,
                                request.assertions, request.importer);
  v8::Local<v8::Value> evaluation;
  if (record && LoadAndLink(isolate, context, record) &&
      record->module.Get(isolate)->Evaluate(context).ToLocal(&evaluation)) {
    v8::Local<v8::Module> module = record->module.Get(isolate);
    v8::Local<v8::Array> data = v8::Array::New(isolate, 2);
    v8::Local<v8::Function> onEvaluated, onFailed;
    if (data->Set(context, 0, resolver).FromMaybe(false) &&
        data->Set(context, 1, module->GetModuleNamespace()).FromMaybe(false) &&
        v8::Function::New(context, ImportEvaluated, data).ToLocal(&onEvaluated) &&
        v8::Function::New(context, ImportFailed, resolver).ToLocal(&onFailed)) {
      if (evaluation->IsPromise()) {
        v8::Local<v8::Promise> settled;
        if (evaluation.As<v8::Promise>()->Then(context, onEvaluated, onFailed).ToLocal(&settled)) {
          return;
        }
      } else if (resolver->Resolve(context, module->GetModuleNamespace()).IsJust()) {
        return;
      }
    }
  }
  // A run that is being stopped (tarn.exit) settles nothing more.
  if (tryCatch.HasTerminated() || !tryCatch.HasCaught()) return;
  v8::Local<v8::Value> exception = tryCatch.Exception();
  MarkPlace(isolate, context, exception, tryCatch.Message());
  tryCatch.Reset();
  if (resolver->Reject(context, exception).IsNothing()) return;
}

v8::MaybeLocal<v8::Promise> ImportDynamically(v8::Local<v8::Context> context, v8::Local<v8::Data>,
                                              v8::Local<v8::Value> resourceName,
                                              v8::Local<v8::String> specifier,
                                              v8::Local<v8::FixedArray> assertions) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::Promise::Resolver> resolver;
  if (!v8::Promise::Resolver::New(context).ToLocal(&resolver)) return v8::MaybeLocal<v8::Promise>();
  auto request = std::make_shared<DynamicImport>();
  request->resolver.Reset(isolate, resolver);
  std::string name = resourceName->IsString() ? Utf8(isolate, resourceName) : std::string();
  request->directory = ScriptBaseDirectory(name);
  request->specifier = Utf8(isolate, specifier);
  request->importer.name = name.empty() ? std::string("[eval]") : name;
  v8::Local<v8::StackTrace> stack = v8::StackTrace::CurrentStackTrace(isolate, 1);
  if (stack->GetFrameCount() > 0)
    request->importer.line = stack->GetFrame(isolate, 0)->GetLineNumber();
  // import()'s assertions come as key, value pairs.
  for (int i = 0; i + 1 < assertions->Length(); i += 2) {
    request->assertions.emplace_back(
        Utf8(isolate, assertions->Get(context, i).As<v8::Value>()),
        Utf8(isolate, assertions->Get(context, i + 1).As<v8::Value>()));
  }
  Runtime* runtime = Runtime::Current();
  if (!runtime || !runtime->Post([isolate, request] { RunDynamicImport(isolate, *request); })) {
    Throw(isolate, false, "import() of '" + request->specifier + "' after the run has ended",
          nullptr);
    return v8::MaybeLocal<v8::Promise>();
  }
  return resolver->GetPromise();
}

// --- import.meta -------------------------------------------------------

// import.meta.resolve(specifier): the file: URL the specifier names, by name
// only, as node answers it.
void ResolveFromMeta(const v8::FunctionCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::String> specifier;
  if (info.Length() < 1 || !info[0]->ToString(context).ToLocal(&specifier)) {
    if (info.Length() < 1) {
      Throw(isolate, true, "import.meta.resolve: the specifier is missing", "ERR_MISSING_ARGS");
    }
    return;
  }
  std::string name = Utf8(isolate, info.Data());
  std::string path;
  if (!SpecifierPath(isolate, ScriptBaseDirectory(name), Utf8(isolate, specifier), Importer{name},
                     &path)) {
    return;
  }
  info.GetReturnValue().Set(Text(isolate, FileUrl(path)));
}

void InitializeImportMeta(v8::Local<v8::Context> context, v8::Local<v8::Module> module,
                          v8::Local<v8::Object> meta) {
  v8::Isolate* isolate = context->GetIsolate();
  ModuleRecord* record = Find(module);
  if (!record) return;
  // A main module without a file is named as if it were one in the current
  // folder, as node names it.
  std::string path = record->hasFile ? record->name : Absolute(".", record->name);
  v8::Local<v8::Function> resolve;
  if (meta->CreateDataProperty(context, Text(isolate, "url"), Text(isolate, FileUrl(path)))
          .IsNothing() ||
      meta->CreateDataProperty(context, Text(isolate, "filename"), Text(isolate, path))
          .IsNothing() ||
      meta->CreateDataProperty(context, Text(isolate, "dirname"), Text(isolate, Directory(path)))
          .IsNothing() ||
      !v8::Function::New(context, ResolveFromMeta, Text(isolate, record->name)).ToLocal(&resolve) ||
      meta->CreateDataProperty(context, Text(isolate, "resolve"), resolve).IsNothing()) {
    return;
  }
}

}  // namespace

bool IsModulePath(const std::string& path) { return EndsWith(path, ".mjs"); }

std::string ScriptBaseDirectory(const std::string& resourceName) {
  if (resourceName.empty() || resourceName == "[eval]" || resourceName == "[stdin]") return ".";
  return Directory(resourceName);
}

void EnableModuleSyntax() { v8::V8::SetFlagsFromString("--harmony-import-assertions"); }

void InstallModuleHooks(v8::Isolate* isolate) {
  isolate->SetHostImportModuleDynamicallyCallback(ImportDynamically);
  isolate->SetHostInitializeImportMetaObjectCallback(InitializeImportMeta);
}

bool RunMainModule(v8::Isolate* isolate, v8::Local<v8::Context> context, const std::string& name,
                   const std::string& source) {
  ModuleRecord* record;
  if (name == "[eval]" || name == "[stdin]") {
    record = CompileSource(isolate, name, CurrentDirectory(), false, source);
  } else {
    // Known by its real path, so an import of the main module by any name
    // is the main module itself. A file without one (a pipe) keeps its name.
    char resolved[PATH_MAX];
    std::string path =
        realpath(name.c_str(), resolved) ? std::string(resolved) : Absolute(".", name);
    record = CompileSource(isolate, path, Directory(path), true, source);
  }
  if (!record || !LoadAndLink(isolate, context, record)) return false;
  v8::Local<v8::Value> evaluation;
  if (!record->module.Get(isolate)->Evaluate(context).ToLocal(&evaluation)) return false;
  if (!evaluation->IsPromise()) return true;
  v8::Local<v8::Promise> promise = evaluation.As<v8::Promise>();
  Loader& loader = GetLoader();
  loader.mainEvaluation.Reset(isolate, promise);
  loader.mainName = record->name;
  v8::Local<v8::Function> onRejected;
  v8::Local<v8::Promise> handled;
  return v8::Function::New(context, MainModuleRejected).ToLocal(&onRejected) &&
         promise->Catch(context, onRejected).ToLocal(&handled);
}

void CheckMainModuleSettled(Runtime* runtime) {
  std::unique_ptr<Loader>& loader = LoaderSlot();
  if (!loader || loader->mainEvaluation.IsEmpty() || runtime->Exiting()) return;
  v8::Isolate* isolate = runtime->GetIsolate();
  v8::HandleScope scope(isolate);
  if (loader->mainEvaluation.Get(isolate)->State() != v8::Promise::kPending) return;
  std::fprintf(stderr,
               "tarn-run: warning: the top-level await of %s never settled, and nothing else "
               "is pending\n",
               loader->mainName.c_str());
  runtime->RequestExit(13);
}

void ShutdownModules() { LoaderSlot().reset(); }

}  // namespace host
}  // namespace tarn
