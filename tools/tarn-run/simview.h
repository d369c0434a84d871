// tarn-run --sim-view[=[HOST:]PORT] and --sim-view-readonly: a live view of
// the simulated TV in a browser, from a library loaded only when asked.
#pragma once

#include <memory>

#include "tarn/host/Extension.h"

// Takes the view's options out of argv before the command line is parsed, up
// to the script's name (what follows it is the script's). As with
// --inspect, a value is taken only after '='.
void takeSimViewOptions(int* argc, char** argv);

// Whether --sim-view or --sim-view-readonly was given.
bool simViewRequested();

// Loads the view's library and starts serving, with the address printed.
// Null when not asked for, or with *status 2 after a message.
std::unique_ptr<tarn::host::Extension> startSimView(int* status);
