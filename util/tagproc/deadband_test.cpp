#include "util/tagproc/deadband.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>

#include "platform/text/classic_locale_testing.h"
#include "util/serialization/stream_testing.h"
#include "util/values/value_testing.h"

using namespace stream_testing;
using value_testing::Rows;
using value_testing::Value;

namespace {

CDeadband Deadband(int type, double deadband, double high = 0, double low = 0) {
  CDeadband made;
  made.SetDeadbandType(type);
  made.SetDeadband(deadband);
  made.SetHighRange(high);
  made.SetLowRange(low);
  return made;
}

TEST(Deadband, PassesFromItsThresholdOn) {
  // Type, deadband, high and low range; the values, and whether the second passes.
  for (const auto& c : Rows(R"(
      2|10|200|100|r8:50|r8:60|1; 2|10|200|100|r8:50|r8:59.5|0; 1|0.5|0|0|r8:1|r8:1.5|1; 1|0.5|0|0|r8:1|r8:1.4|0;
      0|5|200|100|r8:1|r8:1.0000001|1; 0|5|200|100|r8:1|r8:1|0; 1|0.5|0|0|s:abc|s:abd|1; 1|0.5|0|0|i4:1|r8:1|1;
      2|10|5|5|r8:1|r8:1.0000001|1; 2|10|100|200|r8:1|r8:1.0000001|1; 7|5|9|1|r8:1|r8:2|1)")) {
    using classic_testing::Double;
    const CDeadband deadband = Deadband(std::stoi(c[0]), Double(c[1]), Double(c[2]), Double(c[3]));
    EXPECT_EQ(deadband.DeadbandPassed(Value(c[4]), Value(c[5])), c[6] == "1") << testing::PrintToString(c);
  }
}

TEST(Deadband, SettersTellWhatChanged) {
  CDeadband deadband;
  EXPECT_EQ(deadband, Deadband(0, 0));
  EXPECT_FALSE(deadband.IsDeadband());
  EXPECT_EQ(deadband.SetDeadbandType(2), 1);
  EXPECT_EQ(deadband.SetDeadbandType(2), 0);
  EXPECT_TRUE(deadband.IsDeadband());
  EXPECT_EQ(deadband.SetDeadband(0.5), 1);
  EXPECT_EQ(deadband.SetDeadband(0.5 + DBL_EPSILON), 0);
  EXPECT_EQ(deadband.GetDeadband(), 0.5);
  EXPECT_EQ(deadband.SetHighRange(std::numeric_limits<double>::infinity()), 1);
  EXPECT_EQ(deadband.SetHighRange(std::numeric_limits<double>::infinity()), 0);
  EXPECT_EQ(deadband, CDeadband(deadband)) << "infinities are equal";
  EXPECT_EQ(deadband.SetLowRange(std::nan("")), 1);
  EXPECT_EQ(deadband.SetLowRange(std::nan("")), 1);
  EXPECT_EQ(Deadband(1, 0.5), Deadband(1, 0.5 + DBL_EPSILON));
  EXPECT_NE(Deadband(1, 0.5), Deadband(1, 0.5 + 1e-15));
  EXPECT_NE(Deadband(1, 0.5), Deadband(2, 0.5));
}

TEST(Deadband, TypesHaveNames) {
  EXPECT_EQ(CString(CDeadband::ToString(CDeadband::NONE)), u"None");
  EXPECT_EQ(CString(CDeadband::ToString(CDeadband::ABSOLUTE)), u"Absolute");
  EXPECT_EQ(CDeadband::ToString(static_cast<CDeadband::deadband_t>(3)), nullptr);
  EXPECT_EQ(CDeadband::ToString(static_cast<CDeadband::deadband_t>(-1)), nullptr);
  EXPECT_EQ(CDeadband::FromString(u"percent"), CDeadband::PERCENT);
  EXPECT_EQ(CDeadband::FromString(u"ABSOLUTE"), CDeadband::ABSOLUTE);
  for (const char16_t* text : {u"", u"Percents", static_cast<const char16_t*>(nullptr)}) {
    EXPECT_EQ(CDeadband::FromString(text), CDeadband::NONE);
  }
}

TEST(DeadbandFile, HasTheseBytesAndRefusesDamage) {
  const char* const hex = "000002000000000000000000E03F00000000000059400000000000000040";
  const CDeadband deadband = Deadband(2, 0.5, 100, 2);
  CMemFile file;
  EXPECT_EQ(deadband.Save(&file), 1);
  EXPECT_EQ(Hex(file.GetContent()), hex);
  file.SeekToBegin();
  CDeadband back = Deadband(1, 7);
  EXPECT_EQ(back.Load(&file), 1);
  EXPECT_EQ(back, deadband);
  ExpectFileRefusesDamage(hex, [](CFile* damaged) {
    CDeadband loaded = Deadband(1, 7);
    const CDeadband before(loaded);
    try {
      loaded.Load(damaged);
    } catch (...) {
      EXPECT_EQ(loaded, before);
      throw;
    }
  });
}

}  // namespace
