// Where tarn-run finds the libraries it loads by file: ../lib/ from the
// program's own folder, in the build tree and in an installed tree alike.
#pragma once

#include <string>

// ../lib/NAME beside the running program; NAME alone when the program's
// own path cannot be read.
std::string besideProgram(const char* name);
