// Platform events fired at the simulated set ("wakeup", "powerOff",
// "btConnection", ...): each is checked, acts on the state or the
// notification thread, and is journaled whether it fired or not.
#include <climits>
#include <string>

#include "Core.h"
#include "StateDocument.h"

namespace tvsim {

using detail::Core;

namespace {
bool fireLocked(const std::string& event, Json::Value a, std::string* error);
}

bool Simulator::fire(const std::string& event, const Json::Value& arguments, std::string* error) {
  Json::Value a = arguments;
  if (!a.isArray()) {
    Json::Value list(Json::arrayValue);
    if (!a.isNull()) list.append(a);
    a = list;
  }
  std::string why;
  const bool fired = fireLocked(event, a, &why);
  JournalEntry entry;
  entry.library = "tvsim";
  entry.operation = "fire." + event;
  entry.arguments = a;
  entry.result = fired ? Json::Value(true) : Json::Value(why);
  entry.thread = detail::currentThreadId();
  Core::instance().appendJournal(std::move(entry));
  if (!fired && error) *error = why;
  return fired;
}

namespace {

bool fireLocked(const std::string& event, Json::Value a, std::string* error) {
  auto bad = [&](const std::string& why) {
    if (error) *error = "fire " + event + ": " + why;
    return false;
  };
  auto intArg = [&](Json::ArrayIndex i, int* out) {
    if (a.size() <= i || !a[i].isInt()) return false;
    *out = a[i].asInt();
    return true;
  };
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value& power = core.state["power"];
  using detail::PowerEvent;
  if (event == "wakeup") {
    int reason = power["wakeupReason"].asInt();
    if (a.size() > 0 && !intArg(0, &reason)) return bad("the reason must be an integer");
    power["wakeupReason"] = reason;
    power["screenOn"] = true;
    core.notifyLocked(PowerEvent::PreWakeup, reason);
    core.notifyLocked(PowerEvent::Wakeup, reason);
    if (power["state"].asInt() != TvPowerClient::POWER_STATE_NORMAL) {
      power["state"] = TvPowerClient::POWER_STATE_NORMAL;
      core.notifyLocked(PowerEvent::StateChanged, TvPowerClient::POWER_STATE_NORMAL);
    }
  } else if (event == "powerOff") {
    int reason = 0;
    if (!intArg(0, &reason)) return bad("expected the reason (an integer)");
    core.notifyLocked(PowerEvent::PowerOff, reason);
    core.changePowerStateLocked(TvPowerClient::POWER_STATE_OFF);
  } else if (event == "powerState") {
    int state = 0;
    if (!intArg(0, &state) || state < 0 || state > 3) return bad("expected a state from 0 to 3");
    if (power["state"].asInt() == state) {
      core.notifyLocked(PowerEvent::StateChanged, state);
    } else {
      core.changePowerStateLocked(state);
    }
  } else if (event == "powerKey") {
    int presses = 1;
    if (a.size() > 0 && (!intArg(0, &presses) || presses < 1 || presses > 1000)) {
      return bad("the number of presses must be from 1 to 1000");
    }
    if (power["powerKeyPressCount"].asInt() > INT_MAX - presses) return bad("the counter is full");
    power["powerKeyPressCount"] = power["powerKeyPressCount"].asInt() + presses;
  } else if (event == "btConnection") {
    if (a.size() < 2 || !a[0].isString() || !a[1].isBool()) {
      return bad("expected an address and true or false");
    }
    for (auto& d : core.state["bluetooth"]["devices"]) {
      if (d["address"].asString() == a[0].asString()) {
        d["connected"] = a[1].asBool();
        return true;
      }
    }
    return bad("no bonded device " + a[0].asString());
  } else if (event == "btBonded") {
    if (a.size() < 1) return bad("expected a device object");
    detail::Context ctx;
    ctx.origin = "fire btBonded";
    const detail::Node* deviceNode =
        detail::schema().field("bluetooth")->field("devices")->element.get();
    if (!detail::check(a[0], *deviceNode, "device", true, ctx)) {
      if (error) *error = ctx.error;
      return false;
    }
    Json::Value& devices = core.state["bluetooth"]["devices"];
    for (auto& d : devices) {
      if (d["address"].asString() == a[0]["address"].asString()) {
        d = a[0];
        return true;
      }
    }
    devices.append(a[0]);
  } else if (event == "sourceStatus") {
    int source = 0;
    int status = 0;
    if (!intArg(0, &source) || !intArg(1, &status) || status < 0) {
      return bad("expected a source and a status (integers, status 0 or more)");
    }
    for (auto& s : core.state["tv"]["sources"]) {
      if (s["id"].asInt() == source) {
        s["status"] = status;
        return true;
      }
    }
    return bad("no source " + std::to_string(source));
  } else {
    return bad("unknown event" +
               detail::didYouMean(event, {"wakeup", "powerOff", "powerState", "powerKey",
                                          "btConnection", "btBonded", "sourceStatus"}) +
               " (known: wakeup, powerOff, powerState, powerKey, btConnection, btBonded, "
               "sourceStatus)");
  }
  return true;
}

}  // namespace

}  // namespace tvsim
