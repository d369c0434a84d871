// Tab completion at the prompt: names of globals, of earlier lines'
// declarations and of plain properties along a dotted name. Finding them
// runs no script code: no getter, proxy trap or interceptor.
#pragma once

#include <v8.h>

#include <set>
#include <string>
#include <vector>

namespace tarn {
namespace host {
namespace repl {

// The names that complete the dotted name at the end of `before` (the line
// up to the cursor), sorted; *prefix gets the part of the last name already
// typed. Empty when nothing does, or when the name follows something
// computed (a call, an index), which only running code could resolve.
std::vector<std::string> CompletionMatches(v8::Isolate* isolate, v8::Local<v8::Context> context,
                                           const std::string& before,
                                           const std::set<std::string>& declared,
                                           std::string* prefix);

// The longest text every match starts with.
std::string CommonPrefix(const std::vector<std::string>& matches);

// Shows the matches in columns, as many as the terminal is wide.
void ListMatches(const std::vector<std::string>& matches);

}  // namespace repl
}  // namespace host
}  // namespace tarn
