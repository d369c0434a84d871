// The home screen's launcher bar, read from the list another component
// writes: the pinned ids, whether one is pinned, whether one more fits.
// Traps: the failure texts are kept as the field knows them (two spaces
// after the tag, and the open failure of "isAvailableAddToHome" under the
// "fernIsContainLauncher" tag); the look at the fifth slot pads short lists.
#include <string>

#include <json/writer.h>

#include "QDUtilBridge.h"
#include "apps/Documents.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"
#include "binding/FileReads.h"
#include "tzplatform.h"

namespace Bridge {

namespace {

constexpr const char* kLauncherListFile = "owner/share/tarnapps/first_screen/localAppList.txt";
constexpr std::size_t kLauncherChunk = 1024;

enum class ListRead { kOpenFailed, kParseFailed, kRead };

// Reads the list whole and parses it. A file that opens but cannot be read
// (a folder) reads as empty, which does not parse.
ListRead readLauncherList(Json::Value* root) {
  const char* path = tzplatform_mkpath(TZPLATFORM_USER_HOME, kLauncherListFile);
  std::string text;
  if (!path || files::readInChunks(path, kLauncherChunk, &text) == files::ReadStatus::kCannotOpen) {
    return ListRead::kOpenFailed;
  }
  return documents::parseJson(text, root) ? ListRead::kRead : ListRead::kParseFailed;
}

}  // namespace

ScriptObject QDUtilBridge::HandleGetLauncherList(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "[HandleGetLauncherList]");
  Json::Value root;
  switch (readLauncherList(&root)) {
    case ListRead::kOpenFailed:
      QD_LOG(logger_, kLogInfo, "[HandleGetLauncherList] file open fail");
      return std::string();
    case ListRead::kParseFailed:
      QD_LOG(logger_, kLogInfo, "[HandleGetLauncherList]  json parse fail");
      return std::string();
    case ListRead::kRead:
      break;
  }
  try {
    const Json::Value data = root["data"];
    QD_LOG(logger_, kLogInfo, "[HandleGetLauncherList] Elements size : " << data.size());
    Json::Value out;
    for (Json::ArrayIndex i = 0; i < data.size(); ++i) {
      out.append(Json::Value(data[i]["appId"].asString()));
    }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    Json::FastWriter writer;
#pragma GCC diagnostic pop
    const std::string text = writer.write(out);
    QD_LOG(logger_, kLogInfo, "[HandleGetLauncherList] result : (" << text << ")");
    return text;
  } catch (const Json::Exception&) {
    QD_LOG(logger_, kLogInfo, "json exception!");
    return std::string();
  }
}

ScriptObject QDUtilBridge::HandleIsContainLauncher(QDUtilBridge*, const ScriptArray& args) {
  QD_LOG(logger_, kLogInfo, "[HandleIsContainLauncher]");
  Json::Value root;
  const ListRead read = readLauncherList(&root);
  if (read == ListRead::kOpenFailed) {
    QD_LOG(logger_, kLogInfo, "[HandleIsContainLauncher] file open fail");
    return false;
  }
  const std::string input = args::text(args, 0);
  if (read == ListRead::kParseFailed) {
    QD_LOG(logger_, kLogInfo, "[HandleIsContainLauncher]  json parse fail");
    return false;
  }
  try {
    const Json::Value data = root["data"];
    QD_LOG(logger_, kLogInfo, "[HandleIsContainLauncher] Elements size : " << data.size());
    for (Json::ArrayIndex i = 0; i < data.size(); ++i) {
      const std::string id = data[i]["appId"].asString();
      QD_LOG(logger_, kLogInfo,
             "[HandleIsContainLauncher] Element " << i << " appId : " << id
                                                  << " / input id : " << input);
      if (id == input) return true;
    }
    return false;
  } catch (const Json::Exception&) {
    QD_LOG(logger_, kLogInfo, "[HandleIsContainLauncher] json exception !");
    return false;
  }
}

ScriptObject QDUtilBridge::HandleIsAvailableAddToHome(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "[HandleIsAvailableAddToHome]");
  Json::Value root;
  switch (readLauncherList(&root)) {
    case ListRead::kOpenFailed:
      QD_LOG(logger_, kLogInfo, "[HandleIsContainLauncher] file open fail");
      return false;
    case ListRead::kParseFailed:
      QD_LOG(logger_, kLogInfo, "[HandleIsAvailableAddToHome]  json parse fail");
      return false;
    case ListRead::kRead:
      break;
  }
  try {
    Json::Value data = root["data"];
    QD_LOG(logger_, kLogInfo, "[HandleIsAvailableAddToHome] Launcher size : " << data.size());
    bool hasAd = false;
    const int allowance = documents::launcherAllowance(data, &hasAd);
    if (hasAd) QD_LOG(logger_, kLogInfo, "[HandleIsAvailableAddToHome] Contains AD");
    return data.size() < static_cast<Json::ArrayIndex>(allowance);
  } catch (const Json::Exception&) {
    QD_LOG(logger_, kLogInfo, "[HandleIsAvailableAddToHome] json exception!");
    return false;
  }
}

}  // namespace Bridge

// Handlers: HandleGetLauncherList, HandleIsContainLauncher,
// HandleIsAvailableAddToHome.
