// The engine's profiler-annotation stream, shared by everything in the
// process that writes annotations. Null until someone opens it.
#pragma once

#include <cstdio>

extern FILE* gator_annotate;
