// What the interactive prompt needs to know about a piece of input before
// the engine runs it: whether more lines may complete it, and, for input
// that awaits at its top level, the same input as an async function whose
// declarations outlive the call. A light scanner (brackets, strings,
// templates, comments, regular expressions), not a parser: the engine
// still judges the result, and the prompt falls back to plainer forms when
// the engine refuses it.
#pragma once

#include <string>
#include <vector>

namespace tarn {
namespace host {
namespace repl {

struct SourceShape {
  // Ends inside a bracket, a template literal or a block comment.
  bool open = false;
  // Holds the word `await` outside strings and comments.
  bool mentionsAwait = false;
};

SourceShape ScanSource(const std::string& code);

struct AwaitWrap {
  std::string code;
  // The last statement is an expression: the call's promise resolves to
  // {value: <its value>}; else to undefined.
  bool returnsValue = false;
};

// The input as `(async () => { ... })()`: top-level var, let, const, class
// and function declarations are declared before the call (const as let)
// and assigned inside it, so later input sees them. False when a
// declaration has a form the scanner does not follow.
bool WrapTopLevelAwait(const std::string& code, AwaitWrap* wrap);

// The names the input declares at its top level, for completion.
std::vector<std::string> DeclaredNames(const std::string& code);

}  // namespace repl
}  // namespace host
}  // namespace tarn
