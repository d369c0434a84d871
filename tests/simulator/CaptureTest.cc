// Captures are real image files of the requested size and kind, drawn from
// what the set shows; requests that cannot be honoured write nothing.
#include <sys/stat.h>
#include <unistd.h>

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

// jpeglib.h needs size_t and FILE declared before it.
#include <jpeglib.h>
#include <png.h>

#include "DisplayCaptureClient.h"
#include "SimulatorFixture.h"

using namespace DisplayCaptureClient;
namespace fs = std::filesystem;

namespace {

struct Image {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> rgb;
  unsigned char at(int x, int y, int c) const {
    return rgb[(static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3 +
               static_cast<size_t>(c)];
  }
};

bool readPng(const std::string& path, Image* out) {
  png_image image;
  std::memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return false;
  image.format = PNG_FORMAT_RGB;
  out->width = static_cast<int>(image.width);
  out->height = static_cast<int>(image.height);
  out->rgb.resize(PNG_IMAGE_SIZE(image));
  return png_image_finish_read(&image, nullptr, out->rgb.data(), 0, nullptr) != 0;
}

struct JpegError {
  jpeg_error_mgr manager;
  jmp_buf jump;
};

bool readJpeg(const std::string& path, Image* out) {
  FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return false;
  jpeg_decompress_struct cinfo;
  JpegError error;
  cinfo.err = jpeg_std_error(&error.manager);
  error.manager.error_exit = [](j_common_ptr c) {
    longjmp(reinterpret_cast<JpegError*>(c->err)->jump, 1);
  };
  if (setjmp(error.jump)) {
    jpeg_destroy_decompress(&cinfo);
    std::fclose(file);
    return false;
  }
  jpeg_create_decompress(&cinfo);
  jpeg_stdio_src(&cinfo, file);
  jpeg_read_header(&cinfo, TRUE);
  cinfo.out_color_space = JCS_RGB;
  jpeg_start_decompress(&cinfo);
  out->width = static_cast<int>(cinfo.output_width);
  out->height = static_cast<int>(cinfo.output_height);
  out->rgb.resize(static_cast<size_t>(out->width) * static_cast<size_t>(out->height) * 3);
  while (cinfo.output_scanline < cinfo.output_height) {
    JSAMPROW row =
        &out->rgb[static_cast<size_t>(cinfo.output_scanline) * static_cast<size_t>(out->width) * 3];
    jpeg_read_scanlines(&cinfo, &row, 1);
  }
  jpeg_finish_decompress(&cinfo);
  jpeg_destroy_decompress(&cinfo);
  std::fclose(file);
  return true;
}

class CaptureTest : public SimulatorTest {
 protected:
  void SetUp() override {
    SimulatorTest::SetUp();
    // The folder is a device path; the file lands under the root folder.
    dir = "/tmp/tvsim-capture";
    std::error_code ec;
    fs::remove_all(onHost(dir), ec);
    ASSERT_TRUE(fs::create_directories(onHost(dir)));
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(onHost(dir), ec);
    SimulatorTest::TearDown();
  }
  CaptureRequest request(int comp, int width, int height, const char* name) {
    CaptureRequest r{};
    r.capture_mode = CAPTURE_MODE_VIDEO_MAIN_ONLY;
    r.comp_type = comp;
    r.jpeg_quality = 70;
    r.dir_path = dir.c_str();
    r.file_name = name;
    r.width = width;
    r.height = height;
    return r;
  }
  static std::string onHost(const std::string& devicePath) {
    return tvsim::Simulator::root() + devicePath;
  }
  size_t filesInDir() const {
    size_t n = 0;
    for (auto it = fs::directory_iterator(onHost(dir)); it != fs::directory_iterator(); ++it) ++n;
    return n;
  }
  std::string dir;
};

TEST_F(CaptureTest, PngOfTheRequestedSize) {
  CaptureRequest r = request(COMP_TYPE_PNG, 480, 270, "shot.png");
  ASSERT_EQ(0, RequestCaptureToFileSync(&r));
  EXPECT_EQ(480, r.ret_width);
  EXPECT_EQ(270, r.ret_height);
  EXPECT_EQ(dir + "/shot.png", std::string(r.ret_path));
  Image image;
  ASSERT_TRUE(readPng(onHost(r.ret_path), &image));
  EXPECT_EQ(480, image.width);
  EXPECT_EQ(270, image.height);
}

TEST_F(CaptureTest, FolderIsADevicePathUnderTheRoot) {
  CaptureRequest r = request(COMP_TYPE_PNG, 16, 9, "device.png");
  ASSERT_EQ(0, RequestCaptureToFileSync(&r));
  // ret_path names the file as the set would; the file lies under the root.
  EXPECT_EQ(dir + "/device.png", std::string(r.ret_path));
  EXPECT_TRUE(fs::is_regular_file(onHost(r.ret_path)));
  EXPECT_FALSE(fs::exists(r.ret_path));
  // A trailing slash names the same folder and the same file.
  const std::string slashed = dir + "/";
  r = request(COMP_TYPE_PNG, 16, 9, "slashed.png");
  r.dir_path = slashed.c_str();
  ASSERT_EQ(0, RequestCaptureToFileSync(&r));
  EXPECT_EQ(dir + "/slashed.png", std::string(r.ret_path));
  EXPECT_TRUE(fs::is_regular_file(onHost(r.ret_path)));
}

TEST_F(CaptureTest, JpegOfTheRequestedSizeAndQuality) {
  CaptureRequest high = request(COMP_TYPE_JPEG, 640, 360, "high.jpg");
  high.jpeg_quality = 95;
  CaptureRequest low = request(COMP_TYPE_JPEG, 640, 360, "low.jpg");
  low.jpeg_quality = 5;
  ASSERT_EQ(0, RequestCaptureToFileSync(&high));
  ASSERT_EQ(0, RequestCaptureToFileSync(&low));
  Image image;
  ASSERT_TRUE(readJpeg(onHost(high.ret_path), &image));
  EXPECT_EQ(640, image.width);
  EXPECT_EQ(360, image.height);
  ASSERT_TRUE(readJpeg(onHost(low.ret_path), &image));
  EXPECT_GT(fs::file_size(onHost(high.ret_path)), fs::file_size(onHost(low.ret_path)));
}

TEST_F(CaptureTest, PictureFollowsTheSetsState) {
  CaptureRequest r = request(COMP_TYPE_PNG, 64, 36, "a.png");
  ASSERT_EQ(0, RequestCaptureToFileSync(&r));
  Image tv;
  ASSERT_TRUE(readPng(onHost(r.ret_path), &tv));
  set("tv.currentSource", 33);
  r = request(COMP_TYPE_PNG, 64, 36, "b.png");
  ASSERT_EQ(0, RequestCaptureToFileSync(&r));
  Image hdmi;
  ASSERT_TRUE(readPng(onHost(r.ret_path), &hdmi));
  EXPECT_NE(tv.rgb, hdmi.rgb);
  set("av.videoMute", true);
  r = request(COMP_TYPE_PNG, 64, 36, "c.png");
  ASSERT_EQ(0, RequestCaptureToFileSync(&r));
  Image muted;
  ASSERT_TRUE(readPng(onHost(r.ret_path), &muted));
  for (unsigned char v : muted.rgb) ASSERT_EQ(0, v);
}

TEST_F(CaptureTest, SubOnlyIsBlackWithoutASubPicture) {
  CaptureRequest r = request(COMP_TYPE_PNG, 32, 18, "sub.png");
  r.capture_mode = CAPTURE_MODE_VIDEO_SUB_ONLY;
  ASSERT_EQ(0, RequestCaptureToFileSync(&r));
  Image image;
  ASSERT_TRUE(readPng(onHost(r.ret_path), &image));
  EXPECT_EQ(0, image.at(16, 9, 0) + image.at(16, 9, 1) + image.at(16, 9, 2));
  set("tv.subSource", 34);
  ASSERT_EQ(0, RequestCaptureToFileSync(&r));
  ASSERT_TRUE(readPng(onHost(r.ret_path), &image));
  EXPECT_GT(image.at(16, 9, 0) + image.at(16, 9, 1) + image.at(16, 9, 2), 0);
}

struct BadRequest {
  const char* what;
  void (*change)(CaptureRequest&);
  int expected;
};

TEST_F(CaptureTest, RequestsThatCannotBeHonouredWriteNothing) {
  const BadRequest cases[] = {
      {"null folder", [](CaptureRequest& r) { r.dir_path = nullptr; },
       CAPTURE_ERROR_INVALID_PARAMETER},
      {"null name", [](CaptureRequest& r) { r.file_name = nullptr; },
       CAPTURE_ERROR_INVALID_PARAMETER},
      {"name with folder", [](CaptureRequest& r) { r.file_name = "a/b.png"; },
       CAPTURE_ERROR_INVALID_PARAMETER},
      {"missing folder", [](CaptureRequest& r) { r.dir_path = "/nonexistent/tvsim"; },
       CAPTURE_ERROR_WRITE_FAILED},
      {"zero width", [](CaptureRequest& r) { r.width = 0; }, CAPTURE_ERROR_INVALID_SIZE},
      {"negative height", [](CaptureRequest& r) { r.height = -270; }, CAPTURE_ERROR_INVALID_SIZE},
      {"huge", [](CaptureRequest& r) { r.width = 100000; }, CAPTURE_ERROR_INVALID_SIZE},
      {"unknown mode", [](CaptureRequest& r) { r.capture_mode = 5; },
       CAPTURE_ERROR_INVALID_PARAMETER},
      {"negative mode", [](CaptureRequest& r) { r.capture_mode = -1; },
       CAPTURE_ERROR_INVALID_PARAMETER},
      {"unknown type", [](CaptureRequest& r) { r.comp_type = 2; }, CAPTURE_ERROR_INVALID_PARAMETER},
      {"quality 0",
       [](CaptureRequest& r) {
         r.comp_type = COMP_TYPE_JPEG;
         r.jpeg_quality = 0;
       },
       CAPTURE_ERROR_INVALID_PARAMETER},
      {"quality 101",
       [](CaptureRequest& r) {
         r.comp_type = COMP_TYPE_JPEG;
         r.jpeg_quality = 101;
       },
       CAPTURE_ERROR_INVALID_PARAMETER},
  };
  for (const auto& c : cases) {
    CaptureRequest r = request(COMP_TYPE_PNG, 48, 27, "x.png");
    c.change(r);
    EXPECT_EQ(c.expected, RequestCaptureToFileSync(&r)) << c.what;
    EXPECT_EQ(0, r.ret_width) << c.what;
    EXPECT_EQ('\0', r.ret_path[0]) << c.what;
  }
  EXPECT_EQ(0u, filesInDir());
  EXPECT_EQ(CAPTURE_ERROR_INVALID_PARAMETER, RequestCaptureToFileSync(nullptr));
}

TEST_F(CaptureTest, PathsThatDoNotFitAreRefused) {
  std::string name(250, 'n');
  CaptureRequest r = request(COMP_TYPE_PNG, 48, 27, name.c_str());
  EXPECT_EQ(CAPTURE_ERROR_PATH_TOO_LONG, RequestCaptureToFileSync(&r));
  EXPECT_EQ(0u, filesInDir());
}

TEST_F(CaptureTest, UnwritableFolderIsRefused) {
  if (geteuid() == 0) {
    // root writes anywhere; a regular file stands for an unusable folder.
    std::FILE* f = std::fopen((onHost(dir) + "/file").c_str(), "w");
    ASSERT_NE(nullptr, f);
    std::fclose(f);
    const std::string notDir = dir + "/file";
    CaptureRequest r = request(COMP_TYPE_PNG, 48, 27, "x.png");
    r.dir_path = notDir.c_str();
    EXPECT_EQ(CAPTURE_ERROR_WRITE_FAILED, RequestCaptureToFileSync(&r));
    return;
  }
  ASSERT_EQ(0, chmod(onHost(dir).c_str(), 0500));
  CaptureRequest r = request(COMP_TYPE_PNG, 48, 27, "x.png");
  EXPECT_EQ(CAPTURE_ERROR_WRITE_FAILED, RequestCaptureToFileSync(&r));
  chmod(onHost(dir).c_str(), 0700);
}

TEST_F(CaptureTest, NothingToCaptureWhileInStandby) {
  ASSERT_EQ(0, TvPowerClient::setDevicePowerState(TvPowerClient::POWER_STATE_STANDBY, 1));
  CaptureRequest r = request(COMP_TYPE_PNG, 48, 27, "x.png");
  EXPECT_EQ(CAPTURE_ERROR_NOT_AVAILABLE, RequestCaptureToFileSync(&r));
  EXPECT_EQ(0u, filesInDir());
}

TEST_F(CaptureTest, ForcedFailureWritesNothing) {
  force("RequestCaptureToFileSync", -42);
  CaptureRequest r = request(COMP_TYPE_PNG, 48, 27, "x.png");
  EXPECT_EQ(-42, RequestCaptureToFileSync(&r));
  EXPECT_EQ(0u, filesInDir());
}

}  // namespace
