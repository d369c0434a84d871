// Texts of the debugger: the protocol's UTF-8 and V8's string views, script
// names as URLs, and the target's id.
#pragma once

#include <json/json.h>
#include <v8-inspector.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarn {
namespace debugger {

bool ValidUtf8(const std::string& text);
// UTF-8 as UTF-16; a malformed sequence is U+FFFD.
std::vector<uint16_t> Utf8ToUtf16(const std::string& text);

// V8's 8-bit views of protocol text hold the UTF-8 of its JSON; other 8-bit
// text (a script's name) is Latin-1, told apart by not being valid UTF-8.
std::string ToUtf8(const v8_inspector::StringView& view);

// A script value's ToString as UTF-16.
std::vector<uint16_t> Utf16(v8::Isolate* isolate, v8::Local<v8::Value> value);
// A view of the text, valid while it lives.
v8_inspector::StringView View(const std::vector<uint16_t>& text);
// Only for ASCII text: V8 reads an 8-bit view as Latin-1.
v8_inspector::StringView AsciiView(const std::string& text);

// JSON on one line, UTF-8 left as it is.
std::string CompactJson(const Json::Value& value);

// The working folder; "/" when it cannot be had.
std::string CurrentDirectory();

// The URL of a script named on the command line or by tarn.load; empty for
// the names of code that has no file ("[eval]", "[stdin]") and for what is a
// URL already (the host's own scripts, modules named by URL).
std::string ScriptUrl(const std::string& name, const std::string& directory);

// A new random (version 4) UUID naming the debug target.
std::string NewTargetId();

}  // namespace debugger
}  // namespace tarn
