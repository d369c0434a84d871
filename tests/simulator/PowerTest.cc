// Power commands and the power life cycle: state moves, notifications from
// the simulator's own thread, in a set's order, and error codes.
#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "AvOutputClient.h"
#include "PanelMcuClient.h"
#include "SimulatorFixture.h"

using namespace TvPowerClient;

namespace {

// What the callbacks saw: event name, value and thread.
struct Seen {
  std::string event;
  int value;
  std::thread::id thread;
  void* userData;
};

std::mutex seenMutex;
std::condition_variable seenChanged;
std::vector<Seen> seen;

void record(const char* event, int value, void* userData) {
  std::lock_guard<std::mutex> lock(seenMutex);
  seen.push_back(Seen{event, value, std::this_thread::get_id(), userData});
  seenChanged.notify_all();
}

int onPreWakeup(int value, void* data) {
  record("preWakeup", value, data);
  return 0;
}
int onWakeup(int value, void* data) {
  record("wakeup", value, data);
  return 0;
}
int onPowerOff(int value, void* data) {
  record("powerOff", value, data);
  return 0;
}
int onState(int value, void* data) {
  record("state", value, data);
  return 0;
}

// Waits (generously) until `count` notifications were seen.
std::vector<Seen> waitSeen(size_t count) {
  std::unique_lock<std::mutex> lock(seenMutex);
  seenChanged.wait_for(lock, std::chrono::seconds(10), [&] { return seen.size() >= count; });
  return seen;
}

class PowerTest : public SimulatorTest {
 protected:
  void SetUp() override {
    SimulatorTest::SetUp();
    std::lock_guard<std::mutex> lock(seenMutex);
    seen.clear();
  }
  void subscribeAll() {
    ASSERT_EQ(0, subscribePreWakeup(onPreWakeup, &marker));
    ASSERT_EQ(0, subscribeWakeup(onWakeup, &marker));
    ASSERT_EQ(0, subscribePowerOff(onPowerOff, &marker));
    ASSERT_EQ(0, subscribeStateChanged(onState));
  }
  int marker = 0;
};

TEST_F(PowerTest, StartsInNormalPower) { EXPECT_EQ(POWER_STATE_NORMAL, getPowerState()); }

TEST_F(PowerTest, PowerOffRequestNotifiesReasonThenStateFromSimulatorThread) {
  subscribeAll();
  ASSERT_EQ(0, requestPowerOff(POWER_OFF_SUSPEND));
  EXPECT_EQ(POWER_STATE_OFF, getPowerState());
  auto got = waitSeen(2);
  ASSERT_EQ(2u, got.size());
  EXPECT_EQ("powerOff", got[0].event);
  EXPECT_EQ(POWER_OFF_SUSPEND, got[0].value);
  EXPECT_EQ(&marker, got[0].userData);
  EXPECT_EQ("state", got[1].event);
  EXPECT_EQ(POWER_STATE_OFF, got[1].value);
  for (const auto& s : got) {
    EXPECT_NE(std::this_thread::get_id(), s.thread);
    EXPECT_EQ(tvsim::Simulator::notificationThread(), s.thread);
  }
}

TEST_F(PowerTest, PowerOffWhileOffIsRefused) {
  ASSERT_EQ(0, requestPowerOff(POWER_OFF_SUSPEND));
  EXPECT_EQ(POWER_ERROR_INVALID_STATE, requestPowerOff(POWER_OFF_SUSPEND));
  EXPECT_EQ(POWER_ERROR_INVALID_PARAMETER, requestPowerOff(-1));
}

TEST_F(PowerTest, StandbyNotifiesStateChangedWithTwo) {
  subscribeAll();
  ASSERT_EQ(0, setDevicePowerState(POWER_STATE_STANDBY, 1));
  EXPECT_EQ(POWER_STATE_STANDBY, getPowerState());
  auto got = waitSeen(1);
  ASSERT_EQ(1u, got.size());
  EXPECT_EQ("state", got[0].event);
  EXPECT_EQ(2, got[0].value);
  EXPECT_EQ(tvsim::Simulator::notificationThread(), got[0].thread);
}

TEST_F(PowerTest, NormalFromStandbyWakesPreWakeupFirst) {
  ASSERT_EQ(0, setDevicePowerState(POWER_STATE_STANDBY, 1));
  ASSERT_TRUE(tvsim::Simulator::waitForNotifications(std::chrono::seconds(10)));
  subscribeAll();
  ASSERT_EQ(0, setPowerState(POWER_STATE_NORMAL, 1));
  auto got = waitSeen(3);
  ASSERT_EQ(3u, got.size());
  EXPECT_EQ("preWakeup", got[0].event);
  EXPECT_EQ("wakeup", got[1].event);
  EXPECT_EQ("state", got[2].event);
  EXPECT_EQ(0, got[2].value);
}

TEST_F(PowerTest, PictureOffDoesNotWakeAnything) {
  subscribeAll();
  ASSERT_EQ(0, setDevicePowerState(POWER_STATE_PICTURE_OFF, 1));
  ASSERT_EQ(0, setPowerState(POWER_STATE_NORMAL, 1));
  auto got = waitSeen(2);
  ASSERT_TRUE(tvsim::Simulator::waitForNotifications(std::chrono::seconds(10)));
  ASSERT_EQ(2u, seen.size());
  EXPECT_EQ("state", got[0].event);
  EXPECT_EQ(1, got[0].value);
  EXPECT_EQ("state", got[1].event);
  EXPECT_EQ(0, got[1].value);
}

TEST_F(PowerTest, SetStateRejectsUnknownStatesAndFlags) {
  EXPECT_EQ(POWER_ERROR_INVALID_PARAMETER, setDevicePowerState(7, 1));
  EXPECT_EQ(POWER_ERROR_INVALID_PARAMETER, setDevicePowerState(-1, 1));
  EXPECT_EQ(POWER_ERROR_INVALID_PARAMETER, setPowerState(0, 5));
  EXPECT_EQ(POWER_STATE_NORMAL, getPowerState());
}

TEST_F(PowerTest, FiredWakeupCarriesReasonToBothSubscribersInOrder) {
  ASSERT_EQ(0, requestPowerOff(POWER_OFF_SUSPEND));
  ASSERT_TRUE(tvsim::Simulator::waitForNotifications(std::chrono::seconds(10)));
  subscribeAll();
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::fire("wakeup", Json::Value(17), &error)) << error;
  auto got = waitSeen(3);
  ASSERT_EQ(3u, got.size());
  EXPECT_EQ("preWakeup", got[0].event);
  EXPECT_EQ(17, got[0].value);
  EXPECT_EQ("wakeup", got[1].event);
  EXPECT_EQ(17, got[1].value);
  EXPECT_EQ("state", got[2].event);
  EXPECT_EQ(17, getWakeupReason());
  EXPECT_EQ(POWER_STATE_NORMAL, getPowerState());
}

TEST_F(PowerTest, FiredPowerOffNoticeCarriesItsReason) {
  subscribeAll();
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::fire("powerOff", Json::Value(14), &error)) << error;
  auto got = waitSeen(1);
  ASSERT_FALSE(got.empty());
  EXPECT_EQ("powerOff", got[0].event);
  EXPECT_EQ(14, got[0].value);
  EXPECT_FALSE(tvsim::Simulator::fire("powerOff", Json::Value(), &error));
  EXPECT_NE(std::string::npos, error.find("reason")) << error;
}

TEST_F(PowerTest, UnsubscribeWithNullRemovesAllAndReportsNothingLeft) {
  subscribeAll();
  EXPECT_EQ(0, unsubscribePowerOff(nullptr));
  EXPECT_EQ(POWER_ERROR_NOT_SUBSCRIBED, unsubscribePowerOff(nullptr));
  ASSERT_EQ(0, requestPowerOff(POWER_OFF_SUSPEND));
  auto got = waitSeen(1);
  ASSERT_TRUE(tvsim::Simulator::waitForNotifications(std::chrono::seconds(10)));
  ASSERT_EQ(1u, seen.size());
  EXPECT_EQ("state", got[0].event);
}

TEST_F(PowerTest, SubscribingNullIsRefused) {
  EXPECT_EQ(POWER_ERROR_INVALID_PARAMETER, subscribePreWakeup(nullptr, nullptr));
  EXPECT_EQ(POWER_ERROR_INVALID_PARAMETER, subscribeStateChanged(nullptr));
}

TEST_F(PowerTest, CallbackMayCallThePlatform) {
  static int stateSeenInside = -1;
  auto cb = [](int, void*) {
    stateSeenInside = getPowerState();
    record("state", stateSeenInside, nullptr);
    return 0;
  };
  ASSERT_EQ(0, subscribeStateChanged(cb));
  ASSERT_EQ(0, setDevicePowerState(POWER_STATE_STANDBY, 1));
  waitSeen(1);
  EXPECT_EQ(POWER_STATE_STANDBY, stateSeenInside);
}

TEST_F(PowerTest, ForcedResultIsReturnedOnceAndChangesNothing) {
  force("TvPowerClient.requestPowerOff", -9);
  EXPECT_EQ(-9, requestPowerOff(POWER_OFF_SUSPEND));
  EXPECT_EQ(POWER_STATE_NORMAL, getPowerState());
  auto journaled = calls("TvPowerClient", "requestPowerOff");
  ASSERT_EQ(1u, journaled.size());
  EXPECT_TRUE(journaled[0].forced);
  EXPECT_EQ(-9, journaled[0].result.asInt());
  EXPECT_EQ(0, requestPowerOff(POWER_OFF_SUSPEND));
  EXPECT_EQ(POWER_STATE_OFF, getPowerState());
}

TEST_F(PowerTest, ScreenStateFollowsRequestsAndIsRefusedWhenOff) {
  ASSERT_EQ(0, setScreenState(0));
  EXPECT_FALSE(get("power.screenOn").asBool());
  EXPECT_EQ(POWER_ERROR_INVALID_PARAMETER, setScreenState(2));
  ASSERT_EQ(0, requestPowerOff(POWER_OFF_SUSPEND));
  EXPECT_EQ(POWER_ERROR_INVALID_STATE, setScreenState(1));
}

TEST_F(PowerTest, PrePowerReadsWhatWasSet) {
  int state = -1;
  ASSERT_EQ(0, PanelMcuClient::setPrePower(0));
  ASSERT_EQ(0, PanelMcuClient::getPrePower(&state));
  EXPECT_EQ(0, state);
  ASSERT_EQ(0, PanelMcuClient::setPrePower(1));
  ASSERT_EQ(0, PanelMcuClient::getPrePower(&state));
  EXPECT_EQ(1, state);
  EXPECT_EQ(PanelMcuClient::MCU_ERROR_INVALID_PARAMETER, PanelMcuClient::setPrePower(2));
  EXPECT_EQ(PanelMcuClient::MCU_ERROR_INVALID_PARAMETER, PanelMcuClient::getPrePower(nullptr));
}

TEST_F(PowerTest, PowerKeyPressesAreCountedAndReset) {
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::fire("powerKey", Json::Value(3), &error)) << error;
  int count = -1;
  ASSERT_EQ(0, PanelMcuClient::controlPowerKeyPressCount(1, &count));
  EXPECT_EQ(3, count);
  ASSERT_EQ(0, PanelMcuClient::controlPowerKeyPressCount(0, nullptr));
  ASSERT_EQ(0, PanelMcuClient::controlPowerKeyPressCount(1, &count));
  EXPECT_EQ(0, count);
  EXPECT_EQ(PanelMcuClient::MCU_ERROR_INVALID_PARAMETER,
            PanelMcuClient::controlPowerKeyPressCount(2, &count));
  EXPECT_EQ(PanelMcuClient::MCU_ERROR_INVALID_PARAMETER,
            PanelMcuClient::controlPowerKeyPressCount(1, nullptr));
}

TEST_F(PowerTest, BootingTimeFillsTheFirstField) {
  set("power.bootingTime", 12345);
  PanelMcuClient::BootingTime info{};
  ASSERT_EQ(0, PanelMcuClient::getBootingTime(&info));
  EXPECT_EQ(12345u, info.bootingTime);
  EXPECT_EQ(PanelMcuClient::MCU_ERROR_INVALID_PARAMETER, PanelMcuClient::getBootingTime(nullptr));
}

TEST_F(PowerTest, WelcomeModeIsKeptAndNegativeRefused) {
  ASSERT_EQ(0, AvOutputClient::setWelcomeMode(5));
  EXPECT_EQ(5, get("av.welcomeMode").asInt());
  EXPECT_EQ(AvOutputClient::AVOUT_ERROR_INVALID_PARAMETER, AvOutputClient::setWelcomeMode(-1));
  EXPECT_EQ(5, get("av.welcomeMode").asInt());
}

TEST_F(PowerTest, NotificationsAreJournaledOnTheSimulatorThread) {
  subscribeAll();
  ASSERT_EQ(0, setDevicePowerState(POWER_STATE_STANDBY, 1));
  waitSeen(1);
  ASSERT_TRUE(tvsim::Simulator::waitForNotifications(std::chrono::seconds(10)));
  auto notes = calls("tvsim", "notify.stateChanged");
  ASSERT_EQ(1u, notes.size());
  EXPECT_TRUE(notes[0].simulatorThread);
  EXPECT_NE(static_cast<long>(gettid()), notes[0].thread);
  auto requests = calls("TvPowerClient", "setDevicePowerState");
  ASSERT_EQ(1u, requests.size());
  EXPECT_FALSE(requests[0].simulatorThread);
  EXPECT_EQ(static_cast<long>(gettid()), requests[0].thread);
  EXPECT_EQ(2, requests[0].arguments[0].asInt());
}

}  // namespace
