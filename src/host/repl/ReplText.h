// Texts of the prompt: libedit's wide characters and UTF-8, names a user
// types, and an error's stack without the prompt's own frames.
#pragma once

#include <functional>
#include <string>

namespace tarn {
namespace host {
namespace repl {

// Bytes in the UTF-8 sequence that starts with this byte; 0 for a byte that
// starts none.
int Utf8SequenceLength(unsigned char first);

// One character of UTF-8 from `next` (false: no more bytes). A byte that
// cannot continue the character is handed back to `unread`, and a broken
// sequence gives U+FFFD. 1 when *out holds a character, 0 at the end.
int ReadWideChar(const std::function<bool(unsigned char*)>& next,
                 const std::function<void(unsigned char)>& unread, wchar_t* out);

// Wide characters as UTF-8; a code point that cannot be one is U+FFFD.
std::string Utf8(const wchar_t* begin, const wchar_t* end);
// UTF-8 as wide characters; a broken sequence is U+FFFD.
std::wstring Wide(const std::string& text);

// Without leading and trailing white space.
std::string Trim(const std::string& text);

bool IdentifierPart(char c);
// A name as typed: identifier characters, not starting with a digit.
bool Identifier(const std::string& name);

// A thrown error's stack without the frames of the prompt's own script: the
// frame of the input's top level and whatever called it.
std::string TrimReplFrames(const std::string& stack);

}  // namespace repl
}  // namespace host
}  // namespace tarn
