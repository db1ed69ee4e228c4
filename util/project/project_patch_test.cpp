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
using plant_testing::Add;
using plant_testing::CDevice;
using plant_testing::CPlant;
using plant_testing::CTag;
using plant_testing::NumberedName;
using zorutil::owned_obj_ptr;
using zorutil::ref_counted_obj_ptr;
using namespace zorutil::project;

class ProjectPatch : public testing::Test {
 protected:
  const patch_testing::CTypes types_;
};

// Plant: channels C0 and C1 of a device D of tags T0 and T1; a tag P.
owned_obj_ptr MakePlant() {
  auto* const plant = new CPlant;
  owned_obj_ptr owner(plant);
  plant->SetName(u"Plant");
  for (const char16_t* channel : {u"C0", u"C1"}) {
    auto& device = Add<CDevice>(Add<plant_testing::CChannel>(plant->channels, channel).devices, u"D");
    for (const char16_t* tag : {u"T0", u"T1"}) Add<CTag>(device.tags, tag).address = channel;
  }
  Add<CTag>(plant->tags, u"P").SetDescription(u"of all");
  return owner;
}

// Single quotes for double ones, and "$" for the way to the first device.
std::string Patch(std::string_view text) {
  std::string patch;
  for (const char c : text) {
    if (c == '$') {
      patch += "/Channels/C0/Devices/D";
    } else {
      patch += c == '\'' ? '"' : c;
    }
  }
  return patch;
}

std::vector<std::byte> ContentOf(const CTableObj& root) { return WriteProject(root, form_t::BINARY); }

TEST_F(ProjectPatch, OperationsDoWhatTheySay) {
  const struct {
    const char* patch;
    const char16_t* difference;
  } cases[] = {
      {"[]", u""},
      {"[{'op':'replace','path':'$/Tags/T0/ScanRate','value':250}]", u"~ Plant.C0.D.T0\n    ScanRate: 100 -> 250\n"},
      {"[{'op':'add','path':'$/Tags/T0/ScanRate','value':250},{'op':'remove','path':'$/Tags/T0/ScanRate'}]", u""},
      {"[{'op':'copy','from':'$/Tags/T0/Address','path':'/Tags/P/Units'}]", u"~ Plant.P\n    Units: \"\" -> \"C0\"\n"},
      {"[{'op':'move','from':'$/Tags/T0/Address','path':'/Tags/P/Description'}]",
       u"~ Plant.C0.D.T0\n    Address: \"C0\" -> \"\"\n~ Plant.P\n    Description: \"of all\" -> \"C0\"\n"},
      {"[{'op':'remove','path':'/Tags/P/Description'},{'op':'test','path':'/Tags/P/Description','value':''}]",
       u"~ Plant.P\n    Description: \"of all\" -> \"\"\n"},
      {"[{'op':'replace','path':'/Name','value':'Works'},{'op':'replace','path':'$/Name','value':'d'}]",
       u"~ Plant\n    Name: \"Plant\" -> \"Works\"\n~ Plant.C0.D\n    Name: \"D\" -> \"d\"\n"},
      // Two names change places, and one comes back.
      {"[{'op':'move','from':'$/Tags/T0','path':'$/Tags/x'},{'op':'move','from':'$/Tags/T1','path':'$/Tags/T0'},"
       "{'op':'move','from':'$/Tags/x','path':'$/Tags/T1'},{'op':'replace','path':'$/Tags/T1/Address','value':'was "
       "0'}]",
       u"~ Plant.C0.D.T1\n    Address: \"C0\" -> \"was 0\"\n"},
      {"[{'op':'move','from':'/Tags/P','path':'$/Tags/P'},{'op':'move','from':'$/Tags/P','path':'/Tags/P'}]", u""},
      // New objects are addressed like others; a record may leave what is removed.
      {"[{'op':'add','path':'/Channels/N','value':{'Type':'Channel'}},"
       "{'op':'add','path':'/Channels/N/Devices/D','value':{'Type':'Device','Tags':{'a':{'Type':'Tag'}}}},"
       "{'op':'replace','path':'/Channels/N/Devices/D/Port','value':7},"
       "{'op':'move','from':'/Channels/N/Devices/D/Tags/a','path':'/Channels/N/Devices/D/Tags/b'},"
       "{'op':'move','from':'/Tags/P','path':'/Channels/N/Devices/D/Tags/P'},"
       "{'op':'move','from':'$/Tags/T1','path':'/Tags/Saved'},{'op':'remove','path':'/Channels/C0'},"
       "{'op':'test','path':'/Channels/N','value':{'Type':'Channel','Priority':0.0,'Medium':0,'Devices':{'D':{'Type':"
       "'Device','Station':1,'Port':7,'Offset':0,'Serial':0,'ClockAt':10800,'Password':'','Retries':3,'Tags':{'b':"
       "{'Type':'Tag','Address':'','DataType':-1,'Writable':true,'ScanRate':100,'Scaling':0,'RawLow':0,'RawHigh':1000,"
       "'ScaledLow':0,'ScaledHigh':1000,'ClampLow':false,'ClampHigh':false,'Units':'','Deadband':0,'InitialValue':null}"
       ","
       "'P':{'Type':'Tag','Description':'of all','Address':'','DataType':-1,'Writable':true,'ScanRate':100,'Scaling':0,"
       "'RawLow':0,'RawHigh':1000,'ScaledLow':0,'ScaledHigh':1000,'ClampLow':false,'ClampHigh':false,'Units':'',"
       "'Deadband':0,'InitialValue':null}}}}}}]",
       u"- Plant.C0 (Channel), with 3 objects below it\n+ Plant.N (Channel), with 3 objects below it\n"
       u"- Plant.P (Tag)\n+ Plant.Saved (Tag)\n"},
      {"[{'op':'copy','from':'$','path':'/Channels/C1/Devices/E'},{'op':'remove','path':'/Channels/C1/Devices/E/Tags/"
       "T0'}]",
       u"+ Plant.C1.E (Device), with 1 object below it\n"},
      {"[{'op':'copy','from':'$/Tags/T0','path':'/Channels/C1/Devices/D/Tags/T1'}]",
       u"~ Plant.C1.D.T1\n    Address: \"C1\" -> \"C0\"\n"},
      // Whole tables.
      {"[{'op':'replace','path':'$/Tags','value':{'T1':{'Type':'Tag','Address':'C0'},'N':{'Type':'Tag'}}}]",
       u"+ Plant.C0.D.N (Tag)\n- Plant.C0.D.T0 (Tag)\n"},
      {"[{'op':'remove','path':'$/Tags'},{'op':'test','path':'$/Tags','value':{}},{'op':'add','path':'$/Tags/"
       "T0','value':"
       "{'Type':'Tag','Address':'C0'}}]",
       u"- Plant.C0.D.T1 (Tag)\n"},
      {"[{'op':'move','from':'$/Tags','path':'/Tags'}]",
       u"- Plant.P (Tag)\n> Plant.C0.D.T0 -> Plant.T0\n> Plant.C0.D.T1 -> Plant.T1\n"},
      {"[{'op':'add','path':'$/Devices/Sub','value':{'Type':'Device'}},{'op':'move','from':'/Channels/C1/Devices/D',"
       "'path':'$/Devices/Sub/Devices/D'}]",
       u"+ Plant.C0.D.Sub (Device), with 3 objects below it\n- Plant.C1.D (Device), with 2 objects below it\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.patch);
    const owned_obj_ptr before = MakePlant();
    // The tags of one device differ, so that what moved is told.
    const owned_obj_ptr plant = MakePlant();
    for (CTableObj* const root : {before.get(), plant.get()}) {
      dynamic_cast<CTag&>(*root->FindObject(u"C0.D.T1")).isWritable =
          c.difference ==
                  std::u16string_view(u"- Plant.P (Tag)\n> Plant.C0.D.T0 -> Plant.T0\n> Plant.C0.D.T1 -> Plant.T1\n")
              ? false
              : true;
    }
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
       "Operation 1: An operation of a patch is an object.\nOperation 2, /Name: The operation needs a text \"op\".\n"
       "Operation 3, /a: There is no operation \"put\", only add, remove, replace, move, copy and test.\n"
       "Operation 4, a: \"a\" is no JSON pointer.\nOperation 5, /Name: The operation needs a \"value\".\n"
       "Operation 6, /Name: \"~\" is no JSON pointer.\n"},
      // One error does not hide another, but what follows from it is not told.
      {"[{'op':'replace','path':'$/Tags/T0/ScanRate','value':-1},{'op':'replace','path':'$/Tags/T0/ScanRate/"
       "x','value':1},"
       "{'op':'replace','path':'$/Retries','value':11},{'op':'replace','path':'$/Port','value':'x'},"
       "{'op':'remove','path':'/Tags/Q'},{'op':'remove','path':'/Tags/p'},{'op':'remove','path':'/Tag/P'}]",
       "Operation 1, $/Tags/T0/ScanRate: The setting \"ScanRate\" takes values from 0 to 4294967295.\n"
       "Operation 3, $/Retries: The setting \"Retries\" cannot have this value.\n"
       "Operation 4, $/Port: The setting \"Port\" cannot have a value of this kind.\n"
       "Operation 5, /Tags/Q: There is no object \"Q\".\nOperation 6, /Tags/p: There is no object \"p\".\n"
       "Operation 7, /Tag/P: An object of the type \"Plant\" has no \"Tag\".\n"},
      {"[{'op':'replace','path':'/Tags/P/ScanRate/x','value':1}]",
       "Operation 1, /Tags/P/ScanRate/x: Nothing lies inside \"ScanRate\".\n"},
      {"[{'op':'test','path':'/Title','value':'x'},{'op':'remove','path':'/x'}]",
       "Operation 1, /Title: The value is another one.\n"},
      {"[{'op':'remove','path':''}]",
       "Operation 1: The object at the top can be neither added, replaced, removed nor moved.\n"},
      {"[{'op':'move','from':'$','path':'$/Devices/D'}]", "Operation 1, $: An object cannot be moved into itself.\n"},
      {"[{'op':'move','from':'/Channels/C1/Devices/D','path':'$/Devices/E'},"
       "{'op':'move','from':'$','path':'$/Devices/E/Devices/F'}]",
       "Operation 2, $: An object cannot be moved into itself.\n"},
      {"[{'op':'add','path':'$/Tags/t0','value':{'Type':'Tag'}},{'op':'move','from':'/Tags/P','path':'/Channels/X'},"
       "{'op':'add','path':'/Tags/a.b','value':{'Type':'Tag'}},{'op':'add','path':'/Tags/"
       "Q','value':{'Type':'Device'}}]",
       "Operation 1, $/Tags/t0: The name \"t0\" is taken already. Letter case does not count.\n"
       "Operation 2, /Channels/X: Objects of the type \"Tag\" cannot stand in \"Channels\".\n"
       "Operation 3, /Tags/a.b: The object name \"a.b\" is not valid.\n"
       "Operation 4, /Tags/Q: Objects of the type \"Device\" cannot stand in \"Tags\".\n"},
      {"[{'op':'add','path':'$/Devices/"
       "S','value':{'Type':'Device','Retries':0,'Tags':{'a':{'Type':'Tag','x':1},'A':{}}}}]",
       "Operation 1, $/Devices/S: The setting \"Retries\" cannot have this value.\n"
       "Operation 1, $/Devices/S: S.a: An object of the type \"Tag\" has no \"x\".\n"
       "Operation 1, $/Devices/S: S.A: The type of the object is missing.\n"},
      {"[{'op':'replace','path':'$/Type','value':'Tag'},{'op':'remove','path':'/Name'},{'op':'replace','path':'/Tags',"
       "'value':{'a':{'Type':'Tag'},'a':{'Type':'Tag'}}},{'op':'replace','path':'/Channels/C1/Name','value':'C0'}]",
       "Operation 1, $/Type: \"Type\" cannot be changed in this way.\n"
       "Operation 2, /Name: \"Name\" cannot be changed in this way.\n"
       "Operation 3, /Tags: a: The name \"a\" is taken already. Letter case does not count.\n"
       "Operation 4, /Channels/C1/Name: The name \"C0\" is taken already. Letter case does not count.\n"},
      {"[{'op':'copy','from':'','path':'$/Devices/E'}]",
       "Operation 1, $/Devices/E: Objects of the type \"Plant\" cannot stand in \"Devices\".\n"},
      {"[{'op':'copy','from':'$','path':'$/Devices/E'},{'op':'copy','from':'/Channels','path':'/Channels'}]",
       "Operation 2, /Channels: The operations copy more than 12 objects.\n"},
  };
  const owned_obj_ptr plant = MakePlant();
  const auto content = ContentOf(*plant);
  for (const auto& c : cases) {
    const patch_result_t result = ApplyPatch(Patch(c.patch), *plant, {.maxObjects = 12});
    EXPECT_EQ(result.ToString(i18n::kLanguageEnglish).ToUtf8(), [&] {
      std::string text = c.text;
      for (std::size_t at; (at = text.find('$')) != std::string::npos;) text.replace(at, 1, Patch("$"));
      return text;
    }()) << c.patch;
    EXPECT_EQ(ContentOf(*plant), content) << c.patch;
    EXPECT_EQ(tree_testing::FindBroken(*plant), "");
  }
}

TEST_F(ProjectPatch, TreesDoNotGrowDeeperThanCanBeSaved) {
  const owned_obj_ptr plant = MakePlant();
  std::string path = Patch("$");
  patch_result_t result;
  int levels = 3;
  while (result && levels < 100) {
    path += "/Devices/D";
    result = ApplyPatch(Patch("[{'op':'copy','from':'/Channels/C1/Devices/D','path':'" + path + "'}]"), *plant);
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
  const patch_result_t result = ApplyPatch(
      Patch("[{'op':'move','from':'$/Tags/T0','path':'/Channels/C1/Devices/D/Tags/New'},{'op':'move','from':"
            "'/Channels/C1/Devices/D','path':'$/Devices/E'},{'op':'remove','path':'$/Tags/T1'},{'op':'add','path':"
            "'/Channels/C1','value':{'Type':'Channel'}}]"),
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
      "[{'op':'replace','path':'/Parts/A/Low','value':5},{'op':'add','path':'/Parts/A/Description','value':'x'},"
      "{'op':'remove','path':'/Parts/B/Description'},{'op':'move','from':'/Parts/B','path':'/Parts/Z'},"
      "{'op':'move','from':'/Steps/1','path':'/Parts/Y'},{'op':'remove','path':'/Parts/C'},"
      "{'op':'add','path':'/Parts/N','value':{'Type':'Step'}},{'op':'replace','path':'/Parts/Z/Rate','value':9}]";
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
  ContentOf(*recipe);
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
}

TEST_F(ProjectPatch, ObjectsAreCheckedAsThePatchAsAWholeLeavesThem) {
  const owned_obj_ptr recipe = patch_testing::MakeRecipe({});
  dynamic_cast<CStep&>(*recipe->FindObject(u"C")).low = 1000;  // wrong already
  const struct {
    const char* patch;
    const char* text;
  } cases[] = {
      {"[{'op':'replace','path':'/Parts/A/Low','value':200},{'op':'replace','path':'/Parts/A/Rate','value':3}]",
       "Operation 1, /Parts/A/Low: low above high\n"},
      {"[{'op':'add','path':'/Parts/N','value':{'Type':'Step','High':-1}}]", "Operation 1, /Parts/N: low above high\n"},
      {"[{'op':'replace','path':'/Parts/A/Low','value':200},{'op':'replace','path':'/Parts/A/High','value':300},"
       "{'op':'replace','path':'/Parts/C/Rate','value':2}]",
       ""},
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
      "[{'op':'replace','path':'$/Port','value':9},{'op':'replace','path':'/Tags/P/Description','value':'a text that "
      "needs memory'},{'op':'add','path':'$/Description','value':'another text that needs memory'},{'op':'replace',"
      "'path':'/Name','value':'A name that needs memory'},{'op':'add','path':'/Channels/N','value':{'Type':'Channel'}},"
      "{'op':'move','from':'$/Devices','path':'/Channels/C1/Devices'},{'op':'remove','path':'/Tags/P'}";
  // Empties the lower block, and fills what is left of the upper one.
  for (unsigned i = 0; i < 1026; ++i) {
    const std::string name = NumberedName("Tag", i).ToUtf8();
    patch +=
        ",{'op':'move','from':'$/Tags/" + name + "','path':'$/Tags/" + (i % 2 == 0 ? "Z" : "Tag0001500") + name + "'}";
  }
  patch = Patch(patch + "]");
  const auto content = ContentOf(*plant);
  const ref_counted_obj_ptr held = plant->FindObject(u"C0.D.Tag0000000");
  std::shared_ptr<zorutil::json::IValue> parsed;
  ASSERT_FALSE(zorutil::json::ReadText(patch, parsed));
  allocation_testing::allocations = 0;
  ASSERT_TRUE(ApplyPatch(*parsed, *plant, {.isCheck = true}));
  const int planned = allocation_testing::allocations;
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
  threads.emplace_back(patch,
                       "[{'op':'move','from':'$/Tags/T0','path':'/Tags/T0'},{'op':'replace','path':'/Tags/P/ScanRate',"
                       "'value':5}]",
                       "[{'op':'move','from':'/Tags/T0','path':'$/Tags/T0'}]");
  threads.emplace_back(
      patch,
      "[{'op':'add','path':'/Tags/N','value':{'Type':'Tag'}},{'op':'move','from':'/Channels/C1','path':"
      "'/Channels/X'},{'op':'replace','path':'$/Port','value':7}]",
      "[{'op':'remove','path':'/Tags/N'},{'op':'move','from':'/Channels/X','path':'/Channels/C1'}]");
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
