// The schema of the simulated set's state: every section, its members and
// the values they take, as state files and `set` are checked against it.
#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "StateDocument.h"

namespace tvsim {
namespace detail {

namespace {

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

}  // namespace

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
        // The message language the bridge last asked for (null: none yet).
        {"window", object({{"language", orNull(textNode())}})},
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

}  // namespace detail
}  // namespace tvsim
