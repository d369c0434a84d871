// The state document's internals shared by the simulator's state files: the
// schema every state is checked against, the checks themselves, and paths
// into the document ("tv.sources[0]", "files[\"/a b\"]").
#pragma once

#include <json/value.h>

#include <climits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tvsim {
namespace detail {

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

// The schema of the whole state document.
const Node& schema();

// Where a check stands, for its error text.
struct Context {
  std::string origin;
  std::string text;  // the file's text, for line and column; empty for none
  std::string error;
};

// `complete`: every member of an object must be present (false only for the
// objects of a state file or a set, which lay over what is there).
bool check(const Json::Value& v, const Node& n, const std::string& path, bool complete,
           Context& ctx);
// What a value is, for error texts ("a text", "the integer 3", ...).
std::string found(const Json::Value& v);
// What is wrong with `key` as a member of the map `n`; empty when nothing.
std::string keyProblem(const Node& n, const std::string& key);
// Rules across members, on the whole document.
bool consistent(const Json::Value& doc, std::string* error);
// Lays `overlay` over `base`, object members one by one.
void merge(Json::Value& base, const Json::Value& overlay);
// A list index as written in a path: digits, at most ten.
bool isIntegerText(const std::string& s);
// The path of member `key` under `path`, bracketed when the key needs it.
std::string childPath(const std::string& path, const std::string& key);

struct Segment {
  std::string key;
  bool bracketed = false;  // ["..."]: a member, never an index
};

bool parsePath(const std::string& path, std::vector<Segment>* out, std::string* error);
// Finds the schema node and the value slot of a path. With `create`, a missing
// member of a map, or the element just past the end of a list, is made.
bool resolve(Json::Value& doc, const std::vector<Segment>& segments, bool create,
             Json::Value** slot, const Node** node, std::string* shown, std::string* error);

}  // namespace detail
}  // namespace tvsim
