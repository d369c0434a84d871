#include "extensions.h"

std::vector<std::unique_ptr<tarn::host::Extension>> tarnRunExtensions() {
  std::vector<std::unique_ptr<tarn::host::Extension>> extensions;
  return extensions;
}
