// The bridge's clock and kernel marker. Off the set the bridge is linked with
// --wrap for these libc calls, so only its own references land here; V8,
// GLib and the host keep the PC's clocks. Each call is journaled as library
// "libc"; the state's `clock` section can fix the wall time and the
// monotonic time the bridge sees and make calls fail while they are listed
// in `clock.failing`; forceResult makes the next call fail or answer a
// value. By default every call is the PC's own.
#include <sys/prctl.h>
#include <sys/time.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <utility>

#include "Core.h"

using namespace tvsim::detail;

namespace {

// What the state says about the clocks, read under the mutex.
struct ClockView {
  bool failing = false;
  bool fixedWall = false;
  long long wallSeconds = 0;
  bool fixedMonotonic = false;
  long long monotonicSeconds = 0;
  long monotonicNanoseconds = 0;
};

ClockView view(const char* operation) {
  ClockView v;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  const Json::Value& clock = std::as_const(core.state)["clock"];
  for (const auto& name : clock["failing"]) {
    if (name.isString() && name.asString() == operation) v.failing = true;
  }
  const Json::Value& wall = clock["wallTime"];
  if (wall.isIntegral()) {
    v.fixedWall = true;
    v.wallSeconds = wall.asInt64();
  }
  const Json::Value& monotonic = clock["monotonic"];
  if (monotonic.isObject()) {
    v.fixedMonotonic = true;
    v.monotonicSeconds = monotonic["sec"].asInt64();
    v.monotonicNanoseconds = static_cast<long>(monotonic["nsec"].asInt64());
  }
  return v;
}

Json::Value timeValue(const time_t* t) { return t ? Json::Value(Json::Int64(*t)) : Json::Value(); }

// A broken-down time as the journal shows it: "YYYY-MM-DD hh:mm:ss" and the
// daylight-saving flag.
Json::Value brokenDown(const struct tm* tm) {
  if (!tm) return Json::Value();
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d dst=%d", tm->tm_year + 1900,
                tm->tm_mon + 1, tm->tm_mday, tm->tm_hour, tm->tm_min, tm->tm_sec, tm->tm_isdst);
  return Json::Value(text);
}

}  // namespace

extern "C" {

int __wrap_gettimeofday(struct timeval* tv, void* tz) {
  Call call("libc", "gettimeofday", args(pointer(tv), pointer(tz)));
  if (auto forced = call.forcedInt()) return *forced;
  const ClockView v = view("gettimeofday");
  if (v.failing) {
    errno = EFAULT;
    return call.finish(-1);
  }
  if (v.fixedWall) {
    if (!tv) {
      errno = EFAULT;
      return call.finish(-1);
    }
    tv->tv_sec = static_cast<time_t>(v.wallSeconds);
    tv->tv_usec = 0;
    return call.finish(0);
  }
  return call.finish(gettimeofday(tv, static_cast<struct timezone*>(tz)));
}

time_t __wrap_time(time_t* out) {
  Call call("libc", "time", args(pointer(out)));
  Json::Value forced;
  if (call.forced(&forced)) {
    call.finishWith(forced);
    return static_cast<time_t>(forced.asInt());
  }
  const ClockView v = view("time");
  time_t now = 0;
  if (v.failing) {
    errno = EFAULT;
    now = static_cast<time_t>(-1);
  } else {
    now = v.fixedWall ? static_cast<time_t>(v.wallSeconds) : time(nullptr);
    if (out) *out = now;
  }
  call.finishWith(Json::Value(Json::Int64(now)));
  return now;
}

struct tm* __wrap_localtime(const time_t* t) {
  Call call("libc", "localtime", args(timeValue(t)));
  Json::Value forced;
  if (call.forced(&forced) || view("localtime").failing) {
    call.finishWith(Json::Value());
    return nullptr;
  }
  struct tm* result = localtime(t);
  call.finishWith(brokenDown(result));
  return result;
}

struct tm* __wrap_localtime_r(const time_t* t, struct tm* out) {
  Call call("libc", "localtime_r", args(timeValue(t), pointer(out)));
  Json::Value forced;
  if (call.forced(&forced) || view("localtime_r").failing) {
    call.finishWith(Json::Value());
    return nullptr;
  }
  struct tm* result = localtime_r(t, out);
  call.finishWith(brokenDown(result));
  return result;
}

struct tm* __wrap_gmtime_r(const time_t* t, struct tm* out) {
  Call call("libc", "gmtime_r", args(timeValue(t), pointer(out)));
  Json::Value forced;
  if (call.forced(&forced) || view("gmtime_r").failing) {
    call.finishWith(Json::Value());
    return nullptr;
  }
  struct tm* result = gmtime_r(t, out);
  call.finishWith(brokenDown(result));
  return result;
}

time_t __wrap_mktime(struct tm* tm) {
  Call call("libc", "mktime", args(brokenDown(tm)));
  Json::Value forced;
  if (call.forced(&forced)) {
    call.finishWith(forced);
    return static_cast<time_t>(forced.asInt());
  }
  time_t result = static_cast<time_t>(-1);
  if (!view("mktime").failing) result = mktime(tm);
  call.finishWith(Json::Value(Json::Int64(result)));
  return result;
}

int __wrap_clock_gettime(clockid_t clock, struct timespec* ts) {
  Call call("libc", "clock_gettime", args(static_cast<int>(clock), pointer(ts)));
  if (auto forced = call.forcedInt()) return *forced;
  const ClockView v = view("clock_gettime");
  if (v.failing) {
    errno = EINVAL;
    return call.finish(-1);
  }
  if (ts && clock == CLOCK_MONOTONIC && v.fixedMonotonic) {
    ts->tv_sec = static_cast<time_t>(v.monotonicSeconds);
    ts->tv_nsec = v.monotonicNanoseconds;
    return call.finish(0);
  }
  if (ts && clock == CLOCK_REALTIME && v.fixedWall) {
    ts->tv_sec = static_cast<time_t>(v.wallSeconds);
    ts->tv_nsec = 0;
    return call.finish(0);
  }
  return call.finish(clock_gettime(clock, ts));
}

// The set's kernel takes option 666 as a trace marker (text, length); the PC's
// kernel is not asked. Other options go to the PC's kernel unchanged.
int __wrap_prctl(int option, ...) {
  constexpr int kTraceMarker = 666;
  va_list list;
  va_start(list, option);
  const unsigned long a2 = va_arg(list, unsigned long);
  const unsigned long a3 = va_arg(list, unsigned long);
  unsigned long a4 = 0;
  unsigned long a5 = 0;
  if (option != kTraceMarker) {
    a4 = va_arg(list, unsigned long);
    a5 = va_arg(list, unsigned long);
  }
  va_end(list);
  Json::Value arguments = args(option);
  if (option == kTraceMarker) {
    const char* marker = reinterpret_cast<const char*>(a2);
    arguments.append(marker ? Json::Value(std::string(marker, strnlen(marker, a3)))
                            : Json::Value());
    arguments.append(Json::UInt64(a3));
  } else {
    for (unsigned long a : {a2, a3, a4, a5}) arguments.append(Json::UInt64(a));
  }
  Call call("libc", "prctl", arguments);
  if (auto forced = call.forcedInt()) return *forced;
  if (option == kTraceMarker) return call.finish(0);
  return call.finish(prctl(option, a2, a3, a4, a5));
}

}  // extern "C"
