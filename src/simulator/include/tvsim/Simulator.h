// Control and observation of the simulated TV platform, for tests, tarn-run
// and tools. The platform itself is reached through include/platform/; this
// header only steers it: load or change its state, force the next result of
// an operation, fire platform events, read the journal of calls and find the
// root folder under which device paths resolve. All functions are safe from
// any thread.
#pragma once

#include <json/value.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace tvsim {

// One platform call as the simulator saw it.
struct JournalEntry {
  unsigned long long seq = 0;    // 1, 2, ... in the order the calls finished
  std::string library;           // "TvPowerClient", "vconf", "tvsim" (notifications) ...
  std::string operation;         // "requestPowerOff", "vconf_get_int" ...
  Json::Value arguments;         // array of the arguments (texts, numbers, null)
  Json::Value result;            // what the call returned (null for none)
  bool forced = false;           // the result was forced, the call did nothing else
  long thread = 0;               // kernel thread id of the caller
  bool simulatorThread = false;  // made on the simulator's event thread

  Json::Value toJson() const;
};

class Simulator {
 public:
  // JSON given to the simulated TV (state files, --sim-set, tarn.sim values)
  // nests at most this deep; deeper input is refused with a message.
  static constexpr int kMaxJsonDepth = 64;

  // --- State -------------------------------------------------------------
  // The built-in state of a plausible set, as JSON text.
  static std::string defaultStateText();
  // Back to the built-in state (subscriptions and forced results are kept).
  static void reset();
  // Loads a state file over the built-in state: objects are merged member by
  // member, everything else replaced. On failure the state is unchanged and
  // `error` names the file, the place (line:column and member path) and what
  // was expected; unknown members are errors.
  static bool loadStateFile(const std::string& path, std::string* error);
  static bool loadStateText(const std::string& text, const std::string& origin, std::string* error);
  // The whole state, or one value by path: members separated by dots, array
  // elements by number ("tv.sources.1.status" or "tv.sources[1].status");
  // a member whose name holds a dot in brackets and quotes
  // (vconf["db/tarn/homedeck_version"] also reads as vconf.db/tarn/...).
  static Json::Value state();
  static bool get(const std::string& path, Json::Value* value, std::string* error);
  // Changes one value (objects merge as in a state file); checked against
  // the state's schema and consistency rules, unchanged on failure.
  static bool set(const std::string& path, const Json::Value& value, std::string* error);
  // Removes a member of a free-form map (a vconf key, a file) or an element
  // of a list.
  static bool remove(const std::string& path, std::string* error);

  // --- Results -----------------------------------------------------------
  // The next call of `operation` ("TvPowerClient.requestPowerOff", or just
  // "vconf_get_int" or "setAudioMute" where the name is unique) returns `value` and does
  // nothing else: no state change, outputs left as the caller preset them.
  // Forcing twice queues two results. Fails for an unknown operation or a
  // value of the wrong kind.
  // Whether `name` can appear in the journal: an operation ("vconf_get_int"),
  // a library ("vconf") or both ("vconf.vconf_get_int"), or a fired event
  // ("fire.wakeup", library "tvsim"). If not, `error` names the known
  // operations and the nearest one.
  static bool isJournalName(const std::string& name, std::string* error);
  static bool forceResult(const std::string& operation, const Json::Value& value,
                          std::string* error);
  static void clearForcedResults();
  // Every operation name, "Library.operation".
  static std::vector<std::string> operations();

  // --- Events ------------------------------------------------------------
  // Fires a platform event; notifications are delivered later on the
  // simulator's own thread. Events and their arguments:
  //   "wakeup" [reason]           pre-wake-up then wake-up subscribers, state 0
  //   "powerOff" reason           power-off notice with that reason, state 3
  //   "powerState" state          state change and its subscribers
  //   "powerKey" [presses]        the panel counts power-key presses
  //   "btConnection" address, on  a bonded device (dis)connects
  //   "btBonded" device           a device bonds ({"address", "name", ...})
  //   "sourceStatus" source, status  a source (dis)connects
  static bool fire(const std::string& event, const Json::Value& arguments, std::string* error);
  // Waits until every notification fired so far has been delivered; false on
  // timeout.
  static bool waitForNotifications(std::chrono::milliseconds timeout);
  // The id of the thread that delivers notifications (started on demand).
  static std::thread::id notificationThread();

  // --- Journal -----------------------------------------------------------
  static std::vector<JournalEntry> journal();
  // The calls one name covers, as isJournalName takes it; an interface's
  // operation may be named alone when no other has that name
  // ("setAudioMute"). False with `error` for a name that is not known.
  static bool journal(const std::string& filter, std::vector<JournalEntry>* entries,
                      std::string* error);
  static Json::Value journalJson();
  static void clearJournal();
  // JSON Lines, one call per line; false with `error` when it cannot write.
  static bool writeJournal(const std::string& path, std::string* error);
  // Written at exit (or by shutdown()) when set; empty for none. The
  // environment variable TVSIM_JOURNAL sets it too.
  static void setJournalFile(const std::string& path);

  // --- Observers ---------------------------------------------------------
  // Called after each platform call, each change of the journal and each
  // change made here, on the thread that made it and possibly with the
  // simulator's locks held: it must return at once and call nothing here.
  // One listener at a time; null for none.
  static void setChangeListener(void (*listener)());
  // The journal's entries after `afterSeq`, the newest `max` of them;
  // *skipped counts the ones after afterSeq left out (or already dropped),
  // *newest is the last sequence number given out so far.
  static std::vector<JournalEntry> journalSince(unsigned long long afterSeq, size_t max,
                                                unsigned long long* skipped,
                                                unsigned long long* newest);
  // The power subscriptions held now: {"preWakeup": n, "wakeup": n,
  // "powerOff": n, "stateChanged": n}.
  static Json::Value subscriptions();
  // The composed screen as the capture service would take it now (black in
  // standby or with the picture off), as PNG bytes.
  static std::string screenPng(int width, int height);
  // Journals what the platform's calls do not show: a control made from
  // outside the script (library "view") or an engine event as the script
  // received it (library "engine").
  static void journalNote(const std::string& library, const std::string& operation,
                          const Json::Value& arguments, const Json::Value& result);

  // --- Device files ------------------------------------------------------
  // The root folder; made on first use (TVSIM_ROOT, or a fresh temporary
  // folder removed at exit) and populated from the state.
  static std::string root();
  // Uses `dir` (made if missing, kept at exit) as root. Before first use only;
  // false with `error` after it, or when the folder cannot be made.
  static bool setRoot(const std::string& dir, std::string* error);

  // Stops the notification thread, writes the journal file and removes a
  // temporary root. Runs at exit by itself; later calls do nothing.
  static void shutdown();
};

}  // namespace tvsim
