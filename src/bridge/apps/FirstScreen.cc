// First-screen markers, the recent-apps history and the pre-installed movie
// folders. Traps: after a failed RUA call the session is left open (no
// rua_fini); a movie folder counts as needed when it lists three entries
// ("." and ".." among them); removal empties the folder but keeps it, and
// runs no shell, so no folder name can become a command.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "DevicePath.h"
#include "QDUtilBridge.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"
#include "prctl_marker.h"
#include "rua.h"
#include "tzplatform.h"

namespace Bridge {

namespace {

constexpr const char kFirstScreenAnnouncement[] =
    "-------------------------FirstScreen display-------------------------";
constexpr const char* kFirstScreenMarker = "/tmp/firstscreen_ready";
constexpr const char* kPexReadyMarker = "/tmp/pex_ready";
constexpr const char* kWasReadyMarker = "/run/was_ready";
constexpr const char* kWelcomeMovie = "Welcome_Movie";
constexpr const char* kDemoMovie = "demo_movie";
constexpr const char* kWelcomeMovieFiles = "Welcome_Movie/*";
constexpr const char* kDemoMovieFiles = "demo_movie/*";
constexpr int kRuaFailed = -1;
constexpr int kEntriesOfANeededFolder = 3;

bool markerExists(const char* marker) {
  std::FILE* file = std::fopen(platform::devicePath(marker).c_str(), "rb");
  if (!file) return false;
  std::fclose(file);
  return true;
}

// Whether the movie folder holds anything: it lists three entries, counting
// "." and "..", and no more are counted. Its lines name `handler`, the
// method that asked.
bool folderHoldsMovies(const char* folder, const char* handler) {
  const char* found = tzplatform_mkpath(TZPLATFORM_MEDIA, folder);
  const std::string dir = found ? found : "";
  struct stat info;
  const int r = stat(dir.c_str(), &info);
  QD_LOG_AS(QDUtilBridge::logger_, handler, kLogInfo, "[Tarn]result[" << r << "]");
  if (r != 0) return false;
  DIR* handle = opendir(dir.c_str());
  if (!handle) return false;
  int count = 0;
  while (count < kEntriesOfANeededFolder && readdir(handle) != nullptr) ++count;
  closedir(handle);
  QD_LOG_AS(QDUtilBridge::logger_, handler, kLogInfo, "[Tarn]dir_num[" << count << "]");
  return count == kEntriesOfANeededFolder;
}

// Empties the folder a "<folder>/*" pattern names, as the shell's wildcard
// would: every entry whose name does not begin with a dot, sub-folders
// whole, symbolic links themselves (never what they point at); the folder
// stays. The folder's name is never interpreted.
void removeFolderContents(const char* pattern) {
  const char* found = tzplatform_mkpath(TZPLATFORM_MEDIA, pattern);
  if (!found) return;
  std::string dir = found;
  if (dir.size() < 2 || dir.compare(dir.size() - 2, 2, "/*") != 0) return;
  dir.erase(dir.size() - 2);
  DIR* handle = opendir(dir.c_str());
  if (!handle) return;
  std::vector<std::string> names;
  while (const dirent* entry = readdir(handle)) {
    if (entry->d_name[0] != '.') names.push_back(entry->d_name);
  }
  closedir(handle);
  for (const auto& name : names) {
    std::error_code ec;
    std::filesystem::remove_all(std::filesystem::path(dir) / name, ec);
  }
}

}  // namespace

ScriptObject QDUtilBridge::HandleFirstScreenReady(QDUtilBridge*, const ScriptArray&) {
  prctl(PR_TARN_TRACE_MARKER, kFirstScreenAnnouncement, sizeof kFirstScreenAnnouncement - 1);
  std::FILE* file = std::fopen(platform::devicePath(kFirstScreenMarker).c_str(), "wb");
  if (!file) return false;
  std::fclose(file);
  return true;
}

ScriptObject QDUtilBridge::HandleIsExistWASTempFile(QDUtilBridge*, const ScriptArray&) {
  if (!markerExists(kPexReadyMarker)) return false;
  return markerExists(kWasReadyMarker);
}

ScriptObject QDUtilBridge::HandleClearHistoryRUA(QDUtilBridge*, const ScriptArray&) {
  if (rua_init() == kRuaFailed) {
    QD_LOG(logger_, kLogInfo, "[Tarn] RUA Init Fail!");
    return false;
  }
  if (rua_clear_history() == kRuaFailed) {
    QD_LOG(logger_, kLogInfo, "[Tarn] RUA Clear History Fail!");
    return false;
  }
  rua_fini();
  return true;
}

ScriptObject QDUtilBridge::HandleClearHistoryRUAwithPKG(QDUtilBridge*, const ScriptArray& args) {
  if (rua_init() == kRuaFailed) {
    QD_LOG(logger_, kLogInfo, "[Tarn] RUA Init Fail!");
    return false;
  }
  if (args.Length() == 0) {
    QD_LOG(logger_, kLogInfo, "Argument is wrong");
    return false;
  }
  const std::string pkg = args::text(args, 0);
  if (rua_delete_history_with_pkgname(pkg.c_str()) == kRuaFailed) {
    QD_LOG(logger_, kLogInfo, "[Tarn] RUA Clear History Fail!");
    return false;
  }
  rua_fini();
  return true;
}

ScriptObject QDUtilBridge::HandleIsUnnecessaryWelcomeMovie(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, __func__);
  return folderHoldsMovies(kWelcomeMovie, __func__);
}

ScriptObject QDUtilBridge::HandleIsUnnecessaryMovie(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, __func__);
  return folderHoldsMovies(kDemoMovie, __func__);
}

ScriptObject QDUtilBridge::HandleRemoveUnnecessaryWelcomeMovie(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, __func__);
  removeFolderContents(kWelcomeMovieFiles);
  return true;
}

ScriptObject QDUtilBridge::HandleRemoveUnnecessaryMovie(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, __func__);
  removeFolderContents(kDemoMovieFiles);
  return true;
}

ScriptObject QDUtilBridge::HandleCheckExistFile(QDUtilBridge*, const ScriptArray& args) {
  const std::string path = args::text(args, 0);
  struct stat info;
  if (stat(platform::devicePath(path).c_str(), &info) == 0) return 1;
  QD_LOG(logger_, kLogInfo, "[TARN] stat failed for " << path);
  return 0;
}

}  // namespace Bridge

// Handlers: HandleFirstScreenReady, HandleIsExistWASTempFile,
// HandleClearHistoryRUA, HandleClearHistoryRUAwithPKG,
// HandleIsUnnecessaryWelcomeMovie, HandleIsUnnecessaryMovie,
// HandleRemoveUnnecessaryWelcomeMovie, HandleRemoveUnnecessaryMovie,
// HandleCheckExistFile.
