// The root folder: device paths and path-configuration folders resolve under
// it, populated from the state; memory reports carry the real figures.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <json/reader.h>

#include "DevicePath.h"
#include "SimulatorFixture.h"
#include "tzplatform.h"

namespace fs = std::filesystem;

namespace {

using FilesTest = SimulatorTest;

std::string slurp(const std::string& path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

TEST_F(FilesTest, DevicePathsResolveUnderTheRoot) {
  const std::string root = tvsim::Simulator::root();
  ASSERT_FALSE(root.empty());
  EXPECT_TRUE(fs::is_directory(root));
  EXPECT_EQ(root + "/tmp/firstscreen_ready", platform::devicePath("/tmp/firstscreen_ready"));
  EXPECT_EQ(root + "/run/was_ready", platform::devicePath("/run/./x/../was_ready"));
  EXPECT_EQ(root + "/etc/passwd", platform::devicePath("/../../etc/passwd"));
  EXPECT_EQ("relative/path", platform::devicePath("relative/path"));
  EXPECT_EQ("", platform::devicePath(""));
  EXPECT_TRUE(fs::exists(platform::devicePath("/dev/gator/annotate")));
}

TEST_F(FilesTest, MarkersFollowTheState) {
  EXPECT_TRUE(fs::exists(platform::devicePath("/tmp/pex_ready")));
  EXPECT_TRUE(fs::exists(platform::devicePath("/run/was_ready")));
  EXPECT_FALSE(fs::exists(platform::devicePath("/tmp/firstscreen_ready")));
  set("markers.pexReady", false);
  EXPECT_FALSE(fs::exists(platform::devicePath("/tmp/pex_ready")));
}

TEST_F(FilesTest, MemoryReportsCarryTheRealFigures) {
  const std::string memfree = slurp(platform::devicePath("/proc/qd_memfree"));
  const long kb = std::strtol(memfree.c_str(), nullptr, 10);
  EXPECT_GT(kb, 0);
  const std::string stat =
      slurp(platform::devicePath("/proc/" + std::to_string(getpid()) + "/qd_memstat"));
  EXPECT_NE(std::string::npos, stat.find("VmRSS:")) << stat;
  // Refreshed when resolved: memory taken now shows in the next report.
  std::vector<char> ballast(64 * 1024 * 1024, 1);
  const std::string after =
      slurp(platform::devicePath("/proc/" + std::to_string(getpid()) + "/qd_memstat"));
  auto rss = [](const std::string& s) {
    return std::strtol(s.c_str() + s.find("VmRSS:") + 6, nullptr, 10);
  };
  EXPECT_GE(rss(after), rss(stat) + 60 * 1024) << after;
  EXPECT_EQ(1, ballast[12345]);
  EXPECT_TRUE(fs::exists(platform::devicePath("/proc/" + std::to_string(getpid()) + "/oom_adj")));
}

TEST_F(FilesTest, PathVariablesResolveUnderTheRoot) {
  const std::string root = tvsim::Simulator::root();
  EXPECT_EQ(root + "/opt/usr/media/Welcome_Movie",
            std::string(tzplatform_mkpath(9, "Welcome_Movie")));
  EXPECT_EQ(nullptr, tzplatform_mkpath(12345, "x"));
  EXPECT_EQ(nullptr, tzplatform_mkpath(9, nullptr));
}

TEST_F(FilesTest, LauncherListIsWrittenFromTheState) {
  const std::string path =
      tzplatform_mkpath(17, "owner/share/tarnapps/first_screen/localAppList.txt");
  Json::Value doc;
  std::istringstream in(slurp(path));
  std::string errors;
  ASSERT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), in, &doc, &errors)) << errors;
  ASSERT_EQ(7u, doc["data"].size());
  EXPECT_EQ("ads", doc["data"][4]["appId"].asString());
  Json::Value apps(Json::arrayValue);
  apps.append("org.tarn.games");
  set("launcher.apps", apps);
  std::istringstream again(
      slurp(tzplatform_mkpath(17, "owner/share/tarnapps/first_screen/localAppList.txt")));
  ASSERT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), again, &doc, &errors)) << errors;
  ASSERT_EQ(1u, doc["data"].size());
  EXPECT_EQ("org.tarn.games", doc["data"][0]["appId"].asString());
}

TEST_F(FilesTest, LogPolicyIsWrittenAsXml) {
  const std::string xml = slurp(tzplatform_mkpath(40, "webappservice/common/LogPolicyConfig.xml"));
  EXPECT_NE(std::string::npos, xml.find("<rsp>")) << xml;
  EXPECT_NE(std::string::npos, xml.find("<service name=\"browser\" level=\"2\">")) << xml;
  EXPECT_NE(std::string::npos, xml.find("<event enable=\"1\" id=\"1001\"/>")) << xml;
}

TEST_F(FilesTest, ManifestsPanelsAndDataAreas) {
  const std::string apps = platform::devicePath("/opt/usr/apps");
  EXPECT_NE(std::string::npos,
            slurp(apps + "/tarnapps/apps/src/config.xml").find("<ver>3.2.10</ver>"));
  EXPECT_NE(std::string::npos,
            slurp(apps + "/tarnapps/mycontents/src2/config.xml").find("<ver>1.8.0</ver>"));
  const std::string noVersion = slurp(apps + "/VCApp/music/src/config.xml");
  EXPECT_NE(std::string::npos, noVersion.find("<widget>")) << noVersion;
  EXPECT_EQ(std::string::npos, noVersion.find("<ver>")) << noVersion;
  EXPECT_TRUE(fs::exists(apps + "/weather/src/app.js"));
  EXPECT_TRUE(fs::exists(apps + "/org.tarn.weather/bin/org.tarn.weather"));
  EXPECT_TRUE(fs::exists(apps + "/music/src/app.js"));
  EXPECT_FALSE(fs::exists(apps + "/org.tarn.music/bin/org.tarn.music"));
  EXPECT_TRUE(fs::is_directory(apps + "/tarnapps/apps_temp"));
}

TEST_F(FilesTest, MovieFoldersHoldTheirFilesAndFollowTheState) {
  const std::string welcome = tzplatform_mkpath(9, "Welcome_Movie");
  EXPECT_TRUE(fs::exists(welcome + "/welcome_uhd.mp4"));
  EXPECT_TRUE(fs::exists(std::string(tzplatform_mkpath(9, "demo_movie")) + "/demo_03.mp4"));
  set("media.Welcome_Movie", Json::Value(Json::arrayValue));
  tvsim::Simulator::root();  // rewrites what changed
  EXPECT_TRUE(fs::is_directory(welcome));
  EXPECT_TRUE(fs::is_empty(welcome));
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::remove("media.demo_movie", &error)) << error;
  EXPECT_FALSE(fs::exists(std::string(tzplatform_mkpath(9, "demo_movie"))));
}

TEST_F(FilesTest, ExtraFilesOfTheState) {
  set("files[\"/opt/usr/home/owner/note.txt\"]", "hello");
  EXPECT_EQ("hello", slurp(platform::devicePath("/opt/usr/home/owner/note.txt")));
  std::string error;
  EXPECT_FALSE(tvsim::Simulator::set("files.relative", "x", &error));
  EXPECT_NE(std::string::npos, error.find("absolute")) << error;
}

}  // namespace
