// The engine logger: what a line carries, the threshold, and capture.
#include <gtest/gtest.h>

#include <thread>

#include "Logger.h"
#include "tarn/host/LogCapture.h"

namespace {

using tarn::util::Logger;

TEST(Logger, CaptureRecordsEveryFieldOfALine) {
  Logger logger("tarn.test.logger");
  tarn::host::LogCapture capture;
  logger.log("src/some/File", "SomeFunction", 42, 2, "a message");
  std::vector<tarn::util::LogRecord> records = capture.take();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].logger, "tarn.test.logger");
  EXPECT_EQ(records[0].level, 2);
  EXPECT_EQ(records[0].file, "src/some/File");
  EXPECT_EQ(records[0].function, "SomeFunction");
  EXPECT_EQ(records[0].line, 42);
  EXPECT_EQ(records[0].text, "a message");
  EXPECT_TRUE(capture.take().empty()) << "take() forgets what it returned";
}

TEST(Logger, CaptureSeesLevelsAboveTheThreshold) {
  int saved = Logger::threshold();
  Logger::setThreshold(tarn::util::LOG_ERROR);
  EXPECT_FALSE(Logger::isEnabled(tarn::util::LOG_DEBUG)) << "nobody wants debug lines";
  {
    tarn::host::LogCapture capture;
    EXPECT_TRUE(Logger::isEnabled(tarn::util::LOG_TRACE)) << "a capture wants every level";
    Logger("x").log("f", "g", 1, tarn::util::LOG_TRACE, "trace line");
    ASSERT_EQ(capture.records().size(), 1u);
    EXPECT_EQ(capture.records()[0].text, "trace line");
  }
  EXPECT_FALSE(Logger::isEnabled(tarn::util::LOG_DEBUG)) << "back to the threshold";
  Logger::setThreshold(saved);
}

TEST(Logger, LinesFromManyThreadsAreAllRecordedWhole) {
  tarn::host::LogCapture capture;
  Logger logger("tarn.test.threads");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&logger, t] {
      for (int i = 0; i < 250; ++i) {
        logger.log("file", "thread", t, tarn::util::LOG_TRACE, "line " + std::to_string(i));
      }
    });
  }
  for (auto& thread : threads) thread.join();
  std::vector<tarn::util::LogRecord> records = capture.take();
  ASSERT_EQ(records.size(), 1000u);
  std::vector<int> perThread(4, 0);
  for (const auto& record : records) {
    ASSERT_GE(record.line, 0);
    ASSERT_LT(record.line, 4);
    EXPECT_EQ(record.text, "line " + std::to_string(perThread[record.line]++))
        << "each thread's lines keep their order";
  }
}

}  // namespace
