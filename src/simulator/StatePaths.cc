// Paths into the state document: "a.b[2]", "files[\"/x y\"]", resolved
// against the schema so that a path names what it reaches.
#include "Core.h"
#include "StateDocument.h"

namespace tvsim {
namespace detail {

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
        std::vector<std::string> names;
        for (const auto& field : n->fields) names.push_back(field.first);
        *error = path + ": no such member" + didYouMean(s.key, names);
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

}  // namespace detail
}  // namespace tvsim
