// The TV's AV output service: the welcome-screen mode shown at power-on.
// Closed library, free functions in a namespace; 0 on success or a negative
// error code.
#pragma once

namespace AvOutputClient {

enum Error {
  AVOUT_ERROR_NONE = 0,
  AVOUT_ERROR_INVALID_PARAMETER = -1,
};

// Welcome mode: a non-negative platform number, passed through.
int setWelcomeMode(int value);

}  // namespace AvOutputClient
