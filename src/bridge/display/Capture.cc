// Screen capture to an image file through the display capture service, in one
// blocking call. Traps: the mode's key is spelt "cpature_mode" on purpose;
// defaults apply only when an options object is given (no argument sends an
// all-zero request); the request record's layout is shared with the closed
// service; the path copies are freed whatever the capture answered.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "DisplayCaptureClient.h"
#include "QDUtilBridge.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"
#include "binding/Options.h"

namespace Bridge {

namespace {

using DisplayCaptureClient::CaptureRequest;

// The record as the set's 32-bit service lays it out: pointers are 4 bytes
// there, so they are shown here as 32-bit words.
struct TargetCaptureRequest {
  std::int32_t app_type;
  std::int32_t capture_mode;
  std::int32_t comp_type;
  std::int32_t jpeg_quality;
  std::uint32_t dir_path;
  std::uint32_t file_name;
  std::int32_t width;
  std::int32_t height;
  std::int32_t ret_width;
  std::int32_t ret_height;
  char ret_path[256];
};
static_assert(sizeof(TargetCaptureRequest) == 296, "capture record: 296 bytes on the set");
static_assert(offsetof(TargetCaptureRequest, app_type) == 0, "capture record layout");
static_assert(offsetof(TargetCaptureRequest, capture_mode) == 4, "capture record layout");
static_assert(offsetof(TargetCaptureRequest, comp_type) == 8, "capture record layout");
static_assert(offsetof(TargetCaptureRequest, jpeg_quality) == 12, "capture record layout");
static_assert(offsetof(TargetCaptureRequest, dir_path) == 16, "capture record layout");
static_assert(offsetof(TargetCaptureRequest, file_name) == 20, "capture record layout");
static_assert(offsetof(TargetCaptureRequest, width) == 24, "capture record layout");
static_assert(offsetof(TargetCaptureRequest, height) == 28, "capture record layout");
static_assert(offsetof(TargetCaptureRequest, ret_width) == 32, "capture record layout");
static_assert(offsetof(TargetCaptureRequest, ret_height) == 36, "capture record layout");
static_assert(offsetof(TargetCaptureRequest, ret_path) == 40, "capture record layout");

// The service's own declaration matches that layout wherever pointers are 4
// bytes; on a wider machine every field after a pointer moves by exactly the
// extra pointer width, and by nothing else.
constexpr std::size_t kWiden = sizeof(const char*) - 4;
static_assert(offsetof(CaptureRequest, app_type) == 0, "capture record layout");
static_assert(offsetof(CaptureRequest, capture_mode) == 4, "capture record layout");
static_assert(offsetof(CaptureRequest, comp_type) == 8, "capture record layout");
static_assert(offsetof(CaptureRequest, jpeg_quality) == 12, "capture record layout");
static_assert(offsetof(CaptureRequest, dir_path) == 16, "capture record layout");
static_assert(offsetof(CaptureRequest, file_name) == 20 + kWiden, "capture record layout");
static_assert(offsetof(CaptureRequest, width) == 24 + 2 * kWiden, "capture record layout");
static_assert(offsetof(CaptureRequest, height) == 28 + 2 * kWiden, "capture record layout");
static_assert(offsetof(CaptureRequest, ret_width) == 32 + 2 * kWiden, "capture record layout");
static_assert(offsetof(CaptureRequest, ret_height) == 36 + 2 * kWiden, "capture record layout");
static_assert(offsetof(CaptureRequest, ret_path) == 40 + 2 * kWiden, "capture record layout");
static_assert(sizeof(CaptureRequest::ret_path) == 256, "capture record layout");
static_assert(sizeof(CaptureRequest) == 296 + 2 * kWiden, "capture record layout");

// A heap copy of `text`: its bytes and a terminating NUL.
std::unique_ptr<char[]> copyOf(const std::string& text) {
  std::unique_ptr<char[]> copy(new char[text.size() + 1]);
  std::memcpy(copy.get(), text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

const char* shown(const char* path) { return path ? path : ""; }

}  // namespace

ScriptObject QDUtilBridge::HandleDCRequestCaptureToFileSync(QDUtilBridge*,
                                                            const ScriptArray& args) {
  ScriptObject options;
  CaptureRequest request;
  std::memset(&request, 0, sizeof request);
  // Owned for the call; released right after the service answers, or by the
  // unwinding when reading an option throws.
  std::unique_ptr<char[]> dirPath;
  std::unique_ptr<char[]> fileName;

  if (args.Length() > 0) {
    options = args::value(args, 0);
    const struct {
      const char* key;
      std::unique_ptr<char[]>* copy;
    } paths[] = {{"dir_path", &dirPath}, {"file_name", &fileName}};
    for (const auto& option : paths) {
      if (!options::has(options, option.key)) continue;
      const std::string value = options::text(options, option.key);
      *option.copy = copyOf(value);
      QD_LOG(logger_, kLogInfo, "[TARN]---input capture " << option.key << value);
    }
    // Read in this order; the mode's key is misspelt, its log name is not.
    const struct {
      const char* key;
      const char* logName;
      int fallback;
      int* field;
    } numbers[] = {{"width", "width", 480, &request.width},
                   {"height", "height", 270, &request.height},
                   {"app_type", "app_type", 0, &request.app_type},
                   {"cpature_mode", "capture_mode", 2, &request.capture_mode},
                   {"comp_type", "comp_type", 1, &request.comp_type},
                   {"jpeg_quality", "jpeg_quality", 70, &request.jpeg_quality}};
    for (const auto& option : numbers) {
      if (options::has(options, option.key)) {
        *option.field = options::int32(options, option.key);
        QD_LOG(logger_, kLogInfo, "[TARN]---input capture " << option.logName << *option.field);
      } else {
        *option.field = option.fallback;
        QD_LOG(logger_, kLogInfo, "[TARN]---default capture " << option.logName << option.fallback);
      }
    }
  }
  request.dir_path = dirPath.get();
  request.file_name = fileName.get();

  QD_LOG(logger_, kLogInfo, "req_data.app_type :" << request.app_type);
  QD_LOG(logger_, kLogInfo, "req_data.capture_mode :" << request.capture_mode);
  QD_LOG(logger_, kLogInfo, "req_data.comp_type :" << request.comp_type);
  QD_LOG(logger_, kLogInfo, "req_data.jpeg_quality :" << request.jpeg_quality);
  QD_LOG(logger_, kLogInfo, "req_data.width :" << request.width);
  QD_LOG(logger_, kLogInfo, "req_data.height :" << request.height);
  QD_LOG(logger_, kLogInfo, "req_data.dir_path : [" << shown(request.dir_path) << "]");
  QD_LOG(logger_, kLogInfo, "req_data.file_name : [" << shown(request.file_name) << "]");

  const int ret = DisplayCaptureClient::RequestCaptureToFileSync(&request);
  request.dir_path = nullptr;
  request.file_name = nullptr;
  dirPath.reset();
  fileName.reset();

  if (ret != 0) {
    QD_LOG(logger_, kLogInfo, "RequestCaptureToFileSync() failed - retVal:" << ret);
    return ret;
  }
  // The service terminates the path; the record's end bounds it regardless.
  const std::string path(request.ret_path, strnlen(request.ret_path, sizeof request.ret_path));
  QD_LOG(logger_, kLogInfo,
         "captured image saved. [w:" << request.ret_width << ", h:" << request.ret_height
                                     << ", path:" << path);
  ScriptObject result = ScriptObject::NewObject();
  result.set("ret_width", request.ret_width);
  result.set("ret_height", request.ret_height);
  result.set("ret_path", path);
  return result;
}

// Handlers: HandleDCRequestCaptureToFileSync.

}  // namespace Bridge
