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

// The scanner's steps, each taking one kind of token (or space, a comment,
// a run of template text) at the current place.
class Tokenizer {
 public:
  explicit Tokenizer(const std::string& code) : code_(code), n_(code.size()) {}

  Scan Run() {
    while (i_ < n_ || inTemplate_) {
      if (inTemplate_) {
        if (!TemplateText()) return scan_;
        continue;
      }
      bool ended = false;
      if (Space() || Comment(&ended)) {
        if (ended) return scan_;
        continue;
      }
      if (Word() || Number() || Quoted() || TemplateStart() || Regex() || Bracket()) continue;
      Operator();
    }
    scan_.open = !stack_.empty() && !scan_.unbalanced;
    return scan_;
  }

 private:
  unsigned char At(size_t i) const { return static_cast<unsigned char>(code_[i]); }
  int Depth() const { return static_cast<int>(stack_.size()); }

  void Push(Kind kind, size_t begin, size_t end, int depth) {
    scan_.tokens.push_back(
        Token{kind, begin, end, newline_, depth, code_.substr(begin, end - begin)});
    newline_ = false;
  }

  // Template text up to the closing ` or the next ${; false when the input
  // ends inside it.
  bool TemplateText() {
    bool closed = false;
    bool substitution = false;
    while (i_ < n_) {
      char c = code_[i_];
      if (c == '\\') {
        i_ += 2;
        continue;
      }
      if (c == '`') {
        ++i_;
        closed = true;
        break;
      }
      if (c == '$' && i_ + 1 < n_ && code_[i_ + 1] == '{') {
        i_ += 2;
        substitution = true;
        break;
      }
      ++i_;
    }
    if (i_ > n_) i_ = n_;
    Push(Kind::Template, templateBegin_, i_, Depth());
    inTemplate_ = false;
    if (substitution) {
      stack_.push_back('T');
    } else if (!closed) {
      scan_.open = true;
      return false;
    }
    return true;
  }

  // White space and line ends (U+2028 and U+2029 end lines too).
  bool Space() {
    unsigned char c = At(i_);
    if (c == '\n' || c == '\r') {
      newline_ = true;
      ++i_;
      return true;
    }
    if (c == ' ' || c == '\t' || c == '\f' || c == '\v') {
      ++i_;
      return true;
    }
    if (c == 0xE2 && i_ + 2 < n_ && At(i_ + 1) == 0x80 &&
        (At(i_ + 2) == 0xA8 || At(i_ + 2) == 0xA9)) {
      newline_ = true;
      i_ += 3;
      return true;
    }
    return false;
  }

  // A comment; *ended when a block comment runs to the end of the input.
  bool Comment(bool* ended) {
    if (code_[i_] != '/' || i_ + 1 >= n_) return false;
    if (code_[i_ + 1] == '/') {
      while (i_ < n_ && code_[i_] != '\n' && code_[i_] != '\r') ++i_;
      return true;
    }
    if (code_[i_ + 1] != '*') return false;
    size_t end = code_.find("*/", i_ + 2);
    if (end == std::string::npos) {
      scan_.open = true;
      *ended = true;
      return true;
    }
    if (code_.find_first_of("\n\r", i_) < end) newline_ = true;
    i_ = end + 2;
    return true;
  }

  bool Word() {
    if (!WordStart(At(i_))) return false;
    size_t begin = i_;
    while (i_ < n_ && WordPart(At(i_))) ++i_;
    Push(Kind::Word, begin, i_, Depth());
    return true;
  }

  bool Number() {
    char c = code_[i_];
    if (!Digit(c) && !(c == '.' && i_ + 1 < n_ && Digit(code_[i_ + 1]))) return false;
    size_t begin = i_;
    while (i_ < n_) {
      char d = code_[i_];
      if (WordPart(static_cast<unsigned char>(d)) || d == '.') {
        ++i_;
      } else if ((d == '+' || d == '-') && (code_[i_ - 1] == 'e' || code_[i_ - 1] == 'E') &&
                 !(i_ - begin > 1 && (code_[begin + 1] == 'x' || code_[begin + 1] == 'X'))) {
        ++i_;
      } else {
        break;
      }
    }
    Push(Kind::Number, begin, i_, Depth());
    return true;
  }

  // A text in single or double quotes; one left open ends at the line.
  bool Quoted() {
    char quote = code_[i_];
    if (quote != '"' && quote != '\'') return false;
    size_t begin = i_++;
    while (i_ < n_ && code_[i_] != quote && code_[i_] != '\n' && code_[i_] != '\r') {
      i_ += code_[i_] == '\\' ? 2 : 1;
    }
    if (i_ < n_ && code_[i_] == quote) ++i_;
    if (i_ > n_) i_ = n_;
    Push(Kind::String, begin, i_, Depth());
    return true;
  }

  bool TemplateStart() {
    if (code_[i_] != '`') return false;
    templateBegin_ = i_++;
    inTemplate_ = true;
    return true;
  }

  // A regular expression where one may start, ended on its line.
  bool Regex() {
    if (code_[i_] != '/' || !RegexAllowed(scan_.tokens)) return false;
    size_t j = i_ + 1;
    bool inClass = false;
    bool ended = false;
    while (j < n_ && code_[j] != '\n' && code_[j] != '\r') {
      char d = code_[j];
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
    if (!ended) return false;
    while (j < n_ && WordPart(At(j))) ++j;
    Push(Kind::Regex, i_, j, Depth());
    i_ = j;
    return true;
  }

  // Brackets, kept on the stack; a } that ends a template substitution
  // goes back to template text.
  bool Bracket() {
    char c = code_[i_];
    if (c == '(' || c == '[' || c == '{') {
      Push(Kind::Punct, i_, i_ + 1, Depth());
      stack_.push_back(c);
      ++i_;
      return true;
    }
    if (c != ')' && c != ']' && c != '}') return false;
    if (c == '}' && !stack_.empty() && stack_.back() == 'T') {
      stack_.pop_back();
      templateBegin_ = i_++;
      inTemplate_ = true;
      return true;
    }
    char want = c == ')' ? '(' : c == ']' ? '[' : '{';
    if (stack_.empty() || stack_.back() != want) {
      scan_.unbalanced = true;
    } else {
      stack_.pop_back();
    }
    Push(Kind::Punct, i_, i_ + 1, Depth());
    ++i_;
    return true;
  }

  // The longest operator here, or any other single character.
  void Operator() {
    size_t length = 1;
    for (const char* op : kOperators) {
      size_t l = std::strlen(op);
      if (code_.compare(i_, l, op) == 0) {
        length = l;
        break;
      }
    }
    Push(Kind::Punct, i_, i_ + length, Depth());
    i_ += length;
  }

  const std::string& code_;
  const size_t n_;
  size_t i_ = 0;
  Scan scan_;
  std::string stack_;  // open brackets; 'T' is a template substitution's ${
  bool newline_ = false;
  bool inTemplate_ = false;  // scanning template text (after ` or a substitution's })
  size_t templateBegin_ = 0;
};

Scan Tokenize(const std::string& code) { return Tokenizer(code).Run(); }

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
