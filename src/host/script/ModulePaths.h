// How an import names its module: specifiers, file: URLs and paths, by name
// only (the file system is not asked), and the errors that say why a
// specifier names none.
#pragma once

#include <v8.h>

#include <string>

namespace tarn {
namespace host {
namespace modules {

// The place an import was written: its file and line (0 when unknown).
struct Importer {
  std::string name;
  int line = 0;
  std::string Text() const { return line > 0 ? name + ":" + std::to_string(line) : name; }
};

// Throws an Error (a TypeError when asked) carrying node's error code as
// `code`, so scripts can tell the cases apart as they do under node.
void Throw(v8::Isolate* isolate, bool typeError, const std::string& message, const char* code);

// The folder of a path; "." for a bare file name.
std::string Directory(const std::string& path);

// The working folder; "." when it cannot be had.
std::string CurrentDirectory();

// A path made absolute against a folder (itself relative to the working
// folder when it is), with "." and ".." taken out by name.
std::string Absolute(const std::string& directory, const std::string& path);

// file:///path or file://localhost/path: the path, percent-decoded, without
// a query or fragment. False for another host, an encoded "/" or NUL.
bool FileUrlPath(const std::string& url, std::string* path);

// The path as a file: URL, escaped as node's pathToFileURL escapes it: "%",
// the backslash, and what a URL path cannot hold as it is (controls, space,
// bytes beyond ASCII, and " # < > ? ` { }).
std::string FileUrl(const std::string& path);

// A specifier as an absolute path, by name only (the file need not exist);
// false with an Error thrown for a bare specifier or a URL of another kind.
bool SpecifierPath(v8::Isolate* isolate, const std::string& directory, const std::string& specifier,
                   const Importer& importer, std::string* path);

bool EndsWith(const std::string& text, const std::string& end);

}  // namespace modules
}  // namespace host
}  // namespace tarn
