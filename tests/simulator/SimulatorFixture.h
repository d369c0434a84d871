// Every simulator test starts from the built-in state with no subscriptions,
// forced results, pending notifications or journal entries left by another.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "TvPowerClient.h"
#include "tvsim/Simulator.h"

class SimulatorTest : public ::testing::Test {
 protected:
  void SetUp() override { clean(); }
  void TearDown() override { clean(); }

  static void clean() {
    using namespace TvPowerClient;
    unsubscribePreWakeup(nullptr);
    unsubscribeWakeup(nullptr);
    unsubscribePowerOff(nullptr);
    unsubscribeStateChanged(nullptr);
    ASSERT_TRUE(tvsim::Simulator::waitForNotifications(std::chrono::seconds(10)));
    tvsim::Simulator::reset();
    tvsim::Simulator::clearForcedResults();
    tvsim::Simulator::clearJournal();
  }

  static Json::Value get(const std::string& path) {
    Json::Value v;
    std::string error;
    EXPECT_TRUE(tvsim::Simulator::get(path, &v, &error)) << error;
    return v;
  }

  static void set(const std::string& path, const Json::Value& value) {
    std::string error;
    ASSERT_TRUE(tvsim::Simulator::set(path, value, &error)) << error;
  }

  static void force(const std::string& operation, const Json::Value& value) {
    std::string error;
    ASSERT_TRUE(tvsim::Simulator::forceResult(operation, value, &error)) << error;
  }

  // The journal entries of one operation, in order.
  static std::vector<tvsim::JournalEntry> calls(const std::string& library,
                                                const std::string& operation) {
    std::vector<tvsim::JournalEntry> out;
    for (const auto& e : tvsim::Simulator::journal()) {
      if (e.library == library && e.operation == operation) out.push_back(e);
    }
    return out;
  }
};
