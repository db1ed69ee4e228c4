#include "util/project/project_diff.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "util/i18n/message_exception.h"
#include "util/json/json_text.h"
#include "util/project/patch_types_testing.h"
#include "util/project/project_file.h"
#include "util/project/project_patch.h"
#include "util/properties/password.h"

namespace {

using namespace plant_testing;
using zorutil::owned_obj_ptr;
using namespace zorutil::project;

class ProjectDiff : public testing::Test {
 protected:
  const patch_testing::CTypes types_;
};

owned_obj_ptr MakePlant() {
  owned_obj_ptr plant = plant_testing::MakePlant(2, 1, 2);
  plant->SetModified(false);
  return plant;
}

template <class T>
T& At(CTableObj& root, const char16_t* path) {
  return dynamic_cast<T&>(*root.FindObject(path));
}

// What the patch makes of `a` is `b`.
void ExpectPatchCarriesOver(CTableObj& a, const CTableObj& b, const project_diff_t& diff) {
  const std::string patch = zorutil::json::WriteText(*diff.ToPatch());
  const patch_result_t result = ApplyPatch(patch, a);
  EXPECT_TRUE(result) << result.ToString() << patch;
  EXPECT_EQ(DiffTrees(a, b).ToString(), u"") << patch;
  EXPECT_TRUE(AreTreesEqual(a, b)) << patch;
}

TEST_F(ProjectDiff, TellsEveryKindOfDifferenceAndItsPatchCarriesItOver) {
  const struct {
    std::function<void(CPlant&)> change;
    const char16_t* text;
  } cases[] = {
      {[](CPlant&) {}, u""},
      {[](CPlant& p) {
         auto& tag = At<CTag>(p, u"Channel0000000.Device0000000.Tag0000000");
         tag.scanRate = 7;
         tag.rawLow = -0.0;
         tag.units = u"\"l\"\n";
         tag.initialValue = CVariant::FromInt16(0);
       },
       u"~ Plant.Channel0000000.Device0000000.Tag0000000\n    ScanRate: 100 -> 7\n    RawLow: 0.0 -> -0.0\n"
       u"    Units: \"m³/h\" -> \"\\\"l\\\"\\n\"\n    InitialValue: R8:0 -> I2:0\n"},
      {[](CPlant& p) { At<CTag>(p, u"Channel0000000.Device0000000.Tag0000000").rawLow = NAN; },
       u"~ Plant.Channel0000000.Device0000000.Tag0000000\n    RawLow: 0.0 -> NaN\n"},
      {[](CPlant& p) {
         At<CDevice>(p, u"Channel0000000.Device0000000").password = zorutil::properties::EncryptPassword(u"secret");
       },
       u"~ Plant.Channel0000000.Device0000000\n    Password: changed\n"},
      {[](CPlant& p) {
         p.SetName(u"Works");
         p.SetDescription(u"");
       },
       u"~ Plant\n    Name: \"Plant\" -> \"Works\"\n    Description: \"of the tests\" -> \"\"\n"},
      {[](CPlant& p) {
         At<CChannel>(p, u"Channel0000001").SetName(u"CHANNEL0000001");
         At<CDevice>(p, u"Channel0000001.Device0000000").SetName(u"device0000000");
         At<CTag>(p, u"Channel0000001.Device0000000.Tag0000000").SetDescription(u"new");
       },
       u"~ Plant.Channel0000001\n    Name: \"Channel0000001\" -> \"CHANNEL0000001\"\n"
       u"~ Plant.Channel0000001.Device0000000\n    Name: \"Device0000000\" -> \"device0000000\"\n"
       u"~ Plant.Channel0000001.Device0000000.Tag0000000\n    Description: \"\" -> \"new\"\n"},
      {[](CPlant& p) {
         At<CChannel>(p, u"Channel0000000").Delete();
         Add<CTag>(p.tags, u"a/b~c");
       },
       u"- Plant.Channel0000000 (Channel), with 3 objects below it\n+ Plant.a/b~c (Tag)\n"},
      {[](CPlant& p) {
         auto& tag = At<CTag>(p, u"Channel0000001.Device0000000.Tag0000001");
         tag.GetTable()->Remove(&tag);
         tag.SetName(u"Moved");
         p.tags.Insert(&tag);
         At<CDevice>(p, u"Channel0000000.Device0000000").SetName(u"D");
       },
       u"> Plant.Channel0000000.Device0000000 -> Plant.Channel0000000.D\n"
       u"> Plant.Channel0000001.Device0000000.Tag0000001 -> Plant.Moved\n"},
  };
  for (const auto& c : cases) {
    const owned_obj_ptr a = MakePlant();
    const owned_obj_ptr b = MakePlant();
    c.change(static_cast<CPlant&>(*b));
    const project_diff_t diff = DiffTrees(*a, *b);
    SCOPED_TRACE(diff.ToString());
    EXPECT_EQ(diff.ToString(), c.text);
    EXPECT_EQ(diff.IsEmpty(), AreTreesEqual(*a, *b));
    ExpectPatchCarriesOver(*a, *b, diff);
  }
}

// Two that could be either are not told as moved.
TEST_F(ProjectDiff, WhatMovedIsToldOnlyWhereItIsCertain) {
  const owned_obj_ptr a = MakePlant(), b = MakePlant();
  auto& tagsA = static_cast<CPlant&>(*a).tags;
  auto& tagsB = static_cast<CPlant&>(*b).tags;
  for (const char16_t* name : {u"1", u"2"}) Add<CTag>(tagsA, name);
  for (const char16_t* name : {u"3", u"4"}) Add<CTag>(tagsB, name);
  const project_diff_t diff = DiffTrees(*a, *b);
  EXPECT_EQ(diff.ToString(), u"- Plant.1 (Tag)\n- Plant.2 (Tag)\n+ Plant.3 (Tag)\n+ Plant.4 (Tag)\n");
  ExpectPatchCarriesOver(*a, *b, diff);
}

TEST_F(ProjectDiff, OrderOfAnUnorderedTableIsTold) {
  const struct {
    std::initializer_list<const char16_t*> before, after;
    const char16_t* text;
  } cases[] = {
      {{u"x", u"y", u"z"}, {u"x", u"y", u"z"}, u""},
      {{u"x", u"y", u"z"}, {u"y", u"z", u"x"}, u"> R.x -> R.x\n"},
      {{u"x", u"y", u"z"}, {u"z", u"x", u"y"}, u"> R.x -> R.x\n> R.y -> R.y\n"},
      {{u"x", u"y"}, {u"w", u"x", u"y"}, u"+ R.w (Step)\n> R.x -> R.x\n> R.y -> R.y\n"},
      {{u"x", u"y", u"X"}, {u"X", u"x"}, u"- R.y (Step)\n> R.x -> R.x\n"},
  };
  for (const auto& c : cases) {
    const owned_obj_ptr a = patch_testing::MakeRecipe(c.before);
    const owned_obj_ptr b = patch_testing::MakeRecipe(c.after);
    const project_diff_t diff = DiffTrees(*a, *b);
    EXPECT_EQ(diff.ToString(), c.text);
    ExpectPatchCarriesOver(*a, *b, diff);
  }
  const owned_obj_ptr a = patch_testing::MakeRecipe({u"x", u"x"}), b = patch_testing::MakeRecipe({u"x"});
  EXPECT_EQ(DiffTrees(*a, *b).ToString(), u"- R.x (Step)\n");
  EXPECT_THROW(static_cast<void>(DiffTrees(*a, *b).ToPatch()), i18n::message_exception_t);
  EXPECT_THROW(static_cast<void>(DiffTrees(*a, *MakePlant()).ToPatch()), i18n::message_exception_t);
}

}  // namespace
