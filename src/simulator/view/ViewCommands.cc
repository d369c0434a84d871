// The page's controls. Each is one call of the simulator's control functions,
// the very ones `tarn.sim` calls, so the view can do nothing a script could
// not; each is journaled (library "view") with its outcome.
#include <json/value.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "SimView.h"
#include "tvsim/Simulator.h"

namespace tvsim {
namespace view {

namespace {

// The furthest the clock may be stepped at once (about 34,000 years), so
// that no sum overflows.
constexpr long long kMaxStepSeconds = 1LL << 40;

// What a control did: the call made (journaled as library "view") and its
// outcome.
struct Outcome {
  std::string operation;
  Json::Value arguments{Json::arrayValue};
  bool ok = false;
  std::string error;
};

Json::Value Failed(const std::string& error) {
  Json::Value reply(Json::objectValue);
  reply["ok"] = false;
  reply["error"] = error;
  return reply;
}

bool Text(const Json::Value& command, const char* member, std::string* out) {
  const Json::Value& value = command[member];
  if (!value.isString()) return false;
  *out = value.asString();
  return true;
}

bool Seconds(const Json::Value& command, const char* member, long long* out) {
  const Json::Value& value = command[member];
  if (!value.isIntegral()) return false;
  *out = value.asInt64();
  return true;
}

// set(path, value) or remove(path).
Json::Value SetOrRemove(const std::string& name, const Json::Value& command, Outcome* done) {
  std::string path;
  if (!Text(command, "path", &path)) return Failed("\"path\" must be a string");
  done->arguments.append(path);
  if (name == "remove") {
    done->ok = Simulator::remove(path, &done->error);
    return Json::Value();
  }
  if (!command.isMember("value")) return Failed("set: \"value\" missing");
  done->arguments.append(command["value"]);
  done->ok = Simulator::set(path, command["value"], &done->error);
  return Json::Value();
}

Json::Value Fire(const Json::Value& command, Outcome* done) {
  std::string event;
  if (!Text(command, "event", &event)) return Failed("\"event\" must be a string");
  const Json::Value& given = command["arguments"];
  if (!given.isNull() && !given.isArray()) return Failed("\"arguments\" must be a list");
  Json::Value eventArguments = given.isNull() ? Json::Value(Json::arrayValue) : given;
  done->arguments.append(event);
  for (const auto& a : eventArguments) done->arguments.append(a);
  done->ok = Simulator::fire(event, eventArguments, &done->error);
  return Json::Value();
}

// The bridge's clocks as they read now: the fixed values, else the PC's
// (this library is not linked to the simulated clock).
void StandStill(Json::Value* clock) {
  if (!(*clock)["wallTime"].isIntegral()) {
    (*clock)["wallTime"] = Json::Int64(std::time(nullptr));
  }
  if (!(*clock)["monotonic"].isObject()) {
    struct timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    Json::Value monotonic(Json::objectValue);
    monotonic["sec"] = Json::Int64(now.tv_sec);
    monotonic["nsec"] = Json::Int64(now.tv_nsec);
    (*clock)["monotonic"] = monotonic;
  }
}

// The clock controls: "pause" fixes the wall and monotonic clocks where they
// stand, "step" moves both on by "seconds", "set" puts the wall clock at
// "wallTime" (the monotonic one stands still), "resume" gives both back to
// the PC. One set("clock", ...) does it, as a script would.
Json::Value Clock(const Json::Value& command, Outcome* done) {
  std::string action;
  if (!Text(command, "action", &action)) return Failed("\"action\" must be a string");
  Json::Value now;
  if (!Simulator::get("clock", &now, &done->error)) return Failed(done->error);
  Json::Value clock(Json::objectValue);
  clock["wallTime"] = now["wallTime"];
  clock["monotonic"] = now["monotonic"];
  long long seconds = 0;
  if (action == "resume") {
    clock["wallTime"] = Json::Value();
    clock["monotonic"] = Json::Value();
  } else if (action == "pause") {
    StandStill(&clock);
  } else if (action == "step") {
    if (!Seconds(command, "seconds", &seconds) || std::llabs(seconds) > kMaxStepSeconds) {
      return Failed("step: \"seconds\" must be a whole number of seconds, at most " +
                    std::to_string(kMaxStepSeconds) + " either way");
    }
    StandStill(&clock);
    clock["wallTime"] = Json::Int64(clock["wallTime"].asInt64() + seconds);
    clock["monotonic"]["sec"] = Json::Int64(clock["monotonic"]["sec"].asInt64() + seconds);
  } else if (action == "set") {
    if (!Seconds(command, "wallTime", &seconds)) {
      return Failed("set: \"wallTime\" must be whole seconds since the epoch");
    }
    StandStill(&clock);
    clock["wallTime"] = Json::Int64(seconds);
  } else {
    return Failed("unknown clock action '" + action.substr(0, 64) +
                  "' (known: pause, resume, step, set)");
  }
  done->operation = "set";
  done->arguments.append("clock");
  done->arguments.append(clock);
  done->ok = Simulator::set("clock", clock, &done->error);
  return Json::Value();
}

}  // namespace

Json::Value runCommand(const Json::Value& command) {
  std::string name;
  if (!Text(command, "command", &name)) return Failed("\"command\" must be a string");
  Outcome done;
  done.operation = name;
  Json::Value refused;
  if (name == "set" || name == "remove") {
    refused = SetOrRemove(name, command, &done);
  } else if (name == "fire") {
    refused = Fire(command, &done);
  } else if (name == "clock") {
    refused = Clock(command, &done);
  } else {
    return Failed("unknown command '" + name.substr(0, 64) + "' (known: set, remove, fire, clock)");
  }
  if (!refused.isNull()) return refused;
  Simulator::journalNote("view", done.operation, done.arguments,
                         done.ok ? Json::Value(true) : Json::Value(done.error));
  if (!done.ok) return Failed(done.error);
  Json::Value reply(Json::objectValue);
  reply["ok"] = true;
  return reply;
}

}  // namespace view
}  // namespace tvsim
