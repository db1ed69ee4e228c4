#include "util/tagproc/deadband.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "util/serialization/stream_testing.h"

using namespace stream_testing;

namespace {

CDeadband Deadband(int type, double deadband, double high = 0, double low = 0) {
  CDeadband made;
  made.SetDeadbandType(type);
  made.SetDeadband(deadband);
  made.SetHighRange(high);
  made.SetLowRange(low);
  return made;
}

CVariant Real(double value) { return CVariant::FromDouble(value); }

TEST(Deadband, PassesFromItsThresholdOn) {
  const CDeadband percent = Deadband(2, 10, 200, 100), absolute = Deadband(1, 0.5), none = Deadband(0, 5, 200, 100);
  const struct {
    const CDeadband& deadband;
    CVariant a, b;
    bool passes;
  } cases[] = {
      {percent, Real(50), Real(60), true},
      {percent, Real(50), Real(59.5), false},
      {absolute, Real(1), Real(1.5), true},
      {absolute, Real(1), Real(1.4), false},
      {none, Real(1), Real(1.0000001), true},
      {none, Real(1), Real(1), false},
      {absolute, CVariant(u"abc"), CVariant(u"abd"), true},
      {absolute, CVariant::FromInt32(1), Real(1), true},
      {Deadband(2, 10, 5, 5), Real(1), Real(1.0000001), true},
      {Deadband(2, 10, 100, 200), Real(1), Real(1.0000001), true},  // a threshold below 0
      {Deadband(7, 5, 9, 1), Real(1), Real(2), true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.deadband.DeadbandPassed(c.a, c.b), c.passes)
        << c.deadband.GetThreshold() << ": " << testing::PrintToString(c.a) << " to " << testing::PrintToString(c.b);
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
  EXPECT_EQ(deadband.SetDeadband(0.5 + 1e-16), 0);
  EXPECT_EQ(deadband.GetDeadband(), 0.5);
  EXPECT_EQ(deadband.SetHighRange(std::numeric_limits<double>::infinity()), 1);
  EXPECT_EQ(deadband.SetHighRange(std::numeric_limits<double>::infinity()), 0);
  EXPECT_EQ(deadband, CDeadband(deadband)) << "infinities are equal";
  EXPECT_EQ(deadband.SetLowRange(std::nan("")), 1);
  EXPECT_EQ(deadband.SetLowRange(std::nan("")), 1);
  EXPECT_EQ(Deadband(1, 0.5), Deadband(1, 0.5 + 1e-16));
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
