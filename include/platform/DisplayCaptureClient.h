// The display capture service: writes an image of the screen or of a video
// plane to a file. Closed library, a free function in a namespace; the
// request record is exchanged with it as is (natural layout; 296 bytes where
// pointers are 4 bytes wide).
#pragma once

#include <cstddef>

namespace DisplayCaptureClient {

enum CaptureMode {
  CAPTURE_MODE_SCREEN = 0,
  CAPTURE_MODE_VIDEO = 1,
  CAPTURE_MODE_VIDEO_MAIN_ONLY = 2,
  CAPTURE_MODE_VIDEO_SUB_ONLY = 3,
  CAPTURE_MODE_ENCODER_INPUT = 4,
};

enum CompressionType { COMP_TYPE_PNG = 0, COMP_TYPE_JPEG = 1 };

enum Error {
  CAPTURE_ERROR_NONE = 0,
  CAPTURE_ERROR_INVALID_PARAMETER = -1,  // null record or path, bad mode, type or quality
  CAPTURE_ERROR_INVALID_SIZE = -2,       // width or height not in 1 .. the panel's size
  CAPTURE_ERROR_PATH_TOO_LONG = -3,      // the result would not fit ret_path
  CAPTURE_ERROR_WRITE_FAILED = -4,       // the folder is missing or not writable
  CAPTURE_ERROR_NOT_AVAILABLE = -5,      // nothing to capture (the set is off)
};

struct CaptureRequest {
  int app_type;           // in: kind of requesting application
  int capture_mode;       // in: a CaptureMode
  int comp_type;          // in: a CompressionType
  int jpeg_quality;       // in: 1..100, for JPEG only
  const char* dir_path;   // in: existing, writable folder
  const char* file_name;  // in: file name without folder
  int width;              // in: requested size in pixels
  int height;
  int ret_width;       // out: size of the image written
  int ret_height;      // out
  char ret_path[256];  // out: path of the file written
};

#if defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 4
static_assert(sizeof(CaptureRequest) == 296, "record shared with the capture service");
static_assert(offsetof(CaptureRequest, ret_path) == 40, "record shared with the capture service");
#endif

// Blocks until the file is written; fills the out fields and returns 0, or
// returns a negative Error and writes nothing.
int RequestCaptureToFileSync(CaptureRequest* request);

}  // namespace DisplayCaptureClient
