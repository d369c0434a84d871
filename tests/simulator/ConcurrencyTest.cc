// Calls from several threads at once, with state changes, events and journal
// reads in between: every call is journaled once and the state stays valid.
#include <atomic>
#include <thread>
#include <vector>

#include "SimulatorFixture.h"
#include "TvServiceGateway.h"
#include "vconf.h"

namespace {

using ConcurrencyTest = SimulatorTest;

std::atomic<int> notified{0};

int countNotification(int, void*) {
  notified.fetch_add(1);
  return 0;
}

TEST_F(ConcurrencyTest, CallsFromManyThreadsAreAllJournaled) {
  ASSERT_EQ(0, TvPowerClient::subscribeStateChanged(countNotification));
  notified = 0;
  constexpr int kThreads = 4;
  constexpr int kRounds = 300;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      TvServiceGateway::AvControl* av = nullptr;
      TvServiceGateway::createAvControl(1, 0, &av);
      for (int i = 0; i < kRounds; ++i) {
        int value = 0;
        vconf_get_int("memory/mls/state", &value);
        av->setAudioMute(i % 2 == 0);
        std::string error;
        tvsim::Simulator::set("power.wakeupReason", t * 1000 + i, &error);
        tvsim::Simulator::fire("powerState", Json::Value(i % 3), &error);
        tvsim::Simulator::journal();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_TRUE(tvsim::Simulator::waitForNotifications(std::chrono::seconds(30)));
  EXPECT_EQ(static_cast<size_t>(kThreads * kRounds), calls("vconf", "vconf_get_int").size());
  EXPECT_EQ(static_cast<size_t>(kThreads * kRounds),
            calls("TvServiceGateway", "AvControl.setAudioMute").size());
  EXPECT_EQ(static_cast<int>(calls("tvsim", "notify.stateChanged").size()), notified.load());
  EXPECT_GE(notified.load(), kThreads * kRounds);
  std::string error;
  Json::Value state = tvsim::Simulator::state();
  EXPECT_TRUE(tvsim::Simulator::set("power", state["power"], &error)) << error;
  unsigned long long last = 0;
  for (const auto& e : tvsim::Simulator::journal()) {
    EXPECT_GT(e.seq, last);
    last = e.seq;
  }
}

}  // namespace
