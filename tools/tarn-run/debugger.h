// --inspect and --inspect-brk: the options, and the debugger library that is
// loaded only when one of them is given.
#pragma once

#include <glib.h>

#include <memory>
#include <string>

#include "tarn/host/Debugger.h"

// Each --inspect or --inspect-brk given, in order, with its value (after
// "=": --inspect or --inspect=[HOST:]PORT) or null.
gboolean inspectOption(const gchar* name, const gchar* value, gpointer data, GError** error);

// The debugger the options asked for, listening, for the script named
// `target`. Null when none was asked for, or when it cannot listen (then the
// message is printed and the script runs without one, as node does). Sets
// *status to 2, after a message, when the option's value or the debugger's
// library cannot be used.
std::unique_ptr<tarn::host::ScriptDebugger> startDebugger(const std::string& target, int* status);
