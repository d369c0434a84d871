// Sources, the current service, external boxes, mutes, the application
// context, the app-list control and the screen saver.
#include <cstdint>
#include <cstring>

#include "AppContextClient.h"
#include "AppListControlClient.h"
#include "ExternalBoxClient.h"
#include "ScreenSaverClient.h"
#include "SimulatorFixture.h"
#include "TvServiceGateway.h"

using namespace TvServiceGateway;

namespace {

using TvTest = SimulatorTest;

const std::vector<int> kChannelAttributes = {12, 16, 41, 15, 18, 1, 2, 6, 37, 4, 13, 14, 22, 110};

// The channel type as a set reports it: -1 when there is no current service.
int channelType() {
  ServiceNavigation* nav = nullptr;
  if (createServiceNavigation(1, 0, &nav) != 0 || !nav) return -1;
  int mode = -1;
  nav->getTvMode(&mode);
  ServiceData data;
  nav->getCurrentServiceInfo(mode, kChannelAttributes, &data);
  const ServiceAttribute* type = data.getAttribute(ATTRIBUTE_CHANNEL_TYPE);
  return type ? type->value : -1;
}

int currentSource(int window) {
  SourceControl* control = nullptr;
  if (createSourceControl(1, window, &control) != 0) return -100;
  int source = -1;
  return control->getCurrentSource(&source) >= 1 ? source : -1;
}

TEST_F(TvTest, MutesChangeTheMuteState) {
  AvControl* control = nullptr;
  ASSERT_EQ(0, createAvControl(1, 0, &control));
  ASSERT_NE(nullptr, control);
  EXPECT_EQ(1, control->setAudioMute(true));
  EXPECT_TRUE(get("av.audioMute").asBool());
  EXPECT_EQ(1, control->setVideoMute(true));
  EXPECT_TRUE(get("av.videoMute").asBool());
  EXPECT_EQ(1, control->setAudioMute(false));
  EXPECT_FALSE(get("av.audioMute").asBool());
}

TEST_F(TvTest, MuteFailsWhileTheSetIsOff) {
  AvControl* control = nullptr;
  ASSERT_EQ(0, createAvControl(1, 0, &control));
  ASSERT_EQ(0, TvPowerClient::requestPowerOff(TvPowerClient::POWER_OFF_SUSPEND));
  EXPECT_EQ(0, control->setAudioMute(true));
  EXPECT_FALSE(get("av.audioMute").asBool());
}

TEST_F(TvTest, ControlsForUnknownProfilesOrWindowsAreRefused) {
  AvControl* av = reinterpret_cast<AvControl*>(0x1);
  EXPECT_EQ(TVSG_ERROR_INVALID_PARAMETER, createAvControl(7, 0, &av));
  EXPECT_EQ(nullptr, av);
  SourceControl* source = nullptr;
  EXPECT_EQ(TVSG_ERROR_INVALID_PARAMETER, createSourceControl(1, -1, &source));
  EXPECT_EQ(TVSG_ERROR_INVALID_PARAMETER, createSourceControl(1, 0, nullptr));
  ServiceNavigation* nav = nullptr;
  EXPECT_EQ(TVSG_ERROR_INVALID_PARAMETER, createServiceNavigation(1, 9, &nav));
}

TEST_F(TvTest, CurrentSourceOfEachWindow) {
  EXPECT_EQ(0, currentSource(0));
  EXPECT_EQ(-1, currentSource(1));  // no sub picture
  set("tv.subSource", 34);
  EXPECT_EQ(34, currentSource(1));
  SourceControl* control = nullptr;
  ASSERT_EQ(0, createSourceControl(1, 0, &control));
  EXPECT_EQ(TVSG_ERROR_INVALID_PARAMETER, control->getCurrentSource(nullptr));
}

TEST_F(TvTest, SourceStatusReportsKnownSourcesOnly) {
  SourceControl* control = nullptr;
  ASSERT_EQ(0, createSourceControl(1, 0, &control));
  std::map<int, int> statuses;
  ASSERT_GE(control->getSourceStatus({33, 35, 999}, &statuses), 1);
  EXPECT_EQ(1, statuses.at(33));
  EXPECT_EQ(0, statuses.at(35));
  EXPECT_EQ(0u, statuses.count(999));
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::fire(
      "sourceStatus",
      [] {
        Json::Value a(Json::arrayValue);
        a.append(35);
        a.append(1);
        return a;
      }(),
      &error))
      << error;
  statuses.clear();
  ASSERT_GE(control->getSourceStatus({35}, &statuses), 1);
  EXPECT_EQ(1, statuses.at(35));
  EXPECT_EQ(TVSG_ERROR_INVALID_PARAMETER, control->getSourceStatus({33}, nullptr));
}

TEST_F(TvTest, ChannelTypeOfTheCurrentService) {
  EXPECT_EQ(2, channelType());
  set("tv.channel.attributes.1", 5);
  EXPECT_EQ(5, channelType());
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::remove("tv.channel.attributes.1", &error)) << error;
  EXPECT_EQ(-1, channelType());
}

TEST_F(TvTest, ServiceInfoForAnotherModeHasNoService) {
  ServiceNavigation* nav = nullptr;
  ASSERT_EQ(0, createServiceNavigation(1, 0, &nav));
  ServiceData data;
  EXPECT_EQ(0, nav->getCurrentServiceInfo(99, kChannelAttributes, &data));
  EXPECT_EQ(nullptr, data.getAttribute(1));
  EXPECT_EQ(TVSG_ERROR_INVALID_PARAMETER,
            nav->getCurrentServiceInfo(1, kChannelAttributes, nullptr));
  EXPECT_EQ(TVSG_ERROR_INVALID_PARAMETER, nav->getTvMode(nullptr));
}

TEST_F(TvTest, LaunchingTheLastSourceSwapsItWithTheCurrentOne) {
  ASSERT_EQ(0, AppContextClient::initialize());
  ASSERT_EQ(0, AppContextClient::requestTask("last:source", "launch"));
  EXPECT_EQ(33, currentSource(0));
  EXPECT_EQ(0, get("tv.lastSource").asInt());
  // The broadcast service is no longer on screen.
  EXPECT_EQ(-1, channelType());
  ASSERT_EQ(0, AppContextClient::requestTask("last:source", "launch"));
  EXPECT_EQ(0, currentSource(0));
  EXPECT_EQ(2, channelType());
  ASSERT_EQ(0, AppContextClient::finalize());
}

TEST_F(TvTest, AppContextNeedsAConnectionAndKnownTasks) {
  unsigned int state = 0;
  EXPECT_EQ(AppContextClient::APPCONTEXT_ERROR_NOT_CONNECTED,
            AppContextClient::queryTvContextState(&state));
  EXPECT_EQ(AppContextClient::APPCONTEXT_ERROR_NOT_CONNECTED,
            AppContextClient::requestTask("last:source", "launch"));
  EXPECT_EQ(AppContextClient::APPCONTEXT_ERROR_NOT_CONNECTED, AppContextClient::finalize());
  ASSERT_EQ(0, AppContextClient::initialize());
  EXPECT_EQ(0, AppContextClient::queryTvContextState(&state));
  EXPECT_EQ(1u, state & 1u);
  EXPECT_EQ(AppContextClient::APPCONTEXT_ERROR_INVALID_PARAMETER,
            AppContextClient::queryTvContextState(nullptr));
  EXPECT_EQ(AppContextClient::APPCONTEXT_ERROR_UNKNOWN_TASK,
            AppContextClient::requestTask("last:source", "stop"));
  EXPECT_EQ(AppContextClient::APPCONTEXT_ERROR_INVALID_PARAMETER,
            AppContextClient::requestTask(nullptr, "launch"));
  EXPECT_EQ(0, currentSource(0));
  ASSERT_EQ(0, AppContextClient::finalize());
}

int32_t readInt(const unsigned char* block, size_t offset) {
  int32_t v;
  std::memcpy(&v, block + offset, sizeof v);
  return v;
}

TEST_F(TvTest, ActivityBlockHasTheSharedLayout) {
  ASSERT_TRUE(ExternalBoxClient::isSupported());
  auto block = static_cast<const unsigned char*>(ExternalBoxClient::getActivityInfo());
  ASSERT_NE(nullptr, block);
  using namespace ExternalBoxClient;
  EXPECT_EQ(2, readInt(block, 0));
  EXPECT_EQ(1, readInt(block, 8));
  EXPECT_EQ(33, readInt(block, 12));
  EXPECT_STREQ("Watch Cable Box", reinterpret_cast<const char*>(block + 16));
  EXPECT_EQ(2, readInt(block, 8 + 11852));
  EXPECT_EQ(34, readInt(block, 12 + 11852));
  EXPECT_STREQ("Play Game Console", reinterpret_cast<const char*>(block + 16 + 11852));
}

TEST_F(TvTest, NoActivityBlockWithoutExternalBoxSupport) {
  set("externalBox.supported", false);
  EXPECT_FALSE(ExternalBoxClient::isSupported());
  EXPECT_EQ(nullptr, ExternalBoxClient::getActivityInfo());
}

TEST_F(TvTest, DisabledItemsNeedAConnection) {
  using namespace AppListControlClient;
  EXPECT_EQ(APPLIST_ERROR_NOT_CONNECTED, disableItem("org.tarn.apps", "tile1"));
  ASSERT_EQ(0, initDbusConnection());
  ASSERT_EQ(0, disableItem("org.tarn.apps", "tile1"));
  ASSERT_EQ(0, disableItem("org.tarn.games", "tile2"));
  EXPECT_EQ(2u, get("appList.disabledItems").size());
  ASSERT_EQ(0, removeDisabledItemsByAppname("org.tarn.apps"));
  ASSERT_EQ(1u, get("appList.disabledItems").size());
  EXPECT_EQ("org.tarn.games", get("appList.disabledItems.0.app").asString());
  EXPECT_EQ(APPLIST_ERROR_INVALID_PARAMETER, disableItem(nullptr, "x"));
  EXPECT_EQ(APPLIST_ERROR_INVALID_PARAMETER, removeDisabledItemsByAppname(""));
  ASSERT_EQ(0, finiDbusConnection());
  EXPECT_EQ(APPLIST_ERROR_NOT_CONNECTED, finiDbusConnection());
}

TEST_F(TvTest, ScreenSaverKeepsItsArgumentsAndNeedsThePicture) {
  using namespace ScreenSaverClient;
  ASSERT_EQ(0, activate("DEFAULT", 0, 0, 2, 2));
  EXPECT_TRUE(get("screenSaver.active").asBool());
  EXPECT_EQ("DEFAULT", get("screenSaver.type").asString());
  EXPECT_EQ(2u, get("screenSaver.parameters.3").asUInt());
  ASSERT_EQ(0, deactivate());
  EXPECT_FALSE(get("screenSaver.active").asBool());
  EXPECT_EQ(0, deactivate());
  EXPECT_EQ(SCREENSAVER_ERROR_INVALID_PARAMETER, activate(nullptr, 0, 0, 2, 2));
  ASSERT_EQ(0, TvPowerClient::setDevicePowerState(TvPowerClient::POWER_STATE_STANDBY, 1));
  EXPECT_EQ(SCREENSAVER_ERROR_NOT_AVAILABLE, activate("DEFAULT", 0, 0, 2, 2));
}

}  // namespace
