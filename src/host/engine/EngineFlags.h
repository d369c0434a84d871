// V8's flags, set once before the engine starts: the host's defaults, then
// the ones the user gave (V8 keeps the last setting of a flag).
#pragma once

#include <string>
#include <vector>

namespace tarn {
namespace host {

// The young generation's fixed size, in megabytes, unless the user's flags
// size it themselves ("--min-semi-space-size", "--max-semi-space-size").
// V8 otherwise grows and shrinks it with the load, and each turn leaves
// pages behind that the process does not give back: a host that runs for
// weeks keeps it one size.
constexpr int kYoungGenerationMB = 8;

void SetEngineFlags(const std::vector<std::string>& userFlags);

}  // namespace host
}  // namespace tarn
