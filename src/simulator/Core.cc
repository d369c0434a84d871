// The simulator's shared machinery: the state's mutex, the journal, forced
// results, the notification thread and the power state's moves. Callbacks
// are called from the notification thread without the mutex held, so they
// may call back into the platform.
#include "Core.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <json/reader.h>
#include <json/writer.h>

namespace tvsim {
namespace detail {

namespace {

// The oldest entries go first past this many, so a long run cannot exhaust
// memory.
constexpr size_t kJournalCapacity = 200000;

void shutdownAtExit() { Core::instance().shutdown(); }

}  // namespace

long currentThreadId() { return static_cast<long>(syscall(SYS_gettid)); }

const std::vector<OperationInfo>& operationTable() {
  using K = ResultKind;
  static const std::vector<OperationInfo> table = {
      {"TvPowerClient", "requestPowerOff", K::Int},
      {"TvPowerClient", "setDevicePowerState", K::Int},
      {"TvPowerClient", "setPowerState", K::Int},
      {"TvPowerClient", "getPowerState", K::Int},
      {"TvPowerClient", "setScreenState", K::Int},
      {"TvPowerClient", "getWakeupReason", K::Int},
      {"TvPowerClient", "subscribePreWakeup", K::Int},
      {"TvPowerClient", "subscribeWakeup", K::Int},
      {"TvPowerClient", "subscribePowerOff", K::Int},
      {"TvPowerClient", "subscribeStateChanged", K::Int},
      {"TvPowerClient", "unsubscribePreWakeup", K::Int},
      {"TvPowerClient", "unsubscribeWakeup", K::Int},
      {"TvPowerClient", "unsubscribePowerOff", K::Int},
      {"TvPowerClient", "unsubscribeStateChanged", K::Int},
      {"PanelMcuClient", "getPrePower", K::Int},
      {"PanelMcuClient", "setPrePower", K::Int},
      {"PanelMcuClient", "controlPowerKeyPressCount", K::Int},
      {"PanelMcuClient", "getBootingTime", K::Int},
      {"AvOutputClient", "setWelcomeMode", K::Int},
      {"TvServiceGateway", "createAvControl", K::Int},
      {"TvServiceGateway", "createSourceControl", K::Int},
      {"TvServiceGateway", "createServiceNavigation", K::Int},
      {"TvServiceGateway", "AvControl.setAudioMute", K::Int},
      {"TvServiceGateway", "AvControl.setVideoMute", K::Int},
      {"TvServiceGateway", "SourceControl.getCurrentSource", K::Int},
      {"TvServiceGateway", "SourceControl.getSourceStatus", K::Int},
      {"TvServiceGateway", "ServiceNavigation.getTvMode", K::Int},
      {"TvServiceGateway", "ServiceNavigation.getCurrentServiceInfo", K::Int},
      {"TvServiceGateway", "ServiceData.getAttribute", K::IntOrNull},
      {"ExternalBoxClient", "getActivityInfo", K::PointerNullOnly},
      {"ExternalBoxClient", "isSupported", K::Bool},
      {"AppContextClient", "initialize", K::Int},
      {"AppContextClient", "finalize", K::Int},
      {"AppContextClient", "queryTvContextState", K::Int},
      {"AppContextClient", "requestTask", K::Int},
      {"AppListControlClient", "initDbusConnection", K::Int},
      {"AppListControlClient", "finiDbusConnection", K::Int},
      {"AppListControlClient", "disableItem", K::Int},
      {"AppListControlClient", "removeDisabledItemsByAppname", K::Int},
      {"DisplayCaptureClient", "RequestCaptureToFileSync", K::Int},
      {"ScreenSaverClient", "activate", K::Int},
      {"ScreenSaverClient", "deactivate", K::Int},
      {"BtTvExtension", "GetRemoteVidPid", K::Int},
      {"BtTvExtension", "SendHidDeviceCommand", K::Int},
      {"vconf", "vconf_get_int", K::Int},
      {"vconf", "vconf_get_str", K::TextOrNull},
      {"aul", "aul_app_get_appid_bypid", K::Int},
      {"aul", "aul_app_get_pkgname_bypid", K::Int},
      {"aul", "aul_app_get_pid", K::Int},
      {"aul", "aul_app_get_status_bypid", K::Int},
      {"aul", "aul_app_is_running", K::Int},
      {"rua", "rua_init", K::Int},
      {"rua", "rua_fini", K::Int},
      {"rua", "rua_clear_history", K::Int},
      {"rua", "rua_delete_history_with_pkgname", K::Int},
      {"dlog", "__dlog_print", K::Int},
      {"bluetooth", "bt_initialize", K::Int},
      {"bluetooth", "bt_deinitialize", K::Int},
      {"bluetooth", "bt_adapter_foreach_bonded_device", K::Int},
      {"feedback", "feedback_initialize", K::Int},
      {"feedback", "feedback_deinitialize", K::Int},
      {"feedback", "feedback_play", K::Int},
      {"system_info", "system_info_get_value_int", K::Int},
      {"system_info", "system_info_get_value_bool", K::Int},
      {"tzplatform", "tzplatform_mkpath", K::TextOrNull},
      {"libc", "qd_settimeofday", K::Int},
      // The bridge's clock and kernel calls (Clock.cc).
      {"libc", "gettimeofday", K::Int},
      {"libc", "time", K::Int},
      {"libc", "localtime", K::PointerNullOnly},
      {"libc", "localtime_r", K::PointerNullOnly},
      {"libc", "gmtime_r", K::PointerNullOnly},
      {"libc", "mktime", K::Int},
      {"libc", "clock_gettime", K::Int},
      {"libc", "prctl", K::Int},
      {"libc", "setlocale", K::PointerNullOnly},
      {"DevicePath", "devicePath", K::TextOrNull},
  };
  return table;
}

const char* powerEventName(PowerEvent event) {
  switch (event) {
    case PowerEvent::PreWakeup:
      return "preWakeup";
    case PowerEvent::Wakeup:
      return "wakeup";
    case PowerEvent::PowerOff:
      return "powerOff";
    case PowerEvent::StateChanged:
      return "stateChanged";
  }
  return "?";
}

// ---------------------------------------------------------------------------

void Notifier::post(std::function<void()> task) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (stopped_) return;
  if (!running_) {
    running_ = true;
    thread_ = std::thread([this] { run(); });
  }
  queue_.push_back(std::move(task));
  wake_.notify_one();
}

void Notifier::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return stopped_ || !queue_.empty(); });
    if (stopped_) break;
    auto task = std::move(queue_.front());
    queue_.pop_front();
    busy_ = true;
    lock.unlock();
    task();
    lock.lock();
    busy_ = false;
    if (queue_.empty()) idle_.notify_all();
  }
  queue_.clear();
  busy_ = false;
  idle_.notify_all();
}

bool Notifier::waitIdle(std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(mutex_);
  return idle_.wait_for(lock, timeout, [this] { return queue_.empty() && !busy_; });
}

std::thread::id Notifier::threadId() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (!running_ && !stopped_) {
    running_ = true;
    thread_ = std::thread([this] { run(); });
  }
  return thread_.get_id();
}

bool Notifier::isCurrent() {
  std::lock_guard<std::mutex> lock(mutex_);
  return running_ && thread_.get_id() == std::this_thread::get_id();
}

void Notifier::stop() {
  std::thread thread;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (stopped_) return;
    stopped_ = true;
    wake_.notify_all();
    thread = std::move(thread_);
  }
  if (thread.joinable()) {
    if (thread.get_id() == std::this_thread::get_id()) {
      thread.detach();  // exit() called from a callback: nothing left to wait for
    } else {
      thread.join();
    }
  }
}

// ---------------------------------------------------------------------------

Core::Core() : journal(kJournalCapacity) {
  Json::CharReaderBuilder builder;
  std::string errors;
  const char* text = defaultStateJson();
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  if (!reader->parse(text, text + std::char_traits<char>::length(text), &state, &errors)) {
    std::fprintf(stderr, "tvsim: built-in state does not parse: %s\n", errors.c_str());
    std::abort();
  }
  markAllSectionsDirty();
  if (const char* journal = std::getenv("TVSIM_JOURNAL")) journalFile = journal;
}

Core& Core::instance() {
  // Never destroyed: notifications and at-exit work may still use it while
  // other static objects go away.
  static Core* core = [] {
    Core* c = new Core();
    std::atexit(shutdownAtExit);
    return c;
  }();
  return *core;
}

void Core::markAllSectionsDirty() {
  for (const char* section : {"skeleton", "markers", "launcher", "logPolicy", "installedApps",
                              "appDataAreas", "panels", "media", "files"}) {
    dirtySections.insert(section);
  }
}

void Core::notifyLocked(PowerEvent event, int value) {
  notifier.post([this, event, value] {
    std::vector<Subscription> targets;
    {
      std::lock_guard<std::mutex> lock(mutex);
      for (const auto& s : subscriptions) {
        if (s.event == event) targets.push_back(s);
      }
    }
    if (targets.empty()) {
      JournalEntry entry;
      entry.library = "tvsim";
      entry.operation = std::string("notify.") + powerEventName(event);
      entry.arguments = args(value);
      entry.result = Json::Value(0);  // subscribers told
      entry.thread = currentThreadId();
      entry.simulatorThread = true;
      appendJournal(std::move(entry));
    }
    for (const auto& s : targets) {
      int r = s.callback(value, s.userData);
      JournalEntry entry;
      entry.library = "tvsim";
      entry.operation = std::string("notify.") + powerEventName(event);
      entry.arguments = args(value, pointer(reinterpret_cast<const void*>(s.callback)));
      entry.result = Json::Value(r);
      entry.thread = currentThreadId();
      entry.simulatorThread = true;
      appendJournal(std::move(entry));
    }
  });
}

void Core::changePowerStateLocked(int newState) {
  Json::Value& power = state["power"];
  const int old = power["state"].asInt();
  if (old == newState) return;
  power["state"] = newState;
  if (newState == TvPowerClient::POWER_STATE_NORMAL &&
      (old == TvPowerClient::POWER_STATE_STANDBY || old == TvPowerClient::POWER_STATE_OFF)) {
    power["screenOn"] = true;
    const int reason = power["wakeupReason"].asInt();
    notifyLocked(PowerEvent::PreWakeup, reason);
    notifyLocked(PowerEvent::Wakeup, reason);
  }
  if (newState == TvPowerClient::POWER_STATE_STANDBY ||
      newState == TvPowerClient::POWER_STATE_OFF) {
    power["screenOn"] = false;
    state["screenSaver"]["active"] = false;
  }
  notifyLocked(PowerEvent::StateChanged, newState);
}

void Core::appendJournal(JournalEntry entry) {
  {
    std::lock_guard<std::mutex> lock(journalMutex);
    entry.seq = nextSeq++;
    journal.push(entry);
  }
  announceChange();
}

void Core::shutdown() {
  notifier.stop();
  std::string file;
  std::string rootToRemove;
  {
    std::lock_guard<std::mutex> lock(mutex);
    if (shutDown) return;
    shutDown = true;
    file = journalFile;
    if (rootIsTemporary) rootToRemove = root;
  }
  if (!file.empty()) {
    std::string error;
    if (!Simulator::writeJournal(file, &error)) std::fprintf(stderr, "tvsim: %s\n", error.c_str());
  }
  if (!rootToRemove.empty()) removeTree(rootToRemove);
}

// ---------------------------------------------------------------------------

Json::Value text(const char* s) { return s ? Json::Value(s) : Json::Value(); }

Json::Value pointer(const void* p) {
  if (!p) return Json::Value();
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%p", p);
  return Json::Value(buffer);
}

Call::Call(const char* library, const char* operation, Json::Value arguments) {
  entry_.library = library;
  entry_.operation = operation;
  entry_.arguments = arguments.isNull() ? Json::Value(Json::arrayValue) : std::move(arguments);
  entry_.thread = currentThreadId();
  entry_.simulatorThread = Core::instance().notifier.isCurrent();
}

Call::~Call() {
  if (!finished_) finishWith(Json::Value());
}

bool Call::forced(Json::Value* value) {
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  auto it = core.forced.find(entry_.library + "." + entry_.operation);
  if (it == core.forced.end() || it->second.empty()) return false;
  *value = it->second.front();
  it->second.pop_front();
  if (it->second.empty()) core.forced.erase(it);
  entry_.forced = true;
  return true;
}

std::optional<int> Call::forcedInt() {
  Json::Value value;
  if (!forced(&value)) return std::nullopt;
  return finish(value.asInt());
}

void Call::finishWith(const Json::Value& result) {
  finished_ = true;
  entry_.result = result;
  Core::instance().appendJournal(std::move(entry_));
}

int Call::finish(int result) {
  finishWith(Json::Value(result));
  return result;
}

bool Call::finish(bool result) {
  finishWith(Json::Value(result));
  return result;
}

const char* Call::finish(const char* result) {
  finishWith(text(result));
  return result;
}

char* Call::finish(char* result) {
  finishWith(text(result));
  return result;
}

}  // namespace detail

// ---------------------------------------------------------------------------
// Public control functions that are not about the state document.

using detail::Core;

Json::Value JournalEntry::toJson() const {
  Json::Value v(Json::objectValue);
  v["seq"] = Json::UInt64(seq);
  v["library"] = library;
  v["operation"] = operation;
  v["arguments"] = arguments;
  v["result"] = result;
  v["forced"] = forced;
  v["thread"] = Json::Int64(thread);
  v["simulatorThread"] = simulatorThread;
  return v;
}

std::vector<std::string> Simulator::operations() {
  std::vector<std::string> names;
  for (const auto& op : detail::operationTable()) {
    names.push_back(std::string(op.library) + "." + op.operation);
  }
  return names;
}

namespace {

// The names forceResult takes: operations, then library-qualified ones.
std::vector<std::string> forceableNames() {
  std::vector<std::string> names;
  for (const auto& op : detail::operationTable()) names.push_back(op.operation);
  for (const auto& op : detail::operationTable()) {
    if (detail::shortOperationName(op.operation) != op.operation) {
      names.push_back(detail::shortOperationName(op.operation));
    }
  }
  for (const auto& op : detail::operationTable()) {
    names.push_back(std::string(op.library) + "." + op.operation);
  }
  return names;
}

// Every name a journal entry can be looked up by, operations first.
std::vector<std::string> journalNames() {
  std::vector<std::string> names = forceableNames();
  for (const auto& op : detail::operationTable()) names.push_back(op.library);
  for (const char* event : {"wakeup", "powerOff", "powerState", "powerKey", "btConnection",
                            "btBonded", "sourceStatus"}) {
    names.push_back(std::string("fire.") + event);
    names.push_back(std::string("tvsim.fire.") + event);
  }
  names.push_back("tvsim");
  names.push_back("view");
  names.push_back("engine");
  return names;
}

}  // namespace

bool Simulator::isJournalName(const std::string& name, std::string* error) {
  const std::vector<std::string> names = journalNames();
  if (std::find(names.begin(), names.end(), name) != names.end()) {
    if (detail::operationsNamed(name).size() <= 1) return true;
    if (error) *error = "journal: ambiguous operation '" + name + "': name its library";
    return false;
  }
  if (error) {
    std::string known;
    for (const auto& op : detail::operationTable()) {
      known += (known.empty() ? "" : ", ") + std::string(op.library) + "." + op.operation;
    }
    *error = "journal: unknown operation '" + name + "'" + detail::didYouMean(name, names) +
             "; known: " + known + ", and fire.EVENT";
  }
  return false;
}

bool Simulator::forceResult(const std::string& operation, const Json::Value& value,
                            std::string* error) {
  const std::vector<const detail::OperationInfo*> named = detail::operationsNamed(operation);
  if (named.size() != 1) {
    if (error) {
      *error = named.size() > 1 ? "ambiguous operation '" + operation + "': name its library"
                                : "unknown operation '" + operation + "'" +
                                      detail::didYouMean(operation, forceableNames());
    }
    return false;
  }
  const detail::OperationInfo* found = named.front();
  using K = detail::ResultKind;
  bool ok = false;
  const char* expected = "";
  switch (found->kind) {
    case K::Int:
      ok = value.isInt();
      expected = "an integer";
      break;
    case K::Bool:
      ok = value.isBool();
      expected = "true or false";
      break;
    case K::TextOrNull:
      ok = value.isString() || value.isNull();
      expected = "a text or null";
      break;
    case K::PointerNullOnly:
      ok = value.isNull();
      expected = "null (no block)";
      break;
    case K::IntOrNull:
      ok = value.isInt() || value.isNull();
      expected = "an integer or null";
      break;
  }
  if (!ok) {
    if (error) *error = "result of " + operation + " must be " + expected;
    return false;
  }
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  core.forced[std::string(found->library) + "." + found->operation].push_back(value);
  return true;
}

void Simulator::clearForcedResults() {
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  core.forced.clear();
}

bool Simulator::waitForNotifications(std::chrono::milliseconds timeout) {
  return Core::instance().notifier.waitIdle(timeout);
}

std::thread::id Simulator::notificationThread() { return Core::instance().notifier.threadId(); }

std::vector<JournalEntry> Simulator::journal() {
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.journalMutex);
  return core.journal.all();
}

namespace {

// "library.operation" spelled by `name`, without building the text.
bool isQualifiedName(std::string_view library, std::string_view operation,
                     const std::string& name) {
  const size_t dot = library.size();
  return name.size() == dot + 1 + operation.size() && name[dot] == '.' &&
         name.compare(0, dot, library) == 0 &&
         name.compare(dot + 1, std::string::npos, operation) == 0;
}

}  // namespace

bool Simulator::journal(const std::string& filter, std::vector<JournalEntry>* entries,
                        std::string* error) {
  // A short name stands for its one operation; other names are matched as
  // the entries spell them (fired events, notifications, reports).
  const std::vector<const detail::OperationInfo*> named = detail::operationsNamed(filter);
  const std::string full =
      named.size() == 1 ? std::string(named[0]->library) + "." + named[0]->operation : "";
  {
    // Only the matches are unpacked: the whole journal, at its bound, is some
    // twenty megabytes packed and five times that unpacked.
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.journalMutex);
    *entries = core.journal.matching([&](std::string_view library, std::string_view operation) {
      return filter.empty() || filter == operation || filter == library ||
             isQualifiedName(library, operation, filter) ||
             (!full.empty() && isQualifiedName(library, operation, full));
    });
  }
  // A name that no operation has, rather than an operation not called yet:
  // a silent [] would read as "not called".
  return !entries->empty() || filter.empty() || isJournalName(filter, error);
}

Json::Value Simulator::journalJson() {
  Json::Value list(Json::arrayValue);
  for (const auto& e : journal()) list.append(e.toJson());
  return list;
}

void Simulator::clearJournal() {
  Core& core = Core::instance();
  {
    std::lock_guard<std::mutex> lock(core.journalMutex);
    core.journal.clear();
  }
  detail::announceChange();
}

bool Simulator::writeJournal(const std::string& path, std::string* error) {
  std::ofstream out(path, std::ios::trunc);
  if (!out) {
    if (error) *error = "cannot write the journal to " + path;
    return false;
  }
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  for (const auto& e : journal()) out << Json::writeString(builder, e.toJson()) << '\n';
  out.flush();
  if (!out) {
    if (error) *error = "cannot write the journal to " + path;
    return false;
  }
  return true;
}

void Simulator::setJournalFile(const std::string& path) {
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  core.journalFile = path;
}

std::string Simulator::root() {
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  return core.ensureRootLocked();
}

void Simulator::shutdown() { Core::instance().shutdown(); }

}  // namespace tvsim
