// A message bus of the benchmark's own (dbus-daemon on a socket in a fresh
// folder) and GIO connections to it, for the benchmarks that send the home
// screen's signals.
#pragma once

#include <gio/gio.h>

#include <string>
#include <vector>

class PrivateBus {
 public:
  PrivateBus() = default;
  // Stops the daemon (by its process id) and removes the folder.
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  // False with a message on stderr, naming `program`.
  bool start(const char* program);
  const std::string& address() const { return address_; }

  // The environment of this process with the bus as the system bus.
  std::vector<std::string> environment() const;

 private:
  std::string folder_;
  std::string socket_;
  std::string address_;
  GPid pid_ = 0;
};

// A connection that has said Hello to the bus; exits with a message naming
// `program` when none can be made.
GDBusConnection* connectToBus(const std::string& address, const char* program);

// A round trip to the bus: every earlier message of this connection (a match
// rule included) has been handled once it returns.
void roundTrip(GDBusConnection* connection);

// Null-terminated pointers into `strings`, for g_spawn.
std::vector<char*> argumentVector(std::vector<std::string>& strings);
