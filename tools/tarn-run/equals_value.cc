#include "equals_value.h"

#include <cstdlib>
#include <cstring>

EqualsValueOptions::EqualsValueOptions(std::vector<std::string> names) : names_(std::move(names)) {}

EqualsValueOptions::~EqualsValueOptions() {
  for (Replaced& entry : replaced_) std::free(entry.placeholder);
}

void EqualsValueOptions::prepare(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--") == 0) break;
    for (const std::string& name : names_) {
      const char* argument = argv[i];
      if (std::strncmp(argument, name.c_str(), name.size()) != 0) continue;
      const char* rest = argument + name.size();
      if (*rest != '\0' && *rest != '=') continue;
      Replaced entry;
      entry.option.name = name;
      entry.option.hasValue = *rest == '=';
      if (entry.option.hasValue) entry.option.value = rest + 1;
      entry.original = argv[i];
      // A copy of its own: the parser's leftovers are told apart by address.
      entry.placeholder = strdup(name.c_str());
      if (!entry.placeholder) continue;
      argv[i] = entry.placeholder;
      replaced_.push_back(std::move(entry));
      break;
    }
  }
}

void EqualsValueOptions::finish(int argc, char** argv) {
  std::vector<bool> left(replaced_.size(), false);
  for (int i = 0; i < argc; ++i) {
    for (size_t k = 0; k < replaced_.size(); ++k) {
      if (argv[i] != replaced_[k].placeholder) continue;
      argv[i] = replaced_[k].original;
      left[k] = true;
    }
  }
  given_.clear();
  for (size_t k = 0; k < replaced_.size(); ++k) {
    if (!left[k]) given_.push_back(replaced_[k].option);
  }
}
