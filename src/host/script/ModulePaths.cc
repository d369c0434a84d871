#include "script/ModulePaths.h"

#include <limits.h>
#include <unistd.h>

#include <cctype>
#include <cstring>

#include "engine/ScriptText.h"

namespace tarn {
namespace host {
namespace modules {

namespace {

bool IsRelativeSpecifier(const std::string& specifier) {
  return specifier == "." || specifier == ".." || specifier.compare(0, 2, "./") == 0 ||
         specifier.compare(0, 3, "../") == 0;
}

// The scheme of a URL ("file", "https"), or empty when the text is none.
std::string UrlScheme(const std::string& text) {
  if (text.empty() || !std::isalpha(static_cast<unsigned char>(text[0]))) return std::string();
  for (size_t i = 1; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == ':') return text.substr(0, i);
    if (!std::isalnum(c) && c != '+' && c != '-' && c != '.') break;
  }
  return std::string();
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

void Throw(v8::Isolate* isolate, bool typeError, const std::string& message, const char* code) {
  v8::Local<v8::Context> context = isolate->GetCurrentContext();
  v8::Local<v8::Value> error = typeError ? v8::Exception::TypeError(Text(isolate, message))
                                         : v8::Exception::Error(Text(isolate, message));
  if (code && error->IsObject() &&
      error.As<v8::Object>()
          ->Set(context, Text(isolate, "code"), Text(isolate, code))
          .IsNothing()) {
    return;
  }
  isolate->ThrowException(error);
}

std::string Directory(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string CurrentDirectory() {
  char buffer[PATH_MAX];
  return getcwd(buffer, sizeof buffer) ? std::string(buffer) : std::string(".");
}

std::string Absolute(const std::string& directory, const std::string& path) {
  if (!path.empty() && path[0] == '/') return NormalizePath(path);
  std::string base = directory.empty() ? "." : directory;
  if (base[0] != '/') base = CurrentDirectory() + "/" + base;
  return NormalizePath(base + "/" + path);
}

bool FileUrlPath(const std::string& url, std::string* path) {
  const std::string prefix = "file://";
  if (url.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(url[i])) != prefix[i]) return false;
  }
  std::string rest = url.substr(prefix.size());
  size_t end = rest.find_first_of("?#");
  if (end != std::string::npos) rest.resize(end);
  size_t slash = rest.find('/');
  if (slash == std::string::npos) return false;
  std::string host = rest.substr(0, slash);
  if (!host.empty() && host != "localhost") return false;
  path->clear();
  for (size_t i = slash; i < rest.size(); ++i) {
    if (rest[i] == '%' && i + 2 < rest.size() && HexDigit(rest[i + 1]) >= 0 &&
        HexDigit(rest[i + 2]) >= 0) {
      char c = static_cast<char>(HexDigit(rest[i + 1]) * 16 + HexDigit(rest[i + 2]));
      if (c == '/' || c == '\0') return false;
      *path += c;
      i += 2;
    } else {
      *path += rest[i];
    }
  }
  return true;
}

std::string FileUrl(const std::string& path) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string url = "file://";
  for (unsigned char c : path) {
    if (c > 0x20 && c < 0x7f && !std::strchr("\"#%<>?`{}\\", c)) {
      url += static_cast<char>(c);
    } else {
      url += '%';
      url += kHex[c >> 4];
      url += kHex[c & 15];
    }
  }
  return url;
}

bool SpecifierPath(v8::Isolate* isolate, const std::string& directory, const std::string& specifier,
                   const Importer& importer, std::string* path) {
  // The file system would read the name only up to the NUL.
  if (specifier.find('\0') != std::string::npos) {
    Throw(isolate, true, "A module name in " + importer.Text() + " holds a NUL character",
          "ERR_INVALID_MODULE_SPECIFIER");
    return false;
  }
  if (IsRelativeSpecifier(specifier) || (!specifier.empty() && specifier[0] == '/')) {
    *path = Absolute(directory, specifier);
    return true;
  }
  std::string scheme = UrlScheme(specifier);
  if (scheme.empty()) {
    Throw(isolate, false,
          "'" + specifier + "' in " + importer.Text() +
              " names a package, and tarn-run has none: name the module's file by a relative "
              "path (\"./\", \"../\"), an absolute path or a file: URL",
          "ERR_MODULE_NOT_FOUND");
    return false;
  }
  std::string lowered = scheme;
  for (char& c : lowered) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (lowered != "file") {
    Throw(isolate, false,
          "'" + specifier + "' in " + importer.Text() +
              ": tarn-run loads modules from files, named by path or file: URL",
          "ERR_UNSUPPORTED_ESM_URL_SCHEME");
    return false;
  }
  std::string decoded;
  if (!FileUrlPath(specifier, &decoded)) {
    Throw(isolate, true,
          "'" + specifier + "' in " + importer.Text() +
              " is no file of this host: a file: URL names an absolute path, without an "
              "encoded \"/\"",
          "ERR_INVALID_FILE_URL_PATH");
    return false;
  }
  *path = NormalizePath(decoded);
  return true;
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace modules
}  // namespace host
}  // namespace tarn
