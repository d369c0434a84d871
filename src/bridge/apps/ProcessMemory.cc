// The calling process's own memory and diagnostics: the kernel's memory
// reports, the out-of-memory adjustment and a service's log policy. Traps:
// "GetMemfree" logs the report's name without its prefix; the log policy's
// service is found by prefix, so an empty key takes the first service.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include <json/writer.h>

#include "DevicePath.h"
#include "QDUtilBridge.h"
#include "apps/Documents.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"
#include "binding/FileReads.h"
#include "tzplatform.h"

namespace Bridge {

namespace {

constexpr const char* kMemfreeReport = "/proc/qd_memfree";
constexpr std::size_t kMemfreeBytes = 20;
constexpr std::size_t kProcReportChunk = 4096;
constexpr const char* kLogPolicyFile = "webappservice/common/LogPolicyConfig.xml";

}  // namespace

ScriptObject QDUtilBridge::HandleGetProcMemory(QDUtilBridge*, const ScriptArray&) {
  const std::string path =
      platform::devicePath("/proc/" + std::to_string(getpid()) + "/qd_memstat");
  QD_LOG(logger_, kLogInfo, "fileName: " << path);
  std::string text;
  if (files::readInChunks(path, kProcReportChunk, &text) == files::ReadStatus::kCannotOpen) {
    return std::string();
  }
  // Line by line, each given back with its newline, the last one included.
  std::string result;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    result.append(text, start, end - start);
    result += "\n";
    start = end + 1;
  }
  return result;
}

ScriptObject QDUtilBridge::HandleGetMemfree(QDUtilBridge*, const ScriptArray&) {
  std::string text;
  long readResult = 0;
  const files::ReadStatus status =
      files::readPrefix(platform::devicePath(kMemfreeReport), kMemfreeBytes, &text, &readResult);
  if (status == files::ReadStatus::kCannotOpen) {
    QD_LOG(logger_, kLogInfo, "Cannot open /proc/memfree. Try again later");
    return 0;
  }
  QD_LOG(logger_, kLogInfo, "File name: /proc/memfree");
  if (readResult < 0) QD_LOG(logger_, kLogInfo, "read returned " << readResult);
  const long value = std::strtol(text.c_str(), nullptr, 10);
  return static_cast<int>(static_cast<unsigned int>(value));
}

ScriptObject QDUtilBridge::HandleSetOomScore(QDUtilBridge*, const ScriptArray& args) {
  if (args.Length() == 0) return false;
  const int value = args::int32(args, 0);
  char path[128];
  std::snprintf(path, sizeof path, "/proc/%d/oom_adj", static_cast<int>(getpid()));
  std::FILE* file = std::fopen(platform::devicePath(path).c_str(), "w");
  if (!file) return false;
  std::fprintf(file, "%d", value);
  std::fclose(file);
  return true;
}

ScriptObject QDUtilBridge::HandleGetKPILogInfo(QDUtilBridge*, const ScriptArray& args) {
  const std::string key = args::text(args, 0);
  const char* path = tzplatform_mkpath(TZPLATFORM_SYS_CONFIG, kLogPolicyFile);
  TiXmlDocument doc;
  if (!path || !documents::loadXmlFile(path, &doc)) {
    QD_LOG(logger_, kLogInfo, "[Tarn] XML LoadFile Fail!");
    return std::string();
  }
  try {
    Json::Value result;
    switch (documents::logPolicy(doc, key, &result)) {
      case documents::LogPolicy::kNoRsp:
        QD_LOG(logger_, kLogInfo, "[Tarn] XML pRoot Fail!");
        return std::string();
      case documents::LogPolicy::kNoList:
        QD_LOG(logger_, kLogInfo, "[Tarn] XML pElem Fail!");
        return std::string();
      case documents::LogPolicy::kNoName:
        QD_LOG(logger_, kLogInfo, "[Tarn] XML pKey Fail!");
        return std::string();
      case documents::LogPolicy::kNoService:
        QD_LOG(logger_, kLogInfo, "[Tarn] XML pElemService Fail!");
        return std::string();
      case documents::LogPolicy::kFound:
        break;
    }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    Json::StyledWriter writer;
#pragma GCC diagnostic pop
    return writer.write(result);
  } catch (const Json::Exception&) {
    QD_LOG(logger_, kLogInfo, "json exception !");
    return std::string();
  }
}

}  // namespace Bridge

// Handlers: HandleGetProcMemory, HandleGetMemfree, HandleSetOomScore,
// HandleGetKPILogInfo.
