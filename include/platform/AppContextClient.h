// The TV's application-context service: connection, TV context state and
// task requests. Closed library, free functions in a namespace; 0 on success
// or a negative Error. Connections are counted: each initialize needs its
// finalize, and the queries need at least one open connection.
#pragma once

namespace AppContextClient {

enum Error {
  APPCONTEXT_ERROR_NONE = 0,
  APPCONTEXT_ERROR_INVALID_PARAMETER = -1,
  APPCONTEXT_ERROR_NOT_CONNECTED = -2,
  APPCONTEXT_ERROR_UNKNOWN_TASK = -3,
};

// Connects to the service; 0 on success.
int initialize();
// Disconnects; 0 on success.
int finalize();
// Fills the TV context state bits (bit 0: the TV picture is shown).
int queryTvContextState(unsigned int* state);
// Asks the service to perform an action on a target ("last:source", "launch").
int requestTask(const char* target, const char* action);

}  // namespace AppContextClient
