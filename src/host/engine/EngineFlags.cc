#include "engine/EngineFlags.h"

#include <v8.h>

namespace tarn {
namespace host {

namespace {

// V8 spells its flags with dashes or underscores alike.
bool SizesYoungGeneration(const std::vector<std::string>& flags) {
  for (const std::string& flag : flags) {
    if (flag.find("semi-space-size") != std::string::npos ||
        flag.find("semi_space_size") != std::string::npos)
      return true;
  }
  return false;
}

}  // namespace

void SetEngineFlags(const std::vector<std::string>& userFlags) {
  if (!SizesYoungGeneration(userFlags)) {
    const std::string size = std::to_string(kYoungGenerationMB);
    const std::string fixed = "--min-semi-space-size=" + size + " --max-semi-space-size=" + size;
    v8::V8::SetFlagsFromString(fixed.c_str());
  }
  for (const std::string& flag : userFlags) v8::V8::SetFlagsFromString(flag.c_str());
}

}  // namespace host
}  // namespace tarn
