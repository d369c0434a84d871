#include "engine_options.h"

#include <v8.h>

#include <cerrno>
#include <cstdlib>

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
    for (gchar** flags = options.jsFlags; *flags; ++flags) host->engineFlags.push_back(*flags);
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
