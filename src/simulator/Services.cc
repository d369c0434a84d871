// The open services: configuration keys, running applications, the
// recently-used history, the platform log, sound feedback, system
// information and the clock-setting call.
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "Core.h"
#include "aul.h"
#include "dlog.h"
#include "feedback.h"
#include "qd_time.h"
#include "rua.h"
#include "system_info.h"
#include "vconf.h"

using namespace tvsim::detail;

namespace {

// The running application with `pid` or `appId` (the calling process is the
// "self" application), or null.
const Json::Value* findApp(const Json::Value& state, int pid, const char* appId) {
  const Json::Value& self = state["aul"]["self"];
  if ((appId && self["appId"].asString() == appId) || (!appId && pid == getpid())) return &self;
  for (const auto& app : state["aul"]["running"]) {
    if ((appId && app["appId"].asString() == appId) || (!appId && app["pid"].asInt() == pid)) {
      return &app;
    }
  }
  return nullptr;
}

int copyAppText(const char* operation, const char* key, int pid, char* buffer, int len) {
  Call call("aul", operation, args(pid, pointer(buffer), len));
  if (auto forced = call.forcedInt()) return *forced;
  if (!buffer || len <= 0) return call.finish(AUL_R_EINVAL);
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  const Json::Value* app = findApp(core.state, pid, nullptr);
  if (!app) return call.finish(AUL_R_ERROR);
  std::snprintf(buffer, static_cast<size_t>(len), "%s", (*app)[key].asString().c_str());
  return call.finish(AUL_R_OK);
}

}  // namespace

extern "C" {

int vconf_get_int(const char* key, int* value) {
  Call call("vconf", "vconf_get_int", args(text(key), pointer(value)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!key || !value) return call.finish(VCONF_ERROR);
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  const Json::Value& v = std::as_const(core.state)["vconf"][key];
  if (!v.isInt() || v.isBool()) return call.finish(VCONF_ERROR);
  *value = v.asInt();
  return call.finish(VCONF_OK);
}

char* vconf_get_str(const char* key) {
  Call call("vconf", "vconf_get_str", args(text(key)));
  Json::Value forced;
  if (call.forced(&forced)) {
    return call.finish(forced.isString() ? strdup(forced.asCString())
                                         : static_cast<char*>(nullptr));
  }
  if (!key) return call.finish(static_cast<char*>(nullptr));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  const Json::Value& v = std::as_const(core.state)["vconf"][key];
  if (!v.isString()) return call.finish(static_cast<char*>(nullptr));
  return call.finish(strdup(v.asCString()));
}

int aul_app_get_appid_bypid(int pid, char* appid, int len) {
  return copyAppText("aul_app_get_appid_bypid", "appId", pid, appid, len);
}

int aul_app_get_pkgname_bypid(int pid, char* pkgname, int len) {
  return copyAppText("aul_app_get_pkgname_bypid", "package", pid, pkgname, len);
}

int aul_app_get_pid(const char* appid) {
  Call call("aul", "aul_app_get_pid", args(text(appid)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!appid || !*appid) return call.finish(AUL_R_EINVAL);
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  const Json::Value* app = findApp(core.state, 0, appid);
  if (!app) return call.finish(AUL_R_ERROR);
  return call.finish(app == &core.state["aul"]["self"] ? static_cast<int>(getpid())
                                                       : (*app)["pid"].asInt());
}

int aul_app_get_status_bypid(int pid) {
  Call call("aul", "aul_app_get_status_bypid", args(pid));
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  const Json::Value* app = findApp(core.state, pid, nullptr);
  return call.finish(app ? (*app)["status"].asInt() : AUL_R_ERROR);
}

int aul_app_is_running(const char* appid) {
  Call call("aul", "aul_app_is_running", args(text(appid)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!appid || !*appid) return call.finish(0);
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  return call.finish(findApp(core.state, 0, appid) ? 1 : 0);
}

int rua_init(void) {
  Call call("rua", "rua_init", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& sessions = core.state["rua"]["sessions"];
  sessions = sessions.asInt() + 1;
  return call.finish(0);
}

int rua_fini(void) {
  Call call("rua", "rua_fini", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& sessions = core.state["rua"]["sessions"];
  if (sessions.asInt() == 0) return call.finish(-1);
  sessions = sessions.asInt() - 1;
  return call.finish(0);
}

int rua_clear_history(void) {
  Call call("rua", "rua_clear_history", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& rua = core.state["rua"];
  if (rua["sessions"].asInt() == 0) return call.finish(-1);
  rua["history"] = Json::Value(Json::arrayValue);
  return call.finish(0);
}

int rua_delete_history_with_pkgname(const char* pkg_name) {
  Call call("rua", "rua_delete_history_with_pkgname", args(text(pkg_name)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!pkg_name || !*pkg_name) return call.finish(-1);
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& rua = core.state["rua"];
  if (rua["sessions"].asInt() == 0) return call.finish(-1);
  Json::Value kept(Json::arrayValue);
  for (const auto& entry : rua["history"]) {
    if (entry["package"].asString() != pkg_name) kept.append(entry);
  }
  rua["history"] = kept;
  return call.finish(0);
}

int __dlog_print(int prio, const char* tag, const char* fmt, ...) {
  std::string message;
  if (fmt) {
    va_list ap;
    va_start(ap, fmt);
    va_list copy;
    va_copy(copy, ap);
    int n = std::vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (n > 0) {
      message.resize(static_cast<size_t>(n) + 1);
      std::vsnprintf(&message[0], message.size(), fmt, ap);
      message.resize(static_cast<size_t>(n));
    }
    va_end(ap);
  }
  Call call("dlog", "__dlog_print",
            args(prio, text(tag), fmt ? Json::Value(message) : Json::Value()));
  if (auto forced = call.forcedInt()) return *forced;
  if (!fmt || prio < DLOG_DEFAULT || prio >= DLOG_SILENT) {
    return call.finish(DLOG_ERROR_INVALID_PARAMETER);
  }
  if (std::getenv("TVSIM_DLOG")) {
    std::fprintf(stderr, "dlog %d %s: %s\n", prio, tag ? tag : "", message.c_str());
  }
  return call.finish(static_cast<int>(message.size()));
}

int feedback_initialize(void) {
  Call call("feedback", "feedback_initialize", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  core.state["feedback"]["initialized"] = true;
  return call.finish(static_cast<int>(FEEDBACK_ERROR_NONE));
}

int feedback_deinitialize(void) {
  Call call("feedback", "feedback_deinitialize", args());
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& initialized = core.state["feedback"]["initialized"];
  if (!initialized.asBool()) return call.finish(static_cast<int>(FEEDBACK_ERROR_NOT_INITIALIZED));
  initialized = false;
  return call.finish(static_cast<int>(FEEDBACK_ERROR_NONE));
}

int feedback_play(int pattern) {
  Call call("feedback", "feedback_play", args(pattern));
  if (auto forced = call.forcedInt()) return *forced;
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& feedback = core.state["feedback"];
  if (!feedback["initialized"].asBool()) {
    return call.finish(static_cast<int>(FEEDBACK_ERROR_NOT_INITIALIZED));
  }
  if (pattern == FEEDBACK_PATTERN_NONE) return call.finish(static_cast<int>(FEEDBACK_ERROR_NONE));
  if (pattern < 0 || pattern > FEEDBACK_PATTERN_MAX) {
    return call.finish(static_cast<int>(FEEDBACK_ERROR_INVALID_PARAMETER));
  }
  // The most recent sounds, oldest first.
  Json::Value& played = feedback["played"];
  played.append(pattern);
  while (played.size() > 100) {
    Json::Value dropped;
    played.removeIndex(0, &dropped);
  }
  return call.finish(static_cast<int>(FEEDBACK_ERROR_NONE));
}

int system_info_get_value_int(int key, int* value) {
  Call call("system_info", "system_info_get_value_int", args(key, pointer(value)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!value) return call.finish(static_cast<int>(SYSTEM_INFO_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  const Json::Value& v = std::as_const(core.state)["systemInfo"][std::to_string(key)];
  if (!v.isInt() || v.isBool())
    return call.finish(static_cast<int>(SYSTEM_INFO_ERROR_INVALID_PARAMETER));
  *value = v.asInt();
  return call.finish(static_cast<int>(SYSTEM_INFO_ERROR_NONE));
}

int system_info_get_value_bool(int key, bool* value) {
  Call call("system_info", "system_info_get_value_bool", args(key, pointer(value)));
  if (auto forced = call.forcedInt()) return *forced;
  if (!value) return call.finish(static_cast<int>(SYSTEM_INFO_ERROR_INVALID_PARAMETER));
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  const Json::Value& v = std::as_const(core.state)["systemInfo"][std::to_string(key)];
  if (!v.isBool()) return call.finish(static_cast<int>(SYSTEM_INFO_ERROR_INVALID_PARAMETER));
  *value = v.asBool();
  return call.finish(static_cast<int>(SYSTEM_INFO_ERROR_NONE));
}

int qd_settimeofday(int64_t seconds, int arg1, int arg2) {
  Call call("libc", "qd_settimeofday", args(Json::Int64(seconds), arg1, arg2));
  if (auto forced = call.forcedInt()) return *forced;
  if (seconds < 0) {
    errno = EINVAL;
    return call.finish(-1);
  }
  // The PC's own clock is left alone: the set's clock is part of the state.
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value set(Json::objectValue);
  set["seconds"] = Json::Int64(seconds);
  set["arg1"] = arg1;
  set["arg2"] = arg2;
  core.state["clock"]["lastSet"] = set;
  return call.finish(0);
}

}  // extern "C"
