// Long options whose value can only follow "=": `--name` or `--name=VALUE`,
// never `--name VALUE`, as node reads --inspect. Left to GOption, an optional
// value would take the next argument, and with it the script's name.
//
// Declare each such option to GOption as G_OPTION_FLAG_NO_ARG, then:
//   EqualsValueOptions options({"--inspect", "--inspect-brk"});
//   options.prepare(argc, argv);        // before g_option_context_parse
//   g_option_context_parse(...);
//   options.finish(argc, argv);         // after it, success or not
//   for (const auto& given : options.given()) ...
// Only what GOption took as options counts: the same text after the script's
// name is one of the script's arguments and is handed back unchanged.
#pragma once

#include <string>
#include <vector>

class EqualsValueOptions {
 public:
  struct Given {
    std::string name;  // "--inspect"
    bool hasValue = false;
    std::string value;  // after "=", possibly empty
  };

  explicit EqualsValueOptions(std::vector<std::string> names);
  ~EqualsValueOptions();
  EqualsValueOptions(const EqualsValueOptions&) = delete;
  EqualsValueOptions& operator=(const EqualsValueOptions&) = delete;

  // Puts a text of its own (the bare name) in place of every argument that
  // is one of the options, with or without "=VALUE".
  void prepare(int argc, char** argv);
  // The arguments left after parsing get their own texts back; the ones the
  // parser took are the options given.
  void finish(int argc, char** argv);
  // In the order given.
  const std::vector<Given>& given() const { return given_; }

 private:
  struct Replaced {
    char* placeholder;  // owned; what the parser sees
    char* original;     // the caller's argument
    Given option;
  };
  std::vector<std::string> names_;
  std::vector<Replaced> replaced_;
  std::vector<Given> given_;
};
