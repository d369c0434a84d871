// Wall clock, local time, time zone, date and time texts, monotonic and
// session clocks, the panel's booting time, and setting the set's clock.
// Traps: the set's time_t is signed 32-bit, so every time value a script sees
// is cut to 32 bits (a wall time past January 2038 shows as 1901, as on the
// set); failure values differ on purpose (-1 for qd_gettimeofday, 0 for
// qd_localtime); the session time's log line is written before its text is.
#include <sys/time.h>

#include <cstdint>
#include <cstdio>
#include <ctime>

#include "CTimeInfo.h"
#include "CTimeUtil.h"
#include "PanelMcuClient.h"
#include "QDUtilBridge.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"
#include "binding/TypedArgs.h"
#include "qd_time.h"

namespace Bridge {

namespace {

// A value as the set's 32-bit time_t or long holds it: the low 32 bits,
// signed. Differences go through here too, so they wrap as on the set
// instead of overflowing.
std::int32_t onTarget(std::int64_t value) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

}  // namespace

ScriptObject QDUtilBridge::HandleQDGetTimeOfDay(QDUtilBridge*, const ScriptArray&) {
  struct timeval now {};
  if (gettimeofday(&now, nullptr) == -1) {
    QD_LOG(logger_, kLogInfo, "Get Time Of Day Fail!");
    return -1;
  }
  return static_cast<int>(onTarget(now.tv_sec));
}

ScriptObject QDUtilBridge::HandleQDSetTimeOfDay(QDUtilBridge*, const ScriptArray& args) {
  if (!args::present(args, 2)) {
    QD_LOG(logger_, kLogInfo, "Argument Error");
    return -1;
  }
  const std::int32_t seconds = args::int32(args, 0);
  const std::int32_t arg1 = args::int32(args, 1);
  const std::int32_t arg2 = args::int32(args, 2);
  QD_LOG(logger_, kLogInfo, "HandleQDSetTimeOfDay:" << seconds << " " << arg1 << " " << arg2);
  // Sign-extended: a negative 32-bit time stays negative in 64 bits.
  const int ret = qd_settimeofday(static_cast<std::int64_t>(seconds), arg1, arg2);
  QD_LOG(logger_, kLogInfo, "ret:" << ret);
  return ret;
}

ScriptObject QDUtilBridge::HandleQDLocalTime(QDUtilBridge*, const ScriptArray&) {
  std::time_t now = onTarget(time(nullptr));
  struct tm* local = localtime(&now);
  if (!local) {
    QD_LOG(logger_, kLogInfo, "Get Local Time Fail!");
    return 0;
  }
  return static_cast<int>(onTarget(mktime(local)));
}

ScriptObject QDUtilBridge::HandleQDGetTimeZone(QDUtilBridge*, const ScriptArray&) {
  ScriptObject result = ScriptObject::NewObject();
  tzset();
  // Minutes west of UTC, libc's sign; the target's long is 32 bits.
  const int utcoff = onTarget(timezone) / 60;
  int dstoff = 0;
  bool ok = false;
  std::time_t now = 0;
  now = onTarget(time(&now));
  struct tm broken {};
  if (localtime_r(&now, &broken)) {
    const std::time_t local = mktime(&broken);
    if (local != -1 && gmtime_r(&now, &broken)) {
      // The UTC broken-down time read as local; mktime fills tm_gmtoff.
      const std::time_t asLocal = mktime(&broken);
      if (asLocal != -1) {
        const std::int32_t gap =
            onTarget(static_cast<std::int64_t>(onTarget(local)) - onTarget(asLocal));
        dstoff = onTarget(static_cast<std::int64_t>(onTarget(broken.tm_gmtoff)) - gap) / 60;
        ok = true;
      }
    }
  }
  if (!ok) QD_LOG(logger_, kLogInfo, "Get Time Zone Fail!");
  result.set("utcoff", utcoff);
  result.set("dstoff", dstoff);
  return result;
}

ScriptObject QDUtilBridge::HandleGetDateString(QDUtilBridge*, const ScriptArray& args) {
  const bool longForm = args::booleanOr(args, 0, false);
  CTimeInfo now(CTimeUtil::GetCurrentTime());
  return now.GetDateString(longForm, false);
}

ScriptObject QDUtilBridge::HandleGetTimeString(QDUtilBridge*, const ScriptArray& args) {
  const bool twelveHour = args::booleanOr(args, 0, false);
  CTimeInfo now(CTimeUtil::GetCurrentTime());
  return now.GetTimeString(twelveHour);
}

// A failed clock read is only logged: the zeroed reading is the answer.
ScriptObject QDUtilBridge::HandleGetDuration(QDUtilBridge*, const ScriptArray&) {
  struct timespec elapsed {};
  const int ret = clock_gettime(CLOCK_MONOTONIC, &elapsed);
  const std::int32_t seconds = onTarget(elapsed.tv_sec);
  const std::int32_t nanoseconds = static_cast<std::int32_t>(elapsed.tv_nsec);
  QD_LOG(logger_, kLogInfo, "[duration] Return >>" << ret);
  QD_LOG(logger_, kLogInfo, "[duration] sec:" << seconds << ", nsec:" << nanoseconds);
  ScriptObject result = ScriptObject::NewObject();
  result.set("sec", static_cast<int>(seconds));
  result.set("nsec", static_cast<int>(nanoseconds));
  return result;
}

// "%u00" appends the hundredfold as text, so no product can overflow.
ScriptObject QDUtilBridge::HandleGetSmartTime(QDUtilBridge*, const ScriptArray&) {
  PanelMcuClient::BootingTime booting{};
  const int status = PanelMcuClient::getBootingTime(&booting);
  QD_LOG(logger_, kLogDetail,
         "[Booting Time] ret[" << status << "] booting_time[" << booting.bootingTime << "]");
  char text[32] = {};
  std::snprintf(text, sizeof text, "%u00", static_cast<unsigned>(booting.bootingTime));
  return std::string(text);
}

// Milliseconds with the set's arithmetic: a signed 32-bit product (wraps
// after about 24.8 days) and nanoseconds that pass through a float.
ScriptObject QDUtilBridge::HandleGetSessionTime(QDUtilBridge*, const ScriptArray&) {
  struct timespec elapsed {};
  clock_gettime(CLOCK_MONOTONIC, &elapsed);
  char text[15] = {};
  // Logged before the text is formatted, so the line is always empty.
  QD_LOG(logger_, kLogDetail, text);
  const std::int32_t secondsMs =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(onTarget(elapsed.tv_sec)) * 1000u);
  const double ms = static_cast<double>(secondsMs) +
                    static_cast<double>(static_cast<float>(elapsed.tv_nsec)) / 1000000.0;
  std::snprintf(text, sizeof text, "%.2f", ms);
  return std::string(text);
}

// Handlers: HandleQDGetTimeOfDay, HandleQDSetTimeOfDay, HandleQDLocalTime,
// HandleQDGetTimeZone, HandleGetDateString, HandleGetTimeString,
// HandleGetDuration, HandleGetSmartTime, HandleGetSessionTime.

}  // namespace Bridge
