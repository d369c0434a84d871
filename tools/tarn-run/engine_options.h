// The engine's own options on tarn-run's command line, as node passes them to
// V8: --max-old-space-size, --stack-size, --expose-gc, --js-flags, and
// --v8-options to list V8's; plus --heapsnapshot-near-heap-limit.
#pragma once

#include <glib.h>

#include <string>

#include "tarn/host/Host.h"

// Filled by GOption; freed with it.
struct EngineOptions {
  gchar* maxOldSpace = nullptr;
  gchar* stackSize = nullptr;
  gboolean exposeGc = FALSE;
  gchar** jsFlags = nullptr;
  gboolean listOptions = FALSE;
  gchar* snapshotsNearLimit = nullptr;

  EngineOptions() = default;
  ~EngineOptions();
  EngineOptions(const EngineOptions&) = delete;
  EngineOptions& operator=(const EngineOptions&) = delete;
};

// The V8 flags and the snapshot count into *host; false with a message
// naming the option and its value when a size or count is not a whole
// number in range.
bool engineFlags(const EngineOptions& options, tarn::host::HostOptions* host, std::string* error);

// --v8-options: V8's list of its options, on stdout.
void listEngineOptions();
