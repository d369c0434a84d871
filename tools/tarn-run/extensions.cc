// The extensions tarn-run installs: the simulated TV platform (`tarn.sim`
// and the --sim-* options).
#include "extensions.h"

#include "SimulatorExtension.h"

std::vector<std::unique_ptr<tarn::host::Extension>> tarnRunExtensions() {
  std::vector<std::unique_ptr<tarn::host::Extension>> extensions;
  extensions.push_back(tvsim::makeSimulatorExtension());
  return extensions;
}
