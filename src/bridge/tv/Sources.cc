// Sources, channels and TV state: the current and last source, source status,
// the external-box (MBR) activities, the channel type, whether the TV picture
// is in front, exhibition and MLS flags, and installed panels. Traps: the
// activity block is a byte layout shared with a closed library, read at fixed
// offsets and never past the block; the JSON key "ativityName" is misspelt on
// purpose (scripts read it so); only bit 0 of the TV context state counts.
#include <json/json.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "AppContextClient.h"
#include "ExternalBoxClient.h"
#include "QDUtilBridge.h"
#include "TvServiceGateway.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"
#include "binding/Files.h"
#include "directory.h"
#include "system_info.h"
#include "vconf.h"

namespace Bridge {

namespace {

constexpr int kSourceProfile = 1;
constexpr int kStatusWindow = 0;
constexpr int kNavigationProfile = 1;
constexpr int kNavigationIndex = 0;
constexpr int kChannelDlogPriority = DLOG_WARN;
constexpr int kCesModeKey = 343;
constexpr int kMlsSupportKey = 319;
constexpr const char* kMlsStateKey = "memory/mls/state";
constexpr unsigned int kTvShownBit = 1u;

// The service attributes asked for with the current service, in the order
// the gateway expects them; attribute 1 is the channel type.
const std::vector<int>& serviceAttributes() {
  static const std::vector<int> list{12, 16, 41, 15, 18, 1, 2, 6, 37, 4, 13, 14, 22, 110};
  return list;
}

// A 32-bit field of the activity block; memcpy, since the closed library
// does not promise alignment.
std::int32_t blockInt(const void* block, std::size_t offset) {
  std::int32_t value;
  std::memcpy(&value, static_cast<const unsigned char*>(block) + offset, sizeof value);
  return value;
}

// The record a script index designates, or -1 when the index lies outside
// the records the block spans (negative, too large, ±Infinity). NaN reads as
// 0 and fractions are truncated toward zero, as every integer argument is.
int blockRecord(double index) {
  if (std::isnan(index)) return 0;
  const double whole = std::trunc(index);
  if (!(whole >= 0 && whole < static_cast<double>(ExternalBoxClient::kActivityBlockRecords))) {
    return -1;
  }
  return static_cast<int>(whole);
}

}  // namespace

ScriptObject QDUtilBridge::HandleGetSourceInfo(QDUtilBridge*, const ScriptArray& args) {
  const int window = args::integer(args, 0);
  TvServiceGateway::SourceControl* control = nullptr;
  TvServiceGateway::createSourceControl(kSourceProfile, window, &control);
  QD_LOG(logger_, kLogInfo, "Create source control context");
  if (!control) return 0;
  int source = 0;
  if (control->getCurrentSource(&source) >= 1) return source;
  return 0;
}

ScriptObject QDUtilBridge::HandleCheckSourceStatus(QDUtilBridge*, const ScriptArray& args) {
  const int source = args::integer(args, 0);
  TvServiceGateway::SourceControl* control = nullptr;
  const int created =
      TvServiceGateway::createSourceControl(kSourceProfile, kStatusWindow, &control);
  if (created != 0 || !control) {
    QD_LOG(logger_, kLogInfo, "TvServiceGateway::createSourceControl fail.");
    return -1;
  }
  const std::vector<int> sources{source};
  std::map<int, int> statuses;
  if (control->getSourceStatus(sources, &statuses) >= 1) {
    // A source the platform left out counts as status 0.
    const int status = statuses[source];
    QD_LOG(logger_, kLogInfo, "source[" << source << "] - state[" << status << "]");
  }
  const auto found = statuses.find(source);
  return found == statuses.end() ? 0 : found->second;
}

ScriptObject QDUtilBridge::HandleLaunchLastSource(QDUtilBridge*, const ScriptArray&) {
  const int status = AppContextClient::requestTask("last:source", "launch");
  QD_LOG(logger_, kLogDetail, "HandleLaunchLastSource : " << status);
  return true;
}

ScriptObject QDUtilBridge::HandleGetMbrSourceCount(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "HandleGetMbrSourceCount BEGIN");
  const void* block = ExternalBoxClient::getActivityInfo();
  if (!block || !ExternalBoxClient::isSupported()) return 0;
  const int count = blockInt(block, ExternalBoxClient::kActivityCountOffset);
  QD_LOG(logger_, kLogInfo, "HandleGetMbrSourceCount END, retCount:" << count);
  return count;
}

// The record is not checked against the block's count (records past it read
// as zeroes and an empty name), only against the block's end.
ScriptObject QDUtilBridge::HandleGetMbrInfoByIndex(QDUtilBridge*, const ScriptArray& args) {
  QD_LOG(logger_, kLogInfo, "HandleGetMbrInfoByIndex BEGIN");
  const void* block = ExternalBoxClient::getActivityInfo();
  if (!block || !ExternalBoxClient::isSupported()) return "";
  const int index = blockRecord(args::number(args, 0));
  if (index < 0) return "";
  const std::size_t record =
      static_cast<std::size_t>(index) * ExternalBoxClient::kActivityRecordSize;
  const char* name =
      static_cast<const char*>(block) + record + ExternalBoxClient::kActivityNameOffset;
  try {
    Json::Value info(Json::objectValue);
    info["nMbrSource"] = blockInt(block, record + ExternalBoxClient::kActivitySourceOffset);
    info["nActivityMode"] = blockInt(block, record + ExternalBoxClient::kActivityModeOffset);
    info["ativityName"] =
        std::string(name, strnlen(name, ExternalBoxClient::kActivityNameCapacity));
    const std::string text = Json::StyledWriter().write(info);
    QD_LOG(logger_, kLogDetail, "HandleGetMbrInfoByIndex END, mbrInfo:" << text);
    return text;
  } catch (const Json::Exception&) {
    QD_LOG(logger_, kLogInfo, "json exception !");
    return 0;
  }
}

ScriptObject QDUtilBridge::HandleGetCurrentChannel_Type(QDUtilBridge*, const ScriptArray&) {
  QD_DLOG(kChannelDlogPriority, "HandleGetCurrentChannel_Type");
  const std::vector<int>& attributes = serviceAttributes();
  TvServiceGateway::ServiceNavigation* navigation = nullptr;
  TvServiceGateway::createServiceNavigation(kNavigationProfile, kNavigationIndex, &navigation);
  if (!navigation) {
    QD_DLOG(kChannelDlogPriority, "HandleGetCurrentChannel_Type fail");
    QD_LOG(logger_, kLogInfo, "HandleGetCurrentChannel_Type fail");
    return -1;
  }
  int tvMode = 0;
  const int modeStatus = navigation->getTvMode(&tvMode);
  QD_LOG(logger_, kLogInfo, "GetTvMode state " << modeStatus);
  TvServiceGateway::ServiceData data;
  const int infoStatus = navigation->getCurrentServiceInfo(tvMode, attributes, &data);
  QD_LOG(logger_, kLogInfo, "GetCurrentServiceInfo state " << infoStatus);
  const TvServiceGateway::ServiceAttribute* channelType =
      data.getAttribute(TvServiceGateway::ATTRIBUTE_CHANNEL_TYPE);
  const int type = channelType ? channelType->value : -1;
  QD_LOG(logger_, kLogInfo, "CHANNEL_TYPE : " << type);
  QD_DLOG(kChannelDlogPriority, "CHANNEL_TYPE %d", type);
  return type;
}

ScriptObject QDUtilBridge::HandleTvContextState(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "tvcontext_query_state call!");
  unsigned int state = 0;
  AppContextClient::queryTvContextState(&state);
  QD_LOG(logger_, kLogInfo, "tvcontext_state =" << state);
  if (state & kTvShownBit) {
    QD_LOG(logger_, kLogInfo, "TV is shown");
    return true;
  }
  QD_LOG(logger_, kLogInfo, "TV is not shown");
  return false;
}

ScriptObject QDUtilBridge::HandleIsCESMode(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "[TARN]---HandleIsCESMode " << kCesModeKey);
  bool on = false;
  system_info_get_value_bool(kCesModeKey, &on);
  return on;
}

ScriptObject QDUtilBridge::HandleIsMLSSupport(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "[TARN]---HandleIsMLSSupport " << kMlsSupportKey);
  bool supported = false;
  system_info_get_value_bool(kMlsSupportKey, &supported);
  return supported;
}

ScriptObject QDUtilBridge::HandleGetMLSstate(QDUtilBridge*, const ScriptArray&) {
  int state = 0;
  vconf_get_int(kMlsStateKey, &state);
  return state == 1;
}

// A panel counts only when both its script and its package's binary exist.
ScriptObject QDUtilBridge::HandleIsExistPanel(QDUtilBridge*, const ScriptArray& args) {
  const std::string appId = args::text(args, 0);
  QD_LOG(logger_, kLogDetail, "HandleIsExistPanel : " << appId);
  if (args.Length() == 0) {
    QD_LOG(logger_, kLogInfo, "Argument Error");
    return false;
  }
  const std::string panelPath = tarn::util::directory::GetAppDataPath(appId) + "/src/app.js";
  const std::string packageId = "org.tarn." + appId;
  const std::string binaryPath =
      tarn::util::directory::GetPackagePath(packageId) + "/bin/" + packageId;
  QD_LOG(logger_, kLogInfo, "panelpath : " << panelPath);
  QD_LOG(logger_, kLogInfo, "package_id : " << packageId);
  QD_LOG(logger_, kLogInfo, "binary_path : " << binaryPath);
  if (!files::exists(panelPath)) {
    QD_LOG(logger_, kLogInfo, "panel is not ok : " << appId);
    return false;
  }
  if (files::exists(binaryPath)) {
    QD_LOG(logger_, kLogInfo, "panel is ok : " << appId);
    return true;
  }
  QD_LOG(logger_, kLogInfo, "panel is not ok : " << appId);
  return false;
}

// Handlers: HandleGetSourceInfo, HandleCheckSourceStatus, HandleLaunchLastSource,
// HandleGetMbrSourceCount, HandleGetMbrInfoByIndex, HandleGetCurrentChannel_Type,
// HandleTvContextState, HandleIsCESMode, HandleIsMLSSupport, HandleGetMLSstate,
// HandleIsExistPanel.

}  // namespace Bridge
