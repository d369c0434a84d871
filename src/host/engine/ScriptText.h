// Texts between the script world and the host's own code, UTF-8, and the
// one way the host spells an absolute path without "." and "..". Inline, so
// the host's separate libraries (the prompt, the debugger) use them too.
#pragma once

#include <v8.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarn {
namespace host {

// A script value's ToString as UTF-8; "" when it cannot be had.
inline std::string Utf8(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  v8::String::Utf8Value utf8(isolate, value);
  return *utf8 ? std::string(*utf8, utf8.length()) : std::string();
}

// A script string of UTF-8 text; the empty string past the engine's limit.
inline v8::Local<v8::String> Text(v8::Isolate* isolate, const std::string& text) {
  v8::Local<v8::String> result;
  if (!v8::String::NewFromUtf8(isolate, text.data(), v8::NewStringType::kNormal,
                               static_cast<int>(text.size()))
           .ToLocal(&result)) {
    return v8::String::Empty(isolate);
  }
  return result;
}

// A code point as UTF-8; one that cannot be a character (a surrogate, past
// U+10FFFF) as U+FFFD.
inline void AppendUtf8(uint32_t code, std::string* out) {
  if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) code = 0xFFFD;
  if (code < 0x80) {
    out->push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (code >> 6)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else if (code < 0x10000) {
    out->push_back(static_cast<char>(0xE0 | (code >> 12)));
    out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xF0 | (code >> 18)));
    out->push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
}

// An absolute path with "." and ".." steps taken out by name, as a URL is
// resolved, without asking the file system; ".." above the root stays there.
inline std::string NormalizePath(const std::string& absolute) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= absolute.size()) {
    size_t end = absolute.find('/', start);
    if (end == std::string::npos) end = absolute.size();
    std::string part = absolute.substr(start, end - start);
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    start = end + 1;
  }
  std::string result;
  for (const std::string& part : parts) result += "/" + part;
  return result.empty() ? "/" : result;
}

}  // namespace host
}  // namespace tarn
