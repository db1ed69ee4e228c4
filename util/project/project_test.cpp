#include "util/project/project_file.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "platform/framework/mem_file.h"
#include "platform/framework/temp_folder_testing.h"
#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/objects/tree_invariants_testing.h"
#include "util/project/json_mapping.h"
#include "util/project/plant_types_testing.h"
#include "util/project/tree_validation.h"
#include "util/properties/validation.h"

namespace {

using plant_testing::Add;
using plant_testing::CChannel;
using plant_testing::CDevice;
using plant_testing::CPlant;
using plant_testing::CTag;
using zorutil::owned_obj_ptr;
using namespace zorutil::project;

constexpr form_t kForms[] = {form_t::BINARY, form_t::XML, form_t::JSON};

std::span<const std::byte> AsBytes(std::string_view text) { return std::as_bytes(std::span(text)); }

owned_obj_ptr LoadText(std::string_view text, load_report_t& report, const load_options_t& options = {}) {
  return LoadProject(AsBytes(text), report, options);
}

class Project : public testing::Test {
 protected:
  const plant_testing::CTypes types_;
};

// Everything that a form could lose.
owned_obj_ptr MakeOddPlant() {
  owned_obj_ptr owner = plant_testing::MakePlant(2, 2, 3);
  auto& plant = static_cast<CPlant&>(*owner);
  plant.SetName(u"<Werk> & \\ 'Süd' / ~1");
  plant.SetDescription(u"  two\r\nlines\t ");
  plant.title = CString(u"NUL \0, bell \a, half \xD83D", 23);
  CVariant array = CVariant::FromArray(std::vector<double>{0.1, -0.0});
  CVariant texts = CVariant::FromArray(std::vector<std::int16_t>{1, 2, 3});
  const CVariant values[] = {CVariant(),
                             CVariant::Null(),
                             CVariant(u""),
                             CVariant(u"I2:5"),
                             CVariant::FromBool(true),
                             CVariant::FromInt8(-8),
                             CVariant::FromInt32(5),
                             CVariant::FromInt64(5),
                             CVariant::FromUInt64(~std::uint64_t{0}),
                             CVariant::FromFloat(0.1F),
                             CVariant::FromDouble(1.0),
                             CVariant::FromDouble(NAN),
                             CVariant::FromDate(45000.25),
                             array,
                             texts};
  const double reals[] = {0.1 + 0.2, -0.0, NAN, INFINITY, -INFINITY, 5e-324, 1e308, 1e16};
  unsigned number = 0;
  for (const CVariant& value : values) {
    CTag& tag = Add<CTag>(plant.tags, plant_testing::NumberedName("Tag é", number, 3));
    tag.initialValue = value;
    tag.rawLow = reals[number % std::size(reals)];
    tag.deadband = static_cast<float>(reals[(number + 3) % std::size(reals)]);
    tag.address = CString(std::u16string(number * 300, u'ä'));
    if (number % 2 == 0) tag.SetDescription(u"\xD800");
    ++number;
  }
  auto& device = static_cast<CDevice&>(*plant.channels.GetRecord(0)->GetChildTable(0)->GetRecord(0));
  device.password = u"$zpw$of a key that nobody has";
  device.offset = std::numeric_limits<std::int64_t>::min();
  Add<CDevice>(Add<CDevice>(device.devices, u"behind").devices, u"further behind").SetName(u"ﬀ ß");
  return owner;
}

TEST_F(Project, EveryFormGivesBackAnEqualTreeThroughEveryOther) {
  const owned_obj_ptr plant = MakeOddPlant();
  for (const form_t first : kForms) {
    for (const form_t second : kForms) {
      SCOPED_TRACE(CString(FormName(first)) + u", " + FormName(second));
      load_report_t report;
      const owned_obj_ptr once = LoadProject(WriteProject(*plant, first), report);
      ASSERT_NE(once, nullptr) << report.ToString();
      const owned_obj_ptr twice = LoadProject(WriteProject(*once, second), report);
      ASSERT_NE(twice, nullptr) << report.ToString();
      EXPECT_TRUE(AreTreesEqual(*plant, *twice));
      EXPECT_EQ(WriteProject(*plant, first), WriteProject(*twice, first));
      EXPECT_FALSE(twice->IsModified());
      EXPECT_FALSE(twice->GetChildTable(0)->IsModified());
    }
  }
}

TEST_F(Project, TreesDifferInWhateverDiffers) {
  const auto differs = [](auto change) {
    const owned_obj_ptr a = MakeOddPlant();
    const owned_obj_ptr b = MakeOddPlant();
    change(static_cast<CPlant&>(*b));
    return AreTreesEqual(*a, *a) && AreTreesEqual(*a, *a) && !AreTreesEqual(*a, *b) && !AreTreesEqual(*b, *a);
  };
  const auto tag = [](CPlant& plant) -> CTag& { return static_cast<CTag&>(*plant.tags.GetRecord(1)); };
  EXPECT_TRUE(differs([&](CPlant& plant) { tag(plant).rawLow = 0.0; }));  // it was -0.0
  EXPECT_TRUE(differs([&](CPlant& plant) { tag(plant).initialValue = CVariant::FromInt16(5); }));
  EXPECT_TRUE(differs([&](CPlant& plant) { tag(plant).SetDescription(u"x"); }));
  EXPECT_TRUE(differs([&](CPlant& plant) { tag(plant).SetName(u"tag É001"); }));
  EXPECT_TRUE(differs([&](CPlant& plant) { plant.channels.Delete(plant.channels.GetRecord(1)); }));
}

struct told_t {
  int line;
  const char* path;
  unsigned message;
  bool operator==(const told_t& other) const {
    return line == other.line && std::string_view(path) == other.path && message == other.message;
  }
};
void ExpectTold(const load_report_t& report, std::initializer_list<told_t> expected) {
  std::string told, wanted;
  for (const auto& error : report.GetErrors()) {
    told += std::to_string(error.line) + " " + error.path.ToUtf8() + " " +
            std::to_string(error.message->GetMessageId()) + "\n";
  }
  for (const auto& each : expected) {
    wanted += std::to_string(each.line) + " " + each.path + " " + std::to_string(each.message) + "\n";
  }
  EXPECT_EQ(told, wanted) << report.ToString();
}

TEST_F(Project, JsonTellsEveryErrorWithLineAndPath) {
  load_report_t report;
  const std::string_view text = R"({"P": {"Type": "Plant",
  "Titel": "misspelt",
  "Title": 5,
  "Channels": {
    "C1": {"Type": "Channel", "Medium": 40000, "Medium": 1,
      "Devices": {
        "D1": {"Type": "Device", "Retries": 11, "Station": -1, "Serial": 0.5, "Port": "502", "ClockAt": true,
          "Tags": {"T": {"Type": "Tag", "Writable": 1, "RawLow": "low", "InitialValue": {"Variant": "I2"}},
                   "t": {"Type": "Tag"},
                   "a.b": {"Type": "Tag"}, "": {"Type": "Tag"}}},
        "D2": {"Type": "Tag"}, "D3": {"Type": "Dose"}, "D4": {}, "D5": 7, "D6": {"Type": 3}}},
    "C2": {"Type": "channel", "Description": null, "Devices": []}},
  "Tags": {}, "Channels": {}
}})";
  EXPECT_EQ(LoadText(text, report), nullptr);
  ExpectTold(report, {{2, "P", i18n::IDS_SETTING_UNKNOWN},
                      {3, "P", i18n::IDS_SETTING_TYPE},
                      {5, "P.C1", i18n::IDS_SETTING_RANGE},
                      {5, "P.C1", i18n::IDS_SETTING_TWICE},
                      {7, "P.C1.D1", i18n::IDS_SETTING_REFUSED},
                      {7, "P.C1.D1", i18n::IDS_SETTING_RANGE},
                      {7, "P.C1.D1", i18n::IDS_SETTING_TYPE},
                      {7, "P.C1.D1", i18n::IDS_SETTING_TYPE},
                      {7, "P.C1.D1", i18n::IDS_SETTING_TYPE},
                      {8, "P.C1.D1.T", i18n::IDS_SETTING_TYPE},
                      {8, "P.C1.D1.T", i18n::IDS_SETTING_TYPE},
                      {8, "P.C1.D1.T", i18n::IDS_SETTING_TYPE},
                      {9, "P.C1.D1.t", i18n::IDS_OBJECT_NAME_TAKEN},
                      {10, "P.C1.D1.a.b", i18n::IDS_OBJECT_NAME_NOT_VALID},
                      {10, "P.C1.D1.", i18n::IDS_OBJECT_NAME_MISSING},
                      {11, "P.C1.D2", i18n::IDS_TYPE_NOT_TAKEN},
                      {11, "P.C1.D3", i18n::IDS_TYPE_UNKNOWN},
                      {11, "P.C1.D4", i18n::IDS_TYPE_MISSING},
                      {11, "P.C1.D5", i18n::IDS_OBJECT_EXPECTED},
                      {11, "P.C1.D6", i18n::IDS_SETTING_TYPE},
                      {12, "P.C2", i18n::IDS_SETTING_TYPE},
                      {12, "P.C2", i18n::IDS_OBJECT_EXPECTED},
                      {13, "P", i18n::IDS_SETTING_TWICE}});
  // What was right is there when that is asked for.
  const owned_obj_ptr rest = LoadText(text, report, {.isLenient = true});
  ASSERT_NE(rest, nullptr);
  EXPECT_EQ(tree_testing::FindBroken(*rest), "");
  EXPECT_NE(rest->FindObject(u"C1.D1.T"), nullptr);

  struct {
    const char* text;
    unsigned message;
    int line;
  } const wholes[] = {{"{\"P\": {\n\"Type\" \"Plant\"}}", i18n::IDS_PROJECT_TEXT, 2},
                      {"{}", i18n::IDS_PROJECT_ONE_ROOT, 0},
                      {"{\"A\": {}, \"B\": {}}", i18n::IDS_PROJECT_ONE_ROOT, 0},
                      {"", i18n::IDS_PROJECT_FORM, 0},
                      {"Plant", i18n::IDS_PROJECT_FORM, 0},
                      {"{\"P\": null}", i18n::IDS_OBJECT_EXPECTED, 1}};
  for (const auto& whole : wholes) {
    EXPECT_EQ(LoadText(whole.text, report), nullptr);
    ASSERT_EQ(report.GetCount(), 1U) << whole.text;
    EXPECT_EQ(report.GetErrors()[0].message->GetMessageId(), whole.message) << whole.text;
    EXPECT_EQ(report.GetErrors()[0].line, whole.line) << whole.text;
  }
}

TEST_F(Project, XmlTellsEveryErrorWithLineAndPath) {
  load_report_t report;
  const std::string_view text = R"(<?xml version="1.0"?>
<Plant><Name>P</Name>
  <Titel>misspelt</Titel>
  <Channels>
    <Channel><Name>C1</Name><Medium>40000</Medium><Medium>1</Medium>
      <Devices>
        <Device><Name>D1</Name>
          <Retries>11</Retries>
          <Station><b/></Station>
          <Tags>
            <Tag><Name>T</Name><Writable>maybe</Writable><Address encoding="base64">?</Address></Tag>
            <Tag><Name>t</Name></Tag>
            <Tag><Name>_a.b</Name></Tag>
            <Tag/>
          </Tags>
        </Device>
        <Tag><Name>D2</Name></Tag>
        <Dose/>
      </Devices>
    </Channel>
  </Channels>
</Plant>)";
  EXPECT_EQ(LoadText(text, report), nullptr);
  ExpectTold(report, {{3, "P", i18n::IDS_SETTING_UNKNOWN},
                      {5, "P.C1", i18n::IDS_SETTING_RANGE},
                      {5, "P.C1", i18n::IDS_SETTING_TWICE},
                      {8, "P.C1.D1", i18n::IDS_SETTING_REFUSED},
                      {9, "P.C1.D1", i18n::IDS_SETTING_TYPE},
                      {11, "P.C1.D1.T", i18n::IDS_SETTING_TYPE},
                      {11, "P.C1.D1.T", i18n::IDS_SETTING_TYPE},
                      {12, "P.C1.D1", i18n::IDS_OBJECT_NAME_TAKEN},
                      {13, "P.C1.D1.Ua_b", i18n::IDS_OBJECT_NAME_NOT_VALID},
                      {14, "P.C1.D1.noname", i18n::IDS_OBJECT_NAME_MISSING},
                      {17, "P.C1", i18n::IDS_TYPE_NOT_TAKEN},
                      {18, "P.C1", i18n::IDS_TYPE_UNKNOWN}});
  EXPECT_EQ(LoadText("<Plant>\n<Name>P</Nam></Plant>", report), nullptr);
  ASSERT_EQ(report.GetCount(), 1U);
  EXPECT_EQ(report.GetErrors()[0].line, 2);
}

TEST_F(Project, BinaryTellsWhatIsWrongAndWhere) {
  const owned_obj_ptr plant = plant_testing::MakePlant(1, 1, 2);
  const auto whole = WriteProject(*plant, form_t::BINARY);
  load_report_t report;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(LoadProject(std::span(whole).first(size), report, {.form = form_t::BINARY}), nullptr) << size;
    ASSERT_EQ(report.GetCount(), 1U);
    EXPECT_EQ(report.GetErrors()[0].message->GetMessageId(), i18n::IDS_PROJECT_CUT) << size;
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const int bit : {0, 3, 7}) {
      auto damaged = whole;
      damaged[at] ^= static_cast<std::byte>(1 << bit);
      const owned_obj_ptr project = LoadProject(damaged, report, {.form = form_t::BINARY});
      EXPECT_EQ(project == nullptr, report.HasErrors()) << at;
      EXPECT_EQ(project == nullptr ? "" : tree_testing::FindBroken(*project), "");
    }
  }
  const auto find = [&](std::string_view text) {
    return std::string_view(reinterpret_cast<const char*>(whole.data()), whole.size()).find(text);
  };
  const auto tell = [&](std::size_t at, std::uint8_t byte) {
    auto changed = whole;
    changed[at] = static_cast<std::byte>(byte);
    EXPECT_EQ(LoadProject(changed, report), nullptr);
    if (report.GetCount() != 1) return std::string("not one error");
    const auto& error = report.GetErrors()[0];
    return std::to_string(error.message->GetMessageId()) + " " + error.path.ToUtf8();
  };
  // The second tag: its name stands behind format, type, version and the length of the name.
  const std::size_t name = find("Tag0000001");
  EXPECT_EQ(tell(name, ' '), "504 Plant.Channel0000000.Device0000000. ag0000001");
  EXPECT_EQ(tell(name - 6, 0x7F), "572 Plant.Channel0000000.Device0000000.Tag0000001");      // the version
  EXPECT_EQ(tell(name - 8, 0x87), "566 Plant.Channel0000000.Device0000000");                 // a device among tags
  EXPECT_EQ(tell(name - 8, 0x99), "575 Plant.Channel0000000.Device0000000");                 // a type nobody knows
  EXPECT_EQ(tell(find("Device0000000") + 40, 0), "562 Plant.Channel0000000.Device0000000");  // no retries
  EXPECT_EQ(tell(8, 2), "572 ");
  EXPECT_EQ(tell(whole.size() - 1, 'd'), "575 ");
  auto longer = whole;
  longer.push_back(std::byte{0});
  EXPECT_EQ(LoadProject(longer, report), nullptr);
}

TEST_F(Project, WhatAFormCannotHoldIsNotSaved) {
  const auto refuse = [](const CTableObj& plant, form_t form) {
    try {
      WriteProject(plant, form);
      return std::string("saved");
    } catch (const i18n::message_exception_t& error) {
      return error.GetText1().ToUtf8();
    }
  };
  const owned_obj_ptr plant = plant_testing::MakePlant(1, 1, 1);
  CTableObj& device = *plant->GetChildTable(0)->GetRecord(0)->GetChildTable(0)->GetRecord(0);
  device.SetName(u"a.b");  // taken by SetName, but no reader would find it again
  for (const form_t form : kForms) EXPECT_EQ(refuse(*plant, form), "Plant.Channel0000000.a.b");
  device.SetName(u"bell \a");
  EXPECT_EQ(refuse(*plant, form_t::XML), "Plant.Channel0000000");
  EXPECT_EQ(refuse(*plant, form_t::JSON), "saved");
  class CSecret final : public CTableObjNp {
   public:
    CSecret() : CTableObjNp(951) { SetName(u"s"); }
  } const secret;
  for (const form_t form : kForms) EXPECT_NE(refuse(secret, form), "saved");
}

TEST_F(Project, FilesAreReplacedWholeAndKnownByTheirContent) {
  const CTempFolder folder;
  const owned_obj_ptr plant = MakeOddPlant();
  for (const form_t form : kForms) {
    plant->SetModified(true);
    SaveProject(*plant, folder.PathOf("plant"), form);
    EXPECT_FALSE(plant->IsModified());
    load_report_t report;
    const owned_obj_ptr loaded = LoadProject(folder.PathOf("plant"), report);
    ASSERT_NE(loaded, nullptr) << report.ToString();
    EXPECT_TRUE(AreTreesEqual(*plant, *loaded));
    plant->SetModified(true);
    EXPECT_THROW(SaveProject(*plant, folder.PathOf("missing\\plant"), form), std::exception);
    EXPECT_TRUE(plant->IsModified());
  }
  load_report_t report;
  EXPECT_EQ(LoadProject(folder.PathOf("none"), report), nullptr);
  EXPECT_EQ(report.GetCount(), 1U);
  EXPECT_EQ(FormOf(AsBytes("\xEF\xBB\xBF \n{")), form_t::JSON);
  EXPECT_EQ(FormOf(AsBytes(std::string_view("<\0?\0", 4))), form_t::XML);
  EXPECT_EQ(FormOf(AsBytes("\x89PNG")), form_t::BINARY);
  EXPECT_EQ(FormFromName(u"\\srv\\plant.Xml"), form_t::XML);
  EXPECT_EQ(FormFromName(u"json"), form_t::JSON);
  EXPECT_EQ(FormFromName(u"plant.txt"), std::nullopt);
}

TEST_F(Project, HugeNamesAndOneNameATousandTimesLoad) {
  std::string text =
      "{\"P\": {\"Type\": \"Plant\", \"Tags\": {\"" + std::string(1'000'000, 'n') + "\": {\"Type\": \"Tag\"}";
  for (int i = 0; i < 2000; ++i) text += ", \"same\": {\"Type\": \"Tag\"}";
  text += "}}}";
  load_report_t report;
  EXPECT_EQ(LoadText(text, report), nullptr);
  EXPECT_EQ(report.GetCount(), 1999U);
  EXPECT_EQ(report.GetErrors().size(), load_report_t::kMaxErrors);
  EXPECT_NE(report.ToString().Find(u"999 "), -1);
  const owned_obj_ptr loaded = LoadText(text, report, {.isLenient = true});
  ASSERT_NE(loaded, nullptr);
  const owned_obj_ptr again = LoadProject(WriteProject(*loaded, form_t::XML), report);
  ASSERT_NE(again, nullptr) << report.ToString();
  EXPECT_TRUE(AreTreesEqual(*loaded, *again));
}

TEST_F(Project, ValidationTellsThePathOfEachFailure) {
  static constexpr zorutil::type_description_t kPicky = {952, 0, 1, u"Picky", nullptr};
  class CPicky final : public zorutil::CDescribedObj {
   public:
    CPicky() : CDescribedObj(kPicky) {}
    void ValidateProperties(const property_list_t& list, IValidationContext& context) const override {
      CDescribedObj::ValidateProperties(list, context);
      throw i18n::message_exception_t(i18n::MakeLocalizedMessage(i18n::IDS_VALUE_OF_WRONG_TYPE), u"Title", u"", 7, 0);
    }
  } picky;
  picky.SetName(u"P");
  const auto failures = ValidateTree(picky);
  ASSERT_EQ(failures.size(), 1U);
  EXPECT_EQ(failures[0].path, u"P");
  EXPECT_EQ(failures[0].failure.id, 7);
  EXPECT_EQ(failures[0].failure.name, u"Title");
  EXPECT_EQ(failures[0].failure.message->GetMessageId(), i18n::IDS_VALUE_OF_WRONG_TYPE);
  const owned_obj_ptr plant = plant_testing::MakePlant(1, 2, 1);
  plant->GetChildTable(0)->GetRecord(0)->GetChildTable(0)->GetRecord(1)->SetName(u"a.b");
  const auto named = ValidateTree(*plant);
  ASSERT_EQ(named.size(), 1U);
  EXPECT_EQ(named[0].path, u"Plant.Channel0000000.a.b");
}

}  // namespace
