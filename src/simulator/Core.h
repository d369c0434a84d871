// Internals shared by the simulated libraries: the one state document and
// its mutex, the journal, forced results, power subscriptions, the
// notification thread and the root folder. Every platform call goes through
// a Call, which journals it and hands out a forced result when one waits.
// Callbacks into platform users are always made without the mutex held.
#pragma once

#include <json/value.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "JournalRing.h"
#include "TvPowerClient.h"
#include "tvsim/Simulator.h"

namespace tvsim {
namespace detail {

long currentThreadId();

// The known name nearest to a mistyped `word`, or "" when none is near
// enough; didYouMean gives it as " (did you mean \"NAME\"?)" or "".
std::string nearestName(const std::string& word, const std::vector<std::string>& names);
std::string didYouMean(const std::string& word, const std::vector<std::string>& names);

// What a forced result of an operation may be.
enum class ResultKind { Int, Bool, TextOrNull, PointerNullOnly, IntOrNull };

struct OperationInfo {
  const char* library;
  const char* operation;
  ResultKind kind;
};
const std::vector<OperationInfo>& operationTable();
// An interface's operation ("AvControl.setAudioMute") by its own name alone
// ("setAudioMute"); any other operation as it is.
std::string shortOperationName(const char* operation);
// The operations a name can mean: the one "Library.operation" names, else
// each whose operation or short name it is (more than one: ambiguous).
std::vector<const OperationInfo*> operationsNamed(const std::string& name);

// Delivers notifications on one thread of its own, in the order posted.
class Notifier {
 public:
  void post(std::function<void()> task);
  bool waitIdle(std::chrono::milliseconds timeout);
  std::thread::id threadId();
  // Whether the caller is the notification thread (does not start it).
  bool isCurrent();
  void stop();

 private:
  void run();
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable idle_;
  std::deque<std::function<void()>> queue_;
  std::thread thread_;
  bool running_ = false;
  bool stopped_ = false;
  bool busy_ = false;
};

enum class PowerEvent { PreWakeup, Wakeup, PowerOff, StateChanged };
const char* powerEventName(PowerEvent event);

struct Subscription {
  PowerEvent event;
  TvPowerClient::PowerCallback callback;
  void* userData;
};

class Core {
 public:
  static Core& instance();

  std::mutex mutex;  // guards every member below but the journal
  Json::Value state;
  std::map<std::string, std::deque<Json::Value>> forced;
  std::mutex journalMutex;  // guards the two below; may be taken under `mutex`
  JournalRing journal;
  unsigned long long nextSeq = 1;
  std::vector<Subscription> subscriptions;
  std::string journalFile;
  bool shutDown = false;

  // Root folder: made and populated on first use; sections of the state that
  // describe files are rewritten when they change.
  std::string root;
  bool rootIsTemporary = false;
  std::set<std::string> dirtySections;
  std::set<std::string> mediaFoldersWritten;
  // Device paths written by the `files` and `folders` sections, so that an
  // entry taken out of the state is taken off the disk too.
  std::set<std::string> pathsWritten;

  Notifier notifier;

  // With the mutex held. Makes the root on first use and rewrites the dirty
  // file sections; returns the root ("" when it cannot be made).
  const std::string& ensureRootLocked();
  void markAllSectionsDirty();

  // With the mutex held: queue a notification of `event` with `value` to the
  // subscribers at the time of delivery.
  void notifyLocked(PowerEvent event, int value);
  // With the mutex held: move the power state, with the notifications a set
  // makes on that move.
  void changePowerStateLocked(int newState);

  void appendJournal(JournalEntry entry);
  void shutdown();

 private:
  Core();
};

// Tells the change listener (Simulator::setChangeListener), if any. Any
// thread, any lock held.
void announceChange();

// Journals one platform call. Build it first, return through finish().
class Call {
 public:
  Call(const char* library, const char* operation, Json::Value arguments = Json::Value());
  ~Call();
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  // True when a result was forced for this operation; it is then stored in
  // *value and the call must do nothing else.
  bool forced(Json::Value* value);
  // The common case: an operation answering an int status. Holds the forced
  // status, already journaled as the result, or nothing.
  std::optional<int> forcedInt();

  int finish(int result);
  bool finish(bool result);
  const char* finish(const char* result);
  char* finish(char* result);
  void finishWith(const Json::Value& result);

 private:
  JournalEntry entry_;
  bool finished_ = false;
};

// Argument lists for the journal.
Json::Value text(const char* s);
Json::Value pointer(const void* p);
inline Json::Value args() { return Json::Value(Json::arrayValue); }
template <typename T, typename... Rest>
Json::Value args(T first, Rest... rest) {
  Json::Value list = args(rest...);
  Json::Value all(Json::arrayValue);
  all.append(Json::Value(first));
  for (const auto& v : list) all.append(v);
  return all;
}

// File population (FileTree.cc), with the mutex held.
bool populateSection(Core& core, const std::string& section, std::string* error);
void removeTree(const std::string& path);
std::string devicePathLocked(Core& core, const std::string& absolutePath);
std::string tzRoot(int variable);  // device path of a path variable, "" if unknown
// The device paths of the folders the state's sections make (and every
// folder above them): a `files` entry there would replace one.
std::set<std::string> sectionFolders(const Json::Value& state);
// The `files` keys that name one of those folders, in key order.
std::vector<std::string> filesOverFolders(const Json::Value& state);

// State (State.cc).
const char* defaultStateJson();
bool validateState(const Json::Value& document, std::string* error);
bool applyOverlay(const Json::Value& base, const Json::Value& overlay, const std::string& origin,
                  const std::string& text, Json::Value* merged, std::string* error);

}  // namespace detail
}  // namespace tvsim
