// Log lines go to stderr at or below the threshold, and to every active
// capture at any level. One lock orders lines from all threads.
#include "Logger.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <vector>

#include "tarn/host/LogCapture.h"

namespace tarn {
namespace util {

namespace {

std::mutex& LogMutex() {
  static std::mutex mutex;
  return mutex;
}

std::vector<host::LogCapture*>& Captures() {
  static std::vector<host::LogCapture*> captures;
  return captures;
}

// From TARN_LOG_LEVEL: a number 0..4 or a level name. Warnings and errors
// only by default, so a script's own output is not buried under the bridges'
// start-up lines.
int ThresholdFromEnvironment() {
  const char* text = std::getenv("TARN_LOG_LEVEL");
  if (!text || !*text) return LOG_WARN;
  static const char* const names[] = {"error", "warn", "info", "debug", "trace"};
  for (int i = 0; i <= LOG_TRACE; ++i) {
    if (strcasecmp(text, names[i]) == 0) return i;
  }
  char* end = nullptr;
  long value = std::strtol(text, &end, 10);
  if (*end == '\0' && value >= 0 && value <= LOG_TRACE) return static_cast<int>(value);
  return LOG_WARN;
}

int& Threshold() {
  static int threshold = ThresholdFromEnvironment();
  return threshold;
}

void UpdateEnabledLevel();

const char kLevelLetters[] = "EWIDT";

}  // namespace

std::atomic<int> Logger::enabledLevel_{ThresholdFromEnvironment()};

Logger::Logger(const std::string& name) : name_(name) {}
Logger::Logger(const char* name) : name_(name ? name : "") {}
Logger::~Logger() = default;

void Logger::log(const char* file, const char* function, int line, int level,
                 const std::string& message) const {
  std::lock_guard<std::mutex> lock(LogMutex());
  if (level <= Threshold()) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm local;
    localtime_r(&now.tv_sec, &local);
    char clock[16];
    strftime(clock, sizeof clock, "%H:%M:%S", &local);
    char letter = level >= 0 && level <= LOG_TRACE ? kLevelLetters[level] : '?';
    std::fprintf(stderr, "%c %s.%03ld %s [%s:%s:%d] %s\n", letter, clock, now.tv_nsec / 1000000,
                 name_.c_str(), file ? file : "", function ? function : "", line, message.c_str());
  }
  if (!Captures().empty()) {
    LogRecord record{name_,
                     level,
                     file ? file : "",
                     function ? function : "",
                     line,
                     message,
                     static_cast<unsigned long>(syscall(SYS_gettid))};
    for (host::LogCapture* capture : Captures()) capture->add(record);
  }
}

void Logger::setThreshold(int level) {
  std::lock_guard<std::mutex> lock(LogMutex());
  Threshold() = level;
  UpdateEnabledLevel();
}

int Logger::threshold() {
  std::lock_guard<std::mutex> lock(LogMutex());
  return Threshold();
}

namespace {
// Caller holds the log lock.
void UpdateEnabledLevel() {
  int level = Captures().empty() ? Threshold() : std::max(Threshold(), static_cast<int>(LOG_TRACE));
  Logger::enabledLevel_.store(level, std::memory_order_relaxed);
}
}  // namespace

}  // namespace util

namespace host {

struct LogCapture::State {
  mutable std::mutex mutex;
  std::vector<tarn::util::LogRecord> records;
};

LogCapture::LogCapture() : state_(new State) {
  std::lock_guard<std::mutex> lock(util::LogMutex());
  util::Captures().push_back(this);
  util::UpdateEnabledLevel();
}

LogCapture::~LogCapture() {
  {
    std::lock_guard<std::mutex> lock(util::LogMutex());
    auto& captures = util::Captures();
    captures.erase(std::remove(captures.begin(), captures.end(), this), captures.end());
    util::UpdateEnabledLevel();
  }
  delete state_;
}

std::vector<tarn::util::LogRecord> LogCapture::records() const {
  std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->records;
}

std::vector<tarn::util::LogRecord> LogCapture::take() {
  std::lock_guard<std::mutex> lock(state_->mutex);
  std::vector<tarn::util::LogRecord> taken;
  taken.swap(state_->records);
  return taken;
}

void LogCapture::add(const tarn::util::LogRecord& record) {
  std::lock_guard<std::mutex> lock(state_->mutex);
  state_->records.push_back(record);
}

}  // namespace host
}  // namespace tarn
