// -e and -p take the next argument as their code, but not one that starts
// with "-": in "tarn-run -e --inspect" the code is missing (node says the
// same), it is not "--inspect", and --inspect is not given either. Code that
// starts with "-" is written --eval=-1.
//
//   CodeValueCheck check;
//   check.prepare(argc, argv);   // after EqualsValueOptions::prepare
//   g_option_context_parse(...);
//   check.missing(argc, argv);   // before EqualsValueOptions::finish
// Only what the parser took as -e's value counts: "-e" after the script's
// name is one of the script's arguments.
#pragma once

#include <string>
#include <vector>

class CodeValueCheck {
 public:
  void prepare(int argc, char** argv);
  // The option ("-e", "--print") whose code was an argument starting with
  // "-" that the parser took as that code; empty when there is none.
  std::string missing(int argc, char** argv) const;

 private:
  struct Candidate {
    std::string option;
    const char* value;  // compared by address: the parser copies what it takes
  };
  std::vector<Candidate> candidates_;
};
