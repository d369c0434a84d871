// Who the running app is and which versions the installed apps carry: aul
// look-ups, the widget-id table of data areas, and the apps' config.xml.
// Traps: getAppId answers the package name; in the widget-id table the last
// matching row wins; getLWAppVersion answers the number 0 for a missing app
// but an empty text for a manifest without a version.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <exception>

#include "AppConfig.h"
#include "QDUtilBridge.h"
#include "apps/Documents.h"
#include "aul.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"
#include "binding/Files.h"
#include "directory.h"
#include "vconf.h"

namespace Bridge {

namespace {

constexpr int kAulBufferSize = 255;
constexpr const char* kHomedeckVersionKey = "db/tarn/homedeck_version";

struct WidgetIdRow {
  const char* area;
  const char* widgetId;
};

constexpr WidgetIdRow kWidgetIds[] = {
    {"firstscreen_temp", "111477001200"},         {"tarnapps/apps_temp", "111477001206"},
    {"tarnapps/clips_temp", "111477001207"},      {"tarnapps/games_temp", "111477001202"},
    {"tarnapps/mycontents_temp", "111477001204"}, {"tarnapps/newson_temp", "111477001203"},
    {"tarnapps/soccer_temp", "111477001205"},
};

// The home apps of getLastTarnApp, each in a NUL-padded slot of 128.
constexpr char kHomeApps[4][128] = {"org.tarn.apps", "org.tarn.games", "org.tarn.mycontents",
                                    "org.tarn.search-all"};

bool startsWith(const std::string& text, const std::string& prefix) {
  return text.size() >= prefix.size() && text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

// Loads the manifest `doc` is bound to (or `buffer`, when given) and answers
// its widget version; empty when there is none.
std::string returnVersion(const char* buffer, TiXmlDocument* doc) {
  try {
    if (buffer) {
      documents::parseXml(buffer, doc);
    } else {
      documents::loadXmlFile(doc->Value() ? doc->Value() : "", doc);
    }
    std::string version;
    switch (documents::widgetVersion(*doc, &version)) {
      case documents::WidgetVersion::kNoWidget:
        QD_LOG(staticLogger, kLogInfo, "Failed to load pRoot");
        return std::string();
      case documents::WidgetVersion::kNoVer:
        QD_LOG(staticLogger, kLogInfo, "Failed to load pElem");
        return std::string();
      case documents::WidgetVersion::kNoText:
        // A "ver" with no text has no version to read: a failure like any
        // other, logged rather than answered silently.
        QD_LOG(staticLogger, kLogInfo, "Failed to get widget_ver");
        return std::string();
      case documents::WidgetVersion::kFound:
        break;
    }
    return version;
  } catch (const std::exception&) {
    QD_LOG(staticLogger, kLogInfo, "Failed to get widget_ver");
    return std::string();
  }
}

ScriptObject QDUtilBridge::HandleGetAppId(QDUtilBridge*, const ScriptArray&) {
  const int pid = getpid();
  char appid[kAulBufferSize] = {};
  char pkgname[kAulBufferSize] = {};
  aul_app_get_appid_bypid(pid, appid, kAulBufferSize);
  aul_app_get_pkgname_bypid(pid, pkgname, kAulBufferSize);
  // A failed look-up may leave anything; the answer stops at the buffer's end.
  appid[kAulBufferSize - 1] = '\0';
  pkgname[kAulBufferSize - 1] = '\0';
  QD_LOG(logger_, kLogInfo, "[Tarn]appid[" << appid << "]");
  QD_LOG(logger_, kLogInfo, "[Tarn]pkgname[" << pkgname << "]");
  return std::string(pkgname);
}

ScriptObject QDUtilBridge::HandleGetWidgetId(QDUtilBridge*, const ScriptArray&) {
  const std::string data = AppConfig::Instance()->GetTarnDataPath();
  std::string result;
  for (const auto& row : kWidgetIds) {
    if (startsWith(data, tarn::util::directory::GetAppDataPath(row.area))) result = row.widgetId;
  }
  return result;
}

ScriptObject QDUtilBridge::HandleGetWidgetVersion(QDUtilBridge*, const ScriptArray&) {
  const std::string data = AppConfig::Instance()->GetTarnDataPath();
  QD_LOG(logger_, kLogInfo, "[Tarn]GetTarnDataPath[" << data << "]");
  if (data.find("firstscreen_temp") != std::string::npos) {
    char* value = vconf_get_str(kHomedeckVersionKey);
    if (value) {
      std::string version(value);
      QD_LOG(logger_, kLogInfo, "[Tarn]db/tarn/homedeck_version vconf_get_str[" << version << "]");
      std::free(value);
      return version;
    }
    QD_LOG(logger_, kLogInfo, "[Tarn]db/tarn/homedeck_version vconf_get_str Fail");
  }
  const char* tail =
      data.find("mycontents_temp") != std::string::npos ? "/src2/config.xml" : "/src/config.xml";
  const std::size_t pos = data.find("_temp");
  if (pos == std::string::npos) {
    QD_LOG(logger_, kLogInfo, "[Tarn] Not found _temp");
    return std::string();
  }
  const std::string path = data.substr(0, pos) + tail;
  QD_LOG(logger_, kLogInfo, "[Tarn]src_path[" << path << "]");
  struct stat info;
  const bool exists = stat(path.c_str(), &info) == 0;
  QD_LOG(logger_, kLogInfo, "[Tarn]result[" << (exists ? 1 : 0) << "]");
  if (!exists) return std::string();
  TiXmlDocument doc;
  if (!documents::loadXmlFile(path, &doc)) {
    QD_LOG(logger_, kLogInfo, "[Tarn] XML LoadFile Fail!");
    return std::string();
  }
  std::string version;
  switch (documents::widgetVersion(doc, &version)) {
    case documents::WidgetVersion::kNoWidget:
      QD_LOG(logger_, kLogInfo, "[Tarn] XML pRoot Fail!");
      return std::string();
    case documents::WidgetVersion::kNoVer:
      QD_LOG(logger_, kLogInfo, "[Tarn] XML pElem Fail!");
      return std::string();
    case documents::WidgetVersion::kNoText:
      QD_LOG(logger_, kLogInfo, "[Tarn] XML GetText Fail!");
      return std::string();
    case documents::WidgetVersion::kFound:
      break;
  }
  QD_LOG(logger_, kLogInfo, "[Tarn]widget_ver[" << version << "]");
  return version;
}

ScriptObject QDUtilBridge::HandleGetLWAppVersion(QDUtilBridge*, const ScriptArray& args) {
  const std::string base = tarn::util::directory::GetAppDataPath("VCApp");
  const std::string name = args::text(args, 0);
  // No separator is added: the area's path ends in one.
  const std::string path = base + name + "/src/config.xml";
  if (!files::exists(path)) {
    QD_LOG(logger_, kLogInfo, "config.xml does not exist : " << path);
    return 0;
  }
  TiXmlDocument doc(path);
  const std::string version = returnVersion(nullptr, &doc);
  QD_LOG(logger_, kLogInfo, "version : " << version);
  return version;
}

ScriptObject QDUtilBridge::HandleGetCallerAppId(QDUtilBridge*, const ScriptArray&) {
  getpid();
  QD_LOG(logger_, kLogInfo, "can not get caller pid");
  return 0;
}

ScriptObject QDUtilBridge::HandleCheckAppIsRunning(QDUtilBridge*, const ScriptArray& args) {
  if (args.Length() == 0) {
    QD_LOG(logger_, kLogInfo, "Wrong Argument!");
    return false;
  }
  const std::string name = args::text(args, 0);
  if (name.empty()) {
    QD_LOG(logger_, kLogInfo, "Wrong app_name!");
    return false;
  }
  QD_LOG(logger_, kLogInfo, "app_name is " << name);
  if (aul_app_is_running(name.c_str()) != 0) {
    QD_LOG(logger_, kLogInfo, "[app] " << name << " is running");
    return true;
  }
  QD_LOG(logger_, kLogInfo, "[app] " << name << " is not running");
  return false;
}

ScriptObject QDUtilBridge::HandleGetLastTarnApp(QDUtilBridge*, const ScriptArray&) {
  for (const auto& id : kHomeApps) {
    const int pid = aul_app_get_pid(id);
    const int status = aul_app_get_status_bypid(pid);
    if (status == AUL_STATUS_FOCUS || status == AUL_STATUS_VISIBLE) {
      QD_LOG(logger_, kLogInfo, "getLastTarnApp appName[" << id << "]");
      return std::string(id);
    }
  }
  return std::string();
}

}  // namespace Bridge

// Handlers: HandleGetAppId, HandleGetWidgetId, HandleGetWidgetVersion,
// HandleGetLWAppVersion, HandleGetCallerAppId, HandleCheckAppIsRunning,
// HandleGetLastTarnApp.
