// State files, paths into the state, forced results and the journal.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <json/reader.h>

#include "SimulatorFixture.h"
#include "vconf.h"

namespace fs = std::filesystem;

namespace {

class StateTest : public SimulatorTest {
 protected:
  std::string writeState(const std::string& text) {
    path = (fs::temp_directory_path() / ("tvsim-state-" + std::to_string(getpid()) + ".json"))
               .string();
    std::ofstream(path) << text;
    return path;
  }
  void TearDown() override {
    if (!path.empty()) std::remove(path.c_str());
    SimulatorTest::TearDown();
  }
  std::string load(const std::string& text) {
    std::string error;
    EXPECT_FALSE(tvsim::Simulator::loadStateFile(writeState(text), &error));
    return error;
  }
  std::string path;
};

TEST_F(StateTest, BuiltInStateIsValidAndPlausible) {
  Json::Value s = tvsim::Simulator::state();
  EXPECT_EQ(0, s["power"]["state"].asInt());
  EXPECT_GE(s["tv"]["sources"].size(), 3u);
  EXPECT_EQ(2u, s["externalBox"]["activities"].size());
  EXPECT_TRUE(s["vconf"].isMember("db/tarn/homedeck_version"));
  EXPECT_TRUE(s["systemInfo"].isMember("129"));
}

TEST_F(StateTest, StateFileLaysOverTheBuiltInState) {
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::loadStateFile(
      writeState(R"({"power": {"state": 2}, "vconf": {"memory/mls/state": 1}})"), &error))
      << error;
  EXPECT_EQ(2, get("power.state").asInt());
  EXPECT_EQ(1256, get("bluetooth.devices.0.vid").asInt());  // untouched
  int mls = 0;
  ASSERT_EQ(VCONF_OK, vconf_get_int("memory/mls/state", &mls));
  EXPECT_EQ(1, mls);
  EXPECT_EQ(TvPowerClient::POWER_STATE_STANDBY, TvPowerClient::getPowerState());
}

TEST_F(StateTest, SyntaxErrorNamesFileAndLine) {
  const std::string error = load("{\n  \"power\": {\n    \"state\": 2,\n  }\n");
  EXPECT_EQ(0u, error.find(path + ":4:3: not valid JSON: ")) << error;
}

TEST_F(StateTest, TruncatedFileIsAnError) {
  const std::string error = load("{\"power\": {\"state\": ");
  EXPECT_EQ(0u, error.find(path + ":1:21: not valid JSON: ")) << error;
}

TEST_F(StateTest, UnknownMemberIsReportedWithItsPlace) {
  const std::string error = load("{\n  \"power\": {\n    \"stat\": 2\n  }\n}\n");
  EXPECT_EQ(path +
                ":3:13: power.stat: unknown member \"stat\" (did you mean \"state\"?) (known here: "
                "state, wakeupReason, "
                "screenOn, prePower, powerKeyPressCount, bootingTime)",
            error);
}

TEST_F(StateTest, WrongTypeSaysWhatWasExpected) {
  const std::string error = load("{\"power\": {\"state\": \"standby\"}}");
  EXPECT_EQ(
      path + ":1:21: power.state: expected an integer from 0 to 3, found the text \"standby\"",
      error);
  EXPECT_EQ(0, get("power.state").asInt());  // unchanged
}

TEST_F(StateTest, PartialListElementIsAnError) {
  const std::string error = load(R"({"tv": {"sources": [{"id": 0, "name": "TV"}]}})");
  EXPECT_NE(std::string::npos, error.find("tv.sources[0]: missing member \"status\"")) << error;
}

TEST_F(StateTest, InconsistentStateIsAnError) {
  const std::string error = load(R"({"tv": {"currentSource": 77}})");
  EXPECT_EQ(path + ": tv.currentSource: source 77 is not in tv.sources", error);
}

TEST_F(StateTest, MissingFileAndNonObjectTop) {
  std::string error;
  EXPECT_FALSE(tvsim::Simulator::loadStateFile("/nonexistent/state.json", &error));
  EXPECT_EQ("/nonexistent/state.json: cannot open the state file", error);
  error = load("[1, 2]");
  EXPECT_NE(std::string::npos, error.find("expected a JSON object at the top")) << error;
}

TEST_F(StateTest, PathsReadAndWriteAnyValue) {
  EXPECT_EQ(33, get("tv.sources[1].id").asInt());
  EXPECT_EQ(33, get("tv.sources.1.id").asInt());
  EXPECT_EQ("5.1.2", get("vconf[\"db/tarn/homedeck_version\"]").asString());
  set("tv.sources.1.status", 0);
  EXPECT_EQ(0, get("tv.sources[1].status").asInt());
  Json::Value power(Json::objectValue);
  power["wakeupReason"] = 9;
  set("power", power);  // objects lay over
  EXPECT_EQ(9, get("power.wakeupReason").asInt());
  EXPECT_TRUE(get("power.screenOn").asBool());
}

TEST_F(StateTest, BadSetsAreRefusedAndChangeNothing) {
  std::string error;
  EXPECT_FALSE(tvsim::Simulator::set("power.state", 9, &error));
  EXPECT_EQ("set: power.state: expected an integer from 0 to 3, found the number 9", error);
  EXPECT_FALSE(tvsim::Simulator::set("power.nothing", 1, &error));
  EXPECT_EQ("power.nothing: no such member", error);
  EXPECT_FALSE(tvsim::Simulator::set("tv.sources.99", 1, &error));
  EXPECT_FALSE(tvsim::Simulator::set("tv.lastSource", 555, &error));
  EXPECT_NE(std::string::npos, error.find("not in tv.sources")) << error;
  EXPECT_FALSE(tvsim::Simulator::set("power[", 1, &error));
  EXPECT_FALSE(tvsim::Simulator::remove("power.state", &error));
  EXPECT_EQ(tvsim::Simulator::defaultStateText().size() > 0, true);
  Json::Value fresh;
  std::istringstream in(tvsim::Simulator::defaultStateText());
  ASSERT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), in, &fresh, &error)) << error;
  EXPECT_EQ(fresh, tvsim::Simulator::state());
}

TEST_F(StateTest, ForcingChecksTheOperationAndTheKindOfResult) {
  std::string error;
  EXPECT_FALSE(tvsim::Simulator::forceResult("NoSuch.thing", 1, &error));
  EXPECT_EQ("unknown operation 'NoSuch.thing'", error);
  EXPECT_FALSE(tvsim::Simulator::forceResult("vconf_get_str", 5, &error));
  EXPECT_EQ("result of vconf_get_str must be a text or null", error);
  ASSERT_TRUE(tvsim::Simulator::forceResult("vconf_get_str", "9.9.9", &error)) << error;
  ASSERT_TRUE(tvsim::Simulator::forceResult("vconf.vconf_get_str", Json::Value(), &error)) << error;
  char* first = vconf_get_str("db/tarn/homedeck_version");
  ASSERT_NE(nullptr, first);
  EXPECT_STREQ("9.9.9", first);
  free(first);
  EXPECT_EQ(nullptr, vconf_get_str("db/tarn/homedeck_version"));
  char* third = vconf_get_str("db/tarn/homedeck_version");
  ASSERT_NE(nullptr, third);
  EXPECT_STREQ("5.1.2", third);
  free(third);
}

TEST_F(StateTest, EveryOperationCanBeForced) {
  const auto operations = tvsim::Simulator::operations();
  EXPECT_GE(operations.size(), 60u);
  std::string error;
  for (const auto& op : operations) {
    const bool accepted = tvsim::Simulator::forceResult(op, 0, &error) ||
                          tvsim::Simulator::forceResult(op, false, &error) ||
                          tvsim::Simulator::forceResult(op, Json::Value(), &error);
    EXPECT_TRUE(accepted) << op << ": " << error;
  }
}

TEST_F(StateTest, JournalRecordsArgumentsResultAndThreadAndIsWritten) {
  int value = 0;
  vconf_get_int("memory/mls/state", &value);
  vconf_get_int(nullptr, &value);
  auto entries = calls("vconf", "vconf_get_int");
  ASSERT_EQ(2u, entries.size());
  EXPECT_EQ("memory/mls/state", entries[0].arguments[0].asString());
  EXPECT_EQ(VCONF_OK, entries[0].result.asInt());
  EXPECT_TRUE(entries[1].arguments[0].isNull());
  EXPECT_EQ(VCONF_ERROR, entries[1].result.asInt());
  EXPECT_LT(entries[0].seq, entries[1].seq);
  EXPECT_EQ(static_cast<long>(gettid()), entries[0].thread);

  const std::string out =
      (fs::temp_directory_path() / ("tvsim-journal-" + std::to_string(getpid()))).string();
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::writeJournal(out, &error)) << error;
  std::ifstream in(out);
  std::string line;
  int lines = 0;
  while (std::getline(in, line)) {
    Json::Value v;
    std::istringstream s(line);
    ASSERT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), s, &v, &error)) << line;
    EXPECT_TRUE(v.isMember("library") && v.isMember("operation") && v.isMember("thread"));
    ++lines;
  }
  EXPECT_EQ(static_cast<int>(tvsim::Simulator::journal().size()), lines);
  std::remove(out.c_str());
  EXPECT_FALSE(tvsim::Simulator::writeJournal("/nonexistent/dir/journal", &error));
}

TEST_F(StateTest, UnknownEventsAndBadArgumentsAreRefused) {
  std::string error;
  EXPECT_FALSE(tvsim::Simulator::fire("earthquake", Json::Value(), &error));
  EXPECT_NE(std::string::npos, error.find("unknown event")) << error;
  EXPECT_EQ(error,
            "fire earthquake: unknown event (known: wakeup, powerOff, powerState, powerKey, "
            "btConnection, btBonded, sourceStatus)");
  EXPECT_FALSE(tvsim::Simulator::fire("powerState", Json::Value(9), &error));
  EXPECT_EQ(error, "fire powerState: expected a state from 0 to 3");
  EXPECT_FALSE(tvsim::Simulator::fire("sourceStatus", Json::Value(1), &error));
  EXPECT_EQ(error,
            "fire sourceStatus: expected a source and a status (integers, status 0 or more)");
  EXPECT_FALSE(tvsim::Simulator::fire("btConnection", Json::Value("00:00"), &error));
  EXPECT_EQ(error, "fire btConnection: expected an address and true or false");
}

}  // namespace

namespace {

TEST_F(StateTest, IntegersOutsideWhatThePlatformReadsAreRefused) {
  std::string error;
  EXPECT_FALSE(tvsim::Simulator::set("power.wakeupReason", Json::Int64(1) << 40, &error));
  EXPECT_EQ("set: power.wakeupReason: expected an integer, found the number 1099511627776", error);
  EXPECT_FALSE(tvsim::Simulator::set("tv.channel.attributes.1", 3.5, &error));
  EXPECT_EQ("set: tv.channel.attributes.1: expected an integer, found the number 3.5", error);
  ASSERT_TRUE(tvsim::Simulator::set("power.bootingTime", Json::UInt(4000000000u), &error)) << error;
  EXPECT_EQ(1, TvPowerClient::getWakeupReason());
}

// A `files` entry cannot take the place of a folder the set has: its
// sections' folders and the folders above them, the folders above another
// entry. A file inside one, or where a section's folder was removed, can.
TEST_F(StateTest, FilesCannotReplaceTheSetsFolders) {
  // Loaded first: the expected text names the file the load writes.
  std::string loaded = load(R"({"files": {"/opt/usr/apps": "text"}})");
  EXPECT_EQ(path +
                ": files[\"/opt/usr/apps\"]: \"/opt/usr/apps\" is a folder of the set; "
                "expected the path of a file",
            loaded);
  std::string error;
  for (const char* folder :
       {"/opt", "/opt/usr/apps/tarnapps/apps", "/opt/usr/apps/tarnapps/apps/src",
        "/opt/usr/apps/firstscreen_temp", "/opt/usr/media/demo_movie", "/opt/etc/webappservice",
        "/opt/usr/apps/weather/src", "/tmp", "/proc"}) {
    EXPECT_FALSE(tvsim::Simulator::set(std::string("files[\"") + folder + "\"]", "x", &error))
        << folder;
    EXPECT_NE(std::string::npos,
              error.find(std::string("\"") + folder + "\" is a folder of the set"))
        << error;
  }
  ASSERT_TRUE(tvsim::Simulator::set("files[\"/tmp/a/b.txt\"]", "x", &error)) << error;
  EXPECT_FALSE(tvsim::Simulator::set("files[\"/tmp/a\"]", "x", &error));
  EXPECT_NE(std::string::npos, error.find("\"/tmp/a\" is a folder of the set")) << error;
  EXPECT_TRUE(
      tvsim::Simulator::set("files[\"/opt/usr/apps/tarnapps/apps/src/config.xml\"]", "x", &error))
      << error;
  ASSERT_TRUE(tvsim::Simulator::remove("media.demo_movie", &error)) << error;
  EXPECT_TRUE(tvsim::Simulator::set("files[\"/opt/usr/media/demo_movie\"]", "x", &error)) << error;
  // A folder entry at the same path wins over the file, as before.
  Json::Value folders(Json::arrayValue);
  folders.append("/tmp/a/b.txt");
  EXPECT_TRUE(tvsim::Simulator::set("folders", folders, &error)) << error;
}

// Log-policy attribute names are written as they are: each must be an XML
// name.
TEST_F(StateTest, LogPolicyNamesAreXmlNames) {
  std::string loaded =
      load(R"({"logPolicy": {"services": [{"attributes": {"a<b": "1"}, "events": []}]}})");
  EXPECT_EQ(path + ": logPolicy.services[0].attributes: \"a<b\" is not an XML attribute name",
            loaded);
  std::string error;
  for (const char* name : {"a&b", "x\"y", "1st", "-x", "a b", "a=b", "a>", "a'b", "a;b"}) {
    EXPECT_FALSE(tvsim::Simulator::set(
        std::string("logPolicy.services[0].events[0][\"") + name + "\"]", "1", &error))
        << name;
  }
  EXPECT_EQ(
      "set logPolicy.services[0].events[0][\"a;b\"]: logPolicy.services[0].events[0]: "
      "\"a;b\" is not an XML attribute name",
      error);
  for (const char* name : {"level", "x-y.z_1", "_a", "ns:attr", "nivå"}) {
    EXPECT_TRUE(tvsim::Simulator::set(
        std::string("logPolicy.services[1].attributes[\"") + name + "\"]", "1", &error))
        << name << ": " << error;
  }
}

}  // namespace
