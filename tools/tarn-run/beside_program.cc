#include "beside_program.h"

#include <unistd.h>

std::string besideProgram(const char* name) {
  char self[4096];
  ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) return name;
  std::string path(self, static_cast<size_t>(length));
  size_t slash = path.rfind('/');
  return path.substr(0, slash == std::string::npos ? 0 : slash) + "/../lib/" + name;
}
