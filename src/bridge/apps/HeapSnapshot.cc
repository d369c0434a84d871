// The script heap written to a file as a heap snapshot (the JSON form that
// developer tools open). Traps: the snapshot is taken before the file is
// opened, and stays with the heap profiler afterwards; the serialiser's
// chunks go straight to the file, 65536 bytes at a time.
#include <sys/time.h>

#include <cstdio>

#include <v8-isolate.h>
#include <v8-profiler.h>

#include "AppConfig.h"
#include "DevicePath.h"
#include "QDUtilBridge.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"

namespace Bridge {

// Writes the serialiser's chunks to an open file that it does not own.
class FileOutputStream : public v8::OutputStream {
 public:
  explicit FileOutputStream(std::FILE* file) : file_(file) {}
  ~FileOutputStream() override = default;

  void EndOfStream() override {}
  int GetChunkSize() override { return 65536; }
  WriteResult WriteAsciiChunk(char* data, int size) override {
    std::size_t written = 0;
    const std::size_t total = size > 0 ? static_cast<std::size_t>(size) : 0;
    while (written < total) {
      if (std::feof(file_) || std::ferror(file_)) break;
      const std::size_t n = std::fwrite(data + written, 1, total - written, file_);
      if (n == 0) break;
      written += n;
    }
    return written == total ? kContinue : kAbort;
  }

 private:
  std::FILE* file_;
};

ScriptObject QDUtilBridge::HandleHeapSnapShot(QDUtilBridge*, const ScriptArray& args) {
  v8::Isolate* isolate = v8::Isolate::GetCurrent();
  const v8::HeapSnapshot* snapshot = isolate->GetHeapProfiler()->TakeHeapSnapshot();
  std::string path;
  std::string opened;
  if (args.Length() == 0) {
    struct timeval now = {};
    gettimeofday(&now, nullptr);
    char name[1024];
    std::snprintf(name, sizeof name, "%s/heapdump-%ld-%ld.heapsnapshot",
                  AppConfig::Instance()->GetAppDataPath().c_str(), static_cast<long>(now.tv_sec),
                  static_cast<long>(now.tv_usec));
    path = name;
    opened = path;
  } else {
    path = args::text(args, 0);
    opened = platform::devicePath(path);
  }
  QD_LOG(logger_, kLogInfo, "Saving HeapSnapShot to " << path);
  std::FILE* file = std::fopen(opened.c_str(), "w");
  if (!file) return false;
  FileOutputStream stream(file);
  snapshot->Serialize(&stream, v8::HeapSnapshot::kJSON);
  std::fclose(file);
  return true;
}

}  // namespace Bridge

// Handlers: HandleHeapSnapShot.
