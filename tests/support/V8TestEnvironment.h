// A real V8 for native tests: the platform is set up once per test program,
// each test gets its own isolate and context.
#pragma once

#include <gtest/gtest.h>
#include <v8.h>

#include <string>

namespace testing_v8 {

class V8Test : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  v8::Isolate* isolate() const { return isolate_; }

  // Runs source in context; returns the result, or an empty handle with the
  // exception's message in *error.
  v8::Local<v8::Value> Run(v8::Local<v8::Context> context, const std::string& source,
                           std::string* error);

  // The text of a value, for comparisons.
  std::string Text(v8::Local<v8::Value> value);

 private:
  v8::Isolate* isolate_ = nullptr;
  v8::ArrayBuffer::Allocator* allocator_ = nullptr;
};

}  // namespace testing_v8
