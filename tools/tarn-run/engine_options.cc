#include "engine_options.h"

#include <v8.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

EngineOptions::~EngineOptions() {
  g_free(maxOldSpace);
  g_free(stackSize);
  g_strfreev(jsFlags);
  g_free(snapshotsNearLimit);
}

namespace {

// A whole number from `low` to `high`, digits only.
bool WholeNumber(const char* text, unsigned long long low, unsigned long long high,
                 unsigned long long* number) {
  if (!text || *text < '0' || *text > '9') return false;
  errno = 0;
  char* end = nullptr;
  unsigned long long value = std::strtoull(text, &end, 10);
  if (errno != 0 || *end != '\0' || value < low || value > high) return false;
  *number = value;
  return true;
}

// V8 takes the flags it knows out of an argument list and leaves the rest
// there: a word left over is no flag of the engine's. (V8 alone would print
// "unrecognized flag" and run on without it.) Empty text holds no flag.
bool EngineKnowsEveryFlag(const char* text, std::string* unknown) {
  gint count = 0;
  gchar** words = nullptr;
  if (!g_shell_parse_argv(text, &count, &words, nullptr)) {
    // Unbalanced quotes, or nothing but blanks.
    gchar* stripped = g_strstrip(g_strdup(text));
    const bool blank = stripped[0] == '\0';
    g_free(stripped);
    if (!blank) *unknown = text;
    return blank;
  }
  std::vector<char*> argv{const_cast<char*>("tarn-run")};
  for (gint i = 0; i < count; ++i) argv.push_back(words[i]);
  int left = static_cast<int>(argv.size());
  v8::V8::SetFlagsFromCommandLine(&left, argv.data(), true);
  if (left > 1) *unknown = argv[1];
  g_strfreev(words);
  return left <= 1;
}

}  // namespace

bool engineFlags(const EngineOptions& options, tarn::host::HostOptions* host, std::string* error) {
  unsigned long long number = 0;
  if (options.maxOldSpace) {
    // Up to 1 TB; what the machine cannot give fails later, as in V8.
    if (!WholeNumber(options.maxOldSpace, 1, 1ull << 20, &number)) {
      *error = std::string("--max-old-space-size: expected megabytes from 1 to 1048576, found \"") +
               options.maxOldSpace + "\"";
      return false;
    }
    host->engineFlags.push_back("--max-old-space-size=" + std::to_string(number));
  }
  if (options.stackSize) {
    if (!WholeNumber(options.stackSize, 1, 1ull << 20, &number)) {
      *error = std::string("--stack-size: expected kilobytes from 1 to 1048576, found \"") +
               options.stackSize + "\"";
      return false;
    }
    host->engineFlags.push_back("--stack-size=" + std::to_string(number));
  }
  if (options.exposeGc) host->engineFlags.push_back("--expose-gc");
  if (options.jsFlags) {
    for (gchar** flags = options.jsFlags; *flags; ++flags) {
      std::string unknown;
      if (!EngineKnowsEveryFlag(*flags, &unknown)) {
        *error = "--js-flags: \"" + unknown +
                 "\" is not a flag of the engine (tarn-run --v8-options lists them)";
        return false;
      }
      host->engineFlags.push_back(*flags);
    }
  }
  if (options.snapshotsNearLimit) {
    if (!WholeNumber(options.snapshotsNearLimit, 0, 1000, &number)) {
      *error = std::string(
                   "--heapsnapshot-near-heap-limit: expected a count from 0 to 1000, "
                   "found \"") +
               options.snapshotsNearLimit + "\"";
      return false;
    }
    host->heapSnapshotsNearLimit = static_cast<int>(number);
  }
  return true;
}

void listEngineOptions() { v8::V8::SetFlagsFromString("--help"); }
