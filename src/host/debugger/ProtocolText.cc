#include "debugger/ProtocolText.h"

#include <unistd.h>

#include <cerrno>
#include <random>

#include "engine/ScriptText.h"

namespace tarn {
namespace debugger {

namespace {

using host::AppendUtf8;
using host::NormalizePath;

// Decodes one UTF-8 sequence at text[*i]; U+FFFD (one byte consumed) for
// anything malformed, overlong or a surrogate.
uint32_t NextUtf8(const std::string& text, size_t* i) {
  const auto byte = [&](size_t at) { return static_cast<unsigned char>(text[at]); };
  unsigned char lead = byte(*i);
  size_t length = lead < 0x80           ? 1
                  : (lead >> 5) == 0x6  ? 2
                  : (lead >> 4) == 0xE  ? 3
                  : (lead >> 3) == 0x1E ? 4
                                        : 0;
  if (length == 0 || *i + length > text.size()) {
    ++*i;
    return 0xFFFD;
  }
  uint32_t code = length == 1 ? lead : lead & (0x7F >> length);
  for (size_t k = 1; k < length; ++k) {
    unsigned char next = byte(*i + k);
    if ((next & 0xC0) != 0x80) {
      ++*i;
      return 0xFFFD;
    }
    code = (code << 6) | (next & 0x3F);
  }
  static const uint32_t kMinimum[] = {0, 0, 0x80, 0x800, 0x10000};
  if (code < kMinimum[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
    ++*i;
    return 0xFFFD;
  }
  *i += length;
  return code;
}

std::string FileUrl(const std::string& absolutePath) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string url = "file://";
  for (unsigned char c : absolutePath) {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
        c == '.' || c == '_' || c == '~' || c == '/') {
      url.push_back(static_cast<char>(c));
    } else {
      url.push_back('%');
      url.push_back(kHex[c >> 4]);
      url.push_back(kHex[c & 0xF]);
    }
  }
  return url;
}

// Whether a name starts with a URL scheme ("file:", "https:", "tarn:").
bool HasScheme(const std::string& name) {
  size_t colon = name.find(':');
  if (colon == std::string::npos || colon == 0 ||
      !((name[0] >= 'a' && name[0] <= 'z') || (name[0] >= 'A' && name[0] <= 'Z'))) {
    return false;
  }
  for (size_t i = 1; i < colon; ++i) {
    char c = name[i];
    if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
          c == '-' || c == '.')) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool ValidUtf8(const std::string& text) {
  for (size_t i = 0; i < text.size();) {
    size_t at = i;
    if (NextUtf8(text, &i) == 0xFFFD &&
        !(i - at == 3 && text.compare(at, 3, "\xEF\xBF\xBD") == 0)) {
      return false;
    }
  }
  return true;
}

std::vector<uint16_t> Utf8ToUtf16(const std::string& text) {
  std::vector<uint16_t> out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    uint32_t code = NextUtf8(text, &i);
    if (code >= 0x10000) {
      code -= 0x10000;
      out.push_back(static_cast<uint16_t>(0xD800 | (code >> 10)));
      out.push_back(static_cast<uint16_t>(0xDC00 | (code & 0x3FF)));
    } else {
      out.push_back(static_cast<uint16_t>(code));
    }
  }
  return out;
}

std::string ToUtf8(const v8_inspector::StringView& view) {
  std::string out;
  if (view.is8Bit()) {
    std::string bytes(reinterpret_cast<const char*>(view.characters8()), view.length());
    if (ValidUtf8(bytes)) return bytes;
    for (unsigned char c : bytes) AppendUtf8(c, &out);
    return out;
  }
  const uint16_t* units = view.characters16();
  size_t length = view.length();
  out.reserve(length);
  for (size_t i = 0; i < length; ++i) {
    uint32_t code = units[i];
    if (code >= 0xD800 && code <= 0xDBFF && i + 1 < length && units[i + 1] >= 0xDC00 &&
        units[i + 1] <= 0xDFFF) {
      code = 0x10000 + ((code - 0xD800) << 10) + (units[i + 1] - 0xDC00);
      ++i;
    } else if (code >= 0xD800 && code <= 0xDFFF) {
      code = 0xFFFD;
    }
    AppendUtf8(code, &out);
  }
  return out;
}

std::vector<uint16_t> Utf16(v8::Isolate* isolate, v8::Local<v8::Value> value) {
  std::vector<uint16_t> out;
  if (value.IsEmpty() || !value->IsString()) return out;
  v8::Local<v8::String> text = value.As<v8::String>();
  out.resize(static_cast<size_t>(text->Length()));
  text->Write(isolate, out.data(), 0, text->Length(), v8::String::NO_NULL_TERMINATION);
  return out;
}

v8_inspector::StringView View(const std::vector<uint16_t>& text) {
  return v8_inspector::StringView(text.data(), text.size());
}

v8_inspector::StringView AsciiView(const std::string& text) {
  return v8_inspector::StringView(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

std::string CompactJson(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, value);
}

std::string CurrentDirectory() {
  std::vector<char> buffer(4096);
  while (!getcwd(buffer.data(), buffer.size())) {
    if (errno != ERANGE || buffer.size() > (1u << 20)) return "/";
    buffer.resize(buffer.size() * 2);
  }
  return buffer.data();
}

std::string ScriptUrl(const std::string& name, const std::string& directory) {
  if (name.empty() || name[0] == '[' || HasScheme(name)) return "";
  return FileUrl(NormalizePath(name[0] == '/' ? name : directory + "/" + name));
}

std::string NewTargetId() {
  std::random_device random;
  unsigned char bytes[16];
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
  static const char kHex[] = "0123456789abcdef";
  std::string id;
  for (int i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) id.push_back('-');
    id.push_back(kHex[bytes[i] >> 4]);
    id.push_back(kHex[bytes[i] & 0xF]);
  }
  return id;
}

}  // namespace debugger
}  // namespace tarn
