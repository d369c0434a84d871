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

// The set's layout, byte for byte, wherever pointers are 4 bytes (the set's
// 32-bit ARM): the service reads the record as it stands.
#if defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 4
static_assert(sizeof(CaptureRequest) == 296, "the set's capture record");
static_assert(offsetof(CaptureRequest, app_type) == 0, "the set's capture record");
static_assert(offsetof(CaptureRequest, capture_mode) == 4, "the set's capture record");
static_assert(offsetof(CaptureRequest, comp_type) == 8, "the set's capture record");
static_assert(offsetof(CaptureRequest, jpeg_quality) == 12, "the set's capture record");
static_assert(offsetof(CaptureRequest, dir_path) == 16, "the set's capture record");
static_assert(offsetof(CaptureRequest, file_name) == 20, "the set's capture record");
static_assert(offsetof(CaptureRequest, width) == 24, "the set's capture record");
static_assert(offsetof(CaptureRequest, height) == 28, "the set's capture record");
static_assert(offsetof(CaptureRequest, ret_width) == 32, "the set's capture record");
static_assert(offsetof(CaptureRequest, ret_height) == 36, "the set's capture record");
static_assert(offsetof(CaptureRequest, ret_path) == 40, "the set's capture record");
#elif defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 8
// 64-bit PC: each of the two pointers is 4 bytes wider, moving every field after it by 4.
static_assert(sizeof(CaptureRequest) == 304, "the set's record with 8-byte pointers");
static_assert(offsetof(CaptureRequest, dir_path) == 16, "the set's record with 8-byte pointers");
static_assert(offsetof(CaptureRequest, file_name) == 24, "the set's record with 8-byte pointers");
static_assert(offsetof(CaptureRequest, width) == 32, "the set's record with 8-byte pointers");
static_assert(offsetof(CaptureRequest, height) == 36, "the set's record with 8-byte pointers");
static_assert(offsetof(CaptureRequest, ret_width) == 40, "the set's record with 8-byte pointers");
static_assert(offsetof(CaptureRequest, ret_height) == 44, "the set's record with 8-byte pointers");
static_assert(offsetof(CaptureRequest, ret_path) == 48, "the set's record with 8-byte pointers");
#endif

// Blocks until the file is written; fills the out fields and returns 0, or
// returns a negative Error and writes nothing.
int RequestCaptureToFileSync(CaptureRequest* request);

}  // namespace DisplayCaptureClient
