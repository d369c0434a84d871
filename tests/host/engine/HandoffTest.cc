// The hand-off without V8: tasks and idle calls from foreign threads while
// the script thread closes at any moment. Every accepted item either runs or
// is discarded on the script thread, every record is freed exactly once, and
// a post after closing is refused. Also built with ThreadSanitizer.
#include "engine/Handoff.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "TvPowerClient.h"
#include "tvsim/Simulator.h"

namespace {

using tarn::host::Handoff;

std::atomic<long> g_live{0};

struct Record {
  Record() { ++g_live; }
  ~Record() { --g_live; }
  long payload = 7;
};

gboolean FreeRecord(gpointer data) {
  delete static_cast<Record*>(data);
  return G_SOURCE_REMOVE;
}
gboolean KeepRecord(gpointer) { return G_SOURCE_REMOVE; }
void DestroyRecord(gpointer data) { delete static_cast<Record*>(data); }

// Counts, per task, whether it ran or was destroyed unrun, and on which thread.
struct Ledger {
  std::atomic<long> accepted{0}, refused{0}, ran{0}, settled{0}, foreignThread{0};
  std::thread::id scriptThread = std::this_thread::get_id();
};

struct Token {
  Ledger* ledger;
  bool ran = false;
  explicit Token(Ledger* l) : ledger(l) {}
  ~Token() {
    if (std::this_thread::get_id() != ledger->scriptThread) ++ledger->foreignThread;
    ++ledger->settled;
  }
};

class HandoffTest : public ::testing::Test {
 protected:
  void SetUp() override {
    context_ = g_main_context_new();
    g_live = 0;
  }
  void TearDown() override { g_main_context_unref(context_); }

  std::unique_ptr<Handoff> Make() {
    Handoff::Hooks hooks;
    hooks.drain = [this] {
      for (auto& task : handoff_->Take()) task();
    };
    return std::unique_ptr<Handoff>(new Handoff(context_, hooks));
  }

  // Queues one idle call with a record: odd ones free it in their function
  // (no destroy notifier), even ones through the notifier.
  static void QueueRecord(Handoff* handoff, long i) {
    if (i % 2) {
      auto* record = new Record();
      if (!handoff->AddIdle(150, &FreeRecord, record, nullptr)) delete record;
    } else {
      handoff->AddIdle(150, &KeepRecord, new Record(), &DestroyRecord);
    }
  }

  GMainContext* context_ = nullptr;
  std::unique_ptr<Handoff> handoff_;
};

TEST_F(HandoffTest, TasksRunInOrderOnTheDrainingThread) {
  handoff_ = Make();
  std::vector<int> seen;
  std::thread producer([&] {
    for (int i = 0; i < 100; ++i) ASSERT_TRUE(handoff_->Post([&seen, i] { seen.push_back(i); }));
  });
  producer.join();
  EXPECT_EQ(handoff_->Pending(), 100u);
  while (g_main_context_iteration(context_, FALSE)) {
  }
  ASSERT_EQ(seen.size(), 100u);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(seen[i], i);
  EXPECT_EQ(handoff_->Pending(), 0u);
}

TEST_F(HandoffTest, TenThousandIdleRecordsQueuedAtCloseAreAllFreed) {
  handoff_ = Make();
  std::thread producer([&] {
    for (long i = 0; i < 10000; ++i) QueueRecord(handoff_.get(), i);
  });
  producer.join();
  EXPECT_EQ(g_live.load(), 10000);
  EXPECT_EQ(handoff_->Pending(), 10000u);
  handoff_->Close();
  long orphans = 0;
  EXPECT_EQ(handoff_->Flush([&](GSourceFunc function, gpointer data) {
    ++orphans;
    function(data);
  }),
            10000u);
  EXPECT_EQ(orphans, 5000);  // those without a destroy notifier run once
  EXPECT_EQ(g_live.load(), 0);
  EXPECT_EQ(handoff_->Pending(), 0u);
  // Nothing is left attached to the context.
  EXPECT_FALSE(g_main_context_iteration(context_, FALSE));
}

TEST_F(HandoffTest, DestroyingAnOpenHandoffSettlesEverything) {
  handoff_ = Make();
  for (long i = 0; i < 1000; ++i) QueueRecord(handoff_.get(), i);
  Ledger ledger;
  for (int i = 0; i < 10; ++i) {
    auto token = std::make_shared<Token>(&ledger);
    handoff_->Post([token] { token->ran = true; });
  }
  handoff_.reset();
  EXPECT_EQ(g_live.load(), 0);
  EXPECT_EQ(ledger.settled.load(), 10);
  EXPECT_EQ(ledger.foreignThread.load(), 0);
}

TEST_F(HandoffTest, AfterCloseWorkIsRefusedAndNotifiersCalledAtOnce) {
  handoff_ = Make();
  handoff_->Close();
  EXPECT_TRUE(handoff_->Closed());
  bool ran = false;
  EXPECT_FALSE(handoff_->Post([&ran] { ran = true; }));
  EXPECT_EQ(handoff_->AddIdle(150, &KeepRecord, new Record(), &DestroyRecord), 0u);
  EXPECT_EQ(g_live.load(), 0);  // the notifier freed it
  auto* kept = new Record();
  EXPECT_EQ(handoff_->AddIdle(150, &FreeRecord, kept, nullptr), 0u);
  EXPECT_EQ(g_live.load(), 1);  // no notifier: still the caller's
  delete kept;
  while (g_main_context_iteration(context_, FALSE)) {
  }
  EXPECT_FALSE(ran);
  EXPECT_EQ(handoff_->Pending(), 0u);
}

TEST_F(HandoffTest, AnIdleCallThatRepeatsRunsUntilItStops) {
  handoff_ = Make();
  int count = 0;
  handoff_->AddIdle(
      150, [](gpointer data) -> gboolean { return ++*static_cast<int*>(data) < 3; }, &count,
      nullptr);
  while (g_main_context_iteration(context_, FALSE)) {
  }
  EXPECT_EQ(count, 3);
  EXPECT_EQ(handoff_->Pending(), 0u);
}

// 100,000 tasks and 10,000 idle records from 4 foreign threads while the
// script thread closes at a random moment; 20 runs.
TEST_F(HandoffTest, FourThreadsFloodWhileTheScriptThreadClosesAtRandom) {
  std::mt19937 random(std::random_device{}());
  for (int run = 0; run < 20; ++run) {
    handoff_ = Make();
    Ledger ledger;
    std::atomic<bool> go{false};
    std::vector<std::thread> producers;
    for (int t = 0; t < 4; ++t) {
      producers.emplace_back([&, t] {
        while (!go.load()) std::this_thread::yield();
        for (long i = t; i < 100000; i += 4) {
          auto token = std::make_unique<Token>(&ledger);
          if (handoff_->Post([token = std::shared_ptr<Token>(std::move(token)), &ledger] {
                token->ran = true;
                ++ledger.ran;
              })) {
            ++ledger.accepted;
          } else {
            ++ledger.refused;
          }
          if (i < 10000) QueueRecord(handoff_.get(), i);
        }
      });
    }
    go = true;
    int turns = std::uniform_int_distribution<int>(0, 400)(random);
    for (int i = 0; i < turns; ++i) g_main_context_iteration(context_, FALSE);
    handoff_->Close();
    handoff_->Flush([](GSourceFunc function, gpointer data) { function(data); });
    for (std::thread& producer : producers) producer.join();
    // Refused tasks were destroyed on their producer's thread; everything
    // accepted ran or was discarded here.
    EXPECT_EQ(ledger.accepted + ledger.refused, 100000);
    EXPECT_EQ(ledger.settled.load(), 100000);
    EXPECT_LE(ledger.foreignThread.load(), ledger.refused.load());
    EXPECT_EQ(g_live.load(), 0) << "run " << run;
    EXPECT_EQ(handoff_->Pending(), 0u);
    handoff_.reset();
  }
}

}  // namespace

// The simulated TV's notification thread and 4 threads firing its events post
// into the hand-off while the script thread closes; the simulator's thread is
// joined (shutdown) before the hand-off goes away.
namespace {

Handoff* g_target = nullptr;
std::atomic<long> g_notified{0}, g_delivered{0};

int OnStateChanged(int, void*) {
  ++g_notified;
  if (g_target) g_target->Post([] { ++g_delivered; });
  return 0;
}

TEST_F(HandoffTest, SimulatorThreadsPostWhileTheScriptThreadCloses) {
  handoff_ = Make();
  g_target = handoff_.get();
  ASSERT_EQ(0, TvPowerClient::subscribeStateChanged(OnStateChanged));
  std::vector<std::thread> firing;
  for (int t = 0; t < 4; ++t) {
    firing.emplace_back([] {
      std::string error;
      for (int i = 0; i < 200; ++i)
        tvsim::Simulator::fire("powerState", Json::Value(i % 3), &error);
    });
  }
  for (int i = 0; i < 200; ++i) g_main_context_iteration(context_, FALSE);
  handoff_->Close();
  handoff_->Flush([](GSourceFunc function, gpointer data) { function(data); });
  for (std::thread& thread : firing) thread.join();
  EXPECT_TRUE(tvsim::Simulator::waitForNotifications(std::chrono::seconds(30)));
  tvsim::Simulator::shutdown();  // joins the notification thread
  g_target = nullptr;
  handoff_.reset();
  EXPECT_GT(g_notified.load(), 0);
  EXPECT_LE(g_delivered.load(), g_notified.load());
}

}  // namespace
