// What the set shows and can do: AV mutes, sources, the current service,
// external-box activities, the application context, the home screen's app
// list control and the screen saver.
#include <cstring>

#include "AppContextClient.h"
#include "AppListControlClient.h"
#include "Core.h"
#include "ExternalBoxClient.h"
#include "ScreenSaverClient.h"
#include "TvPowerClient.h"
#include "TvServiceGateway.h"

using namespace tvsim::detail;

namespace TvServiceGateway {

namespace {

bool knownTarget(int profile, int index) {
  return (profile == PROFILE_DEFAULT || profile == PROFILE_MAIN) &&
         (index == WINDOW_MAIN || index == WINDOW_SUB);
}

class SimAvControl : public AvControl {
 public:
  SimAvControl(int profile, int index) : profile_(profile), index_(index) {}
  int setAudioMute(bool on) override { return mute("AvControl.setAudioMute", "audioMute", on); }
  int setVideoMute(bool on) override { return mute("AvControl.setVideoMute", "videoMute", on); }

 private:
  int mute(const char* operation, const char* key, bool on) {
    Call call("TvServiceGateway", operation, args(profile_, index_, on));
    if (auto forced = call.forcedInt()) return *forced;
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    // No AV path while the set is off.
    if (core.state["power"]["state"].asInt() == TvPowerClient::POWER_STATE_OFF)
      return call.finish(0);
    core.state["av"][key] = on;
    return call.finish(1);
  }
  int profile_;
  int index_;
};

class SimSourceControl : public SourceControl {
 public:
  SimSourceControl(int profile, int window) : profile_(profile), window_(window) {}

  int getCurrentSource(int* source) override {
    Call call("TvServiceGateway", "SourceControl.getCurrentSource",
              args(profile_, window_, pointer(source)));
    if (auto forced = call.forcedInt()) return *forced;
    if (!source) return call.finish(static_cast<int>(TVSG_ERROR_INVALID_PARAMETER));
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    const Json::Value& current =
        core.state["tv"][window_ == WINDOW_MAIN ? "currentSource" : "subSource"];
    if (current.isNull()) return call.finish(0);  // nothing in that window
    *source = current.asInt();
    return call.finish(1);
  }

  int getSourceStatus(const std::vector<int>& sources, std::map<int, int>* statuses) override {
    Json::Value list(Json::arrayValue);
    for (int s : sources) list.append(s);
    Call call("TvServiceGateway", "SourceControl.getSourceStatus",
              args(profile_, window_, list, pointer(statuses)));
    if (auto forced = call.forcedInt()) return *forced;
    if (!statuses) return call.finish(static_cast<int>(TVSG_ERROR_INVALID_PARAMETER));
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    for (int wanted : sources) {
      for (const auto& s : core.state["tv"]["sources"]) {
        if (s["id"].asInt() == wanted) (*statuses)[wanted] = s["status"].asInt();
      }
    }
    return call.finish(1);
  }

 private:
  int profile_;
  int window_;
};

class SimServiceNavigation : public ServiceNavigation {
 public:
  SimServiceNavigation(int profile, int index) : profile_(profile), index_(index) {}

  int getTvMode(int* mode) override {
    Call call("TvServiceGateway", "ServiceNavigation.getTvMode",
              args(profile_, index_, pointer(mode)));
    if (auto forced = call.forcedInt()) return *forced;
    if (!mode) return call.finish(static_cast<int>(TVSG_ERROR_INVALID_PARAMETER));
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    *mode = core.state["tv"]["tvMode"].asInt();
    return call.finish(1);
  }

  int getCurrentServiceInfo(int tvMode, const std::vector<int>& attributes,
                            ServiceData* data) override {
    Json::Value list(Json::arrayValue);
    for (int a : attributes) list.append(a);
    Call call("TvServiceGateway", "ServiceNavigation.getCurrentServiceInfo",
              args(profile_, index_, tvMode, list, pointer(data)));
    if (auto forced = call.forcedInt()) return *forced;
    if (!data) return call.finish(static_cast<int>(TVSG_ERROR_INVALID_PARAMETER));
    data->attributes.clear();
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    const Json::Value& tv = core.state["tv"];
    const Json::Value& channel = tv["channel"];
    // A service is current only while its source is on screen, in its mode.
    if (tv["currentSource"].asInt() != channel["source"].asInt() ||
        channel["tvMode"].asInt() != tvMode) {
      return call.finish(0);
    }
    for (int number : attributes) {
      const std::string key = std::to_string(number);
      if (channel["attributes"].isMember(key)) {
        data->attributes[number] = ServiceAttribute{number, channel["attributes"][key].asInt()};
      }
    }
    return call.finish(1);
  }

 private:
  int profile_;
  int index_;
};

// The gateway's controls live as long as the process, as on the set.
template <typename T>
T* controlFor(int profile, int index) {
  static T* controls[2][2] = {};
  static std::mutex mutex;
  std::lock_guard<std::mutex> lock(mutex);
  T*& slot = controls[profile][index];
  if (!slot) slot = new T(profile, index);
  return slot;
}

template <typename Base, typename T>
int create(const char* operation, int profile, int index, Base** out) {
  Call call("TvServiceGateway", operation, args(profile, index, pointer(out)));
  Json::Value forced;
  if (call.forced(&forced)) {
    if (out) *out = nullptr;
    return call.finish(forced.asInt());
  }
  if (!out) return call.finish(static_cast<int>(TVSG_ERROR_INVALID_PARAMETER));
  if (!knownTarget(profile, index)) {
    *out = nullptr;
    return call.finish(static_cast<int>(TVSG_ERROR_INVALID_PARAMETER));
  }
  *out = controlFor<T>(profile, index);
  return call.finish(static_cast<int>(TVSG_ERROR_NONE));
}

}  // namespace

const ServiceAttribute* ServiceData::getAttribute(int number) const {
  Call call("TvServiceGateway", "ServiceData.getAttribute", args(number));
  Json::Value forced;
  if (call.forced(&forced)) {
    if (forced.isNull()) {
      call.finishWith(forced);
      return nullptr;
    }
    thread_local ServiceAttribute forcedAttribute;
    forcedAttribute = ServiceAttribute{number, forced.asInt()};
    call.finishWith(forced);
    return &forcedAttribute;
  }
  auto it = attributes.find(number);
  if (it == attributes.end()) {
    call.finishWith(Json::Value());
    return nullptr;
  }
  call.finishWith(Json::Value(it->second.value));
  return &it->second;
}

int createAvControl(int profile, int index, AvControl** control) {
  return create<AvControl, SimAvControl>("createAvControl", profile, index, control);
}

int createSourceControl(int profile, int window, SourceControl** control) {
  return create<SourceControl, SimSourceControl>("createSourceControl", profile, window, control);
}

int createServiceNavigation(int profile, int index, ServiceNavigation** navigation) {
  return create<ServiceNavigation, SimServiceNavigation>("createServiceNavigation", profile, index,
                                                         navigation);
}

}  // namespace TvServiceGateway

namespace ExternalBoxClient {

const void* getActivityInfo() {
  Call call("ExternalBoxClient", "getActivityInfo", args());
  Json::Value forced;
  if (call.forced(&forced)) {
    call.finishWith(Json::Value());
    return nullptr;
  }
  // One block for the life of the process, rewritten from the state.
  static unsigned char* block = new unsigned char[kActivityBlockSize];
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  const Json::Value& box = core.state["externalBox"];
  if (!box["supported"].asBool()) {
    call.finishWith(Json::Value());
    return nullptr;
  }
  std::memset(block, 0, kActivityBlockSize);
  const Json::Value& activities = box["activities"];
  const int count = static_cast<int>(activities.size());
  std::memcpy(block + kActivityCountOffset, &count, sizeof count);
  for (Json::ArrayIndex i = 0; i < activities.size(); ++i) {
    unsigned char* record = block + i * kActivityRecordSize;
    const int mode = activities[i]["mode"].asInt();
    const int source = activities[i]["source"].asInt();
    std::memcpy(record + kActivityModeOffset, &mode, sizeof mode);
    std::memcpy(record + kActivitySourceOffset, &source, sizeof source);
    const std::string name = activities[i]["name"].asString();
    std::memcpy(record + kActivityNameOffset, name.c_str(),
                std::min(name.size(), kActivityNameCapacity - 1));
  }
  call.finishWith(Json::Value(count));  // the journal shows the count
  return block;
}

bool isSupported() {
  Call call("ExternalBoxClient", "isSupported", args());
  Json::Value forced;
  if (call.forced(&forced)) return call.finish(forced.asBool());
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  return call.finish(core.state["externalBox"]["supported"].asBool());
}

}  // namespace ExternalBoxClient

namespace AppContextClient {

int initialize() {
  Call call("AppContextClient", "initialize", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& connections = core.state["appContext"]["connections"];
  connections = connections.asInt() + 1;
  return call.finish(static_cast<int>(APPCONTEXT_ERROR_NONE));
}

int finalize() {
  Call call("AppContextClient", "finalize", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& connections = core.state["appContext"]["connections"];
  if (connections.asInt() == 0)
    return call.finish(static_cast<int>(APPCONTEXT_ERROR_NOT_CONNECTED));
  connections = connections.asInt() - 1;
  return call.finish(static_cast<int>(APPCONTEXT_ERROR_NONE));
}

int queryTvContextState(unsigned int* state) {
  Call call("AppContextClient", "queryTvContextState", args(pointer(state)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!state) return call.finish(static_cast<int>(APPCONTEXT_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  if (core.state["appContext"]["connections"].asInt() == 0) {
    return call.finish(static_cast<int>(APPCONTEXT_ERROR_NOT_CONNECTED));
  }
  *state = core.state["tv"]["contextState"].asUInt();
  return call.finish(static_cast<int>(APPCONTEXT_ERROR_NONE));
}

int requestTask(const char* target, const char* action) {
  Call call("AppContextClient", "requestTask", args(text(target), text(action)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!target || !action) return call.finish(static_cast<int>(APPCONTEXT_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  if (core.state["appContext"]["connections"].asInt() == 0) {
    return call.finish(static_cast<int>(APPCONTEXT_ERROR_NOT_CONNECTED));
  }
  if (std::strcmp(target, "last:source") != 0 || std::strcmp(action, "launch") != 0) {
    return call.finish(static_cast<int>(APPCONTEXT_ERROR_UNKNOWN_TASK));
  }
  // The last source comes to the front; the one it replaces becomes last.
  Json::Value& tv = core.state["tv"];
  const Json::Value previous = tv["currentSource"];
  tv["currentSource"] = tv["lastSource"];
  tv["lastSource"] = previous;
  tv["contextState"] = tv["contextState"].asUInt() | 1u;
  return call.finish(static_cast<int>(APPCONTEXT_ERROR_NONE));
}

}  // namespace AppContextClient

namespace AppListControlClient {

int initDbusConnection() {
  Call call("AppListControlClient", "initDbusConnection", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  core.state["appList"]["connected"] = true;
  return call.finish(static_cast<int>(APPLIST_ERROR_NONE));
}

int finiDbusConnection() {
  Call call("AppListControlClient", "finiDbusConnection", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& connected = core.state["appList"]["connected"];
  if (!connected.asBool()) return call.finish(static_cast<int>(APPLIST_ERROR_NOT_CONNECTED));
  connected = false;
  return call.finish(static_cast<int>(APPLIST_ERROR_NONE));
}

int disableItem(const char* appName, const char* item) {
  Call call("AppListControlClient", "disableItem", args(text(appName), text(item)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!appName || !*appName || !item || !*item) {
    return call.finish(static_cast<int>(APPLIST_ERROR_INVALID_PARAMETER));
  }
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& list = core.state["appList"];
  if (!list["connected"].asBool())
    return call.finish(static_cast<int>(APPLIST_ERROR_NOT_CONNECTED));
  for (const auto& d : list["disabledItems"]) {
    if (d["app"].asString() == appName && d["item"].asString() == item) {
      return call.finish(static_cast<int>(APPLIST_ERROR_NONE));
    }
  }
  Json::Value entry(Json::objectValue);
  entry["app"] = appName;
  entry["item"] = item;
  list["disabledItems"].append(entry);
  return call.finish(static_cast<int>(APPLIST_ERROR_NONE));
}

int removeDisabledItemsByAppname(const char* appName) {
  Call call("AppListControlClient", "removeDisabledItemsByAppname", args(text(appName)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!appName || !*appName) return call.finish(static_cast<int>(APPLIST_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& list = core.state["appList"];
  if (!list["connected"].asBool())
    return call.finish(static_cast<int>(APPLIST_ERROR_NOT_CONNECTED));
  Json::Value kept(Json::arrayValue);
  for (const auto& d : list["disabledItems"]) {
    if (d["app"].asString() != appName) kept.append(d);
  }
  list["disabledItems"] = kept;
  return call.finish(static_cast<int>(APPLIST_ERROR_NONE));
}

}  // namespace AppListControlClient

namespace ScreenSaverClient {

int activate(const char* type, unsigned int a, unsigned int b, unsigned int c, unsigned int d) {
  Call call("ScreenSaverClient", "activate", args(text(type), a, b, c, d));
  if (auto forced = call.forcedInt()) return *forced;
  if (!type || !*type) return call.finish(static_cast<int>(SCREENSAVER_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  if (core.state["power"]["state"].asInt() != TvPowerClient::POWER_STATE_NORMAL) {
    return call.finish(static_cast<int>(SCREENSAVER_ERROR_NOT_AVAILABLE));
  }
  Json::Value& saver = core.state["screenSaver"];
  saver["active"] = true;
  saver["type"] = type;
  Json::Value parameters(Json::arrayValue);
  for (unsigned int p : {a, b, c, d}) parameters.append(p);
  saver["parameters"] = parameters;
  return call.finish(static_cast<int>(SCREENSAVER_ERROR_NONE));
}

int deactivate() {
  Call call("ScreenSaverClient", "deactivate", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  core.state["screenSaver"]["active"] = false;
  return call.finish(static_cast<int>(SCREENSAVER_ERROR_NONE));
}

}  // namespace ScreenSaverClient
