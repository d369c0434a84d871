// The open services: configuration keys, applications, history, log, sound
// feedback, system information, the clock, and Bluetooth.
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "BtTvExtension.h"
#include "SimulatorFixture.h"
#include "aul.h"
#include "bluetooth.h"
#include "dlog.h"
#include "feedback.h"
#include "qd_time.h"
#include "rua.h"
#include "system_info.h"
#include "vconf.h"

// The bridge's setlocale off the set (linked with --wrap=setlocale).
extern "C" char* __wrap_setlocale(int category, const char* locale);

namespace {

using ServicesTest = SimulatorTest;

TEST_F(ServicesTest, VconfReadsTypedKeys) {
  int state = -1;
  ASSERT_EQ(VCONF_OK, vconf_get_int("memory/mls/state", &state));
  EXPECT_EQ(0, state);
  set("vconf[\"memory/mls/state\"]", 1);
  ASSERT_EQ(VCONF_OK, vconf_get_int("memory/mls/state", &state));
  EXPECT_EQ(1, state);
  char* version = vconf_get_str("db/tarn/homedeck_version");
  ASSERT_NE(nullptr, version);
  EXPECT_STREQ("5.1.2", version);
  free(version);
}

TEST_F(ServicesTest, VconfMissingOrMistypedKeysFail) {
  int value = 42;
  EXPECT_EQ(VCONF_ERROR, vconf_get_int("no/such/key", &value));
  EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/tarn/homedeck_version", &value));
  EXPECT_EQ(42, value);
  EXPECT_EQ(VCONF_ERROR, vconf_get_int(nullptr, &value));
  EXPECT_EQ(VCONF_ERROR, vconf_get_int("memory/mls/state", nullptr));
  EXPECT_EQ(nullptr, vconf_get_str("memory/mls/state"));
  EXPECT_EQ(nullptr, vconf_get_str(nullptr));
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::remove("vconf.db/tarn/homedeck_version", &error)) << error;
  EXPECT_EQ(nullptr, vconf_get_str("db/tarn/homedeck_version"));
  // Reads never add keys to the state.
  EXPECT_FALSE(tvsim::Simulator::state()["vconf"].isMember("no/such/key"));
}

TEST_F(ServicesTest, AulKnowsTheCallingProcess) {
  char appid[255] = {};
  char pkg[255] = {};
  ASSERT_EQ(AUL_R_OK, aul_app_get_appid_bypid(getpid(), appid, sizeof appid));
  ASSERT_EQ(AUL_R_OK, aul_app_get_pkgname_bypid(getpid(), pkg, sizeof pkg));
  EXPECT_STREQ("org.tarn.firstscreen", appid);
  EXPECT_STREQ("org.tarn.firstscreen", pkg);
  set("aul.self.package", "org.tarn.firstscreen.pkg");
  ASSERT_EQ(AUL_R_OK, aul_app_get_pkgname_bypid(getpid(), pkg, sizeof pkg));
  EXPECT_STREQ("org.tarn.firstscreen.pkg", pkg);
  EXPECT_EQ(getpid(), aul_app_get_pid("org.tarn.firstscreen"));
}

TEST_F(ServicesTest, AulRunningAppsAndStatuses) {
  const int games = aul_app_get_pid("org.tarn.games");
  EXPECT_EQ(1233, games);
  EXPECT_EQ(AUL_STATUS_VISIBLE, aul_app_get_status_bypid(games));
  EXPECT_EQ(AUL_STATUS_BG, aul_app_get_status_bypid(aul_app_get_pid("org.tarn.apps")));
  EXPECT_EQ(AUL_R_ERROR, aul_app_get_pid("org.tarn.mycontents"));
  EXPECT_EQ(AUL_R_ERROR, aul_app_get_status_bypid(-1));
  EXPECT_EQ(1, aul_app_is_running("org.tarn.apps"));
  EXPECT_EQ(0, aul_app_is_running("org.tarn.mycontents"));
  EXPECT_EQ(0, aul_app_is_running(nullptr));
}

TEST_F(ServicesTest, AulBadBuffersAreRefusedAndShortOnesCut) {
  char small[5];
  EXPECT_EQ(AUL_R_EINVAL, aul_app_get_appid_bypid(getpid(), nullptr, 10));
  EXPECT_EQ(AUL_R_EINVAL, aul_app_get_appid_bypid(getpid(), small, 0));
  ASSERT_EQ(AUL_R_OK, aul_app_get_appid_bypid(getpid(), small, sizeof small));
  EXPECT_STREQ("org.", small);
  EXPECT_EQ(AUL_R_ERROR, aul_app_get_appid_bypid(999999, small, sizeof small));
  EXPECT_EQ(AUL_R_EINVAL, aul_app_get_pid(""));
}

TEST_F(ServicesTest, RuaChangesTheHistoryInsideASession) {
  EXPECT_EQ(-1, rua_clear_history());
  EXPECT_EQ(-1, rua_fini());
  ASSERT_EQ(0, rua_init());
  ASSERT_EQ(0, rua_delete_history_with_pkgname("org.tarn.apps"));
  Json::Value history = get("rua.history");
  ASSERT_EQ(2u, history.size());
  for (const auto& entry : history) EXPECT_NE("org.tarn.apps", entry["package"].asString());
  EXPECT_EQ(-1, rua_delete_history_with_pkgname(nullptr));
  EXPECT_EQ(-1, rua_delete_history_with_pkgname(""));
  ASSERT_EQ(0, rua_clear_history());
  EXPECT_EQ(0u, get("rua.history").size());
  ASSERT_EQ(0, rua_fini());
  EXPECT_EQ(0, get("rua.sessions").asInt());
}

TEST_F(ServicesTest, DlogJournalsTheFormattedLine) {
  EXPECT_GT(__dlog_print(DLOG_WARN, "TARN", "%s: %s(%d) > %s", "file", "func", 12, "text"), 0);
  auto lines = calls("dlog", "__dlog_print");
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ(DLOG_WARN, lines[0].arguments[0].asInt());
  EXPECT_EQ("TARN", lines[0].arguments[1].asString());
  EXPECT_EQ("file: func(12) > text", lines[0].arguments[2].asString());
  EXPECT_EQ(DLOG_ERROR_INVALID_PARAMETER, __dlog_print(42, "TARN", "x"));
  EXPECT_EQ(DLOG_ERROR_INVALID_PARAMETER, __dlog_print(DLOG_INFO, "TARN", nullptr));
}

TEST_F(ServicesTest, FeedbackPlaysOnlyWhenInitialised) {
  EXPECT_EQ(FEEDBACK_ERROR_NOT_INITIALIZED, feedback_play(65));
  ASSERT_EQ(FEEDBACK_ERROR_NONE, feedback_initialize());
  ASSERT_EQ(FEEDBACK_ERROR_NONE, feedback_play(65));
  ASSERT_EQ(FEEDBACK_ERROR_NONE, feedback_play(FEEDBACK_PATTERN_NONE));
  EXPECT_EQ(FEEDBACK_ERROR_INVALID_PARAMETER, feedback_play(-7));
  EXPECT_EQ(FEEDBACK_ERROR_INVALID_PARAMETER, feedback_play(FEEDBACK_PATTERN_MAX + 1));
  Json::Value played = get("feedback.played");
  ASSERT_EQ(1u, played.size());
  EXPECT_EQ(65, played[0].asInt());
  ASSERT_EQ(FEEDBACK_ERROR_NONE, feedback_deinitialize());
  EXPECT_EQ(FEEDBACK_ERROR_NOT_INITIALIZED, feedback_deinitialize());
}

TEST_F(ServicesTest, SystemInformationByKeyAndType) {
  int resolution = 0;
  ASSERT_EQ(SYSTEM_INFO_ERROR_NONE, system_info_get_value_int(129, &resolution));
  EXPECT_EQ(1080, resolution);
  bool flag = true;
  ASSERT_EQ(SYSTEM_INFO_ERROR_NONE, system_info_get_value_bool(343, &flag));
  EXPECT_FALSE(flag);
  ASSERT_EQ(SYSTEM_INFO_ERROR_NONE, system_info_get_value_bool(319, &flag));
  EXPECT_TRUE(flag);
  resolution = 7;
  EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER, system_info_get_value_int(343, &resolution));
  EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER, system_info_get_value_int(-5, &resolution));
  EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER, system_info_get_value_int(129, nullptr));
  EXPECT_EQ(7, resolution);
}

TEST_F(ServicesTest, SetTimeOfDayKeepsTheSetsClockAndRefusesNegativeTimes) {
  ASSERT_EQ(0, qd_settimeofday(1500000000, 3, 4));
  EXPECT_EQ(1500000000, get("clock.lastSet.seconds").asInt64());
  EXPECT_EQ(3, get("clock.lastSet.arg1").asInt());
  errno = 0;
  EXPECT_EQ(-1, qd_settimeofday(-1, 0, 0));
  EXPECT_EQ(EINVAL, errno);
  EXPECT_EQ(1500000000, get("clock.lastSet.seconds").asInt64());
}

TEST_F(ServicesTest, MessageLanguageIsKeptWhetherOrNotThePcHasIt) {
  EXPECT_TRUE(get("window.language").isNull());
  const char* asked = __wrap_setlocale(LC_MESSAGES, "C");
  ASSERT_NE(nullptr, asked);
  EXPECT_STREQ("C", asked);
  EXPECT_EQ("C", get("window.language").asString());
  auto entries = calls("libc", "setlocale");
  ASSERT_EQ(1u, entries.size());
  EXPECT_EQ(LC_MESSAGES, entries[0].arguments[0].asInt());
  EXPECT_EQ("C", entries[0].arguments[1].asString());
  EXPECT_EQ("C", entries[0].result.asString());

  // No such locale on the PC: the call fails there, the set keeps the name.
  EXPECT_EQ(nullptr, __wrap_setlocale(LC_MESSAGES, "xx_NOWHERE.UTF-8"));
  EXPECT_EQ("xx_NOWHERE.UTF-8", get("window.language").asString());
  EXPECT_TRUE(calls("libc", "setlocale")[1].result.isNull());

  // A query, another category and a forced failure leave it alone.
  EXPECT_STREQ("C", __wrap_setlocale(LC_MESSAGES, nullptr));
  EXPECT_NE(nullptr, __wrap_setlocale(LC_TIME, "C"));
  force("setlocale", Json::Value());
  EXPECT_EQ(nullptr, __wrap_setlocale(LC_MESSAGES, "C"));
  EXPECT_TRUE(calls("libc", "setlocale")[4].forced);
  EXPECT_EQ("xx_NOWHERE.UTF-8", get("window.language").asString());
  EXPECT_EQ(5u, calls("libc", "setlocale").size());
}

// Devices seen by the enumeration callback, in order, with the thread.
struct Enumeration {
  std::vector<std::string> addresses;
  std::vector<std::string> names;
  std::vector<bool> connected;
  std::thread::id thread;
  int stopAfter = 100;
};

bool onDevice(bt_device_info_s* info, void* data) {
  auto* e = static_cast<Enumeration*>(data);
  e->addresses.push_back(info->remote_address);
  e->names.push_back(info->remote_name);
  e->connected.push_back(info->is_connected);
  e->thread = std::this_thread::get_id();
  return static_cast<int>(e->addresses.size()) < e->stopAfter;
}

TEST_F(ServicesTest, BondedDevicesNeedInitialisation) {
  Enumeration e;
  EXPECT_EQ(BT_ERROR_NOT_INITIALIZED, bt_adapter_foreach_bonded_device(onDevice, &e));
  EXPECT_TRUE(e.addresses.empty());
  EXPECT_EQ(BT_ERROR_NOT_INITIALIZED, bt_deinitialize());
  ASSERT_EQ(BT_ERROR_NONE, bt_initialize());
  ASSERT_EQ(BT_ERROR_NONE, bt_adapter_foreach_bonded_device(onDevice, &e));
  ASSERT_EQ(3u, e.addresses.size());
  EXPECT_EQ("A4:6C:F1:10:22:3E", e.addresses[0]);
  EXPECT_EQ("Wireless Headphones", e.names[1]);
  EXPECT_EQ("5C:F3:70:8A:01:7D", e.addresses[2]);
  EXPECT_TRUE(e.connected[0]);
  EXPECT_FALSE(e.connected[1]);
  EXPECT_EQ(std::this_thread::get_id(), e.thread);
  ASSERT_EQ(BT_ERROR_NONE, bt_deinitialize());
  EXPECT_EQ(BT_ERROR_NOT_INITIALIZED, bt_adapter_foreach_bonded_device(onDevice, &e));
}

TEST_F(ServicesTest, EnumerationStopsWhenTheCallbackSaysSo) {
  ASSERT_EQ(BT_ERROR_NONE, bt_initialize());
  Enumeration e;
  e.stopAfter = 1;
  ASSERT_EQ(BT_ERROR_NONE, bt_adapter_foreach_bonded_device(onDevice, &e));
  EXPECT_EQ(1u, e.addresses.size());
  EXPECT_EQ(BT_ERROR_INVALID_PARAMETER, bt_adapter_foreach_bonded_device(nullptr, &e));
  set("bluetooth.adapterEnabled", false);
  EXPECT_EQ(BT_ERROR_NOT_ENABLED, bt_adapter_foreach_bonded_device(onDevice, &e));
}

TEST_F(ServicesTest, DeviceReportsChangeWhatEnumerationSees) {
  ASSERT_EQ(BT_ERROR_NONE, bt_initialize());
  std::string error;
  Json::Value device(Json::objectValue);
  device["address"] = "11:22:33:44:55:66";
  device["name"] = "Keyboard";
  device["bonded"] = true;
  device["connected"] = true;
  device["vid"] = 1;
  device["pid"] = 2;
  ASSERT_TRUE(tvsim::Simulator::fire("btBonded", device, &error)) << error;
  Json::Value connection(Json::arrayValue);
  connection.append("00:1B:66:A1:B2:C3");
  connection.append(true);
  ASSERT_TRUE(tvsim::Simulator::fire("btConnection", connection, &error)) << error;
  Enumeration e;
  ASSERT_EQ(BT_ERROR_NONE, bt_adapter_foreach_bonded_device(onDevice, &e));
  ASSERT_EQ(4u, e.addresses.size());
  EXPECT_TRUE(e.connected[1]);
  EXPECT_EQ("Keyboard", e.names[3]);
  device.removeMember("vid");
  EXPECT_FALSE(tvsim::Simulator::fire("btBonded", device, &error));
  EXPECT_NE(std::string::npos, error.find("vid")) << error;
}

TEST_F(ServicesTest, VendorAndProductIdsOfBondedDevices) {
  unsigned short vid = 0;
  unsigned short pid = 0;
  ASSERT_EQ(0, BtTvExtension::GetRemoteVidPid("A4:6C:F1:10:22:3E", &vid, &pid));
  EXPECT_EQ(1256, vid);
  EXPECT_EQ(41024, pid);
  vid = pid = 0;
  EXPECT_EQ(BtTvExtension::BTEXT_ERROR_NO_DATA,
            BtTvExtension::GetRemoteVidPid("5C:F3:70:8A:01:7D", &vid, &pid));
  EXPECT_EQ(0, vid);
  EXPECT_EQ(BtTvExtension::BTEXT_ERROR_NO_DEVICE,
            BtTvExtension::GetRemoteVidPid("FF:FF:FF:FF:FF:FF", &vid, &pid));
  EXPECT_EQ(BtTvExtension::BTEXT_ERROR_INVALID_PARAMETER,
            BtTvExtension::GetRemoteVidPid(nullptr, &vid, &pid));
}

TEST_F(ServicesTest, HidCommandsSteerTheRemoteControl) {
  using namespace BtTvExtension;
  ASSERT_EQ(0, SendHidDeviceCommand(nullptr, 0, HID_COMMAND_START_ON));
  EXPECT_TRUE(get("bluetooth.hid.started").asBool());
  ASSERT_EQ(0, SendHidDeviceCommand(nullptr, 0, HID_COMMAND_SET_ON));
  EXPECT_TRUE(get("bluetooth.hid.set").asBool());
  ASSERT_EQ(0, SendHidDeviceCommand(nullptr, 0, HID_COMMAND_START_OFF));
  EXPECT_FALSE(get("bluetooth.hid.started").asBool());
  EXPECT_EQ(BTEXT_ERROR_INVALID_PARAMETER, SendHidDeviceCommand(nullptr, 0, 19));
  EXPECT_EQ(BTEXT_ERROR_INVALID_PARAMETER, SendHidDeviceCommand(nullptr, 1, 20));
  EXPECT_EQ(BTEXT_ERROR_NO_DEVICE, SendHidDeviceCommand("FF:FF:FF:FF:FF:FF", 0, 20));
}

}  // namespace
