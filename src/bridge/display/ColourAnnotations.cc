// A readable grey for a background colour, profiler annotation records on the
// engine's shared annotation stream, and the renderer's atlas settings.
// Traps: the grey is computed in single precision and jumps from lightest to
// darkest at 153/154 on purpose; annotation records are a binary layout the
// profiler reads (the size field keeps only its low 16 bits); the stream is
// opened lazily by the marker and channel calls, never by the channel end,
// and never closed; every method answers its fixed value and logs nothing.
#include <cstdint>
#include <cstdio>
#include <string>

#include "AppConfig.h"
#include "DevicePath.h"
#include "QDUtilBridge.h"
#include "binding/Args.h"
#include "binding/Options.h"
#include "display/Colour.h"
#include "gator_annotate.h"

namespace Bridge {

std::uint32_t getColor(const std::string& name) {
  if (name == "red") return 0x0000FF1Bu;
  if (name == "blue") return 0xFF00001Bu;
  if (name == "green") return 0x00FF001Bu;
  if (name == "purple") return 0xFF00FF1Bu;
  if (name == "yellow") return 0x00FFFF1Bu;
  if (name == "cyan") return 0xFFFF001Bu;
  if (name == "white") return 0xFFFFFF1Bu;
  if (name == "ltgray") return 0xBBBBBB1Bu;
  if (name == "dkgray") return 0x5555551Bu;
  return 0x0000001Bu;
}

int foregroundGrey(unsigned red, unsigned green, unsigned blue) {
  const unsigned avg = (red + green + blue) / 3;
  float v;
  if (avg <= 153) {
    v = static_cast<float>(avg) / 153.0f * 102.0f + 153.0f + 0.5f;
  } else {
    v = static_cast<float>(avg - 153) / 102.0f * 66.0f + 40.0f + 0.5f;
  }
  return static_cast<int>(v);
}

namespace {

constexpr char kAnnotateDevice[] = "/dev/gator/annotate";
constexpr unsigned char kEscape = 0x1C;
constexpr unsigned char kMarker = 0x05;
constexpr unsigned char kChannel = 0x06;

// Opens the shared stream when nobody has; false when it stays closed (tried
// again on the next call).
bool annotationStream() {
  if (!gator_annotate)
    gator_annotate = std::fopen(platform::devicePath(kAnnotateDevice).c_str(), "wb");
  return gator_annotate != nullptr;
}

void putU16(unsigned char* at, std::uint16_t value) {
  at[0] = static_cast<unsigned char>(value);
  at[1] = static_cast<unsigned char>(value >> 8);
}

void putU32(unsigned char* at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<unsigned char>(value >> (8 * i));
}

// Writes all `size` bytes, or as many as the stream takes before it reports
// an end or an error. Each record is tried at least once: an error flag left
// on the shared stream by an earlier write does not silence later records.
void writeAll(const void* bytes, std::size_t size) {
  const auto* at = static_cast<const unsigned char*>(bytes);
  std::size_t done = 0;
  do {
    done += std::fwrite(at + done, 1, size - done, gator_annotate);
  } while (done < size && !std::feof(gator_annotate) && !std::ferror(gator_annotate));
}

// Size field of a coloured record: the low 16 bits of text length + 4.
std::uint16_t sizeField(std::size_t textLength) {
  return static_cast<std::uint16_t>(textLength + 4);
}

void writeText(const std::string& text) {
  if (!text.empty()) writeAll(text.data(), text.size());
}

}  // namespace

ScriptObject QDUtilBridge::HandleExtractForegroundColor(QDUtilBridge*, const ScriptArray& args) {
  const auto channel = [&args](int index) {
    return static_cast<unsigned>(args::int32IfNumber(args, index, 0)) & 0xFFu;
  };
  const int v = foregroundGrey(channel(0), channel(1), channel(2));
  ScriptObject color = ScriptObject::NewObject();
  color.set("r", v);
  color.set("g", v);
  color.set("b", v);
  ScriptObject result = ScriptObject::NewObject();
  result.set("success", true);
  result.set("color", color);
  return result;
}

ScriptObject QDUtilBridge::HandleQDAnnotateMarker(QDUtilBridge*, const ScriptArray& args) {
  if (args.Length() < 2) return true;
  if (!annotationStream()) return true;
  const std::string text = args::text(args, 1);
  const std::uint32_t colour = getColor(args::text(args, 0));
  unsigned char header[8] = {kEscape, kMarker};
  putU16(header + 2, sizeField(text.size()));
  putU32(header + 4, colour);
  writeAll(header, sizeof header);
  writeText(text);
  std::fflush(gator_annotate);
  return true;
}

ScriptObject QDUtilBridge::HandleQDAnnotateChannel(QDUtilBridge*, const ScriptArray& args) {
  if (args.Length() < 3) return true;
  if (!annotationStream()) return true;
  const std::uint32_t channel = args::uint32(args, 0);
  const std::string text = args::text(args, 2);
  const std::uint32_t colour = getColor(args::text(args, 1));
  unsigned char header[12] = {kEscape, kChannel};
  putU32(header + 2, channel);
  putU16(header + 6, sizeField(text.size()));
  putU32(header + 8, colour);
  writeAll(header, sizeof header);
  writeText(text);
  std::fflush(gator_annotate);
  return true;
}

ScriptObject QDUtilBridge::HandleQDAnnotateChannelEnd(QDUtilBridge*, const ScriptArray& args) {
  if (args.Length() < 1 || !gator_annotate) return true;
  unsigned char record[8] = {kEscape, kChannel};
  putU32(record + 2, args::uint32(args, 0));
  putU16(record + 6, 0);
  writeAll(record, sizeof record);
  std::fflush(gator_annotate);
  return true;
}

ScriptObject QDUtilBridge::HandleSetAtlasThreshold(QDUtilBridge*, const ScriptArray& args) {
  if (args.Length() < 1) return true;
  AppConfig* config = AppConfig::Instance();
  config->set_gATLAS_WIDTH(args::integer(args, 0));
  const double height = args::number(args, 1);
  // NaN compares unequal to 0, so a missing or non-numeric flag passes true.
  config->set_gATLAS_HEIGHT(height != 0);
  return true;
}

// Handlers: HandleExtractForegroundColor, HandleQDAnnotateMarker,
// HandleQDAnnotateChannel, HandleQDAnnotateChannelEnd, HandleSetAtlasThreshold.

}  // namespace Bridge
