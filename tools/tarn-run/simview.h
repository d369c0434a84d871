// tarn-run --sim-view[=[HOST:]PORT] and --sim-view-readonly: a live view of
// the simulated TV in a browser, from a library loaded only when asked.
#pragma once

#include <memory>
#include <string>

#include "tarn/host/Extension.h"

// Records --sim-view or --sim-view-readonly as the command line gave it
// (name without "=", and the value after "=" when there is one).
void noteSimViewOption(const std::string& name, bool hasValue, const std::string& value);

// Whether --sim-view or --sim-view-readonly was given.
bool simViewRequested();

// Loads the view's library and starts serving, with the address printed.
// Null when not asked for, or with *status 2 after a message.
std::unique_ptr<tarn::host::Extension> startSimView(int* status);
