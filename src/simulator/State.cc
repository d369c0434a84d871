// The simulated set's state: the built-in state, state files laid over it,
// and reading, setting and removing members by path. Every change is checked
// whole before it is kept, and the files it describes follow at once.
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

#include <json/reader.h>
#include <json/writer.h>

#include "Core.h"
#include "StateDocument.h"

namespace tvsim {
namespace detail {

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
  detail::announceChange();
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
  detail::announceChange();
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
  detail::announceChange();
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
  detail::announceChange();
  return true;
}

}  // namespace tvsim
