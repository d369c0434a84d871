#include "types_text.h"

#include <cstdio>

#include "TypesSource.h"

int printTypes() {
  using tarn::host::embedded::kScriptTypes;
  using tarn::host::embedded::kScriptTypesLength;
  bool written = std::fwrite(kScriptTypes, 1, kScriptTypesLength, stdout) == kScriptTypesLength;
  return written && std::fflush(stdout) == 0 ? 0 : 1;
}
