// The TV's application-context service: connection, TV context state and
// task requests.
#pragma once

namespace AppContextClient {

// Connects to the service; 0 on success.
int initialize();
// Disconnects; 0 on success.
int finalize();
// Fills the TV context state bits (bit 0: the TV picture is shown).
int queryTvContextState(unsigned int* state);
// Asks the service to perform an action on a target ("last:source", "launch").
int requestTask(const char* target, const char* action);

}  // namespace AppContextClient
