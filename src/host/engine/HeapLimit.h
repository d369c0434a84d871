// The end of a script that fills its heap. As the heap nears its limit, up
// to a given number of heap snapshots are written (each buys the script more
// room); after that the run ends as any fatal error ends it: one message
// naming the limit, the extensions stopped (the simulated TV writes its
// journal and removes its temporary root) and exit status 134.
#pragma once

#include <v8.h>

namespace tarn {
namespace host {

// Installs the near-limit and out-of-memory handlers on the isolate; up to
// `snapshots` heap snapshots are written into the app's data folder.
void WatchHeapLimit(v8::Isolate* isolate, int snapshots);

// Before the isolate is disposed.
void StopWatchingHeapLimit(v8::Isolate* isolate);

// The exit status of a run ended by its heap's limit.
constexpr int kHeapExhaustedStatus = 134;

}  // namespace host
}  // namespace tarn
