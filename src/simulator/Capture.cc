// The display capture service. The simulated screen is drawn at the size
// asked for from what the set shows: the main source's picture (a pattern
// of its own per source), the sub picture, the launcher bar over it on the
// composed screen, the screen saver, and black when the picture is off or
// the video muted. Files are written with libpng and libjpeg and renamed
// into place, so a failed capture never leaves a partial file.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

// jpeglib.h needs size_t and FILE declared before it.
#include <jpeglib.h>
#include <png.h>

#include "Core.h"
#include "DisplayCaptureClient.h"
#include "TvPowerClient.h"

using namespace tvsim::detail;

namespace DisplayCaptureClient {

namespace {

struct Rgb {
  unsigned char r, g, b;
};

// What the screen shows, copied out of the state so drawing needs no lock.
struct Scene {
  bool pictureOn = true;
  bool videoMuted = false;
  int mainSource = 0;
  bool hasSub = false;
  int subSource = 0;
  std::vector<std::string> launcher;
  bool saver = false;
};

Rgb hsv(double h, double s, double v) {
  h = std::fmod(h, 360.0);
  if (h < 0) h += 360.0;
  const double c = v * s;
  const double x = c * (1 - std::fabs(std::fmod(h / 60.0, 2.0) - 1));
  const double m = v - c;
  double r = 0, g = 0, b = 0;
  if (h < 60) {
    r = c, g = x;
  } else if (h < 120) {
    r = x, g = c;
  } else if (h < 180) {
    g = c, b = x;
  } else if (h < 240) {
    g = x, b = c;
  } else if (h < 300) {
    r = x, b = c;
  } else {
    r = c, b = x;
  }
  auto to8 = [](double d) {
    return static_cast<unsigned char>(std::lround(std::min(1.0, std::max(0.0, d)) * 255));
  };
  return Rgb{to8(r + m), to8(g + m), to8(b + m)};
}

// One source's picture at normalised coordinates: bands of a hue of its own.
Rgb sourcePicture(int source, double x, double y) {
  const double hue = (source * 47) % 360 + x * 90.0;
  const double band = std::floor(x * 8.0) / 8.0;
  return hsv(hue + band * 40.0, 0.65, 0.35 + 0.55 * (1.0 - y));
}

unsigned hashOf(const std::string& s) {
  unsigned h = 2166136261u;
  for (unsigned char c : s) h = (h ^ c) * 16777619u;
  return h;
}

Rgb pixel(const Scene& scene, int mode, double x, double y) {
  const Rgb black{0, 0, 0};
  if (!scene.pictureOn) return black;
  if (mode == CAPTURE_MODE_VIDEO_SUB_ONLY) {
    return scene.hasSub && !scene.videoMuted ? sourcePicture(scene.subSource, x, y) : black;
  }
  Rgb video = scene.videoMuted ? black : sourcePicture(scene.mainSource, x, y);
  if (mode == CAPTURE_MODE_VIDEO && scene.hasSub && !scene.videoMuted && x > 0.65 && x < 0.95 &&
      y > 0.05 && y < 0.35) {
    video = sourcePicture(scene.subSource, (x - 0.65) / 0.3, (y - 0.05) / 0.3);
  }
  if (mode != CAPTURE_MODE_SCREEN) return video;
  if (scene.saver) return hsv(220 + 40 * y, 0.5, 0.15 + 0.1 * x);
  // The launcher bar: one tile per app along the bottom fifth.
  if (y > 0.8 && !scene.launcher.empty()) {
    const size_t tiles = std::min<size_t>(scene.launcher.size(), 12);
    const double slot = x * static_cast<double>(tiles);
    const size_t i = static_cast<size_t>(slot);
    const double within = slot - static_cast<double>(i);
    if (i < tiles && within > 0.08 && within < 0.92 && y > 0.83 && y < 0.97) {
      return hsv(hashOf(scene.launcher[i]) % 360, 0.55, 0.85);
    }
    return Rgb{static_cast<unsigned char>(video.r / 4), static_cast<unsigned char>(video.g / 4),
               static_cast<unsigned char>(video.b / 4)};
  }
  return video;
}

std::vector<unsigned char> render(const Scene& scene, int mode, int width, int height) {
  std::vector<unsigned char> rgb(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
  size_t k = 0;
  for (int row = 0; row < height; ++row) {
    const double y = (row + 0.5) / height;
    for (int col = 0; col < width; ++col) {
      const Rgb p = pixel(scene, mode, (col + 0.5) / width, y);
      rgb[k++] = p.r;
      rgb[k++] = p.g;
      rgb[k++] = p.b;
    }
  }
  return rgb;
}

bool writePng(FILE* file, const std::vector<unsigned char>& rgb, int width, int height) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!png) return false;
  png_infop info = png_create_info_struct(png);
  if (!info || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_init_io(png, file);
  png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
               PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (int row = 0; row < height; ++row) {
    png_write_row(png, &rgb[static_cast<size_t>(row) * static_cast<size_t>(width) * 3]);
  }
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

struct JpegError {
  jpeg_error_mgr manager;
  jmp_buf jump;
};

void jpegFailed(j_common_ptr cinfo) { longjmp(reinterpret_cast<JpegError*>(cinfo->err)->jump, 1); }

bool writeJpeg(FILE* file, const std::vector<unsigned char>& rgb, int width, int height,
               int quality) {
  jpeg_compress_struct cinfo;
  JpegError error;
  cinfo.err = jpeg_std_error(&error.manager);
  error.manager.error_exit = jpegFailed;
  if (setjmp(error.jump)) {
    jpeg_destroy_compress(&cinfo);
    return false;
  }
  jpeg_create_compress(&cinfo);
  jpeg_stdio_dest(&cinfo, file);
  cinfo.image_width = static_cast<JDIMENSION>(width);
  cinfo.image_height = static_cast<JDIMENSION>(height);
  cinfo.input_components = 3;
  cinfo.in_color_space = JCS_RGB;
  jpeg_set_defaults(&cinfo);
  jpeg_set_quality(&cinfo, quality, TRUE);
  jpeg_start_compress(&cinfo, TRUE);
  while (cinfo.next_scanline < cinfo.image_height) {
    JSAMPROW row = const_cast<JSAMPROW>(
        &rgb[static_cast<size_t>(cinfo.next_scanline) * static_cast<size_t>(width) * 3]);
    jpeg_write_scanlines(&cinfo, &row, 1);
  }
  jpeg_finish_compress(&cinfo);
  jpeg_destroy_compress(&cinfo);
  return true;
}

// What the state shows, with the mutex held; false in standby or off, when
// there is nothing to capture (the scene is then black).
bool sceneOf(const Json::Value& s, Scene* scene) {
  const int power = s["power"]["state"].asInt();
  if (power == TvPowerClient::POWER_STATE_STANDBY || power == TvPowerClient::POWER_STATE_OFF) {
    scene->pictureOn = false;
    return false;
  }
  scene->pictureOn = power == TvPowerClient::POWER_STATE_NORMAL && s["power"]["screenOn"].asBool();
  scene->videoMuted = s["av"]["videoMute"].asBool();
  scene->mainSource = s["tv"]["currentSource"].asInt();
  scene->hasSub = !s["tv"]["subSource"].isNull();
  scene->subSource = s["tv"]["subSource"].asInt();
  for (const auto& app : s["launcher"]["apps"]) scene->launcher.push_back(app.asString());
  scene->saver = s["screenSaver"]["active"].asBool();
  return true;
}

Json::Value describe(const CaptureRequest* r) {
  if (!r) return args(Json::Value());
  Json::Value v(Json::objectValue);
  v["app_type"] = r->app_type;
  v["capture_mode"] = r->capture_mode;
  v["comp_type"] = r->comp_type;
  v["jpeg_quality"] = r->jpeg_quality;
  v["dir_path"] = text(r->dir_path);
  v["file_name"] = text(r->file_name);
  v["width"] = r->width;
  v["height"] = r->height;
  return args(v);
}

}  // namespace

int RequestCaptureToFileSync(CaptureRequest* request) {
  Call call("DisplayCaptureClient", "RequestCaptureToFileSync", describe(request));
  if (auto forced = call.forcedInt()) return *forced;
  if (!request) return call.finish(static_cast<int>(CAPTURE_ERROR_INVALID_PARAMETER));
  const CaptureRequest& r = *request;
  if (r.capture_mode < CAPTURE_MODE_SCREEN || r.capture_mode > CAPTURE_MODE_ENCODER_INPUT ||
      (r.comp_type != COMP_TYPE_PNG && r.comp_type != COMP_TYPE_JPEG) ||
      (r.comp_type == COMP_TYPE_JPEG && (r.jpeg_quality < 1 || r.jpeg_quality > 100)) ||
      !r.dir_path || !*r.dir_path || !r.file_name || !*r.file_name ||
      std::strchr(r.file_name, '/') || !std::strcmp(r.file_name, ".") ||
      !std::strcmp(r.file_name, "..")) {
    return call.finish(static_cast<int>(CAPTURE_ERROR_INVALID_PARAMETER));
  }
  Scene scene;
  int panelWidth = 0;
  int panelHeight = 0;
  {
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    const Json::Value& s = core.state;
    if (!sceneOf(s, &scene)) return call.finish(static_cast<int>(CAPTURE_ERROR_NOT_AVAILABLE));
    panelWidth = s["display"]["width"].asInt();
    panelHeight = s["display"]["height"].asInt();
  }
  // A capture is at most the panel's size.
  if (r.width < 1 || r.height < 1 || r.width > panelWidth || r.height > panelHeight) {
    return call.finish(static_cast<int>(CAPTURE_ERROR_INVALID_SIZE));
  }
  std::string dir = r.dir_path;
  while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
  const std::string path = (dir == "/" ? "" : dir) + "/" + r.file_name;
  if (path.size() >= sizeof r.ret_path)
    return call.finish(static_cast<int>(CAPTURE_ERROR_PATH_TOO_LONG));
  // The folder is a device path: it lies under the root folder as every
  // other device path does, while ret_path reports it as the set would.
  std::string hostDir;
  {
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    hostDir = devicePathLocked(core, dir);
  }
  while (hostDir.size() > 1 && hostDir.back() == '/') hostDir.pop_back();
  const std::string hostPath = (hostDir == "/" ? "" : hostDir) + "/" + r.file_name;
  struct stat st;
  if (stat(hostDir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) ||
      access(hostDir.c_str(), W_OK) != 0) {
    return call.finish(static_cast<int>(CAPTURE_ERROR_WRITE_FAILED));
  }
  const std::vector<unsigned char> rgb = render(scene, r.capture_mode, r.width, r.height);
  const std::string partial = hostPath + ".partial";
  FILE* file = std::fopen(partial.c_str(), "wb");
  if (!file) return call.finish(static_cast<int>(CAPTURE_ERROR_WRITE_FAILED));
  bool written = r.comp_type == COMP_TYPE_PNG
                     ? writePng(file, rgb, r.width, r.height)
                     : writeJpeg(file, rgb, r.width, r.height, r.jpeg_quality);
  written = std::fclose(file) == 0 && written;
  if (!written || std::rename(partial.c_str(), hostPath.c_str()) != 0) {
    std::remove(partial.c_str());
    return call.finish(static_cast<int>(CAPTURE_ERROR_WRITE_FAILED));
  }
  request->ret_width = r.width;
  request->ret_height = r.height;
  std::snprintf(request->ret_path, sizeof request->ret_path, "%s", path.c_str());
  Json::Value result(Json::objectValue);
  result["status"] = static_cast<int>(CAPTURE_ERROR_NONE);
  result["ret_width"] = request->ret_width;
  result["ret_height"] = request->ret_height;
  result["ret_path"] = path;
  call.finishWith(result);
  return CAPTURE_ERROR_NONE;
}

}  // namespace DisplayCaptureClient

std::string tvsim::Simulator::screenPng(int width, int height) {
  using namespace DisplayCaptureClient;
  width = std::clamp(width, 1, 1920);
  height = std::clamp(height, 1, 1080);
  Scene scene;
  {
    Core& core = Core::instance();
    std::lock_guard<std::mutex> lock(core.mutex);
    sceneOf(core.state, &scene);
  }
  const std::vector<unsigned char> rgb = render(scene, CAPTURE_MODE_SCREEN, width, height);
  char* bytes = nullptr;
  size_t size = 0;
  FILE* memory = open_memstream(&bytes, &size);
  if (!memory) return std::string();
  const bool written = writePng(memory, rgb, width, height);
  std::fclose(memory);
  std::string png = written && bytes ? std::string(bytes, size) : std::string();
  std::free(bytes);
  return png;
}
