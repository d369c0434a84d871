// The engine's clock.
#pragma once

class CTimeUtil {
 public:
  // Current wall-clock time in seconds since the epoch.
  static unsigned long GetCurrentTime();
};
