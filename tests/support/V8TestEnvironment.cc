#include "V8TestEnvironment.h"

#include <libplatform/libplatform.h>

#include <memory>

namespace testing_v8 {

namespace {

class Environment : public ::testing::Environment {
 public:
  void SetUp() override {
    v8::V8::InitializeICUDefaultLocation("");
    platform_ = v8::platform::NewDefaultPlatform();
    v8::V8::InitializePlatform(platform_.get());
    v8::V8::Initialize();
  }
  void TearDown() override {
    v8::V8::Dispose();
    v8::V8::DisposePlatform();
  }

 private:
  std::unique_ptr<v8::Platform> platform_;
};

const ::testing::Environment* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new Environment());

}  // namespace

void V8Test::SetUp() {
  v8::Isolate::CreateParams params;
  allocator_ = v8::ArrayBuffer::Allocator::NewDefaultAllocator();
  params.array_buffer_allocator = allocator_;
  isolate_ = v8::Isolate::New(params);
  isolate_->Enter();
}

void V8Test::TearDown() {
  isolate_->Exit();
  isolate_->Dispose();
  delete allocator_;
}

v8::Local<v8::Value> V8Test::Run(v8::Local<v8::Context> context, const std::string& source,
                                 std::string* error) {
  v8::EscapableHandleScope scope(isolate_);
  v8::TryCatch tryCatch(isolate_);
  v8::Local<v8::String> text;
  v8::Local<v8::Script> script;
  v8::Local<v8::Value> result;
  if (v8::String::NewFromUtf8(isolate_, source.c_str()).ToLocal(&text) &&
      v8::Script::Compile(context, text).ToLocal(&script) &&
      script->Run(context).ToLocal(&result)) {
    return scope.Escape(result);
  }
  if (error) {
    *error = tryCatch.HasCaught() ? Text(tryCatch.Message()->Get()) : "no result";
  }
  return v8::Local<v8::Value>();
}

std::string V8Test::Text(v8::Local<v8::Value> value) {
  v8::String::Utf8Value utf8(isolate_, value);
  return *utf8 ? std::string(*utf8, utf8.length()) : std::string();
}

}  // namespace testing_v8
