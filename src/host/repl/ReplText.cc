#include "repl/ReplText.h"

#include <algorithm>
#include <cstdint>

#include "engine/ScriptText.h"

namespace tarn {
namespace host {
namespace repl {

int Utf8SequenceLength(unsigned char first) {
  return first < 0x80         ? 1
         : (first >> 5) == 6  ? 2
         : (first >> 4) == 14 ? 3
         : (first >> 3) == 30 ? 4
                              : 0;
}

int ReadWideChar(const std::function<bool(unsigned char*)>& next,
                 const std::function<void(unsigned char)>& unread, wchar_t* out) {
  unsigned char first;
  if (!next(&first)) return 0;
  int length = Utf8SequenceLength(first);
  if (length == 0) {
    *out = L'\uFFFD';
    return 1;
  }
  uint32_t code = length == 1 ? first : first & (0x7F >> length);
  for (int i = 1; i < length; ++i) {
    unsigned char byte;
    if (!next(&byte)) return 0;
    if ((byte & 0xC0) != 0x80) {
      unread(byte);
      *out = L'\uFFFD';
      return 1;
    }
    code = (code << 6) | (byte & 0x3F);
  }
  *out = static_cast<wchar_t>(code);
  return 1;
}

std::string Utf8(const wchar_t* begin, const wchar_t* end) {
  std::string out;
  for (const wchar_t* p = begin; p < end; ++p) AppendUtf8(static_cast<uint32_t>(*p), &out);
  return out;
}

std::wstring Wide(const std::string& text) {
  std::wstring out;
  for (size_t i = 0; i < text.size();) {
    auto c = static_cast<unsigned char>(text[i]);
    int length = Utf8SequenceLength(c);
    if (length == 0 || i + static_cast<size_t>(length) > text.size()) {
      out.push_back(L'\uFFFD');
      ++i;
      continue;
    }
    uint32_t u = length == 1 ? c : c & (0x7F >> length);
    for (int k = 1; k < length; ++k)
      u = (u << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
    out.push_back(static_cast<wchar_t>(u));
    i += static_cast<size_t>(length);
  }
  return out;
}

std::string Trim(const std::string& text) {
  size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return std::string();
  size_t end = text.find_last_not_of(" \t\r\n");
  return text.substr(begin, end - begin + 1);
}

bool IdentifierPart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '$' || (static_cast<unsigned char>(c) >= 0x80);
}

bool Identifier(const std::string& name) {
  if (name.empty() || (name[0] >= '0' && name[0] <= '9')) return false;
  return std::all_of(name.begin(), name.end(), IdentifierPart);
}

std::string TrimReplFrames(const std::string& stack) {
  std::string out;
  size_t start = 0;
  bool first = true;
  while (start <= stack.size()) {
    size_t end = stack.find('\n', start);
    if (end == std::string::npos) end = stack.size();
    std::string line = stack.substr(start, end - start);
    std::string trimmed = Trim(line);
    if (!first && trimmed.compare(0, 3, "at ") == 0) {
      std::string where = trimmed.substr(3);
      if (where.compare(0, 6, "async ") == 0) where = where.substr(6);
      // "at REPL3:1:7": a top level (the input's, or its async wrapper's).
      if (where.compare(0, 4, "REPL") == 0 && where.find(' ') == std::string::npos) break;
    }
    out += (first ? "" : "\n") + line;
    first = false;
    start = end + 1;
  }
  return out;
}

}  // namespace repl
}  // namespace host
}  // namespace tarn
