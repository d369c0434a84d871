// A library that uses the platform the way the bridge may: declared
// interfaces, GLib and jsoncpp. The symbol check must accept it.
#include <glib.h>
#include <json/value.h>

#include "TvPowerClient.h"
#include "TvServiceGateway.h"
#include "vconf.h"

extern "C" int platformUser() {
  int mls = 0;
  vconf_get_int("memory/mls/state", &mls);
  TvServiceGateway::ServiceData data;
  const bool typed = data.getAttribute(1) != nullptr;
  gchar* text = g_strdup("x");
  g_free(text);
  Json::Value v(mls);
  return TvPowerClient::getPowerState() + v.asInt() + (typed ? 1 : 0);
}
