// The TV's screen-saver service. Closed library, free functions in a
// namespace; 0 on success or a negative Error.
#pragma once

namespace ScreenSaverClient {

enum Error {
  SCREENSAVER_ERROR_NONE = 0,
  SCREENSAVER_ERROR_INVALID_PARAMETER = -1,
  SCREENSAVER_ERROR_NOT_AVAILABLE = -2,  // the picture is not on
};

// Starts the screen saver of kind `type` ("DEFAULT", ...) with the service's
// four parameters.
int activate(const char* type, unsigned int a, unsigned int b, unsigned int c, unsigned int d);
// Stops it; stopping an inactive screen saver succeeds.
int deactivate();

}  // namespace ScreenSaverClient
