// The console formatter's source text (console/*.js), built into the
// library through a generated header. It has a file of its own so that the
// sanitizer build can leave this one array uninstrumented: the
// instrumentation would record the header's path, in the build folder, in
// the library.
#include <cstddef>

#include "FormatterText.h"

namespace tarn {
namespace host {

const unsigned char* FormatterText(std::size_t* length) {
  *length = embedded::kFormatterTextLength;
  return embedded::kFormatterText;
}

}  // namespace host
}  // namespace tarn
