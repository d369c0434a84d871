// The simulator's root folder: device paths and path-configuration folders
// resolve under it. File sections of the state are written into it when
// they change; the kernel's memory reports are regenerated from the real
// process's and system's figures each time they are resolved.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <utility>

#include <json/writer.h>

#include "Core.h"
#include "DevicePath.h"
#include "tzplatform.h"

namespace fs = std::filesystem;

namespace tvsim {
namespace detail {

namespace {

const char* const kAppsRoot = "/opt/usr/apps";
// Under their path variables' folders.
const char* const kLauncherListPath = "/owner/share/tarnapps/first_screen/localAppList.txt";
const char* const kLogPolicyPath = "/webappservice/common/LogPolicyConfig.xml";

bool writeFile(const std::string& path, const std::string& content, std::string* error) {
  std::error_code ec;
  fs::create_directories(fs::path(path).parent_path(), ec);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
  out.close();
  if (!out) {
    if (error) *error = "cannot write " + path;
    return false;
  }
  return true;
}

std::string xmlEscape(const std::string& s) {
  std::string out;
  for (char c : s) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string attributes(const Json::Value& map) {
  // "name" first, as a service file is read by eye; the rest in key order.
  std::string out;
  if (map.isMember("name")) out += " name=\"" + xmlEscape(map["name"].asString()) + "\"";
  for (const auto& key : map.getMemberNames()) {
    if (key != "name") out += " " + xmlEscape(key) + "=\"" + xmlEscape(map[key].asString()) + "\"";
  }
  return out;
}

std::string normalize(const std::string& absolute);

// Figures of /proc/self/status and /proc/meminfo by name, in kB.
std::map<std::string, long long> readFigures(const char* path) {
  std::map<std::string, long long> figures;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    auto colon = line.find(':');
    if (colon == std::string::npos) continue;
    long long value = 0;
    if (std::sscanf(line.c_str() + colon + 1, "%lld", &value) == 1) {
      figures[line.substr(0, colon)] = value;
    }
  }
  return figures;
}

// How `memoryReports` says a report is made: false takes it away, a text (or
// number) is its whole content, anything else means the real figures. A
// `files` entry or a `folders` entry at the report's path wins over all.
bool steeredReport(const Json::Value& state, const std::string& root, const std::string& normalized,
                   const char* key) {
  if (state["files"].isMember(normalized)) return true;
  for (const auto& folder : state["folders"]) {
    if (normalize(folder.asString()) == normalized) return true;
  }
  const Json::Value& mode = state["memoryReports"][key];
  if (mode.isBool() && !mode.asBool()) {
    std::error_code ec;
    if (fs::is_regular_file(root + normalized, ec)) fs::remove(root + normalized, ec);
    return true;
  }
  if (mode.isString() || (mode.isNumeric() && !mode.isBool())) {
    writeFile(root + normalized, mode.asString(), nullptr);
    return true;
  }
  return false;
}

void writeMemoryReports(const Json::Value& state, const std::string& root,
                        const std::string& normalized) {
  const std::string self = "/proc/" + std::to_string(getpid()) + "/";
  if (normalized == "/proc/qd_memfree") {
    if (steeredReport(state, root, normalized, "memfree")) return;
    auto mem = readFigures("/proc/meminfo");
    long long freeKb = mem.count("MemAvailable") ? mem["MemAvailable"] : mem["MemFree"];
    writeFile(root + normalized, std::to_string(freeKb) + "\n", nullptr);
  } else if (normalized == self + "qd_memstat") {
    if (steeredReport(state, root, normalized, "memstat")) return;
    auto status = readFigures("/proc/self/status");
    std::ostringstream out;
    for (const char* name : {"VmPeak", "VmSize", "VmHWM", "VmRSS", "RssAnon", "RssFile", "RssShmem",
                             "VmData", "VmStk", "VmExe", "VmLib", "VmSwap"}) {
      if (status.count(name)) out << name << ":\t" << status[name] << " kB\n";
    }
    writeFile(root + normalized, out.str(), nullptr);
  } else if (normalized == self + "oom_adj") {
    struct stat st;
    if (stat((root + normalized).c_str(), &st) != 0) {
      std::string value = "0";
      std::ifstream in("/proc/self/oom_adj");
      if (in) std::getline(in, value);
      writeFile(root + normalized, value + "\n", nullptr);
    }
  }
}

// "." and ".." folded; never above "/".
std::string normalize(const std::string& absolute) {
  std::vector<std::string> parts;
  std::stringstream in(absolute);
  std::string part;
  while (std::getline(in, part, '/')) {
    if (part.empty() || part == ".") continue;
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
      continue;
    }
    parts.push_back(part);
  }
  std::string out;
  for (const auto& p : parts) out += "/" + p;
  if (out.empty()) out = "/";
  if (absolute.size() > 1 && absolute.back() == '/' && out != "/") out += "/";
  return out;
}

}  // namespace

std::string tzRoot(int variable) {
  switch (variable) {
    case TZPLATFORM_MEDIA:
      return "/opt/usr/media";
    case TZPLATFORM_USER_HOME:
      return "/opt/usr/home";
    case TZPLATFORM_SYS_CONFIG:
      return "/opt/etc";
    default:
      return "";
  }
}

namespace {
// Adds a device path and every folder above it (not "/").
void addWithParents(std::set<std::string>& folders, std::string path) {
  while (path.size() > 1) {
    folders.insert(path);
    path = path.substr(0, path.rfind('/'));
  }
}
}  // namespace

std::set<std::string> sectionFolders(const Json::Value& s) {
  std::set<std::string> folders;
  for (const char* dir :
       {"/proc", "/tmp", "/run", "/dev/gator", "/opt/usr/media", "/opt/usr/home", "/opt/etc"}) {
    addWithParents(folders, dir);
  }
  addWithParents(folders, "/proc/" + std::to_string(getpid()));
  addWithParents(folders, std::string(kAppsRoot) + "/tarnapps/apps_temp/org.tarn.apps");
  auto parentOf = [](const std::string& file) { return file.substr(0, file.rfind('/')); };
  addWithParents(folders, parentOf(tzRoot(TZPLATFORM_USER_HOME) + kLauncherListPath));
  addWithParents(folders, parentOf(tzRoot(TZPLATFORM_SYS_CONFIG) + kLogPolicyPath));
  for (const auto& area : s["appDataAreas"]) {
    addWithParents(folders, normalize(std::string(kAppsRoot) + "/" + area.asString()));
  }
  for (const auto& app : s["installedApps"]) {
    addWithParents(
        folders, parentOf(normalize(std::string(kAppsRoot) + "/" + app["dataDir"].asString() + "/" +
                                    app["manifest"].asString())));
  }
  for (const auto& panel : s["panels"]) {
    addWithParents(folders, std::string(kAppsRoot) + "/" + panel["appId"].asString() + "/src");
    addWithParents(folders, std::string(kAppsRoot) + "/" + panel["package"].asString() + "/bin");
  }
  for (const auto& folder : s["media"].getMemberNames()) {
    addWithParents(folders, tzRoot(TZPLATFORM_MEDIA) + "/" + folder);
  }
  // A `folders` entry itself may share its path with a `files` entry (the
  // folder wins); only the folders above it are the set's.
  for (const auto& folder : s["folders"]) {
    addWithParents(folders, parentOf(normalize(folder.asString())));
  }
  for (const auto& file : s["files"].getMemberNames()) {
    addWithParents(folders, parentOf(normalize(file)));
  }
  return folders;
}

std::vector<std::string> filesOverFolders(const Json::Value& state) {
  const std::set<std::string> folders = sectionFolders(state);
  std::vector<std::string> over;
  for (const auto& path : state["files"].getMemberNames()) {
    if (folders.count(normalize(path))) over.push_back(path);
  }
  return over;
}

void removeTree(const std::string& path) {
  std::error_code ec;
  fs::remove_all(path, ec);
}

bool populateSection(Core& core, const std::string& section, std::string* error) {
  const std::string& root = core.root;
  const Json::Value& s = core.state;
  std::error_code ec;
  if (section == "skeleton") {
    for (const char* dir : {"/proc", "/tmp", "/run", "/dev/gator", kAppsRoot, "/opt/usr/media",
                            "/opt/usr/home", "/opt/etc"}) {
      fs::create_directories(root + dir, ec);
      if (ec) {
        if (error) *error = "cannot make " + root + dir + ": " + ec.message();
        return false;
      }
    }
    fs::create_directories(root + "/proc/" + std::to_string(getpid()), ec);
    // The engine host's default app (tarn-run without --tarn-data) has its
    // data folder from the start; the host makes any other when resolving.
    fs::create_directories(root + kAppsRoot + "/tarnapps/apps_temp/org.tarn.apps", ec);
    if (!fs::exists(root + "/dev/gator/annotate"))
      writeFile(root + "/dev/gator/annotate", "", error);
    return true;
  }
  if (section == "markers") {
    const Json::Value& m = s["markers"];
    const std::pair<const char*, const char*> markers[] = {
        {"pexReady", "/tmp/pex_ready"},
        {"wasReady", "/run/was_ready"},
        {"firstScreenReady", "/tmp/firstscreen_ready"}};
    for (const auto& marker : markers) {
      if (m[marker.first].asBool()) {
        if (!fs::exists(root + marker.second) && !writeFile(root + marker.second, "", error))
          return false;
      } else {
        fs::remove(root + marker.second, ec);
      }
    }
    return true;
  }
  if (section == "launcher") {
    Json::Value doc(Json::objectValue);
    doc["data"] = Json::Value(Json::arrayValue);
    for (const auto& app : s["launcher"]["apps"]) {
      Json::Value entry(Json::objectValue);
      entry["appId"] = app;
      doc["data"].append(entry);
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    return writeFile(root + tzRoot(TZPLATFORM_USER_HOME) + kLauncherListPath,
                     Json::writeString(builder, doc) + "\n", error);
  }
  if (section == "logPolicy") {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rsp>\n  <list>\n";
    for (const auto& service : s["logPolicy"]["services"]) {
      xml += "    <service" + attributes(service["attributes"]) + ">\n";
      for (const auto& event : service["events"])
        xml += "      <event" + attributes(event) + "/>\n";
      xml += "    </service>\n";
    }
    xml += "  </list>\n</rsp>\n";
    return writeFile(root + tzRoot(TZPLATFORM_SYS_CONFIG) + kLogPolicyPath, xml, error);
  }
  if (section == "appDataAreas") {
    for (const auto& area : s["appDataAreas"]) {
      fs::create_directories(root + kAppsRoot + "/" + area.asString(), ec);
    }
    return true;
  }
  if (section == "installedApps") {
    for (const auto& app : s["installedApps"]) {
      std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<widget>\n";
      if (app["version"].isString())
        xml += "  <ver>" + xmlEscape(app["version"].asString()) + "</ver>\n";
      xml += "</widget>\n";
      const std::string path =
          root + kAppsRoot + "/" + app["dataDir"].asString() + "/" + app["manifest"].asString();
      if (!writeFile(path, xml, error)) return false;
    }
    return true;
  }
  if (section == "panels") {
    for (const auto& panel : s["panels"]) {
      const std::string appId = panel["appId"].asString();
      const std::string package = panel["package"].asString();
      if (!writeFile(root + kAppsRoot + "/" + appId + "/src/app.js", "// panel of " + appId + "\n",
                     error)) {
        return false;
      }
      const std::string binary = root + kAppsRoot + "/" + package + "/bin/" + package;
      if (panel["binary"].asBool()) {
        if (!writeFile(binary, "#!/bin/sh\nexit 0\n", error)) return false;
        chmod(binary.c_str(), 0755);
      } else {
        fs::remove(binary, ec);
      }
    }
    return true;
  }
  if (section == "media") {
    const std::string base = root + tzRoot(TZPLATFORM_MEDIA) + "/";
    for (const auto& folder : core.mediaFoldersWritten) {
      if (!s["media"].isMember(folder)) fs::remove_all(base + folder, ec);
    }
    core.mediaFoldersWritten.clear();
    for (const auto& folder : s["media"].getMemberNames()) {
      fs::remove_all(base + folder, ec);
      fs::create_directories(base + folder, ec);
      core.mediaFoldersWritten.insert(folder);
      for (const auto& name : s["media"][folder]) {
        if (!writeFile(base + folder + "/" + name.asString(),
                       "simulated movie " + name.asString() + "\n", error)) {
          return false;
        }
      }
    }
    return true;
  }
  if (section == "files") {
    for (const auto& path : s["files"].getMemberNames()) {
      const std::string target = root + normalize(path);
      if (fs::is_directory(fs::symlink_status(target, ec))) fs::remove_all(target, ec);
      core.pathsWritten.insert(normalize(path));
      if (!writeFile(target, s["files"][path].asString(), error)) return false;
    }
    for (const auto& folder : s["folders"]) {
      const std::string path = normalize(folder.asString());
      const std::string target = root + path;
      if (fs::exists(fs::symlink_status(target, ec)) && !fs::is_directory(target, ec))
        fs::remove(target, ec);
      fs::create_directories(target, ec);
      core.pathsWritten.insert(path);
    }
    return true;
  }
  return true;
}

const std::string& Core::ensureRootLocked() {
  if (root.empty()) {
    const char* given = std::getenv("TVSIM_ROOT");
    std::error_code ec;
    if (given && *given) {
      fs::create_directories(given, ec);
      root = fs::absolute(given, ec).lexically_normal().string();
      while (root.size() > 1 && root.back() == '/') root.pop_back();
      rootIsTemporary = false;
    } else {
      const char* tmp = std::getenv("TMPDIR");
      std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/tvsim-XXXXXX";
      std::vector<char> buffer(pattern.begin(), pattern.end());
      buffer.push_back('\0');
      if (!mkdtemp(buffer.data())) {
        std::fprintf(stderr, "tvsim: cannot make a root folder %s: %s\n", pattern.c_str(),
                     std::strerror(errno));
        static const std::string none;
        return none;
      }
      root = buffer.data();
      rootIsTemporary = true;
    }
    markAllSectionsDirty();
  }
  if (!dirtySections.empty()) {
    // `files` and `folders` entries win over every other section: they are
    // written last, and again whenever another section was rewritten. An
    // entry taken out of the state is taken off the disk, and the sections
    // that may own its path are written again.
    if (dirtySections.size() > 1 || !dirtySections.count("files")) dirtySections.insert("files");
    if (dirtySections.count("files")) {
      std::set<std::string> wanted;
      for (const auto& path : state["files"].getMemberNames()) wanted.insert(normalize(path));
      for (const auto& folder : state["folders"]) wanted.insert(normalize(folder.asString()));
      bool removed = false;
      for (auto it = pathsWritten.begin(); it != pathsWritten.end();) {
        if (wanted.count(*it)) {
          ++it;
          continue;
        }
        std::error_code ec;
        fs::remove_all(root + *it, ec);
        it = pathsWritten.erase(it);
        removed = true;
      }
      if (removed) markAllSectionsDirty();
    }
    // The skeleton first: the other sections write into it.
    std::vector<std::string> order{"skeleton"};
    for (const auto& section : dirtySections) {
      if (section != "skeleton" && section != "files") order.push_back(section);
    }
    order.push_back("files");
    dirtySections.clear();
    for (const auto& section : order) {
      std::string error;
      if (!populateSection(*this, section, &error))
        std::fprintf(stderr, "tvsim: %s\n", error.c_str());
    }
  }
  return root;
}

std::string devicePathLocked(Core& core, const std::string& absolutePath) {
  if (absolutePath.empty() || absolutePath[0] != '/') return absolutePath;
  const std::string& root = core.ensureRootLocked();
  std::string normalized = normalize(absolutePath);
  // A path already inside the root (one a script built from tarn.sim.root())
  // is that file.
  if (!root.empty() && normalized.compare(0, root.size() + 1, root + "/") == 0)
    normalized.erase(0, root.size());
  writeMemoryReports(std::as_const(core.state), root, normalized);
  return root + normalized;
}

}  // namespace detail

bool Simulator::setRoot(const std::string& dir, std::string* error) {
  detail::Core& core = detail::Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  if (!core.root.empty()) {
    if (error) *error = "the root folder is already " + core.root;
    return false;
  }
  std::error_code ec;
  fs::create_directories(dir, ec);
  if (ec || !fs::is_directory(dir)) {
    if (error) *error = "cannot make the root folder " + dir + (ec ? ": " + ec.message() : "");
    return false;
  }
  std::string root = fs::absolute(dir, ec).lexically_normal().string();
  while (root.size() > 1 && root.back() == '/') root.pop_back();
  core.root = root;
  core.rootIsTemporary = false;
  core.markAllSectionsDirty();
  return true;
}

}  // namespace tvsim

// ---------------------------------------------------------------------------
// Platform functions over the root.

std::string platform::devicePath(const std::string& absolutePath) {
  using namespace tvsim::detail;
  Call call("DevicePath", "devicePath", args(absolutePath));
  Json::Value forced;
  if (call.forced(&forced)) {
    std::string r = forced.isString() ? forced.asString() : std::string();
    call.finishWith(forced);
    return r;
  }
  std::string result;
  {
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    result = devicePathLocked(core, absolutePath);
  }
  call.finishWith(Json::Value(result));
  return result;
}

const char* tzplatform_mkpath(int variable, const char* relative) {
  using namespace tvsim::detail;
  Call call("tzplatform", "tzplatform_mkpath", args(variable, text(relative)));
  thread_local std::string result;
  Json::Value forced;
  if (call.forced(&forced)) {
    if (forced.isNull()) return call.finish(static_cast<const char*>(nullptr));
    result = forced.asString();
    return call.finish(result.c_str());
  }
  const std::string base = tzRoot(variable);
  if (base.empty() || !relative) return call.finish(static_cast<const char*>(nullptr));
  {
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    const std::string& root = core.ensureRootLocked();
    result = root + base + (relative[0] == '/' || relative[0] == '\0' ? "" : "/") + relative;
  }
  return call.finish(result.c_str());
}
