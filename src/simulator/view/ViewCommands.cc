// The page's controls. Each is one call of the simulator's control functions,
// the very ones `tarn.sim` calls, so the view can do nothing a script could
// not; each is journaled (library "view") with its outcome.
#include <json/value.h>

#include <string>

#include "SimView.h"
#include "tvsim/Simulator.h"

namespace tvsim {
namespace view {

namespace {

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

}  // namespace

Json::Value runCommand(const Json::Value& command) {
  std::string name;
  if (!Text(command, "command", &name)) return Failed("\"command\" must be a string");
  std::string error;
  bool ok = false;
  Json::Value arguments(Json::arrayValue);
  if (name == "set" || name == "remove") {
    std::string path;
    if (!Text(command, "path", &path)) return Failed("\"path\" must be a string");
    arguments.append(path);
    if (name == "set") {
      if (!command.isMember("value")) return Failed("set: \"value\" missing");
      arguments.append(command["value"]);
      ok = Simulator::set(path, command["value"], &error);
    } else {
      ok = Simulator::remove(path, &error);
    }
  } else if (name == "fire") {
    std::string event;
    if (!Text(command, "event", &event)) return Failed("\"event\" must be a string");
    const Json::Value& given = command["arguments"];
    if (!given.isNull() && !given.isArray()) return Failed("\"arguments\" must be a list");
    Json::Value eventArguments = given.isNull() ? Json::Value(Json::arrayValue) : given;
    arguments.append(event);
    for (const auto& a : eventArguments) arguments.append(a);
    ok = Simulator::fire(event, eventArguments, &error);
  } else {
    return Failed("unknown command '" + name.substr(0, 64) + "' (known: set, remove, fire)");
  }
  Simulator::journalNote("view", name, arguments, ok ? Json::Value(true) : Json::Value(error));
  if (!ok) return Failed(error);
  Json::Value reply(Json::objectValue);
  reply["ok"] = true;
  return reply;
}

}  // namespace view
}  // namespace tvsim
