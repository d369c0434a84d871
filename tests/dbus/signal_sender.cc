// Sends home-screen signals to a bus as fast as one GIO connection can:
//   dbus_signal_sender ADDRESS MEMBER COUNT
// Signal i carries the text {"member":"MEMBER","n":i}. Exits 0 once every
// signal has been written to the bus, 1 on any error.
#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

int fail(const char* what, GError* error) {
  std::fprintf(stderr, "dbus_signal_sender: %s: %s\n", what, error ? error->message : "failed");
  if (error) g_error_free(error);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: dbus_signal_sender ADDRESS MEMBER COUNT\n");
    return 2;
  }
  const char* address = argv[1];
  const std::string member = argv[2];
  const long count = std::strtol(argv[3], nullptr, 10);
  GError* error = nullptr;
  GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
      address,
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, &error);
  if (!connection) return fail("connect", error);
  for (long i = 0; i < count; ++i) {
    const std::string text = "{\"member\":\"" + member + "\",\"n\":" + std::to_string(i) + "}";
    if (!g_dbus_connection_emit_signal(connection, nullptr, "/org/tarn/FirstScreen",
                                       "org.tarn.FirstScreen", member.c_str(),
                                       g_variant_new("(s)", text.c_str()), &error)) {
      g_object_unref(connection);
      return fail("emit", error);
    }
  }
  if (!g_dbus_connection_flush_sync(connection, nullptr, &error)) {
    g_object_unref(connection);
    return fail("flush", error);
  }
  g_dbus_connection_close_sync(connection, nullptr, nullptr);
  g_object_unref(connection);
  return 0;
}
