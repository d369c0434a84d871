// The journal keeps entries packed: what comes back out must be what went in,
// whatever the values, and the oldest go first once it is full.
#include <json/value.h>

#include <limits>
#include <string>
#include <vector>

#include "SimulatorFixture.h"

using tvsim::JournalEntry;
using tvsim::Simulator;

namespace {

constexpr size_t kKept = 200000;

std::vector<JournalEntry> all() { return Simulator::journal(); }

Json::Value everyKind() {
  Json::Value v(Json::arrayValue);
  v.append(Json::Value());
  v.append(true);
  v.append(false);
  v.append(Json::Int64(std::numeric_limits<Json::Int64>::min()));
  v.append(Json::UInt64(std::numeric_limits<Json::UInt64>::max()));
  v.append(-0.5);
  v.append(std::numeric_limits<double>::infinity());
  const char withNul[] = {'a', '\0', 'b'};
  v.append(Json::Value(withNul, withNul + 3));
  v.append("");
  Json::Value object(Json::objectValue);
  object["name"] = "\xc3\xa9t\xc3\xa9";
  object[""] = Json::Value(Json::arrayValue);
  object["nested"]["deeper"]["list"].append(7);
  v.append(object);
  return v;
}

}  // namespace

class JournalTest : public SimulatorTest {};

TEST_F(JournalTest, ValuesOfEveryKindComeBackAsTheyWent) {
  const Json::Value arguments = everyKind();
  const Json::Value result = Json::Value(Json::objectValue);
  Simulator::journalNote("view", "everyKind", arguments, result);
  const std::vector<JournalEntry> entries = all();
  ASSERT_EQ(1u, entries.size());
  const JournalEntry& e = entries[0];
  EXPECT_EQ("view", e.library);
  EXPECT_EQ("everyKind", e.operation);
  EXPECT_EQ(arguments, e.arguments);
  EXPECT_EQ(result, e.result);
  EXPECT_EQ(Json::intValue, e.arguments[3].type());
  EXPECT_EQ(Json::uintValue, e.arguments[4].type());
  EXPECT_EQ(3u, e.arguments[7].asString().size());
  EXPECT_FALSE(e.forced);
}

TEST_F(JournalTest, AnEntryLargerThanABlockIsKeptWhole) {
  const std::string big(300 * 1024, 'x');
  Simulator::journalNote("view", "small", Json::Value(Json::arrayValue), Json::Value(1));
  Simulator::journalNote("view", "big", Json::Value(big), Json::Value());
  Simulator::journalNote("view", "small", Json::Value(Json::arrayValue), Json::Value(2));
  const std::vector<JournalEntry> entries = all();
  ASSERT_EQ(3u, entries.size());
  EXPECT_EQ(big, entries[1].arguments.asString());
  EXPECT_EQ(2, entries[2].result.asInt());
  EXPECT_EQ(entries[0].seq + 2, entries[2].seq);
}

TEST_F(JournalTest, TheOldestGoOnceItIsFull) {
  for (size_t i = 0; i < kKept + 1500; ++i)
    Simulator::journalNote("view", "n", Json::Value(Json::UInt64(i)), Json::Value());
  const std::vector<JournalEntry> entries = all();
  ASSERT_EQ(kKept, entries.size());
  EXPECT_EQ(1500u, entries.front().arguments.asUInt64());
  EXPECT_EQ(kKept + 1499, entries.back().arguments.asUInt64());
  for (size_t i = 1; i < entries.size(); ++i) ASSERT_EQ(entries[i - 1].seq + 1, entries[i].seq);
}

TEST_F(JournalTest, SinceCountsWhatWasDroppedAndWhatWasLeftOut) {
  Simulator::journalNote("view", "first", Json::Value(), Json::Value());
  const unsigned long long first = all().front().seq;
  for (size_t i = 0; i < kKept + 10; ++i)
    Simulator::journalNote("view", "n", Json::Value(Json::UInt64(i)), Json::Value());
  unsigned long long skipped = 0;
  unsigned long long newest = 0;
  const std::vector<JournalEntry> last = Simulator::journalSince(first, 300, &skipped, &newest);
  ASSERT_EQ(300u, last.size());
  EXPECT_EQ(first + kKept + 10, newest);
  EXPECT_EQ(newest, last.back().seq);
  EXPECT_EQ(kKept + 10 - 300, skipped);
  EXPECT_EQ(kKept + 9, last.back().arguments.asUInt64());

  const std::vector<JournalEntry> none = Simulator::journalSince(newest, 300, &skipped, &newest);
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(0u, skipped);
}

TEST_F(JournalTest, ClearedThenFilledAgain) {
  Simulator::journalNote("view", "before", Json::Value(), Json::Value());
  Simulator::clearJournal();
  unsigned long long skipped = 0;
  unsigned long long newest = 0;
  EXPECT_TRUE(Simulator::journalSince(0, 10, &skipped, &newest).empty());
  EXPECT_EQ(newest, skipped);  // everything given out so far is gone
  Simulator::journalNote("view", "after", Json::Value(), Json::Value());
  const std::vector<JournalEntry> entries = all();
  ASSERT_EQ(1u, entries.size());
  EXPECT_EQ("after", entries[0].operation);
  EXPECT_EQ(newest + 1, entries[0].seq);
}

TEST_F(JournalTest, ANameUnpacksOnlyItsEntries) {
  Simulator::journalNote("view", "press", Json::Value("a"), Json::Value());
  Simulator::journalNote("engine", "press", Json::Value("b"), Json::Value());
  Simulator::journalNote("view", "other", Json::Value("c"), Json::Value());
  std::vector<JournalEntry> found;
  std::string error;
  ASSERT_TRUE(Simulator::journal("view.press", &found, &error)) << error;
  ASSERT_EQ(1u, found.size());
  EXPECT_EQ("a", found[0].arguments.asString());
  ASSERT_TRUE(Simulator::journal("press", &found, &error)) << error;
  EXPECT_EQ(2u, found.size());
  ASSERT_TRUE(Simulator::journal("view", &found, &error)) << error;
  EXPECT_EQ(2u, found.size());
}
