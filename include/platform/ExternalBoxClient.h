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

// The service's activity block, or null when the service has none. The block
// belongs to the service and is rewritten by the next call.
const void* getActivityInfo();
// Whether the set supports external boxes.
bool isSupported();

}  // namespace ExternalBoxClient
