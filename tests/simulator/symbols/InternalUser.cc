// A library that reaches into the simulator's own control API, which no
// bridge may do. The symbol check must reject it.
#include "tvsim/Simulator.h"

extern "C" int internalUser() { return static_cast<int>(tvsim::Simulator::root().size()); }
