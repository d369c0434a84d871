#include "code_value.h"

#include <cstring>

namespace {

bool TakesCode(const char* argument) {
  for (const char* name : {"-e", "--eval", "-p", "--print"}) {
    if (std::strcmp(argument, name) == 0) return true;
  }
  return false;
}

}  // namespace

void CodeValueCheck::prepare(int argc, char** argv) {
  candidates_.clear();
  for (int i = 1; i + 1 < argc; ++i) {
    if (std::strcmp(argv[i], "--") == 0) break;
    if (TakesCode(argv[i]) && argv[i + 1][0] == '-') candidates_.push_back({argv[i], argv[i + 1]});
  }
}

std::string CodeValueCheck::missing(int argc, char** argv) const {
  for (const Candidate& candidate : candidates_) {
    bool left = false;
    for (int i = 0; i < argc && !left; ++i) left = argv[i] == candidate.value;
    if (!left) return candidate.option;
  }
  return "";
}
