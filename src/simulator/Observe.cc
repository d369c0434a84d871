// Watching the simulated set from outside the script (tarn-run's live view):
// one change listener, the journal read from a point on, the subscriptions
// held, and notes of what no platform call shows.
#include <algorithm>
#include <atomic>

#include "Core.h"

namespace tvsim {

namespace {

std::atomic<void (*)()> g_listener{nullptr};

}  // namespace

namespace detail {

void announceChange() {
  if (void (*listener)() = g_listener.load(std::memory_order_acquire)) listener();
}

}  // namespace detail

using detail::Core;

void Simulator::setChangeListener(void (*listener)()) {
  g_listener.store(listener, std::memory_order_release);
}

std::vector<JournalEntry> Simulator::journalSince(unsigned long long afterSeq, size_t max,
                                                  unsigned long long* skipped,
                                                  unsigned long long* newest) {
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.journalMutex);
  // The kept entries are numbered one apart, up to the newest.
  const unsigned long long newestKept = core.journal.newestSeq();
  const size_t after = newestKept > afterSeq ? static_cast<size_t>(std::min<unsigned long long>(
                                                   newestKept - afterSeq, core.journal.size()))
                                             : 0;
  const unsigned long long lastSeq = core.nextSeq - 1;
  *newest = lastSeq;
  // Entries after afterSeq that are no longer kept count as skipped too.
  const unsigned long long gone =
      lastSeq > afterSeq && lastSeq - afterSeq > after ? lastSeq - afterSeq - after : 0;
  const size_t taken = std::min(after, max);
  *skipped = gone + (after - taken);
  return core.journal.newest(taken);
}

Json::Value Simulator::subscriptions() {
  using detail::PowerEvent;
  Json::Value counts(Json::objectValue);
  Core& core = Core::instance();
  std::lock_guard<std::mutex> lock(core.mutex);
  for (PowerEvent event : {PowerEvent::PreWakeup, PowerEvent::Wakeup, PowerEvent::PowerOff,
                           PowerEvent::StateChanged}) {
    counts[detail::powerEventName(event)] = 0;
  }
  for (const auto& s : core.subscriptions) {
    Json::Value& n = counts[detail::powerEventName(s.event)];
    n = n.asInt() + 1;
  }
  return counts;
}

void Simulator::journalNote(const std::string& library, const std::string& operation,
                            const Json::Value& arguments, const Json::Value& result) {
  JournalEntry entry;
  entry.library = library;
  entry.operation = operation;
  entry.arguments = arguments;
  entry.result = result;
  entry.thread = detail::currentThreadId();
  Core::instance().appendJournal(std::move(entry));
}

}  // namespace tvsim
