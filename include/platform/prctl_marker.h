// The platform kernel's tracing marker: prctl with this option and a text
// and its length writes the text into the boot and wake-up trace. Any other
// kernel answers EINVAL, which callers ignore.
#pragma once

#include <sys/prctl.h>

// prctl(PR_TARN_TRACE_MARKER, text, length)
#define PR_TARN_TRACE_MARKER 666
