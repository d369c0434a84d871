// The console formatter's source text (formatter.js), built into the library
// through a generated header. It has a file of its own so that the sanitizer
// build can leave this one array uninstrumented: the instrumentation would
// record the header's path, in the build folder, in the library.
#include <cstddef>

#include "FormatterSource.h"

namespace tarn {
namespace host {

const unsigned char* InspectSourceText(std::size_t* length) {
  *length = embedded::kInspectSourceLength;
  return embedded::kInspectSource;
}

}  // namespace host
}  // namespace tarn
