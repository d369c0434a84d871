// The extensions tarn-run installs into the engine host.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tarn/host/Extension.h"

std::vector<std::unique_ptr<tarn::host::Extension>> tarnRunExtensions();

// After the extensions have started: whether the simulated TV's root folder
// can be used (TVSIM_ROOT a folder, a root made, writable); else a message
// naming the bad value.
bool simulatorRootUsable(std::string* error);
