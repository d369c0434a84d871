// The live view of the simulated set (tarn-run --sim-view): the page and its
// files over HTTP, and over one WebSocket per page the state, the journal
// and the subscriptions as they change, and the page's controls back.
// Everything here runs on the shared server's thread but the change
// listener, which only asks that thread to look.
#pragma once

#include <json/value.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>

#include "WebServer.h"
#include "tarn/host/LogCapture.h"

namespace tvsim {
namespace view {

// A control from the page, carried out through the simulator's own control
// functions (those of `tarn.sim`) and journaled as coming from the view.
// The reply: {"ok": true} or {"ok": false, "error": "..."}.
Json::Value runCommand(const Json::Value& command);

class SimView : public tarn::web::WebServer::Handler {
 public:
  // `pageFolder` holds the page's files; `readOnly` refuses every control.
  SimView(std::string pageFolder, bool readOnly);
  ~SimView() override;

  bool Start(const std::string& address, uint16_t port, std::string* error);
  uint16_t Port() const { return server_.Port(); }
  void Stop();

  // WebServer::Handler
  tarn::web::Response Answer(const tarn::web::Request& request, const std::string& host) override;
  bool AcceptsSession(const tarn::web::Request& request) override;
  void SessionStarted(int session, const tarn::web::Request& request) override;
  void MessageReceived(int session, std::string message) override;
  void SessionEnded(int session) override;
  void SessionDrained(int session) override;

 private:
  struct Page {
    bool trusted = false;            // opened from this server's own page
    uint64_t stateVersion = 0;       // last state sent
    unsigned long long seq = 0;      // last journal entry sent
    unsigned long long skipped = 0;  // journal entries never sent
    unsigned long long logSeq = 0;   // last log line sent
    bool waiting = false;            // an update is due once its queue drains
  };

  static void OnChange();
  void Flush();
  // Reads the state, the subscriptions and the stage hints; a new version
  // when they changed.
  void Snapshot();
  // Moves the log lines written since into the kept ones; true if any.
  bool TakeLogLines();
  // Every kTick: log lines come without a change to announce them.
  void Tick();
  void Update(int session, Page& page);
  tarn::web::Response File(const tarn::web::Request& request, const std::string& name);

  std::string pageFolder_;
  bool readOnly_;
  std::map<int, Page> pages_;
  std::string stateText_;
  std::string hostText_;
  uint64_t stateVersion_ = 0;
  std::chrono::steady_clock::time_point lastFlush_{};
  std::atomic<bool> flushDue_{false};
  // Every log line of the run, whatever the threshold; the page chooses.
  std::unique_ptr<tarn::host::LogCapture> capture_;
  std::deque<Json::Value> logLines_;  // the newest, each with its "seq"
  unsigned long long logSeq_ = 0;
  tarn::web::WebServer server_;
};

}  // namespace view
}  // namespace tvsim
