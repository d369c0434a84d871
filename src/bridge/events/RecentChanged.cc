// The home screen's D-Bus signals on the system bus become engine events 0 to
// 6 carrying the signal's JSON text; script can signal the installer and
// drive the app-list control. Traps: registering twice subscribes twice (each
// signal then arrives twice) and unregistering drops the connection but not
// the subscriptions; the connection is module-wide and may be null, so every
// GIO call on it is guarded, and a parameter is read as text only when it is
// one.
#include <gio/gio.h>

#include <boost/format.hpp>
#include <cstring>
#include <exception>
#include <string>

#include "AppListControlClient.h"
#include "QDUtilBridge.h"
#include "ScriptEngine.h"
#include "TarnEventArgsMap.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"
#include "events/Handoff.h"

namespace Bridge {

namespace {

constexpr const char* kFirstScreenInterface = "org.tarn.FirstScreen";
constexpr const char* kFirstScreenPath = "/org/tarn/FirstScreen";
constexpr const char* kInstallerInterface = "org.tarn.Trtinstaller";
constexpr const char* kInstallerPath = "/org/tarn/Trtinstaller";
constexpr const char* kInstallerMember = "signal";

// Signal members and their engine event codes, compared in this order.
struct MemberEvent {
  const char* member;
  int code;
};
constexpr MemberEvent kMemberEvents[] = {
    {"RecentChanged", 0},   {"InstallNotify", 1}, {"PVRPopupHide", 2}, {"ExternalNotify", 3},
    {"AvailableNotify", 4}, {"AutoYoutube", 5},   {"AutoBrowser", 6},
};
constexpr int kRecentChangedCode = 0;

// Taken by "registerRecentChanged", released by "unregisterRecentChanged",
// used by "sendMessageTRT". Script thread only.
GDBusConnection* connection_ = nullptr;

const char* orEmpty(const gchar* text) { return text ? text : ""; }

// The first parameter as text; the empty text when there is none or it is
// not a string (reading another type as a string would abort).
std::string firstParameterText(GVariant* parameters) {
  if (!g_variant_is_container(parameters) || g_variant_n_children(parameters) == 0) return {};
  GVariantIter* iter = g_variant_iter_new(parameters);
  GVariant* child = g_variant_iter_next_value(iter);
  g_variant_iter_free(iter);
  std::string text;
  if (child && g_variant_is_of_type(child, G_VARIANT_TYPE_STRING)) {
    gsize length = 0;
    const gchar* value = g_variant_get_string(child, &length);
    text.assign(value, length);
  }
  if (child) g_variant_unref(child);
  return text;
}

// GIO calls this on the thread whose main context was current when
// subscribing (the script thread here); it touches no script value and hands
// the signal over as an engine event.
void _onRecentChangedEvent(GDBusConnection*, const gchar* sender, const gchar* objectPath,
                           const gchar* interfaceName, const gchar* signalName,
                           GVariant* parameters, gpointer) {
  try {
    QD_LOG(staticLogger, kLogInfo, "[TARN] onRecentChangedEvent");
    std::string value;
    if (parameters) {
      QD_LOG(staticLogger, kLogInfo, "[TARN] g_variant_type_is_array");
      value = firstParameterText(parameters);
    }
    QD_LOG(staticLogger, kLogInfo,
           boost::format("[TARN] sender: %s object: %s interface: %s signal: %s val: %s\n") %
               orEmpty(sender) % orEmpty(objectPath) % orEmpty(interfaceName) %
               orEmpty(signalName) % value);
    if (!signalName) return;
    TarnFullProcessRuntime* runtime = _GetTarnFullProcessRuntime();
    if (!runtime) return;
    ScriptEngine* engine = runtime->GetScriptEngine();
    if (!engine) return;
    TarnEventArgsMap eventArgs;
    eventArgs["json"] = value;
    for (const MemberEvent& entry : kMemberEvents) {
      if (std::strcmp(signalName, entry.member) != 0) continue;
      engine->sendEvent(entry.code, eventArgs);
      if (entry.code == kRecentChangedCode) QD_LOG(staticLogger, kLogInfo, "[TARN] send complete");
      break;
    }
  } catch (const std::exception&) {
    // The signal is lost; GIO must not see an exception.
  }
}

}  // namespace

// The bus is not told to end the process when it closes: a bus that goes
// away only stops the signals.
ScriptObject QDUtilBridge::HandleRegisterRecentChanged(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "[TARN] subscribeRecentChangedEvent");
  connection_ = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  if (connection_) {
    g_dbus_connection_set_exit_on_close(connection_, FALSE);
    g_dbus_connection_signal_subscribe(connection_, nullptr, kFirstScreenInterface, nullptr,
                                       kFirstScreenPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
                                       _onRecentChangedEvent, nullptr, nullptr);
  }
  return true;
}

ScriptObject QDUtilBridge::HandleUnRegisterRecentChanged(QDUtilBridge*, const ScriptArray&) {
  g_clear_object(&connection_);
  return true;
}

ScriptObject QDUtilBridge::HandleSendMessageTRT(QDUtilBridge*, const ScriptArray&) {
  gboolean sent = FALSE;
  if (connection_) {
    sent = g_dbus_connection_emit_signal(connection_, nullptr, kInstallerPath, kInstallerInterface,
                                         kInstallerMember, nullptr, nullptr);
  }
  QD_LOG(logger_, kLogInfo, "[TARN] Send Message for TRT-Installer ret = " << (sent ? 1 : 0));
  return true;
}

ScriptObject QDUtilBridge::HandleAppControlInitDbusConnection(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "HandleAppControlInitDbusConnection");
  AppListControlClient::initDbusConnection();
  return true;
}

ScriptObject QDUtilBridge::HandleAppControlFiniDbusConnection(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "HandleAppControlFiniDbusConnection");
  AppListControlClient::finiDbusConnection();
  return true;
}

ScriptObject QDUtilBridge::HandleAppControlDisableItem(QDUtilBridge*, const ScriptArray& args) {
  QD_LOG(logger_, kLogInfo, "HandleAppControlDisableItem");
  const std::string first = args::text(args, 0);
  const std::string second = args::text(args, 1);
  AppListControlClient::disableItem(first.c_str(), second.c_str());
  return true;
}

ScriptObject QDUtilBridge::HandleAppControlRemoveDisabledItemsByAppname(QDUtilBridge*,
                                                                        const ScriptArray& args) {
  QD_LOG(logger_, kLogInfo, "HandleAppControlRemoveDisabledItemsByAppname");
  const std::string appName = args::text(args, 0);
  QD_LOG(logger_, kLogInfo, " appName " << appName);
  AppListControlClient::removeDisabledItemsByAppname(appName.c_str());
  return true;
}

// Handlers: HandleRegisterRecentChanged, HandleUnRegisterRecentChanged,
// HandleSendMessageTRT, HandleAppControlInitDbusConnection,
// HandleAppControlFiniDbusConnection, HandleAppControlDisableItem,
// HandleAppControlRemoveDisabledItemsByAppname; signal callback
// _onRecentChangedEvent.

}  // namespace Bridge
