// The extensions tarn-run installs into the engine host.
#pragma once

#include <memory>
#include <vector>

#include "tarn/host/Extension.h"

std::vector<std::unique_ptr<tarn::host::Extension>> tarnRunExtensions();
