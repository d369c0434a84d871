// The capture request record is shared with the closed capture service. On
// the set (4-byte pointers) it is 296 bytes with ret_path at 40; on this PC
// the platform declaration may differ from that layout only where the two
// pointers widen, by the same amount for every later field.
#include <gtest/gtest.h>

#include <cstddef>

#include "DisplayCaptureClient.h"

namespace {

using DisplayCaptureClient::CaptureRequest;

struct Field {
  const char* name;
  std::size_t offset;        // in the platform declaration on this machine
  std::size_t targetOffset;  // on the set
  int pointersBefore;        // pointer fields that precede it
};

TEST(CaptureRecordTest, DiffersFromTheSetsLayoutOnlyByWiderPointers) {
  const std::size_t widen = sizeof(const char*) - 4;
  const Field fields[] = {
      {"app_type", offsetof(CaptureRequest, app_type), 0, 0},
      {"capture_mode", offsetof(CaptureRequest, capture_mode), 4, 0},
      {"comp_type", offsetof(CaptureRequest, comp_type), 8, 0},
      {"jpeg_quality", offsetof(CaptureRequest, jpeg_quality), 12, 0},
      {"dir_path", offsetof(CaptureRequest, dir_path), 16, 0},
      {"file_name", offsetof(CaptureRequest, file_name), 20, 1},
      {"width", offsetof(CaptureRequest, width), 24, 2},
      {"height", offsetof(CaptureRequest, height), 28, 2},
      {"ret_width", offsetof(CaptureRequest, ret_width), 32, 2},
      {"ret_height", offsetof(CaptureRequest, ret_height), 36, 2},
      {"ret_path", offsetof(CaptureRequest, ret_path), 40, 2},
  };
  for (const Field& f : fields) {
    EXPECT_EQ(f.targetOffset + static_cast<std::size_t>(f.pointersBefore) * widen, f.offset)
        << f.name;
  }
  EXPECT_EQ(256u, sizeof(CaptureRequest{}.ret_path));
  EXPECT_EQ(296u + 2 * widen, sizeof(CaptureRequest));
  EXPECT_EQ(4u, sizeof(CaptureRequest{}.width));
}

}  // namespace
