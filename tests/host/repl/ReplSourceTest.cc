// The prompt's scanner: when input is unfinished, and how input that awaits
// at its top level is rewritten so its declarations outlive the call.
#include "repl/ReplSource.h"

#include <gtest/gtest.h>

using tarn::host::repl::AwaitWrap;
using tarn::host::repl::DeclaredNames;
using tarn::host::repl::ScanSource;
using tarn::host::repl::WrapTopLevelAwait;

TEST(ReplSource, OpenInput) {
  EXPECT_TRUE(ScanSource("function f() {").open);
  EXPECT_TRUE(ScanSource("foo(1,").open);
  EXPECT_TRUE(ScanSource("[1, {a: 2").open);
  EXPECT_TRUE(ScanSource("`one\ntwo").open);
  EXPECT_TRUE(ScanSource("`a ${b + `c ${d}`").open);
  EXPECT_TRUE(ScanSource("x = 1 /* still").open);
  EXPECT_FALSE(ScanSource("f(')', \"(\", `{`, /[(]/)").open);
  EXPECT_FALSE(ScanSource("a / b / c").open);
  EXPECT_FALSE(ScanSource("x = 1 // (").open);
  // Closed too often: an error, not a reason to wait for more.
  EXPECT_FALSE(ScanSource(") (").open);
  EXPECT_FALSE(ScanSource("'unterminated").open);
}

TEST(ReplSource, MentionsAwait) {
  EXPECT_TRUE(ScanSource("await f()").mentionsAwait);
  EXPECT_FALSE(ScanSource("'await' + awaited // await").mentionsAwait);
}

TEST(ReplSource, AwaitExpressionReturnsItsValue) {
  AwaitWrap wrap;
  ASSERT_TRUE(WrapTopLevelAwait("await f()", &wrap));
  EXPECT_TRUE(wrap.returnsValue);
  EXPECT_EQ(wrap.code, "(async () => {\nreturn { value: (await f()) };\n})()");
}

TEST(ReplSource, DeclarationsAreHoisted) {
  AwaitWrap wrap;
  ASSERT_TRUE(WrapTopLevelAwait("const {a, b: [c, ...d], e = 1} = await f(); let g = 2, h", &wrap));
  EXPECT_FALSE(wrap.returnsValue);
  EXPECT_EQ(wrap.code,
            "let a, c, d, e; let g, h; (async () => {\n"
            "void ( {a, b: [c, ...d], e = 1} = await f()); void ( g = 2, h)\n})()");
}

TEST(ReplSource, FunctionsAndClasses) {
  AwaitWrap wrap;
  ASSERT_TRUE(
      WrapTopLevelAwait("await 1\nasync function g() {}\nclass K extends B {}\ng()", &wrap));
  EXPECT_TRUE(wrap.returnsValue);
  EXPECT_EQ(wrap.code,
            "var g; let K; (async () => {\nawait 1\ng = async function g() {};\n"
            "K = class K extends B {};\nreturn { value: (g()) };\n})()");
}

TEST(ReplSource, StatementsEndingTheInputReturnNothing) {
  AwaitWrap wrap;
  ASSERT_TRUE(WrapTopLevelAwait("if (await x) { y() } else { z() }", &wrap));
  EXPECT_FALSE(wrap.returnsValue);
  ASSERT_TRUE(WrapTopLevelAwait("for (const a of await list()) console.log(a)", &wrap));
  EXPECT_FALSE(wrap.returnsValue);
  EXPECT_EQ(wrap.code, "(async () => {\nfor (const a of await list()) console.log(a)\n})()");
}

TEST(ReplSource, UnknownDeclarationFormsAreRefused) {
  AwaitWrap wrap;
  EXPECT_FALSE(WrapTopLevelAwait("let [a.b] = await f()", &wrap));
  EXPECT_FALSE(WrapTopLevelAwait("await (", &wrap));
}

TEST(ReplSource, DeclaredNames) {
  EXPECT_EQ(DeclaredNames("let a = 1; const {b, c: d} = o\nfunction f() { let inner }\nclass K {}"),
            (std::vector<std::string>{"a", "b", "d", "f", "K"}));
  EXPECT_TRUE(DeclaredNames("{ let blockScoped = 1 }").empty());
}

// Whatever is typed, the scanner ends and its rewrites stay well formed:
// pieces of script in random order, cut at random places.
TEST(ReplSource, RandomInput) {
  const char* const pieces[] = {
      "let ", "const ", "var ", "function ", "class ", "async ", "await ", "a", "b1",
      "{",    "}",      "(",    ")",         "[",      "]",      ",",      ";", "=",
      "=>",   "...",    ":",    "\n",        "'s",     "\"t\"",  "`x${",   "`", "/re/g",
      "/",    "// c\n", "/* c", "*/",        "\\",     "é",      "\xff",   " ", "1.5e+3"};
  unsigned seed = 12345;
  auto next = [&seed](unsigned bound) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 16) % bound;
  };
  for (int run = 0; run < 20000; ++run) {
    std::string code;
    unsigned count = next(24);
    for (unsigned i = 0; i < count; ++i) code += pieces[next(sizeof pieces / sizeof pieces[0])];
    code = code.substr(0, next(static_cast<unsigned>(code.size()) + 1));
    ScanSource(code);
    DeclaredNames(code);
    AwaitWrap wrap;
    if (WrapTopLevelAwait(code, &wrap)) {
      ASSERT_GE(wrap.code.size(), code.size()) << code;
      ASSERT_EQ(wrap.code.substr(wrap.code.size() - 5), "\n})()") << code;
    }
  }
}
