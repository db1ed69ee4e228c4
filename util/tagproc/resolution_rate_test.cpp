#include "util/tagproc/resolution_rate.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/framework/cstring.h"
#include "util/serialization/stream_testing.h"
#include "util/values/value_testing.h"

using namespace stream_testing;
using value_testing::Rows;
using unit_t = CResolutionRate::_tagRESOLUTION;

namespace {

unit_t Unit(int number) { return static_cast<unit_t>(number); }

CResolutionRate Rate(std::uint32_t rate, int unit) {
  CResolutionRate made;
  EXPECT_EQ(made.SetResolutionRate(rate, Unit(unit)), 1);
  return made;
}

TEST(ResolutionRate, TakesWhatFits32BitsOfMilliseconds) {
  // Rate, unit, whether it is taken, and its milliseconds.
  for (const auto& c : Rows(R"(
      4294967295|0|1|4294967295; 4294967|1|1|4294967000; 4294968|1|0|0; 71582|2|1|4294920000; 71583|2|0|0;
      1193|3|1|4294800000; 1194|3|0|0; 49|4|1|4233600000; 50|4|0|0; 0|3|1|0; 0|-1|0|0; 5|-1|0|0; 5|5|0|0; 0|0|1|0)")) {
    SCOPED_TRACE(testing::PrintToString(c));
    const auto asked = static_cast<std::uint32_t>(std::stoul(c[0]));
    const int unit = std::stoi(c[1]);
    CResolutionRate rate = Rate(7, 2);
    EXPECT_EQ(rate.SetResolutionRate(asked, Unit(unit)), std::stoi(c[2]));
    EXPECT_EQ(CResolutionRate::GetRateInMilliseconds(asked, Unit(unit)), std::stoul(c[3]));
    std::uint32_t count = 0;
    unit_t kept{};
    EXPECT_EQ(rate.GetResolutionRate(count, kept), 1);
    EXPECT_EQ(count, c[2] == "1" ? asked : 7);
    EXPECT_EQ(kept, c[2] == "1" ? unit : 2);
    EXPECT_EQ(rate.GetRateInMilliseconds(), c[2] == "1" ? std::stoul(c[3]) : 420000);
  }
  EXPECT_EQ(CResolutionRate(), Rate(1, 1));
  EXPECT_NE(Rate(60, 1), Rate(1, 2));
}

TEST(ResolutionRate, UnitsHaveNames) {
  const char16_t* const names[] = {u"milliseconds", u"seconds", u"minutes", u"hours", u"days"};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(CString(CResolutionRate::TextFromResolution(Unit(i))), names[i]);
    EXPECT_EQ(CResolutionRate::ResolutionFromText(CString(names[i]).MakeUpper()), i);
  }
  for (const int other : {-1, 5}) EXPECT_EQ(CResolutionRate::TextFromResolution(Unit(other)), nullptr);
  for (const char16_t* text : {u"", u"weeks", static_cast<const char16_t*>(nullptr)}) {
    EXPECT_EQ(CResolutionRate::ResolutionFromText(text), -1);
  }
}

TEST(ResolutionRateFile, HasTheseBytesAndRefusesDamage) {
  const char* const hex = "01000500000002000000";
  CMemFile file;
  EXPECT_EQ(Rate(5, 2).Save(&file), 1);
  EXPECT_EQ(Hex(file.GetContent()), hex);
  file.SeekToBegin();
  CResolutionRate back;
  EXPECT_EQ(back.Load(&file), 1);
  EXPECT_EQ(back, Rate(5, 2));
  ExpectFileRefusesDamage(hex, [](CFile* damaged) {
    CResolutionRate loaded = Rate(7, 3);
    try {
      loaded.Load(damaged);
    } catch (...) {
      EXPECT_EQ(loaded, Rate(7, 3));
      throw;
    }
  });
}

}  // namespace
