// The interactive prompt of tarn-run (no script, a terminal on stdin): an
// extension built as a module of its own, libtarnrepl.so, which tarn-run
// loads only then, so running a script neither loads the line editor nor
// pays for it.
//
// Lines are read through a GLib watch on stdin and handed to libedit one
// character at a time (its unbuffered mode): the loop, with timers, engine
// events and the bridges' callbacks, keeps running while the prompt waits.
#pragma once

#include "tarn/host/Extension.h"

// The module's one entry: a new prompt extension, owned by the caller.
extern "C" tarn::host::Extension* tarnReplExtension();
using TarnReplExtensionFunction = tarn::host::Extension* (*)();
