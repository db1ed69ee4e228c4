#include "examples/gateway/reading_feed.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "examples/readings/source_testing.h"

namespace gateway {
namespace {

class ReadingFeed : public testing::Test {
 protected:
  bool Open(const std::string& text) {
    feed_ = std::make_unique<CReadingFeed>(
        "r.csv", [text] { return std::make_unique<readings::CTextSource>(text); }, log_);
    return feed_->Open();
  }
  // How many readings each of three lanes gets.
  std::string Take(std::int64_t untilMs) {
    CReadingBatch batches[3];
    CReadingBatch* const lanes[] = {&batches[0], &batches[1], &batches[2]};
    feed_->Take(untilMs, lanes);
    std::string counts;
    for (const CReadingBatch& batch : batches) counts += std::to_string(batch.GetCount()) + " ";
    return counts;
  }

  std::ostringstream messages_;
  readings::CProblemLog log_{messages_, 10};
  std::unique_ptr<CReadingFeed> feed_;
};

constexpr const char* kText =
    "value,time,station,address,remark\n"
    "1,1970-01-01T00:00:01,10.1.1.1:502/1,40001,\n"
    "2,1970-01-01T00:00:01.5,serial 3/2,40001,\n"
    "3,1970-01-01T00:00:02,10.1.1.1:502/1,40001,x\n"
    "4,1970-01-01T00:00:02,nowhere/1,40001,\n";

TEST_F(ReadingFeed, GivesEveryLaneItsReadingsPassAfterPass) {
  ASSERT_TRUE(Open(kText)) << messages_.str();
  feed_->SetPasses(2);
  feed_->SetRoutes({{"10.1.1.1:502", 0}, {"serial 3", 1}, {"10.1.1.1:502", 2}});
  EXPECT_EQ(Take(1000), "0 0 0 ");
  EXPECT_EQ(Take(2000), "1 1 1 ");
  EXPECT_EQ(Take(2001), "1 0 1 ");
  EXPECT_EQ(feed_->GetUnrouted(), 1u);
  EXPECT_EQ(feed_->GetTime(), 3000) << "a second behind the last";
  feed_->SetRoutes({{"nowhere", 1}});
  EXPECT_EQ(Take(100'000), "0 1 0 ");
  EXPECT_TRUE(feed_->IsAtEnd());
  EXPECT_EQ(feed_->GetTime(), 4000);
  EXPECT_EQ(feed_->GetReadings(), 8u);
}

TEST_F(ReadingFeed, TellsBadLinesOnceAndGoesOn) {
  ASSERT_TRUE(Open(std::string(kText) + "5,yesterday,nowhere/1,40001,\n6,1970-01-01T00:00:03,nowhere,1,\n7,8\n"));
  feed_->SetPasses(3);
  feed_->SetRoutes({{"nowhere", 1}});
  EXPECT_EQ(Take(100'000), "0 3 0 ");
  EXPECT_EQ(messages_.str(),
            "r.csv:6:3: time 'yesterday': expected such as 2026-03-12T05:00:00.000\n"
            "r.csv:7:23: station 'nowhere': expected such as 10.1.1.20:502/3\n"
            "r.csv:8:1: 2 fields: expected 5, as in the header\n");
}

TEST_F(ReadingFeed, RefusesWhatHoldsNoReadings) {
  for (const char* text : {"", "time,station,value\n", "time,station,address,value\n", "a,\"b"}) {
    SCOPED_TRACE(text);
    EXPECT_FALSE(Open(text));
    EXPECT_NE(messages_.str(), "");
    messages_.str("");
  }
}

}  // namespace
}  // namespace gateway
