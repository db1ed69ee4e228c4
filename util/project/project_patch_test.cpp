#include "util/project/project_patch.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/framework/allocation_testing.h"
#include "util/i18n/localized_resource.h"
#include "util/json/json_text.h"
#include "util/objects/tree_invariants_testing.h"
#include "util/project/patch_types_testing.h"
#include "util/project/project_diff.h"
#include "util/project/project_file.h"

namespace {

using patch_testing::CRecipe;
using patch_testing::CStep;
using patch_testing::Expand;
using patch_testing::MakePlant;
using patch_testing::Patch;
using namespace plant_testing;
using zorutil::owned_obj_ptr;
using zorutil::ref_counted_obj_ptr;
using namespace zorutil::project;

class ProjectPatch : public testing::Test {
 protected:
  const patch_testing::CTypes types_;
};

std::vector<std::byte> ContentOf(const CTableObj& root) { return WriteProject(root, form_t::BINARY); }

TEST_F(ProjectPatch, OperationsDoWhatTheySay) {
  const struct {
    const char* patch;
    const char16_t* difference;
  } cases[] = {
      {"[]", u""},
      {"replace $/Tags/T0/ScanRate 250", u"~ Plant.C0.D.T0\n    ScanRate: 100 -> 250\n"},
      {"add $/Tags/T0/ScanRate 250; remove $/Tags/T0/ScanRate", u""},
      {"copy $/Tags/T0/Address /Tags/P/Units", u"~ Plant.P\n    Units: \"\" -> \"C0\"\n"},
      {"move $/Tags/T0/Address /Tags/P/Description",
       u"~ Plant.C0.D.T0\n    Address: \"C0\" -> \"\"\n~ Plant.P\n    Description: \"of all\" -> \"C0\"\n"},
      {"remove /Tags/P/Description; test /Tags/P/Description ''", u"~ Plant.P\n    Description: \"of all\" -> \"\"\n"},
      {"replace /Name 'Works'; replace $/Name 'd'",
       u"~ Plant\n    Name: \"Plant\" -> \"Works\"\n~ Plant.C0.D\n    Name: \"D\" -> \"d\"\n"},
      // Two names change places, and one comes back.
      {"move $/Tags/T0 $/Tags/x; move $/Tags/T1 $/Tags/T0; move $/Tags/x $/Tags/T1; replace $/Tags/T1/Address 'was 0'",
       u"~ Plant.C0.D.T0\n    Writable: true -> false\n~ Plant.C0.D.T1\n    Address: \"C0\" -> \"was 0\"\n"
       u"    Writable: false -> true\n"},
      {"move /Tags/P $/Tags/P; move $/Tags/P /Tags/P", u""},
      // New objects are addressed like others; a record may leave what is removed.
      {"add /Channels/N {'Type':'Channel'}; test /Channels/N {'Type':'Channel','Priority':0.0,'Medium':0}; add "
       "/Channels/N/Devices/D {'Type':'Device','Tags':{'a':{'Type':'Tag'}}}; move /Channels/N/Devices/D/Tags/a "
       "/Channels/N/Devices/D/Tags/b; move /Tags/P /Channels/N/Devices/D/Tags/P; test "
       "/Channels/N/Devices/D/Tags/b/ScanRate 100; move $/Tags/T1 /Tags/Saved; remove /Channels/C0",
       u"- Plant.C0 (Channel), with 3 objects below it\n+ Plant.N (Channel), with 3 objects below it\n"
       u"- Plant.P (Tag)\n+ Plant.Saved (Tag)\n"},
      {"copy $ /Channels/C1/Devices/E; remove /Channels/C1/Devices/E/Tags/T0",
       u"+ Plant.C1.E (Device), with 1 object below it\n"},
      {"copy $/Tags/T0 /Channels/C1/Devices/D/Tags/T1",
       u"~ Plant.C1.D.T1\n    Address: \"C1\" -> \"C0\"\n    Writable: false -> true\n"},
      // Whole tables.
      {"replace $/Tags {'T1':{'Type':'Tag','Address':'C0','Writable':false},'N':{'Type':'Tag'}}",
       u"+ Plant.C0.D.N (Tag)\n- Plant.C0.D.T0 (Tag)\n"},
      {"remove $/Tags; test $/Tags {}; add $/Tags/T0 {'Type':'Tag','Address':'C0'}", u"- Plant.C0.D.T1 (Tag)\n"},
      {"move $/Tags /Tags", u"- Plant.P (Tag)\n> Plant.C0.D.T0 -> Plant.T0\n> Plant.C0.D.T1 -> Plant.T1\n"},
      {"add $/Devices/Sub {'Type':'Device'}; move /Channels/C1/Devices/D $/Devices/Sub/Devices/D",
       u"+ Plant.C0.D.Sub (Device), with 3 objects below it\n- Plant.C1.D (Device), with 2 objects below it\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.patch);
    const owned_obj_ptr before = MakePlant();
    const owned_obj_ptr plant = MakePlant();
    const patch_result_t check = ApplyPatch(Patch(c.patch), *plant, {.isCheck = true});
    EXPECT_TRUE(check) << check.ToString();
    EXPECT_EQ(ContentOf(*plant), ContentOf(*before));
    const patch_result_t result = ApplyPatch(Patch(c.patch), *plant);
    EXPECT_TRUE(result) << result.ToString();
    EXPECT_EQ(result.added, check.added);
    EXPECT_EQ(DiffTrees(*before, *plant).ToString(), c.difference);
    EXPECT_EQ(tree_testing::FindBroken(*plant), "");
    // The way back is a patch, too.
    const patch_result_t back = ApplyPatch(*DiffTrees(*plant, *before).ToPatch(), *plant);
    EXPECT_TRUE(back) << back.ToString();
    EXPECT_TRUE(AreTreesEqual(*plant, *before)) << DiffTrees(*plant, *before).ToString();
  }
}

TEST_F(ProjectPatch, ErrorsNameOperationPathAndCauseAndChangeNothing) {
  const struct {
    const char* patch;
    const char* text;
  } cases[] = {
      {"{}", "A patch is a list of operations.\n"},
      {"[{'op':", "line 1, column 8: the text ends too early\n"},
      {"[5,{'path':'/Name'},{'op':'put','path':'/a'},{'op':'add','path':'a'},{'op':'add','path':'/Name'},"
       "{'op':'move','path':'/Name','from':'~'}]",
       "Operation 1: An operation of a patch is an object.\nOperation 2, /Name: The operation needs a text 'op'.\n"
       "Operation 3, /a: There is no operation 'put', only add, remove, replace, move, copy and test.\n"
       "Operation 4, a: 'a' is no JSON pointer.\nOperation 5, /Name: The operation needs a 'value'.\n"
       "Operation 6, /Name: '~' is no JSON pointer.\n"},
      // One error does not hide another, but what follows from it is not told.
      {"replace $/Tags/T0/ScanRate -1; replace $/Tags/T0/ScanRate/x 1; replace $/Retries 11; replace $/Port 'x'; "
       "remove /Tags/Q; remove /Tags/p; remove /Tag/P",
       "Operation 1, $/Tags/T0/ScanRate: The setting 'ScanRate' takes values from 0 to 4294967295.\n"
       "Operation 3, $/Retries: The setting 'Retries' cannot have this value.\n"
       "Operation 4, $/Port: The setting 'Port' cannot have a value of this kind.\n"
       "Operation 5, /Tags/Q: There is no object 'Q'.\nOperation 6, /Tags/p: There is no object 'p'.\n"
       "Operation 7, /Tag/P: An object of the type 'Plant' has no 'Tag'.\n"},
      {"replace /Tags/P/ScanRate/x 1", "Operation 1, /Tags/P/ScanRate/x: Nothing lies inside 'ScanRate'.\n"},
      {"test /Title 'x'; remove /x", "Operation 1, /Title: The value is another one.\n"},
      {"[{'op':'remove','path':''}]",
       "Operation 1: The object at the top can be neither added, replaced, removed nor moved.\n"},
      {"move $ $/Devices/D", "Operation 1, $: An object cannot be moved into itself.\n"},
      {"move /Channels/C1/Devices/D $/Devices/E; move $ $/Devices/E/Devices/F",
       "Operation 2, $: An object cannot be moved into itself.\n"},
      {"add $/Tags/t0 {'Type':'Tag'}; move /Tags/P /Channels/X; add /Tags/a.b {'Type':'Tag'}; add /Tags/Q "
       "{'Type':'Device'}",
       "Operation 1, $/Tags/t0: The name 't0' is taken already. Letter case does not count.\n"
       "Operation 2, /Channels/X: Objects of the type 'Tag' cannot stand in 'Channels'.\n"
       "Operation 3, /Tags/a.b: The object name 'a.b' is not valid.\n"
       "Operation 4, /Tags/Q: Objects of the type 'Device' cannot stand in 'Tags'.\n"},
      {"add $/Devices/S {'Type':'Device','Retries':0,'Tags':{'a':{'Type':'Tag','x':1},'A':{}}}",
       "Operation 1, $/Devices/S: The setting 'Retries' cannot have this value.\n"
       "Operation 1, $/Devices/S: S.a: An object of the type 'Tag' has no 'x'.\n"
       "Operation 1, $/Devices/S: S.A: The type of the object is missing.\n"},
      {"replace $/Type 'Tag'; remove /Name; replace /Tags {'a':{'Type':'Tag'},'a':{'Type':'Tag'}}; replace "
       "/Channels/C1/Name 'C0'",
       "Operation 1, $/Type: 'Type' cannot be changed in this way.\n"
       "Operation 2, /Name: 'Name' cannot be changed in this way.\n"
       "Operation 3, /Tags: a: The name 'a' is taken already. Letter case does not count.\n"
       "Operation 4, /Channels/C1/Name: The name 'C0' is taken already. Letter case does not count.\n"},
      {"[{'op':'copy','from':'','path':'$/Devices/E'}]",
       "Operation 1, $/Devices/E: Objects of the type 'Plant' cannot stand in 'Devices'.\n"},
      {"copy $ $/Devices/E; copy /Channels /Channels",
       "Operation 2, /Channels: The operations copy more than 12 objects.\n"},
  };
  const owned_obj_ptr plant = MakePlant();
  const auto content = ContentOf(*plant);
  for (const auto& c : cases) {
    const patch_result_t result = ApplyPatch(Patch(c.patch), *plant, {.maxObjects = 12});
    EXPECT_EQ(result.ToString(i18n::kLanguageEnglish).ToUtf8(), Expand(c.text)) << c.patch;
    EXPECT_EQ(ContentOf(*plant), content) << c.patch;
    EXPECT_EQ(tree_testing::FindBroken(*plant), "");
  }
}

TEST_F(ProjectPatch, TreesDoNotGrowDeeperThanCanBeSaved) {
  const owned_obj_ptr plant = MakePlant();
  std::string path = "$";
  patch_result_t result;
  int levels = 3;
  while (result && levels < 100) {
    path += "/Devices/D";
    result = ApplyPatch(Patch("copy /Channels/C1/Devices/D " + path), *plant);
    levels += result ? 1 : 0;
  }
  EXPECT_EQ(levels, 62);  // and a tag
  load_report_t report;
  EXPECT_NE(LoadProject(WriteProject(*plant, form_t::JSON), report), nullptr) << report.ToString();
}

// The references on what moves and what is renamed hold, and count for the new ancestors.
TEST_F(ProjectPatch, ObjectsStayTheSameAndReferencesAddUp) {
  const owned_obj_ptr plant = MakePlant();
  std::map<const CTableObj*, std::int32_t> held;
  const ref_counted_obj_ptr tag = plant->FindObject(u"C0.D.T0"), device = plant->FindObject(u"C1.D");
  ref_counted_obj_ptr removed = plant->FindObject(u"C0.D.T1");
  const patch_result_t result =
      ApplyPatch(Patch("move $/Tags/T0 /Channels/C1/Devices/D/Tags/New; move /Channels/C1/Devices/D $/Devices/E; "
                       "remove $/Tags/T1; add /Channels/C1 {'Type':'Channel'}"),
                 *plant);
  ASSERT_TRUE(result) << result.ToString();
  EXPECT_EQ(result.moved, 2U);
  EXPECT_EQ(result.removed, 2U);
  CString path;
  EXPECT_EQ(tag->GetPath(path), u"Plant.C0.D.E.New");
  EXPECT_TRUE(removed->IsDeletePending());
  removed = nullptr;
  held[tag.get()] = held[device.get()] = 1;
  EXPECT_EQ(tree_testing::FindBroken(*plant, [&](const CTableObj& object) { return held[&object]; }), "");
}

// What is asked on a copy may be refused all the same, and a hook may throw when all is done.
TEST_F(ProjectPatch, LateRefusalsAreTakenBack) {
  const char* const patch =
      "replace /Parts/A/Low 5; add /Parts/A/Description 'x'; remove /Parts/B/Description; move /Parts/B /Parts/Z; move "
      "/Steps/1 /Parts/Y; remove /Parts/C; add /Parts/N {'Type':'Step'}; replace /Parts/Z/Rate 9";
  const owned_obj_ptr recipe = patch_testing::MakeRecipe({u"0", u"1", u"2"});
  auto& parts = static_cast<CRecipe&>(*recipe).parts;
  recipe->FindObject(u"B")->SetDescription(u"old");
  recipe->SetModified(false);
  recipe->FindObject(u"A")->SetModified(false);
  const ref_counted_obj_ptr moved = recipe->FindObject(u"1");
  const auto content = ContentOf(*recipe);
  const auto expectUnchanged = [&](const patch_result_t& result, const char16_t* text) {
    EXPECT_EQ(result.ToString(i18n::kLanguageEnglish), text);
    EXPECT_FALSE(recipe->IsModified() || recipe->FindObject(u"A")->IsModified());
    EXPECT_EQ(parts.heard, 3);
    EXPECT_EQ(tree_testing::FindBroken(*recipe, [&](const CTableObj& o) { return &o == moved.get() ? 1 : 0; }), "");
    EXPECT_EQ(ContentOf(*recipe), content);
  };
  CStep::refusesLate = true;
  expectUnchanged(ApplyPatch(Patch(patch), *recipe),
                  u"Operation 8, /Parts/Z/Rate: The setting \"Rate\" cannot have this value.\n");
  CStep::refusesLate = false;
  for (int left = 0; left < 3; ++left) {
    patch_testing::CParts::insertionsLeft = left;
    expectUnchanged(ApplyPatch(Patch(patch), *recipe), u"The change was refused: no part comes in\n");
  }
  EXPECT_TRUE(ApplyPatch(Patch(patch), *recipe));
  EXPECT_EQ(parts.heard, 4);
  EXPECT_TRUE(recipe->IsModified());
  recipe->SetModified(false);
  EXPECT_TRUE(ApplyPatch(Patch("remove /Steps/0"), *recipe) && recipe->IsModified());
  patch_testing::CParts::insertionsLeft = 0;
  patch_testing::CParts::renamesFirst = true;
  EXPECT_FALSE(ApplyPatch(Patch("remove /Parts/N; remove /Parts/Y; add /Parts/M {'Type':'Step'}"), *recipe));
  EXPECT_EQ(tree_testing::FindBroken(*recipe, [&](const CTableObj& o) { return &o == moved.get() ? 1 : 0; }), "")
      << "N and Y come back between records that a hook moved";
}

TEST_F(ProjectPatch, ObjectsAreCheckedAsThePatchAsAWholeLeavesThem) {
  const owned_obj_ptr recipe = patch_testing::MakeRecipe({});
  dynamic_cast<CStep&>(*recipe->FindObject(u"C")).low = 1000;  // wrong already
  const struct {
    const char* patch;
    const char* text;
  } cases[] = {
      {"replace /Parts/A/Low 200; replace /Parts/A/Rate 3", "Operation 1, /Parts/A/Low: low above high\n"},
      {"add /Parts/N {'Type':'Step','High':-1}", "Operation 1, /Parts/N: low above high\n"},
      {"replace /Parts/A/Low 200; replace /Parts/A/High 300; replace /Parts/C/Rate 2", ""},
  };
  zorutil::properties::CValidationContext context;
  for (const auto& c : cases) {
    EXPECT_EQ(ApplyPatch(Patch(c.patch), *recipe, {.context = &context}).ToString(), CString(c.text)) << c.patch;
  }
}

// Large enough for tables of several blocks, from which and to which much goes.
TEST_F(ProjectPatch, FailedAllocationAtAnyPointChangesNothing) {
  const owned_obj_ptr plant = MakePlant();
  auto& device = dynamic_cast<CDevice&>(*plant->FindObject(u"C0.D"));
  for (unsigned i = 0; i < 2048; ++i) Add<CTag>(device.tags, NumberedName("Tag", i));
  std::string patch =
      "replace $/Port 9; replace /Tags/P/Description 'a text that needs memory'; add $/Description 'another text that "
      "needs memory'; replace /Name 'A name that needs memory'; add /Channels/N {'Type':'Channel'}; move $/Devices "
      "/Channels/C1/Devices; remove /Tags/P";
  // Empties the lower block, and fills what is left of the upper one.
  for (unsigned i = 0; i < 1026; ++i) {
    const std::string name = NumberedName("Tag", i).ToUtf8();
    patch += "; move $/Tags/" + name + " $/Tags/" + (i % 2 == 0 ? "Z" : "Tag0001500") + name;
  }
  const auto content = ContentOf(*plant);
  const ref_counted_obj_ptr held = plant->FindObject(u"C0.D.Tag0000000");
  std::shared_ptr<zorutil::json::IValue> parsed;
  ASSERT_FALSE(zorutil::json::ReadText(Patch(patch), parsed));
  allocation_testing::allocations = 0;
  ASSERT_TRUE(ApplyPatch(*parsed, *plant, {.isCheck = true}));
  const int planned = allocation_testing::allocations;
  if (planned == 0) GTEST_SKIP() << "the sanitizer's allocator does not fail";
  const auto failsAt = [&](int left) {
    bool isRefused = false;
    allocation_testing::allocationsLeft = left;
    try {
      static_cast<void>(ApplyPatch(*parsed, *plant));
    } catch (const std::bad_alloc&) {
      isRefused = true;
    }
    allocation_testing::allocationsLeft = -1;
    return isRefused;
  };
  for (int left = 0; left < planned; left += 97) ASSERT_TRUE(failsAt(left));
  int left = planned - 5;
  while (failsAt(left)) {  // while the changes are being made
    ASSERT_EQ(ContentOf(*plant), content) << left - planned;
    ASSERT_EQ(tree_testing::FindBroken(*plant, [&](const CTableObj& o) { return &o == held.get() ? 1 : 0; }), "");
    ++left;
  }
  EXPECT_GT(left, planned + 5);
  EXPECT_EQ(held->GetName(), u"ZTag0000000");
}

TEST_F(ProjectPatch, RandomTreesAreCarriedOverToEachOther) {
  std::mt19937 random(1);
  const auto pick = [&](unsigned below) { return static_cast<unsigned>(random() % below); };
  const auto make = [&] {
    owned_obj_ptr plant = MakePlant();
    for (int i = 0; i < 30; ++i) {
      auto& table = pick(2) != 0 ? static_cast<CPlant&>(*plant).tags
                                 : dynamic_cast<CDevice&>(*plant->FindObject(pick(2) != 0 ? u"C0.D" : u"C1.D")).tags;
      CString name = NumberedName(pick(2) != 0 ? "Tag" : "tAG", pick(12), 2);
      if (table.FindRecord(name) != nullptr) continue;
      CTag& tag = Add<CTag>(table, name);
      tag.scanRate = pick(3);
      if (pick(4) == 0) tag.SetDescription(u"d");
    }
    return plant;
  };
  for (int round = 0; round < 200; ++round) {
    const owned_obj_ptr a = make(), b = make();
    const patch_result_t result = ApplyPatch(*DiffTrees(*a, *b).ToPatch(), *a);
    ASSERT_TRUE(result) << result.ToString();
    ASSERT_TRUE(AreTreesEqual(*a, *b)) << DiffTrees(*a, *b).ToString();
  }
}

TEST_F(ProjectPatch, ThreadsPatchReadAndCompareOneTree) {
  const owned_obj_ptr plant = MakePlant();
  const owned_obj_ptr other = MakePlant();
  const auto patch = [&](const char* there, const char* back) {
    for (int i = 0; i < 300; ++i) static_cast<void>(ApplyPatch(Patch(i % 2 == 0 ? there : back), *plant));
  };
  std::vector<std::thread> threads;
  threads.emplace_back(patch, "move $/Tags/T0 /Tags/T0; replace /Tags/P/ScanRate 5", "move /Tags/T0 $/Tags/T0");
  threads.emplace_back(patch, "add /Tags/N {'Type':'Tag'}; move /Channels/C1 /Channels/X; replace $/Port 7",
                       "remove /Tags/N; move /Channels/X /Channels/C1");
  threads.emplace_back([&] {
    CString path;
    for (int i = 0; i < 300; ++i) {
      if (const ref_counted_obj_ptr tag = plant->FindObject(i % 2 == 0 ? u"T0" : u"C0.D.T0")) {
        tag->GetPath(path);
        const zorutil::object_lock_t lock(*tag);
        EXPECT_NE(dynamic_cast<CTag&>(*tag).scanRate, 0U);
      }
    }
  });
  threads.emplace_back([&] {
    for (int i = 0; i < 100; ++i) EXPECT_LT(DiffTrees(*plant, *other).GetChanges().size(), 20U);
  });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(tree_testing::FindBroken(*plant), "");
}

}  // namespace
