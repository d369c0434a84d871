// The external set-top box (MBR) service: activities of the boxes attached
// to the set. Closed library; the activity block is a record exchanged with
// it byte for byte, so its layout is fixed below, not a C++ structure.
#pragma once

#include <cstddef>

namespace ExternalBoxClient {

// Activity block: a 32-bit signed count at offset 0, then records
// kActivityRecordSize bytes apart; record i's fields at the offsets below
// plus i * kActivityRecordSize. The name is NUL-terminated text.
constexpr size_t kActivityCountOffset = 0;
constexpr size_t kActivityRecordSize = 11852;
constexpr size_t kActivityModeOffset = 8;
constexpr size_t kActivitySourceOffset = 12;
constexpr size_t kActivityNameOffset = 16;
constexpr size_t kActivityNameCapacity = kActivityRecordSize - kActivityNameOffset;
// The block always spans this many records, whatever the count.
constexpr size_t kActivityBlockRecords = 16;
constexpr size_t kActivityBlockSize = kActivityBlockRecords * kActivityRecordSize;

// The set's layout. The same with 4- and 8-byte pointers: the block holds no pointer or long.
static_assert(kActivityRecordSize == 11852, "the set's activity records");
static_assert(kActivityModeOffset == 8 && kActivitySourceOffset == 12 && kActivityNameOffset == 16,
              "the set's activity record fields");
// The two 32-bit fields lie side by side before the name, and every record
// keeps them 4-byte aligned, as in record 0.
static_assert(kActivitySourceOffset == kActivityModeOffset + 4, "the set's activity record fields");
static_assert(kActivityNameOffset == kActivitySourceOffset + 4, "the set's activity record fields");
static_assert(kActivityRecordSize % 4 == 0 && kActivityModeOffset % 4 == 0,
              "the set's activity record fields");
// The last record's name ends where the block does.
static_assert((kActivityBlockRecords - 1) * kActivityRecordSize + kActivityNameOffset +
                      kActivityNameCapacity ==
                  kActivityBlockSize,
              "the set's activity block");
#if defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 4
// On the set size_t is 32 bits: every offset into the block is a valid
// pointer difference there (below 2^31).
static_assert(sizeof(size_t) == 4 && kActivityBlockSize <= 0x7fffffff, "the set's activity block");
#endif

// The service's activity block, or null when the service has none. The block
// belongs to the service and is rewritten by the next call.
const void* getActivityInfo();
// Whether the set supports external boxes.
bool isSupported();

}  // namespace ExternalBoxClient
