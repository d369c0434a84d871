// Checks of state documents against the schema and across members, and the
// laying of state files over the built-in state. Every error names where it
// is (file, line:column, member path) and what was expected.
#include <cctype>
#include <cstdio>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include <json/writer.h>

#include "Core.h"
#include "ExternalBoxClient.h"
#include "StateDocument.h"

namespace tvsim {
namespace detail {

namespace {

std::string place(const Context& ctx, const Json::Value* v, const std::string& path) {
  std::string where = ctx.origin;
  if (v && !ctx.text.empty() && v->getOffsetStart() >= 0 &&
      static_cast<size_t>(v->getOffsetStart()) < ctx.text.size()) {
    const size_t offset = static_cast<size_t>(v->getOffsetStart());
    int line = 1;
    size_t lineStart = 0;
    for (size_t i = 0; i < offset; ++i) {
      if (ctx.text[i] == '\n') {
        ++line;
        lineStart = i + 1;
      }
    }
    where += ":" + std::to_string(line) + ":" + std::to_string(offset - lineStart + 1);
  }
  return where + ": " + (path.empty() ? std::string("the document") : path);
}

}  // namespace

std::string found(const Json::Value& v) {
  switch (v.type()) {
    case Json::nullValue:
      return "null";
    case Json::booleanValue:
      return v.asBool() ? "true" : "false";
    case Json::intValue:
    case Json::uintValue:
    case Json::realValue: {
      Json::StreamWriterBuilder b;
      return "the number " + Json::writeString(b, v);
    }
    case Json::stringValue: {
      std::string s = v.asString();
      if (s.size() > 40) s = s.substr(0, 40) + "...";
      return "the text \"" + s + "\"";
    }
    case Json::arrayValue:
      return "a list";
    case Json::objectValue:
      return "an object";
  }
  return "a value";
}

std::string keyProblem(const Node& n, const std::string& key) {
  if (n.keys == Node::IntKey && !isIntegerText(key)) {
    return "the key \"" + key + "\" is not an integer";
  }
  if (n.keys == Node::AbsolutePathKey && (key.empty() || key[0] != '/')) {
    return "the key \"" + key + "\" is not an absolute path";
  }
  if (n.keys == Node::NameKey && (key.empty() || key.find('/') != std::string::npos)) {
    return "the key \"" + key + "\" is not a plain name";
  }
  return "";
}

namespace {

bool fail(Context& ctx, const Json::Value& v, const std::string& path, const std::string& message) {
  ctx.error = place(ctx, &v, path) + ": " + message;
  return false;
}

}  // namespace

bool isIntegerText(const std::string& s) {
  if (s.empty() || s.size() > 10) return false;
  size_t i = s[0] == '-' ? 1 : 0;
  if (i == s.size()) return false;
  for (; i < s.size(); ++i) {
    if (s[i] < '0' || s[i] > '9') return false;
  }
  return true;
}

std::string childPath(const std::string& path, const std::string& key) {
  bool plain = !key.empty() && key.find_first_of(".[]\"") == std::string::npos;
  if (plain) return path.empty() ? key : path + "." + key;
  return path + "[\"" + key + "\"]";
}

// `complete`: every member of an object must be present (false only for the
// objects of a state file or a set, which lay over what is there).
bool check(const Json::Value& v, const Node& n, const std::string& path, bool complete,
           Context& ctx) {
  if (v.isNull() && n.nullable) return true;
  auto expected = [&] {
    return fail(ctx, v, path, "expected " + n.describe() + ", found " + found(v));
  };
  switch (n.kind) {
    case Node::Int: {
      if (!v.isIntegral() || v.isBool()) return expected();
      if (v.isUInt64() && !v.isInt64()) return expected();
      long long x = v.asInt64();
      if (x < n.min || x > n.max) return expected();
      return true;
    }
    case Node::Bool:
      return v.isBool() ? true : expected();
    case Node::Text:
      return v.isString() ? true : expected();
    case Node::Scalar:
      return (v.isBool() || v.isString() || v.isInt()) ? true : expected();
    case Node::List: {
      if (!v.isArray()) return expected();
      for (Json::ArrayIndex i = 0; i < v.size(); ++i) {
        if (!check(v[i], *n.element, path + "[" + std::to_string(i) + "]", true, ctx)) return false;
      }
      return true;
    }
    case Node::Map: {
      if (!v.isObject()) return expected();
      for (const auto& key : v.getMemberNames()) {
        std::string p = childPath(path, key);
        const std::string problem = keyProblem(n, key);
        if (!problem.empty()) return fail(ctx, v[key], p, problem);
        if (!check(v[key], *n.element, p, true, ctx)) return false;
      }
      return true;
    }
    case Node::Object: {
      if (!v.isObject()) return expected();
      for (const auto& key : v.getMemberNames()) {
        const Node* f = n.field(key);
        if (!f) {
          std::string known;
          std::vector<std::string> names;
          for (const auto& field : n.fields) {
            known += (known.empty() ? "" : ", ") + field.first;
            names.push_back(field.first);
          }
          return fail(ctx, v[key], childPath(path, key),
                      "unknown member \"" + key + "\"" + didYouMean(key, names) +
                          " (known here: " + known + ")");
        }
        if (!check(v[key], *f, childPath(path, key), complete, ctx)) return false;
      }
      if (complete) {
        for (const auto& field : n.fields) {
          if (!v.isMember(field.first)) {
            return fail(
                ctx, v, path,
                "missing member \"" + field.first + "\" (" + field.second->describe() + ")");
          }
        }
      }
      return true;
    }
  }
  return true;
}

// The log policy is written with its attribute names as they are, so each
// must be an XML name: a letter, "_" or ":" first, then letters, digits,
// ".", "-", "_" or ":" (the bytes of a multi-byte UTF-8 character count as
// letters).
bool xmlName(const std::string& name) {
  if (name.empty()) return false;
  for (size_t i = 0; i < name.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(name[i]);
    const bool start = std::isalpha(c) || c == '_' || c == ':' || c >= 0x80;
    const bool more = std::isdigit(c) || c == '.' || c == '-';
    if (!(start || (i > 0 && more))) return false;
  }
  return true;
}

bool logPolicyNames(const Json::Value& doc, std::string* error) {
  const Json::Value& services = doc["logPolicy"]["services"];
  for (Json::ArrayIndex i = 0; i < services.size(); ++i) {
    const std::string at = "logPolicy.services[" + std::to_string(i) + "]";
    std::vector<std::pair<std::string, const Json::Value*>> maps{
        {at + ".attributes", &services[i]["attributes"]}};
    const Json::Value& events = services[i]["events"];
    for (Json::ArrayIndex j = 0; j < events.size(); ++j) {
      maps.emplace_back(at + ".events[" + std::to_string(j) + "]", &events[j]);
    }
    for (const auto& map : maps) {
      for (const auto& name : map.second->getMemberNames()) {
        if (xmlName(name)) continue;
        *error = map.first + ": \"" + name + "\" is not an XML attribute name";
        return false;
      }
    }
  }
  return true;
}

// A `files` entry at a folder the set has would replace the folder, and
// everything the set keeps in it, by one file.
bool filesAreFiles(const Json::Value& doc, std::string* error) {
  const std::vector<std::string> over = filesOverFolders(doc);
  if (over.empty()) return true;
  *error = "files[\"" + over.front() + "\"]: \"" + over.front() +
           "\" is a folder of the set; expected the path of a file";
  return false;
}

// Rules across members, on the whole document.
bool consistent(const Json::Value& doc, std::string* error) {
  auto bad = [&](const std::string& message) {
    *error = message;
    return false;
  };
  const Json::Value& tv = doc["tv"];
  std::set<int> sources;
  for (const auto& s : tv["sources"]) {
    if (!sources.insert(s["id"].asInt()).second) {
      return bad("tv.sources: source " + std::to_string(s["id"].asInt()) + " is listed twice");
    }
  }
  auto known = [&](const char* name, const Json::Value& v) {
    if (v.isNull() || sources.count(v.asInt())) return true;
    *error = std::string("tv.") + name + ": source " + std::to_string(v.asInt()) +
             " is not in tv.sources";
    return false;
  };
  if (!known("currentSource", tv["currentSource"]) || !known("subSource", tv["subSource"]) ||
      !known("lastSource", tv["lastSource"]) || !known("channel.source", tv["channel"]["source"])) {
    return false;
  }
  const Json::Value& activities = doc["externalBox"]["activities"];
  if (activities.size() > ExternalBoxClient::kActivityBlockRecords) {
    return bad("externalBox.activities: at most " +
               std::to_string(ExternalBoxClient::kActivityBlockRecords) + " activities");
  }
  for (Json::ArrayIndex i = 0; i < activities.size(); ++i) {
    if (activities[i]["name"].asString().size() >= ExternalBoxClient::kActivityNameCapacity) {
      return bad("externalBox.activities[" + std::to_string(i) + "].name: too long");
    }
  }
  if (doc["screenSaver"]["parameters"].size() != 4) {
    return bad("screenSaver.parameters: expected a list of 4 integers");
  }
  std::set<int> pids;
  std::set<std::string> apps{doc["aul"]["self"]["appId"].asString()};
  const Json::Value& running = doc["aul"]["running"];
  for (Json::ArrayIndex i = 0; i < running.size(); ++i) {
    if (!pids.insert(running[i]["pid"].asInt()).second) {
      return bad("aul.running[" + std::to_string(i) + "].pid: pid used twice");
    }
    if (!apps.insert(running[i]["appId"].asString()).second) {
      return bad("aul.running[" + std::to_string(i) + "].appId: app listed twice");
    }
  }
  std::set<std::string> addresses;
  const Json::Value& devices = doc["bluetooth"]["devices"];
  for (Json::ArrayIndex i = 0; i < devices.size(); ++i) {
    if (devices[i]["address"].isNull()) continue;
    if (!addresses.insert(devices[i]["address"].asString()).second) {
      return bad("bluetooth.devices[" + std::to_string(i) + "].address: address used twice");
    }
  }
  auto relative = [](const std::string& p) {
    if (p.empty() || p[0] == '/') return false;
    std::stringstream parts(p);
    std::string part;
    while (std::getline(parts, part, '/')) {
      if (part == "..") return false;
    }
    return true;
  };
  const Json::Value& installed = doc["installedApps"];
  for (Json::ArrayIndex i = 0; i < installed.size(); ++i) {
    for (const char* key : {"dataDir", "manifest"}) {
      if (!relative(installed[i][key].asString())) {
        return bad("installedApps[" + std::to_string(i) + "]." + key +
                   ": expected a relative path without \"..\"");
      }
    }
  }
  for (const auto& area : doc["appDataAreas"]) {
    if (!relative(area.asString())) {
      return bad("appDataAreas: \"" + area.asString() + "\" is not a relative path without \"..\"");
    }
  }
  const Json::Value& panels = doc["panels"];
  for (Json::ArrayIndex i = 0; i < panels.size(); ++i) {
    for (const char* key : {"appId", "package"}) {
      const std::string v = panels[i][key].asString();
      if (v.empty() || v.find('/') != std::string::npos || v == "." || v == "..") {
        return bad("panels[" + std::to_string(i) + "]." + key + ": expected a plain name");
      }
    }
  }
  auto plainName = [](const std::string& n) {
    return !n.empty() && n.find('/') == std::string::npos && n != "." && n != "..";
  };
  for (const auto& folder : doc["media"].getMemberNames()) {
    if (!plainName(folder)) {
      return bad("media: \"" + folder + "\" is not a plain folder name");
    }
    for (const auto& name : doc["media"][folder]) {
      const std::string n = name.asString();
      if (n.empty() || n.find('/') != std::string::npos || n == "." || n == "..") {
        return bad("media." + folder + ": \"" + n + "\" is not a plain file name");
      }
    }
  }
  for (const auto& path : doc["files"].getMemberNames()) {
    bool usable = path.size() >= 2 && path[0] == '/' && path.back() != '/' &&
                  path.find('\0') == std::string::npos;
    std::stringstream parts(path);
    std::string part;
    while (usable && std::getline(parts, part, '/')) {
      if (part == "." || part == "..") usable = false;
    }
    if (!usable) {
      return bad("files[\"" + path + "\"]: expected the absolute path of a file");
    }
  }
  const Json::Value& folders = doc["folders"];
  for (Json::ArrayIndex i = 0; i < folders.size(); ++i) {
    const std::string path = folders[i].asString();
    if (path.size() < 2 || path[0] != '/' || path.find("/../") != std::string::npos ||
        (path.size() >= 3 && path.compare(path.size() - 3, 3, "/..") == 0)) {
      return bad("folders[" + std::to_string(i) + "]: expected an absolute path without \"..\"");
    }
  }
  return filesAreFiles(doc, error) && logPolicyNames(doc, error);
}

void merge(Json::Value& base, const Json::Value& overlay) {
  if (base.isObject() && overlay.isObject()) {
    for (const auto& key : overlay.getMemberNames()) merge(base[key], overlay[key]);
  } else {
    base = overlay;
  }
}

bool validateState(const Json::Value& document, std::string* error) {
  Context ctx;
  ctx.origin = "state";
  if (!check(document, schema(), "", true, ctx)) {
    *error = ctx.error;
    return false;
  }
  return consistent(document, error);
}

bool applyOverlay(const Json::Value& base, const Json::Value& overlay, const std::string& origin,
                  const std::string& text, Json::Value* merged, std::string* error) {
  Context ctx;
  ctx.origin = origin;
  ctx.text = text;
  if (!check(overlay, schema(), "", false, ctx)) {
    *error = ctx.error;
    return false;
  }
  Json::Value result = base;
  merge(result, overlay);
  // The merged document must still be complete (an object member replaced
  // by a partial one inside a list is caught above).
  Context all;
  all.origin = origin;
  if (!check(result, schema(), "", true, all)) {
    *error = all.error;
    return false;
  }
  std::string why;
  if (!consistent(result, &why)) {
    *error = origin + ": " + why;
    return false;
  }
  *merged = std::move(result);
  return true;
}

}  // namespace detail
}  // namespace tvsim
