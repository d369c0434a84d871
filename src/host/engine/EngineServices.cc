// Engine facilities bridges call besides the script classes: the process
// manager, the task dispatcher, the toolkit's idle hand-off and stage hints
// (served by the GLib main loop; no toolkit library is used), well-known
// directories, the app configuration, the clock and the annotation stream.
#include "engine/EngineServices.h"

#include <atomic>
#include <ctime>
#include <filesystem>
#include <mutex>

#include "AppConfig.h"
#include "CTimeInfo.h"
#include "CTimeUtil.h"
#include "Logger.h"
#include "TarnProcessManager.h"
#include "TaskDispatcher.h"
#include "clutter.h"
#include "directory.h"
#include "engine/Runtime.h"
#include "gator_annotate.h"
#include "tarn/host/DevicePaths.h"

FILE* gator_annotate = nullptr;

namespace {

std::mutex g_runtimeMutex;
std::shared_ptr<TarnFullProcessRuntime> g_runtime;

tarn::util::Logger& EngineLogger() {
  static tarn::util::Logger logger("tarn.engine");
  return logger;
}

}  // namespace

TarnProcessManager* TarnProcessManager::Instance() {
  static TarnProcessManager manager;
  return &manager;
}

std::shared_ptr<TarnFullProcessRuntime> TarnProcessManager::Runtime() {
  std::lock_guard<std::mutex> lock(g_runtimeMutex);
  return g_runtime;
}

void TarnProcessManager::SetRuntime(std::shared_ptr<TarnFullProcessRuntime> runtime) {
  std::lock_guard<std::mutex> lock(g_runtimeMutex);
  g_runtime = std::move(runtime);
}

namespace tarn {
namespace util {

namespace {
class MainLoopDispatcher : public TaskDispatcher {
 public:
  void AddTask(std::function<void()> task) override {
    std::shared_ptr<TarnFullProcessRuntime> runtime = TarnProcessManager::Instance()->Runtime();
    auto* host = dynamic_cast<tarn::host::Runtime*>(runtime.get());
    if (!host) {
      EngineLogger().log(__FILE__, __func__, __LINE__, LOG_WARN,
                         "task dropped: no engine runtime is running");
      return;
    }
    static std::atomic<bool> told{false};
    if (!host->Post(std::move(task)) && !told.exchange(true)) {
      EngineLogger().log(__FILE__, __func__, __LINE__, LOG_WARN,
                         "task refused: the engine runtime has closed");
    }
  }
};
}  // namespace

TaskDispatcher* TaskDispatcher::Instance() {
  static MainLoopDispatcher dispatcher;
  return &dispatcher;
}

namespace directory {

std::string GetAppDataPath(const std::string& name) {
  return tarn::host::ResolveDevicePath("/opt/usr/apps/" + name) + "/";
}

std::string GetPackagePath(const std::string& packageId) {
  return tarn::host::ResolveDevicePath("/opt/usr/apps/" + packageId);
}

}  // namespace directory
}  // namespace util
}  // namespace tarn

// --- Toolkit calls over the GLib main loop --------------------------------

namespace {

struct _DefaultStage {
  int unused;
} g_defaultStage;

std::mutex g_hintMutex;
std::vector<std::pair<std::string, std::string>> g_hints;

}  // namespace

// Any thread. Refused (0, the notifier called at once, the data left to the
// caller when there is none) when no runtime runs or it has closed.
extern "C" guint clutter_threads_add_idle_full(gint priority, GSourceFunc func, gpointer data,
                                               GDestroyNotify notify) {
  if (!func) return 0;
  std::shared_ptr<TarnFullProcessRuntime> runtime = TarnProcessManager::Instance()->Runtime();
  auto* host = dynamic_cast<tarn::host::Runtime*>(runtime.get());
  guint id = host ? host->AddIdle(priority, func, data, notify) : 0;
  if (!host && notify) notify(data);
  static std::atomic<bool> told{false};
  if (!id && !told.exchange(true)) {
    EngineLogger().log(__FILE__, __func__, __LINE__, tarn::util::LOG_WARN,
                       "idle call refused: no engine runtime is running");
  }
  return id;
}

extern "C" ClutterActor* clutter_stage_get_default(void) {
  return reinterpret_cast<ClutterActor*>(&g_defaultStage);
}

extern "C" gboolean clutter_stage_aux_hint_add(ClutterStage* stage, const gchar* hint,
                                               const gchar* value) {
  if (stage != reinterpret_cast<ClutterStage*>(&g_defaultStage) || !hint) return FALSE;
  // One entry per key, as the stage keeps one value per hint: a hint set
  // again moves to the end with its new value, so the list stays as long as
  // the keys used, however often they are set.
  std::lock_guard<std::mutex> lock(g_hintMutex);
  for (auto it = g_hints.begin(); it != g_hints.end(); ++it) {
    if (it->first == hint) {
      g_hints.erase(it);
      break;
    }
  }
  g_hints.emplace_back(hint, value ? value : "");
  return TRUE;
}

namespace tarn {
namespace host {
std::vector<std::pair<std::string, std::string>> StageHints() {
  std::lock_guard<std::mutex> lock(g_hintMutex);
  return g_hints;
}
}  // namespace host
}  // namespace tarn

// --- App configuration ----------------------------------------------------

namespace {
// Device paths until first use, then resolved through the platform.
const char kDefaultTarnDataPath[] = "/opt/usr/apps/tarnapps/apps_temp/org.tarn.apps";
}  // namespace

AppConfig::AppConfig() : atlasWidth_(0), atlasHeight_(false) {}

AppConfig* AppConfig::Instance() {
  static AppConfig config;
  return &config;
}

namespace {
// The running app's folders exist on the set; off the set they are made in
// the simulated root when first resolved.
std::string ExistingFolder(const std::string& resolved) {
  std::error_code ec;
  if (!resolved.empty() && resolved[0] == '/' && !std::filesystem::exists(resolved, ec))
    std::filesystem::create_directories(resolved, ec);
  return resolved;
}
}  // namespace

std::string AppConfig::GetTarnDataPath() const {
  return ExistingFolder(
      tarn::host::ResolveDevicePath(tarnDataPath_.empty() ? kDefaultTarnDataPath : tarnDataPath_));
}

std::string AppConfig::GetAppDataPath() const {
  return appDataPath_.empty() ? GetTarnDataPath()
                              : ExistingFolder(tarn::host::ResolveDevicePath(appDataPath_));
}

void AppConfig::SetTarnDataPath(const std::string& path) { tarnDataPath_ = path; }
void AppConfig::SetAppDataPath(const std::string& path) { appDataPath_ = path; }
void AppConfig::set_gATLAS_WIDTH(int width) { atlasWidth_ = width; }
void AppConfig::set_gATLAS_HEIGHT(bool height) { atlasHeight_ = height; }
int AppConfig::gATLAS_WIDTH() const { return atlasWidth_; }
bool AppConfig::gATLAS_HEIGHT() const { return atlasHeight_; }

// --- Clock ----------------------------------------------------------------

unsigned long CTimeUtil::GetCurrentTime() { return static_cast<unsigned long>(time(nullptr)); }

CTimeInfo::CTimeInfo(unsigned long secondsSinceEpoch) : seconds_(secondsSinceEpoch) {}

namespace {
std::string Format(unsigned long seconds, const char* format) {
  time_t t = static_cast<time_t>(seconds);
  tm local;
  if (!localtime_r(&t, &local)) return std::string();
  char text[128];
  size_t length = strftime(text, sizeof text, format, &local);
  return std::string(text, length);
}
}  // namespace

std::string CTimeInfo::GetDateString(bool longForm, bool yearFirst) const {
  if (longForm) return Format(seconds_, yearFirst ? "%Y, %A %d %B" : "%A, %d %B %Y");
  return Format(seconds_, yearFirst ? "%Y/%m/%d" : "%d/%m/%Y");
}

std::string CTimeInfo::GetTimeString(bool twelveHour) const {
  if (!twelveHour) return Format(seconds_, "%H:%M");
  std::string text = Format(seconds_, "%I:%M %p");
  if (!text.empty() && text[0] == '0') text.erase(0, 1);
  return text;
}
