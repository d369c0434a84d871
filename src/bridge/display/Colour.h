// Colour helpers of the display area, shared with the benchmarks.
#pragma once

#include <cstdint>
#include <string>

namespace Bridge {

// The profiler's annotation colour code for a colour name: the bytes 0x1B,
// red, green, blue when written little-endian. Names are exact and
// case-sensitive; any other text gives black (0x0000001B).
std::uint32_t getColor(const std::string& name);

// The grey level (all three channels) of a readable text colour on a
// background whose channels are 0..255: 153..255 on a dark background, 41..106
// on a light one, in single precision.
int foregroundGrey(unsigned red, unsigned green, unsigned blue);

}  // namespace Bridge
