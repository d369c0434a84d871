#include "repl/ReplSource.h"

#include <algorithm>
#include <cstring>

namespace tarn {
namespace host {
namespace repl {

namespace {

enum class Kind { Word, Punct, String, Template, Regex, Number };

struct Token {
  Kind kind;
  size_t begin;
  size_t end;
  bool newlineBefore;
  int depth;  // brackets open around it; an opening bracket counts outside
  std::string text;
};

struct Scan {
  std::vector<Token> tokens;
  bool open = false;
  bool unbalanced = false;
};

bool WordStart(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$' || c == '\\' ||
         c >= 0x80;
}

bool WordPart(unsigned char c) { return WordStart(c) || (c >= '0' && c <= '9'); }

bool Digit(char c) { return c >= '0' && c <= '9'; }

const char* const kOperators[] = {
    ">>>=", "...", "===", "!==", "**=", "<<=", ">>=", ">>>", "&&=", "||=", "?\?=",
    "=>",   "==",  "!=",  "<=",  ">=",  "&&",  "||",  "??",  "?.",  "++",  "--",
    "+=",   "-=",  "*=",  "/=",  "%=",  "&=",  "|=",  "^=",  "**",  "<<",  ">>"};

// Words after which a slash starts a regular expression, not a division.
bool RegexAfterWord(const std::string& word) {
  static const char* const words[] = {"return", "typeof", "instanceof", "in",    "of",
                                      "new",    "delete", "void",       "throw", "case",
                                      "do",     "else",   "yield",      "await"};
  for (const char* w : words) {
    if (word == w) return true;
  }
  return false;
}

bool RegexAllowed(const std::vector<Token>& tokens) {
  if (tokens.empty()) return true;
  const Token& last = tokens.back();
  switch (last.kind) {
    case Kind::Word:
      return RegexAfterWord(last.text);
    case Kind::Punct:
      return last.text != ")" && last.text != "]";
    default:
      return false;
  }
}

Scan Tokenize(const std::string& code) {
  Scan scan;
  // Open brackets; 'T' is a template substitution's ${.
  std::string stack;
  size_t i = 0;
  const size_t n = code.size();
  bool newline = false;
  bool inTemplate = false;  // scanning template text (after ` or a substitution's })
  size_t templateBegin = 0;
  auto push = [&](Kind kind, size_t begin, size_t end, int depth) {
    scan.tokens.push_back(Token{kind, begin, end, newline, depth, code.substr(begin, end - begin)});
    newline = false;
  };
  while (i < n || inTemplate) {
    if (inTemplate) {
      // Template text up to the closing ` or the next ${.
      bool closed = false;
      bool substitution = false;
      while (i < n) {
        char c = code[i];
        if (c == '\\') {
          i += 2;
          continue;
        }
        if (c == '`') {
          ++i;
          closed = true;
          break;
        }
        if (c == '$' && i + 1 < n && code[i + 1] == '{') {
          i += 2;
          substitution = true;
          break;
        }
        ++i;
      }
      if (i > n) i = n;
      push(Kind::Template, templateBegin, i, static_cast<int>(stack.size()));
      inTemplate = false;
      if (substitution) {
        stack.push_back('T');
      } else if (!closed) {
        scan.open = true;
        return scan;
      }
      continue;
    }
    unsigned char c = static_cast<unsigned char>(code[i]);
    if (c == '\n' || c == '\r') {
      newline = true;
      ++i;
      continue;
    }
    if (c == ' ' || c == '\t' || c == '\f' || c == '\v') {
      ++i;
      continue;
    }
    // U+2028 and U+2029 end lines too.
    if (c == 0xE2 && i + 2 < n && static_cast<unsigned char>(code[i + 1]) == 0x80 &&
        (static_cast<unsigned char>(code[i + 2]) == 0xA8 ||
         static_cast<unsigned char>(code[i + 2]) == 0xA9)) {
      newline = true;
      i += 3;
      continue;
    }
    if (c == '/' && i + 1 < n && code[i + 1] == '/') {
      while (i < n && code[i] != '\n' && code[i] != '\r') ++i;
      continue;
    }
    if (c == '/' && i + 1 < n && code[i + 1] == '*') {
      size_t end = code.find("*/", i + 2);
      if (end == std::string::npos) {
        scan.open = true;
        return scan;
      }
      if (code.find_first_of("\n\r", i) < end) newline = true;
      i = end + 2;
      continue;
    }
    const int depth = static_cast<int>(stack.size());
    if (WordStart(c)) {
      size_t begin = i;
      while (i < n && WordPart(static_cast<unsigned char>(code[i]))) ++i;
      push(Kind::Word, begin, i, depth);
      continue;
    }
    if (Digit(static_cast<char>(c)) || (c == '.' && i + 1 < n && Digit(code[i + 1]))) {
      size_t begin = i;
      while (i < n) {
        char d = code[i];
        if (WordPart(static_cast<unsigned char>(d)) || d == '.') {
          ++i;
        } else if ((d == '+' || d == '-') && (code[i - 1] == 'e' || code[i - 1] == 'E') &&
                   !(i - begin > 1 && (code[begin + 1] == 'x' || code[begin + 1] == 'X'))) {
          ++i;
        } else {
          break;
        }
      }
      push(Kind::Number, begin, i, depth);
      continue;
    }
    if (c == '"' || c == '\'') {
      size_t begin = i++;
      while (i < n && code[i] != static_cast<char>(c) && code[i] != '\n' && code[i] != '\r') {
        i += code[i] == '\\' ? 2 : 1;
      }
      if (i < n && code[i] == static_cast<char>(c)) ++i;
      if (i > n) i = n;
      push(Kind::String, begin, i, depth);
      continue;
    }
    if (c == '`') {
      templateBegin = i++;
      inTemplate = true;
      continue;
    }
    if (c == '/' && RegexAllowed(scan.tokens)) {
      size_t j = i + 1;
      bool inClass = false;
      bool ended = false;
      while (j < n && code[j] != '\n' && code[j] != '\r') {
        char d = code[j];
        if (d == '\\') {
          j += 2;
          continue;
        }
        if (d == '[') inClass = true;
        if (d == ']') inClass = false;
        if (d == '/' && !inClass) {
          ended = true;
          ++j;
          break;
        }
        ++j;
      }
      if (ended) {
        while (j < n && WordPart(static_cast<unsigned char>(code[j]))) ++j;
        push(Kind::Regex, i, j, depth);
        i = j;
        continue;
      }
    }
    if (c == '(' || c == '[' || c == '{') {
      push(Kind::Punct, i, i + 1, depth);
      stack.push_back(static_cast<char>(c));
      ++i;
      continue;
    }
    if (c == ')' || c == ']' || c == '}') {
      char want = c == ')' ? '(' : c == ']' ? '[' : '{';
      if (c == '}' && !stack.empty() && stack.back() == 'T') {
        // The end of a template substitution: template text follows.
        stack.pop_back();
        templateBegin = i++;
        inTemplate = true;
        continue;
      }
      if (stack.empty() || stack.back() != want) {
        scan.unbalanced = true;
      } else {
        stack.pop_back();
      }
      push(Kind::Punct, i, i + 1, static_cast<int>(stack.size()));
      ++i;
      continue;
    }
    size_t length = 1;
    for (const char* op : kOperators) {
      size_t l = std::strlen(op);
      if (code.compare(i, l, op) == 0) {
        length = l;
        break;
      }
    }
    push(Kind::Punct, i, i + length, depth);
    i += length;
  }
  scan.open = !stack.empty() && !scan.unbalanced;
  return scan;
}

bool Is(const Token& token, const char* text) {
  return (token.kind == Kind::Word || token.kind == Kind::Punct) && token.text == text;
}

// Whether a token can end an expression, so that a line break after it
// ends the statement when the next token cannot go on with it.
bool EndsExpression(const Token& token) {
  switch (token.kind) {
    case Kind::Word: {
      static const char* const operators[] = {"in",    "instanceof", "of",     "new",   "delete",
                                              "void",  "typeof",     "return", "throw", "await",
                                              "yield", "case",       "else",   "do"};
      for (const char* op : operators) {
        if (token.text == op) return false;
      }
      return true;
    }
    case Kind::Punct:
      return token.text == ")" || token.text == "]" || token.text == "}" || token.text == "++" ||
             token.text == "--";
    default:
      return true;
  }
}

// Whether a token can begin a new statement after a line break.
bool BeginsStatement(const Token& token) {
  switch (token.kind) {
    case Kind::Word:
      return !(token.text == "in" || token.text == "instanceof" || token.text == "of");
    case Kind::Number:
    case Kind::String:
    case Kind::Regex:
      return true;
    case Kind::Punct:
      return token.text == "{" || token.text == ";" || token.text == "++" || token.text == "--" ||
             token.text == "!" || token.text == "~";
    default:
      return false;
  }
}

// Indexes (into tokens) of the first token of each top-level statement.
std::vector<size_t> StatementStarts(const std::vector<Token>& tokens) {
  std::vector<size_t> starts;
  const Token* previous = nullptr;
  for (size_t i = 0; i < tokens.size(); ++i) {
    const Token& token = tokens[i];
    if (token.depth != 0) continue;
    bool start = false;
    if (!previous || Is(*previous, ";")) {
      start = true;
    } else if (Is(*previous, "}")) {
      // After a block: a new statement, unless the block's statement goes on
      // (else, catch, finally, do's while) or an expression does.
      start = BeginsStatement(token) || (token.newlineBefore && (Is(token, "(") || Is(token, "[")));
      if (Is(token, "else") || Is(token, "catch") || Is(token, "finally") || Is(token, "while")) {
        start = false;
      }
    } else if (token.newlineBefore && EndsExpression(*previous) && BeginsStatement(token)) {
      start = true;
    }
    if (start && !Is(token, ";")) starts.push_back(i);
    previous = &token;
  }
  return starts;
}

// The next token at depth 0 from `from` (inclusive) up to `end` that reads
// `text`; `end` when there is none.
size_t FindTop(const std::vector<Token>& tokens, size_t from, size_t end, const char* text,
               int depth = 0) {
  for (size_t i = from; i < end; ++i) {
    if (tokens[i].depth == depth && Is(tokens[i], text)) return i;
  }
  return end;
}

// The matching closing bracket of the opening bracket at `open`.
size_t Closing(const std::vector<Token>& tokens, size_t open, size_t end) {
  const int depth = tokens[open].depth;
  for (size_t i = open + 1; i < end; ++i) {
    if (tokens[i].depth == depth && tokens[i].kind == Kind::Punct &&
        (tokens[i].text == ")" || tokens[i].text == "]" || tokens[i].text == "}")) {
      return i;
    }
  }
  return end;
}

bool IsName(const Token& token) {
  if (token.kind != Kind::Word) return false;
  static const char* const reserved[] = {
      "break",  "case",   "catch", "class",      "const",   "continue", "debugger", "default",
      "delete", "do",     "else",  "export",     "extends", "finally",  "for",      "function",
      "if",     "import", "in",    "instanceof", "new",     "return",   "super",    "switch",
      "this",   "throw",  "try",   "typeof",     "var",     "void",     "while",    "with",
      "null",   "true",   "false", "enum",       "await",   "yield"};
  for (const char* word : reserved) {
    if (token.text == word) return false;
  }
  return true;
}

bool PatternNames(const std::vector<Token>& tokens, size_t begin, size_t end,
                  std::vector<std::string>* names);

// A binding target from `begin` to `end`: a name or a nested pattern.
bool TargetNames(const std::vector<Token>& tokens, size_t begin, size_t end,
                 std::vector<std::string>* names) {
  if (begin >= end) return false;
  if (end - begin == 1 && IsName(tokens[begin])) {
    names->push_back(tokens[begin].text);
    return true;
  }
  if (Is(tokens[begin], "{") || Is(tokens[begin], "[")) {
    size_t close = Closing(tokens, begin, end);
    if (close != end - 1) return false;
    return PatternNames(tokens, begin, close, names);
  }
  return false;
}

// The names bound by the object or array pattern whose brackets are at
// `open` and `close`.
bool PatternNames(const std::vector<Token>& tokens, size_t open, size_t close,
                  std::vector<std::string>* names) {
  const bool object = Is(tokens[open], "{");
  const int depth = tokens[open].depth + 1;
  size_t element = open + 1;
  while (element < close) {
    size_t comma = FindTop(tokens, element, close, ",", depth);
    size_t assign = FindTop(tokens, element, comma, "=", depth);
    if (element == comma) {
      if (object) return false;  // an array pattern's hole
    } else if (Is(tokens[element], "...")) {
      if (!TargetNames(tokens, element + 1, assign, names)) return false;
    } else if (object) {
      size_t colon = FindTop(tokens, element, assign, ":", depth);
      if (colon != assign) {
        if (!TargetNames(tokens, colon + 1, assign, names)) return false;
      } else if (assign - element == 1 && IsName(tokens[element])) {
        names->push_back(tokens[element].text);
      } else {
        return false;
      }
    } else if (!TargetNames(tokens, element, assign, names)) {
      return false;
    }
    element = comma + 1;
  }
  return true;
}

enum class Declaration { None, Variable, Function, Class };

struct Statement {
  Statement(size_t first, size_t last, Declaration declaration = Declaration::None)
      : first(first), last(last), declaration(declaration) {}
  size_t first;  // token indexes, inclusive
  size_t last;
  Declaration declaration;
  bool isConst = false;
  bool isVar = false;
  std::vector<std::string> names;
  bool valid = true;  // the declaration's form was followed
};

Declaration DeclarationAt(const std::vector<Token>& tokens, size_t i, size_t last) {
  const Token& token = tokens[i];
  if (Is(token, "var") || Is(token, "const")) return Declaration::Variable;
  if (Is(token, "let") && i < last &&
      (IsName(tokens[i + 1]) || Is(tokens[i + 1], "[") || Is(tokens[i + 1], "{"))) {
    return Declaration::Variable;
  }
  if (Is(token, "function")) return Declaration::Function;
  if (Is(token, "async") && i < last && Is(tokens[i + 1], "function") &&
      !tokens[i + 1].newlineBefore) {
    return Declaration::Function;
  }
  if (Is(token, "class")) return Declaration::Class;
  return Declaration::None;
}

std::vector<Statement> Statements(const std::vector<Token>& tokens) {
  std::vector<Statement> statements;
  std::vector<size_t> starts = StatementStarts(tokens);
  for (size_t s = 0; s < starts.size(); ++s) {
    size_t first = starts[s];
    size_t limit = s + 1 < starts.size() ? starts[s + 1] : tokens.size();
    size_t last = limit - 1;
    while (last > first && Is(tokens[last], ";") && tokens[last].depth == 0) --last;
    Statement statement(first, last, DeclarationAt(tokens, first, last));
    switch (statement.declaration) {
      case Declaration::Variable: {
        statement.isConst = Is(tokens[first], "const");
        statement.isVar = Is(tokens[first], "var");
        size_t declarator = first + 1;
        while (declarator <= last) {
          size_t comma = FindTop(tokens, declarator, last + 1, ",");
          size_t assign = FindTop(tokens, declarator, comma, "=");
          if (!TargetNames(tokens, declarator, assign, &statement.names)) {
            statement.valid = false;
            break;
          }
          declarator = comma + 1;
        }
        break;
      }
      case Declaration::Function:
      case Declaration::Class: {
        size_t word = FindTop(tokens, first, last + 1,
                              statement.declaration == Declaration::Class ? "class" : "function");
        size_t name = word + 1;
        if (name <= last && Is(tokens[name], "*")) ++name;
        size_t body = FindTop(tokens, name, last + 1, "{");
        size_t close = body <= last ? Closing(tokens, body, tokens.size()) : tokens.size();
        if (name > last || !IsName(tokens[name]) || close >= tokens.size()) {
          statement.valid = false;
          break;
        }
        statement.names.push_back(tokens[name].text);
        // What follows the body on the same line is a statement of its own.
        if (close < last) {
          statements.emplace_back(first, close, statement.declaration);
          statements.back().names = statement.names;
          statements.emplace_back(close + 1, last);
          continue;
        }
        break;
      }
      case Declaration::None:
        break;
    }
    statements.push_back(statement);
  }
  return statements;
}

// Statements whose first word makes them anything but an expression.
bool ExpressionStatement(const std::vector<Token>& tokens, const Statement& statement) {
  const Token& token = tokens[statement.first];
  if (statement.declaration != Declaration::None) return false;
  if (Is(token, "{") || Is(token, ";")) return false;
  static const char* const words[] = {"if",    "for",      "while",  "do",      "switch",
                                      "try",   "return",   "throw",  "break",   "continue",
                                      "with",  "debugger", "import", "export",  "let",
                                      "const", "var",      "class",  "function"};
  if (token.kind == Kind::Word) {
    for (const char* word : words) {
      if (token.text == word) return false;
    }
    // A label.
    if (statement.first < statement.last && Is(tokens[statement.first + 1], ":")) return false;
  }
  return true;
}

}  // namespace

SourceShape ScanSource(const std::string& code) {
  Scan scan = Tokenize(code);
  SourceShape shape;
  shape.open = scan.open;
  for (const Token& token : scan.tokens) {
    if (Is(token, "await")) shape.mentionsAwait = true;
  }
  return shape;
}

bool WrapTopLevelAwait(const std::string& code, AwaitWrap* wrap) {
  Scan scan = Tokenize(code);
  if (scan.open || scan.unbalanced) return false;
  const std::vector<Token>& tokens = scan.tokens;
  std::vector<Statement> statements = Statements(tokens);
  // Edits at byte offsets of the input, applied from the end.
  struct Edit {
    size_t at;
    size_t remove;
    std::string insert;
  };
  std::vector<Edit> edits;
  std::string hoisted;
  for (const Statement& statement : statements) {
    if (statement.declaration == Declaration::None) continue;
    if (!statement.valid) return false;
    const Token& first = tokens[statement.first];
    const Token& last = tokens[statement.last];
    std::string list;
    for (const std::string& name : statement.names) list += (list.empty() ? "" : ", ") + name;
    if (statement.declaration == Declaration::Variable) {
      // const becomes let: it is assigned inside the call.
      hoisted += (statement.isVar ? "var " : "let ") + list + "; ";
      edits.push_back(Edit{first.begin, first.end - first.begin, "void ("});
      edits.push_back(Edit{last.end, 0, ")"});
    } else {
      hoisted += (statement.declaration == Declaration::Function ? "var " : "let ") + list + "; ";
      edits.push_back(Edit{first.begin, 0, statement.names[0] + " = "});
      edits.push_back(Edit{last.end, 0, ";"});
    }
  }
  wrap->returnsValue = false;
  if (!statements.empty() && ExpressionStatement(tokens, statements.back())) {
    const Statement& statement = statements.back();
    edits.push_back(Edit{tokens[statement.first].begin, 0, "return { value: ("});
    edits.push_back(Edit{tokens[statement.last].end, 0, ") };"});
    wrap->returnsValue = true;
  }
  // From the end; at one offset, what was listed first must come first in
  // the text, so it is applied last.
  std::vector<size_t> order(edits.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    return edits[a].at != edits[b].at ? edits[a].at > edits[b].at : a > b;
  });
  std::string body = code;
  for (size_t i : order) body.replace(edits[i].at, edits[i].remove, edits[i].insert);
  wrap->code = hoisted + "(async () => {\n" + body + "\n})()";
  return true;
}

std::vector<std::string> DeclaredNames(const std::string& code) {
  Scan scan = Tokenize(code);
  std::vector<std::string> names;
  if (scan.open || scan.unbalanced) return names;
  for (const Statement& statement : Statements(scan.tokens)) {
    if (statement.declaration == Declaration::None || !statement.valid) continue;
    names.insert(names.end(), statement.names.begin(), statement.names.end());
  }
  return names;
}

}  // namespace repl
}  // namespace host
}  // namespace tarn
