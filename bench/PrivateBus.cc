#include "PrivateBus.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

extern char** environ;

PrivateBus::~PrivateBus() {
  if (pid_ > 0) {
    kill(pid_, SIGTERM);
    int status = 0;
    waitpid(pid_, &status, 0);
    g_spawn_close_pid(pid_);
  }
  if (!socket_.empty()) unlink(socket_.c_str());
  if (!folder_.empty()) rmdir(folder_.c_str());
}

bool PrivateBus::start(const char* program) {
  char folder[] = "/tmp/dbus-bench-XXXXXX";
  if (!g_mkdtemp(folder)) {
    std::fprintf(stderr, "%s: cannot make a folder for the bus\n", program);
    return false;
  }
  folder_ = folder;
  socket_ = folder_ + "/bus";
  address_ = "unix:path=" + socket_;
  const std::string listen = "--address=" + address_;
  const char* busArgv[] = {"dbus-daemon", "--session", "--nofork", listen.c_str(), nullptr};
  if (!g_spawn_async(nullptr, const_cast<char**>(busArgv), nullptr,
                     static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL |
                                              G_SPAWN_STDERR_TO_DEV_NULL),
                     nullptr, nullptr, &pid_, nullptr)) {
    std::fprintf(stderr, "%s: cannot start dbus-daemon\n", program);
    pid_ = 0;
    return false;
  }
  for (int i = 0; i < 500 && access(socket_.c_str(), F_OK) != 0; ++i) g_usleep(10000);
  return true;
}

std::vector<std::string> PrivateBus::environment() const {
  std::vector<std::string> env{"DBUS_SYSTEM_BUS_ADDRESS=" + address_};
  for (char** e = environ; *e; ++e) {
    if (!g_str_has_prefix(*e, "DBUS_SYSTEM_BUS_ADDRESS=")) env.push_back(*e);
  }
  return env;
}

GDBusConnection* connectToBus(const std::string& address, const char* program) {
  GError* error = nullptr;
  GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, &error);
  if (!connection) {
    std::fprintf(stderr, "%s: %s\n", program, error->message);
    std::exit(1);
  }
  return connection;
}

void roundTrip(GDBusConnection* connection) {
  GVariant* reply = g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId",
      nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
  if (reply) g_variant_unref(reply);
}

std::vector<char*> argumentVector(std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  for (auto& s : strings) pointers.push_back(&s[0]);
  pointers.push_back(nullptr);
  return pointers;
}
