// The journal's kept entries, packed one after another into blocks of 64 KiB
// and dropped oldest first. An entry held as a record of its own (two texts
// and two JSON trees, some ten blocks of the allocator each) costs about 575
// bytes, and a long run that keeps turning the journal over leaves the
// allocator's heap full of holes no later block fits; packed, an entry takes
// about a fifth of that and whole blocks go back at once. Not thread-safe:
// the journal's mutex guards it.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tvsim/Simulator.h"

namespace tvsim {
namespace detail {

class JournalRing {
 public:
  explicit JournalRing(std::size_t capacity) : capacity_(capacity) {}

  // Keeps `entry`, dropping the oldest once more than the capacity are kept.
  // Entries come in rising sequence numbers, one apart.
  void push(const JournalEntry& entry);
  void clear();
  std::size_t size() const { return size_; }
  // The newest entry's sequence number; 0 when none is kept.
  unsigned long long newestSeq() const { return size_ ? newestSeq_ : 0; }

  // Every kept entry, oldest first.
  std::vector<JournalEntry> all() const { return newest(size_); }
  // The newest `count` entries (all when fewer are kept), oldest first.
  std::vector<JournalEntry> newest(std::size_t count) const;
  // The entries whose library and operation `wanted` answers true for,
  // oldest first; only those are unpacked.
  using NameTest = std::function<bool(std::string_view library, std::string_view operation)>;
  std::vector<JournalEntry> matching(const NameTest& wanted) const;

 private:
  struct Block {
    std::unique_ptr<char[]> bytes;
    std::size_t capacity = 0;
    std::size_t used = 0;   // bytes written
    std::size_t begin = 0;  // offset of the oldest kept record
    std::size_t count = 0;  // records kept
  };

  void dropOldest();
  // Calls `visit` with each kept record from the `skip`-th on, oldest first.
  void forEachFrom(std::size_t skip, const std::function<void(const char*)>& visit) const;

  std::size_t capacity_;
  std::size_t size_ = 0;
  unsigned long long newestSeq_ = 0;
  std::deque<Block> blocks_;
  std::string scratch_;  // the record being packed; kept to reuse its buffer
};

}  // namespace detail
}  // namespace tvsim
