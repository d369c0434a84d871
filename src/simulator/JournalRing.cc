// A record: its size, then the sequence number, the thread, the flags, the
// library and operation as counted texts, then the arguments and the result
// as packed JSON values (a type byte, then the value: 8 bytes for a number,
// a counted text, or a count of members followed by them).
#include "JournalRing.h"

#include <json/value.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tvsim {
namespace detail {

namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;
constexpr std::size_t kSizeBytes = sizeof(std::uint32_t);
constexpr std::size_t kNamesAt = kSizeBytes + 8 + 8 + 1;
enum Flags : unsigned char { kForced = 1, kSimulatorThread = 2 };
enum Tag : unsigned char { kNull, kFalse, kTrue, kInt, kUInt, kReal, kText, kArray, kObject };

template <typename T>
void put(std::string* out, T value) {
  out->append(reinterpret_cast<const char*>(&value), sizeof value);
}

void putText(std::string* out, const char* begin, const char* end) {
  put(out, static_cast<std::uint32_t>(end - begin));
  out->append(begin, end);
}

void putText(std::string* out, const std::string& text) {
  putText(out, text.data(), text.data() + text.size());
}

void putValue(std::string* out, const Json::Value& value) {
  switch (value.type()) {
    case Json::nullValue:
      out->push_back(kNull);
      return;
    case Json::booleanValue:
      out->push_back(value.asBool() ? kTrue : kFalse);
      return;
    case Json::intValue:
      out->push_back(kInt);
      put(out, value.asInt64());
      return;
    case Json::uintValue:
      out->push_back(kUInt);
      put(out, value.asUInt64());
      return;
    case Json::realValue:
      out->push_back(kReal);
      put(out, value.asDouble());
      return;
    case Json::stringValue: {
      const char* begin = nullptr;
      const char* end = nullptr;
      value.getString(&begin, &end);
      out->push_back(kText);
      putText(out, begin, end);
      return;
    }
    case Json::arrayValue:
      out->push_back(kArray);
      put(out, static_cast<std::uint32_t>(value.size()));
      for (const Json::Value& item : value) putValue(out, item);
      return;
    case Json::objectValue:
      out->push_back(kObject);
      put(out, static_cast<std::uint32_t>(value.size()));
      for (auto it = value.begin(); it != value.end(); ++it) {
        putText(out, it.name());
        putValue(out, *it);
      }
      return;
  }
}

template <typename T>
T get(const char*& at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  at += sizeof value;
  return value;
}

std::string_view getText(const char*& at) {
  const std::uint32_t size = get<std::uint32_t>(at);
  std::string_view text(at, size);
  at += size;
  return text;
}

Json::Value getValue(const char*& at) {
  switch (static_cast<Tag>(*at++)) {
    case kNull:
      return Json::Value();
    case kFalse:
      return Json::Value(false);
    case kTrue:
      return Json::Value(true);
    case kInt:
      return Json::Value(static_cast<Json::Int64>(get<std::int64_t>(at)));
    case kUInt:
      return Json::Value(static_cast<Json::UInt64>(get<std::uint64_t>(at)));
    case kReal:
      return Json::Value(get<double>(at));
    case kText: {
      const std::string_view text = getText(at);
      return Json::Value(text.data(), text.data() + text.size());
    }
    case kArray: {
      Json::Value list(Json::arrayValue);
      for (std::uint32_t n = get<std::uint32_t>(at); n > 0; --n) list.append(getValue(at));
      return list;
    }
    case kObject: {
      Json::Value object(Json::objectValue);
      for (std::uint32_t n = get<std::uint32_t>(at); n > 0; --n) {
        const std::string_view key = getText(at);
        object[std::string(key)] = getValue(at);
      }
      return object;
    }
  }
  return Json::Value();
}

std::uint32_t recordSize(const char* record) {
  std::uint32_t size;
  std::memcpy(&size, record, sizeof size);
  return size;
}

std::string_view libraryOf(const char* record) {
  const char* at = record + kNamesAt;
  return getText(at);
}

std::string_view operationOf(const char* record) {
  const char* at = record + kNamesAt;
  getText(at);
  return getText(at);
}

JournalEntry unpack(const char* record) {
  const char* at = record + kSizeBytes;
  JournalEntry entry;
  entry.seq = get<std::uint64_t>(at);
  entry.thread = static_cast<long>(get<std::int64_t>(at));
  const unsigned char flags = get<unsigned char>(at);
  entry.forced = flags & kForced;
  entry.simulatorThread = flags & kSimulatorThread;
  entry.library = std::string(getText(at));
  entry.operation = std::string(getText(at));
  entry.arguments = getValue(at);
  entry.result = getValue(at);
  return entry;
}

}  // namespace

void JournalRing::push(const JournalEntry& entry) {
  std::string& record = scratch_;
  record.clear();
  put(&record, std::uint32_t{0});
  put(&record, static_cast<std::uint64_t>(entry.seq));
  put(&record, static_cast<std::int64_t>(entry.thread));
  put(&record, static_cast<unsigned char>((entry.forced ? kForced : 0) |
                                          (entry.simulatorThread ? kSimulatorThread : 0)));
  putText(&record, entry.library);
  putText(&record, entry.operation);
  putValue(&record, entry.arguments);
  putValue(&record, entry.result);
  const std::uint32_t size = static_cast<std::uint32_t>(record.size());
  std::memcpy(&record[0], &size, sizeof size);

  if (blocks_.empty() || blocks_.back().capacity - blocks_.back().used < record.size()) {
    // A record larger than a block gets a block of its own size.
    Block block;
    block.capacity = std::max(kBlockBytes, record.size());
    block.bytes.reset(new char[block.capacity]);
    blocks_.push_back(std::move(block));
  }
  Block& last = blocks_.back();
  std::memcpy(last.bytes.get() + last.used, record.data(), record.size());
  last.used += record.size();
  ++last.count;
  ++size_;
  newestSeq_ = entry.seq;
  while (size_ > capacity_) dropOldest();
  // A record of a megabyte-sized argument must not keep its buffer for life.
  if (scratch_.capacity() > kBlockBytes) std::string().swap(scratch_);
}

void JournalRing::dropOldest() {
  Block& first = blocks_.front();
  first.begin += recordSize(first.bytes.get() + first.begin);
  --first.count;
  --size_;
  if (first.count == 0) blocks_.pop_front();
}

void JournalRing::clear() {
  blocks_.clear();
  size_ = 0;
}

void JournalRing::forEachFrom(std::size_t skip,
                              const std::function<void(const char*)>& visit) const {
  for (const Block& block : blocks_) {
    if (skip >= block.count) {
      skip -= block.count;
      continue;
    }
    std::size_t offset = block.begin;
    for (std::size_t i = 0; i < block.count; ++i) {
      const char* record = block.bytes.get() + offset;
      offset += recordSize(record);
      if (skip > 0) {
        --skip;
        continue;
      }
      visit(record);
    }
  }
}

std::vector<JournalEntry> JournalRing::newest(std::size_t count) const {
  count = std::min(count, size_);
  std::vector<JournalEntry> entries;
  entries.reserve(count);
  forEachFrom(size_ - count, [&](const char* record) { entries.push_back(unpack(record)); });
  return entries;
}

std::vector<JournalEntry> JournalRing::matching(const NameTest& wanted) const {
  std::vector<JournalEntry> found;
  forEachFrom(0, [&](const char* record) {
    if (wanted(libraryOf(record), operationOf(record))) found.push_back(unpack(record));
  });
  return found;
}

}  // namespace detail
}  // namespace tvsim
