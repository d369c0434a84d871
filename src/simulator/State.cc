// The state document: its schema, state files laid over the built-in state,
// paths into it, consistency rules, and the platform events that act on it.
// Every error names where it is (file, line:column, member path) and what
// was expected, so a user can fix a state file without reading this code.
#include <climits>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>

#include <json/reader.h>
#include <json/writer.h>

#include "Core.h"
#include "ExternalBoxClient.h"

namespace tvsim {
namespace detail {

namespace {

// ---------------------------------------------------------------------------
// Schema

struct Node;
using NodePtr = std::shared_ptr<const Node>;

struct Node {
  enum Kind { Object, Map, List, Int, Bool, Text, Scalar } kind = Int;
  enum Keys { AnyKey, IntKey, AbsolutePathKey, NameKey } keys = AnyKey;
  bool nullable = false;
  long long min = LLONG_MIN;
  long long max = LLONG_MAX;
  std::vector<std::pair<std::string, NodePtr>> fields;
  NodePtr element;

  const Node* field(const std::string& name) const {
    for (const auto& f : fields) {
      if (f.first == name) return f.second.get();
    }
    return nullptr;
  }

  std::string describe() const {
    std::string d;
    switch (kind) {
      case Object: {
        d = "an object with";
        const char* sep = " ";
        for (const auto& f : fields) {
          d += sep + ("\"" + f.first + "\"");
          sep = ", ";
        }
        break;
      }
      case Map:
        d = keys == IntKey            ? "an object keyed by integers"
            : keys == AbsolutePathKey ? "an object keyed by absolute paths"
                                      : "an object";
        break;
      case List:
        d = "a list";
        break;
      case Int:
        d = "an integer";
        if (max != INT_MAX && max != LLONG_MAX) {
          d += " from " + std::to_string(min) + " to " + std::to_string(max);
        } else if (min != INT_MIN && min != LLONG_MIN) {
          d += " of at least " + std::to_string(min);
        }
        break;
      case Bool:
        d = "true or false";
        break;
      case Text:
        d = "a text";
        break;
      case Scalar:
        d = "an integer, a text or true/false";
        break;
    }
    if (nullable) d += " or null";
    return d;
  }
};

// Integers default to the range of an int, as the platform reads them.
NodePtr integer(long long min = INT_MIN, long long max = INT_MAX) {
  auto n = std::make_shared<Node>();
  n->kind = Node::Int;
  n->min = min;
  n->max = max;
  return n;
}
NodePtr boolean() {
  auto n = std::make_shared<Node>();
  n->kind = Node::Bool;
  return n;
}
NodePtr textNode() {
  auto n = std::make_shared<Node>();
  n->kind = Node::Text;
  return n;
}
NodePtr scalar() {
  auto n = std::make_shared<Node>();
  n->kind = Node::Scalar;
  return n;
}
NodePtr orNull(NodePtr base) {
  auto n = std::make_shared<Node>(*base);
  n->nullable = true;
  return n;
}
NodePtr object(std::vector<std::pair<std::string, NodePtr>> fields) {
  auto n = std::make_shared<Node>();
  n->kind = Node::Object;
  n->fields = std::move(fields);
  return n;
}
NodePtr mapOf(NodePtr element, Node::Keys keys) {
  auto n = std::make_shared<Node>();
  n->kind = Node::Map;
  n->element = std::move(element);
  n->keys = keys;
  return n;
}
NodePtr listOf(NodePtr element) {
  auto n = std::make_shared<Node>();
  n->kind = Node::List;
  n->element = std::move(element);
  return n;
}

const Node& schema() {
  static const NodePtr root = [] {
    auto source = object({{"id", integer(0)}, {"name", textNode()}, {"status", integer(0)}});
    auto attributes = object({});
    return object({
        {"power", object({{"state", integer(0, 3)},
                          {"wakeupReason", integer()},
                          {"screenOn", boolean()},
                          {"prePower", integer(0, 1)},
                          {"powerKeyPressCount", integer(0)},
                          {"bootingTime", integer(0, UINT32_MAX)}})},
        {"av",
         object({{"audioMute", boolean()}, {"videoMute", boolean()}, {"welcomeMode", integer(0)}})},
        {"display", object({{"width", integer(16, 7680)}, {"height", integer(16, 4320)}})},
        {"tv", object({{"sources", listOf(source)},
                       {"currentSource", integer(0)},
                       {"subSource", orNull(integer(0))},
                       {"lastSource", integer(0)},
                       {"contextState", integer(0, UINT32_MAX)},
                       {"tvMode", integer(0)},
                       {"channel", object({{"source", integer(0)},
                                           {"tvMode", integer(0)},
                                           {"name", textNode()},
                                           {"attributes", mapOf(integer(), Node::IntKey)}})}})},
        {"externalBox", object({{"supported", boolean()},
                                {"activities", listOf(object({{"mode", integer(INT_MIN, INT_MAX)},
                                                              {"source", integer(INT_MIN, INT_MAX)},
                                                              {"name", textNode()}}))}})},
        {"appContext", object({{"connections", integer(0)}})},
        {"appList",
         object({{"connected", boolean()},
                 {"disabledItems", listOf(object({{"app", textNode()}, {"item", textNode()}}))}})},
        {"screenSaver", object({{"active", boolean()},
                                {"type", textNode()},
                                {"parameters", listOf(integer(0, UINT32_MAX))}})},
        {"vconf", mapOf(scalar(), Node::AnyKey)},
        {"systemInfo", mapOf(scalar(), Node::IntKey)},
        {"aul", object({{"self", object({{"appId", textNode()},
                                         {"package", textNode()},
                                         {"status", integer(0, 5)}})},
                        {"running", listOf(object({{"appId", textNode()},
                                                   {"package", textNode()},
                                                   {"pid", integer(1, INT_MAX)},
                                                   {"status", integer(0, 5)}}))}})},
        {"rua", object({{"sessions", integer(0)},
                        {"history", listOf(object({{"appId", textNode()},
                                                   {"package", textNode()},
                                                   {"launchTime", integer(0, LLONG_MAX)}}))}})},
        {"bluetooth", object({{"initialized", boolean()},
                              {"adapterEnabled", boolean()},
                              // A null address or name is reported as a null
                              // pointer, as a faulty stack might.
                              {"devices", listOf(object({{"address", orNull(textNode())},
                                                         {"name", orNull(textNode())},
                                                         {"bonded", boolean()},
                                                         {"connected", boolean()},
                                                         {"vid", orNull(integer(0, 65535))},
                                                         {"pid", orNull(integer(0, 65535))}}))},
                              {"hid", object({{"started", boolean()}, {"set", boolean()}})}})},
        {"feedback", object({{"initialized", boolean()}, {"played", listOf(integer(0))}})},
        {"clock", object({{"lastSet", orNull(object({{"seconds", integer(LLONG_MIN, LLONG_MAX)},
                                                     {"arg1", integer(INT_MIN, INT_MAX)},
                                                     {"arg2", integer(INT_MIN, INT_MAX)}}))},
                          // The bridge's view of the clocks (null: the PC's own)
                          // and the clock calls that fail while listed.
                          {"wallTime", orNull(integer(LLONG_MIN, LLONG_MAX))},
                          {"monotonic", orNull(object({{"sec", integer(0, LLONG_MAX)},
                                                       {"nsec", integer(0, 999999999)}}))},
                          {"failing", listOf(textNode())}})},
        {"launcher", object({{"apps", listOf(textNode())}})},
        {"logPolicy",
         object({{"services",
                  listOf(object({{"attributes", mapOf(textNode(), Node::NameKey)},
                                 {"events", listOf(mapOf(textNode(), Node::NameKey))}}))}})},
        {"appDataAreas", listOf(textNode())},
        {"installedApps", listOf(object({{"dataDir", textNode()},
                                         {"manifest", textNode()},
                                         {"version", orNull(textNode())}}))},
        {"panels",
         listOf(object({{"appId", textNode()}, {"package", textNode()}, {"binary", boolean()}}))},
        {"media", mapOf(listOf(textNode()), Node::NameKey)},
        {"markers",
         object(
             {{"pexReady", boolean()}, {"wasReady", boolean()}, {"firstScreenReady", boolean()}})},
        {"files", mapOf(textNode(), Node::AbsolutePathKey)},
        // Folders made at absolute device paths, in the place of any file
        // there; the kernel's memory reports: true (the real figures),
        // false (absent) or the report's exact text.
        {"folders", listOf(textNode())},
        {"memoryReports", object({{"memfree", scalar()}, {"memstat", scalar()}})},
    });
  }();
  return *root;
}

// ---------------------------------------------------------------------------
// Validation

struct Context {
  std::string origin;
  std::string text;  // the file's text, for line and column; empty for none
  std::string error;
};

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

bool isIntegerText(const std::string& s);

// What is wrong with `key` as a member of the map `n`; empty when nothing.
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

bool fail(Context& ctx, const Json::Value& v, const std::string& path, const std::string& message) {
  ctx.error = place(ctx, &v, path) + ": " + message;
  return false;
}

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
          for (const auto& field : n.fields) known += (known.empty() ? "" : ", ") + field.first;
          return fail(ctx, v[key], childPath(path, key),
                      "unknown member \"" + key + "\" (known here: " + known + ")");
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
  return true;
}

void merge(Json::Value& base, const Json::Value& overlay) {
  if (base.isObject() && overlay.isObject()) {
    for (const auto& key : overlay.getMemberNames()) merge(base[key], overlay[key]);
  } else {
    base = overlay;
  }
}

// ---------------------------------------------------------------------------
// Paths

struct Segment {
  std::string key;
  bool bracketed = false;  // ["..."]: a member, never an index
};

bool parsePath(const std::string& path, std::vector<Segment>* out, std::string* error) {
  size_t i = 0;
  auto bad = [&](const std::string& why) {
    *error = "bad path '" + path + "': " + why;
    return false;
  };
  if (path.empty()) return true;
  while (i < path.size()) {
    if (path[i] == '[') {
      size_t close = path.find(']', i);
      if (close == std::string::npos) return bad("missing ]");
      std::string inner = path.substr(i + 1, close - i - 1);
      Segment s;
      if (inner.size() >= 2 && inner.front() == '"' && inner.back() == '"') {
        s.key = inner.substr(1, inner.size() - 2);
        s.bracketed = true;
      } else if (isIntegerText(inner) && inner[0] != '-') {
        s.key = inner;
      } else {
        return bad("expected [number] or [\"name\"]");
      }
      out->push_back(s);
      i = close + 1;
      if (i < path.size() && path[i] == '.') ++i;
      continue;
    }
    size_t end = path.find_first_of(".[", i);
    if (end == std::string::npos) end = path.size();
    if (end == i) return bad("empty member name");
    out->push_back(Segment{path.substr(i, end - i), false});
    i = end;
    if (i < path.size() && path[i] == '.') {
      ++i;
      if (i == path.size()) return bad("ends with a dot");
    }
  }
  return true;
}

// Finds the schema node and the value slot of a path. With `create`, a missing
// member of a map, or the element just past the end of a list, is made.
bool resolve(Json::Value& doc, const std::vector<Segment>& segments, bool create,
             Json::Value** slot, const Node** node, std::string* shown, std::string* error) {
  Json::Value* v = &doc;
  const Node* n = &schema();
  std::string path;
  for (size_t k = 0; k < segments.size(); ++k) {
    const Segment& s = segments[k];
    if (n->kind == Node::List) {
      if (s.bracketed || !isIntegerText(s.key) || s.key[0] == '-') {
        *error =
            (path.empty() ? std::string("the document") : path) + " is a list: expected an index";
        return false;
      }
      path += "[" + s.key + "]";
      // Indices are 32-bit: a larger one must not wrap around.
      if (s.key.size() > 10 || std::stoull(s.key) >= 0xffffffffull) {
        *error = path + ": index out of range (the list has " + std::to_string(v->size()) + ")";
        return false;
      }
      Json::ArrayIndex index = static_cast<Json::ArrayIndex>(std::stoull(s.key));
      if (index > v->size() || (index == v->size() && !create)) {
        *error = path + ": no such element (the list has " + std::to_string(v->size()) + ")";
        return false;
      }
      v = &(*v)[index];
      n = n->element.get();
    } else if (n->kind == Node::Object) {
      const Node* f = n->field(s.key);
      path = childPath(path, s.key);
      if (!f) {
        *error = path + ": no such member";
        return false;
      }
      v = &(*v)[s.key];
      n = f;
    } else if (n->kind == Node::Map) {
      path = childPath(path, s.key);
      if (!v->isMember(s.key)) {
        const std::string problem = keyProblem(*n, s.key);
        if (!create || !problem.empty()) {
          *error = path + ": " + (problem.empty() ? "no such member" : problem);
          return false;
        }
      }
      v = &(*v)[s.key];
      n = n->element.get();
    } else {
      *error = path + " holds " + n->describe() + ": it has no members";
      return false;
    }
  }
  *slot = v;
  *node = n;
  *shown = path;
  return true;
}

}  // namespace

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

// Sections of the state that describe files, by the first member of a path.
void markDirty(Core& core, const std::string& top) {
  static const std::set<std::string> fileSections = {"markers",       "launcher",     "logPolicy",
                                                     "installedApps", "appDataAreas", "panels",
                                                     "media",         "files",        "folders"};
  if (top.empty()) {
    core.markAllSectionsDirty();
  } else if (fileSections.count(top)) {
    // Folders are made by the files section, after the files.
    core.dirtySections.insert(top == "folders" ? "files" : top);
  }
}

}  // namespace detail

// ---------------------------------------------------------------------------
// Public state functions

using detail::Core;

std::string Simulator::defaultStateText() { return detail::defaultStateJson(); }

void Simulator::reset() {
  Core& core = Core::instance();
  Json::Value fresh;
  Json::CharReaderBuilder builder;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  const char* text = detail::defaultStateJson();
  std::string errors;
  reader->parse(text, text + std::char_traits<char>::length(text), &fresh, &errors);
  std::lock_guard<std::mutex> lock(core.mutex);
  core.state = std::move(fresh);
  core.markAllSectionsDirty();
}

bool Simulator::loadStateText(const std::string& text, const std::string& origin,
                              std::string* error) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["stackLimit"] = kMaxJsonDepth;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value overlay;
  std::string errors;
  bool parsed = false;
  try {
    parsed = reader->parse(text.data(), text.data() + text.size(), &overlay, &errors);
  } catch (const Json::Exception&) {
    if (error) {
      *error = origin + ": not valid JSON: nested deeper than " + std::to_string(kMaxJsonDepth) +
               " levels";
    }
    return false;
  }
  if (!parsed) {
    // jsoncpp reports "* Line 3, Column 5\n  Missing ..."; the first error
    // is told as "file:3:5: not valid JSON: Missing ...".
    int line = 0;
    int column = 0;
    std::string message = errors;
    if (std::sscanf(errors.c_str(), "* Line %d, Column %d", &line, &column) == 2) {
      const size_t start = errors.find('\n');
      const size_t end = start == std::string::npos ? start : errors.find('\n', start + 1);
      message = start == std::string::npos ? errors : errors.substr(start + 1, end - start - 1);
      while (!message.empty() && message.front() == ' ') message.erase(0, 1);
    }
    if (error) {
      *error = origin +
               (line > 0 ? ":" + std::to_string(line) + ":" + std::to_string(column) : "") +
               ": not valid JSON: " + message;
    }
    return false;
  }
  if (!overlay.isObject()) {
    if (error)
      *error = origin + ": expected a JSON object at the top, found " + detail::found(overlay);
    return false;
  }
  Core& core = Core::instance();
  // Laid over the built-in state, not over changes made since.
  Json::Value base;
  {
    Json::CharReaderBuilder plain;
    std::unique_ptr<Json::CharReader> r(plain.newCharReader());
    const char* d = detail::defaultStateJson();
    std::string ignored;
    r->parse(d, d + std::char_traits<char>::length(d), &base, &ignored);
  }
  Json::Value merged;
  std::string why;
  if (!detail::applyOverlay(base, overlay, origin, text, &merged, &why)) {
    if (error) *error = why;
    return false;
  }
  std::lock_guard<std::mutex> lock(core.mutex);
  core.state = std::move(merged);
  core.markAllSectionsDirty();
  return true;
}

bool Simulator::loadStateFile(const std::string& path, std::string* error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    if (error) *error = path + ": cannot open the state file";
    return false;
  }
  std::stringstream buffer;
  buffer << in.rdbuf();
  if (in.bad()) {
    if (error) *error = path + ": cannot read the state file";
    return false;
  }
  return loadStateText(buffer.str(), path, error);
}

Json::Value Simulator::state() {
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  return core.state;
}

bool Simulator::get(const std::string& path, Json::Value* value, std::string* error) {
  std::vector<detail::Segment> segments;
  std::string why;
  if (!detail::parsePath(path, &segments, &why)) {
    if (error) *error = why;
    return false;
  }
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value* slot = nullptr;
  const detail::Node* node = nullptr;
  std::string shown;
  if (!detail::resolve(core.state, segments, false, &slot, &node, &shown, &why)) {
    if (error) *error = why;
    return false;
  }
  *value = *slot;
  return true;
}

bool Simulator::set(const std::string& path, const Json::Value& value, std::string* error) {
  std::vector<detail::Segment> segments;
  std::string why;
  if (!detail::parsePath(path, &segments, &why)) {
    if (error) *error = why;
    return false;
  }
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value copy = core.state;
  Json::Value* slot = nullptr;
  const detail::Node* node = nullptr;
  std::string shown;
  if (!detail::resolve(copy, segments, true, &slot, &node, &shown, &why)) {
    if (error) *error = why;
    return false;
  }
  const bool layOver = node->kind == detail::Node::Object && slot->isObject() && value.isObject();
  detail::Context ctx;
  ctx.origin = "set";
  if (!detail::check(value, *node, shown, !layOver, ctx)) {
    if (error) *error = ctx.error;
    return false;
  }
  if (layOver) {
    detail::merge(*slot, value);
  } else {
    *slot = value;
  }
  if (!detail::consistent(copy, &why)) {
    if (error) *error = "set " + path + ": " + why;
    return false;
  }
  core.state = std::move(copy);
  detail::markDirty(core, segments.empty() ? std::string() : segments[0].key);
  // Files follow the state at once once the root exists.
  if (!core.root.empty()) core.ensureRootLocked();
  return true;
}

bool Simulator::remove(const std::string& path, std::string* error) {
  std::vector<detail::Segment> segments;
  std::string why;
  if (!detail::parsePath(path, &segments, &why) || segments.empty()) {
    if (error) *error = segments.empty() && why.empty() ? "remove: a path is needed" : why;
    return false;
  }
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  Json::Value copy = core.state;
  std::vector<detail::Segment> parentPath(segments.begin(), segments.end() - 1);
  Json::Value* parent = nullptr;
  const detail::Node* node = nullptr;
  std::string shown;
  if (!detail::resolve(copy, parentPath, false, &parent, &node, &shown, &why)) {
    if (error) *error = why;
    return false;
  }
  const std::string& last = segments.back().key;
  if (node->kind == detail::Node::Map) {
    if (!parent->isMember(last)) {
      if (error) *error = detail::childPath(shown, last) + ": no such member";
      return false;
    }
    parent->removeMember(last);
  } else if (node->kind == detail::Node::List && detail::isIntegerText(last) && last[0] != '-' &&
             last.size() <= 10 && std::stoull(last) < parent->size()) {
    Json::Value removed;
    parent->removeIndex(static_cast<Json::ArrayIndex>(std::stoull(last)), &removed);
  } else {
    if (error) *error = path + ": only map members and list elements can be removed";
    return false;
  }
  if (!detail::consistent(copy, &why)) {
    if (error) *error = "remove " + path + ": " + why;
    return false;
  }
  core.state = std::move(copy);
  detail::markDirty(core, segments[0].key);
  if (!core.root.empty()) core.ensureRootLocked();
  return true;
}

// ---------------------------------------------------------------------------
// Events

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
    return bad(
        "unknown event (known: wakeup, powerOff, powerState, powerKey, btConnection, btBonded, "
        "sourceStatus)");
  }
  return true;
}

}  // namespace

}  // namespace tvsim
