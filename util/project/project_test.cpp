#include "util/project/project_file.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/framework/mem_file.h"
#include "platform/framework/temp_folder_testing.h"
#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/objects/plant_types_testing.h"
#include "util/objects/tree_invariants_testing.h"
#include "util/project/json_mapping.h"
#include "util/project/tree_validation.h"
#include "util/properties/validation.h"

namespace {

using namespace plant_testing;
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
      EXPECT_EQ(static_cast<CTag&>(*static_cast<CPlant&>(*twice).tags.GetRecord(0)).completions, 1);
    }
  }
}

TEST_F(Project, TreesDifferInWhateverDiffers) {
  const owned_obj_ptr a = MakeOddPlant();
  using change_t = void (*)(CPlant & plant, CTag & tag);
  for (const change_t change : std::initializer_list<change_t>{
           [](CPlant&, CTag&tag) { tag.rawLow = 0.0; },  // it was -0.0
           [](CPlant&, CTag&tag) { tag.initialValue = CVariant::FromInt16(5); },
           [](CPlant&, CTag&tag) { tag.SetDescription(u"x"); }, [](CPlant&, CTag&tag) { tag.SetName(u"tag É001"); },
           [](CPlant&plant, CTag&) { plant.channels.Delete(plant.channels.GetRecord(1)); }}) {
    const owned_obj_ptr b = MakeOddPlant();
    EXPECT_TRUE(AreTreesEqual(*a, *b));
    auto& plant = static_cast<CPlant&>(*b);
    change(plant, static_cast<CTag&>(*plant.tags.GetRecord(1)));
    EXPECT_FALSE(AreTreesEqual(*a, *b));
  }
}

// Line, path and number of the message (message_ids.h) of each error.
std::string Told(const load_report_t& report) {
  std::string told;
  for (const auto& error : report.GetErrors()) {
    if (!told.empty()) told += ", ";
    told +=
        std::to_string(error.line) + " " + error.path.ToUtf8() + " " + std::to_string(error.message->GetMessageId());
  }
  return told;
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
  EXPECT_EQ(Told(report),
            "2 P 563, 3 P 560, 5 P.C1 561, 5 P.C1 564, 7 P.C1.D1 562, 7 P.C1.D1 561, 7 P.C1.D1 560, "
            "7 P.C1.D1 560, 7 P.C1.D1 560, 8 P.C1.D1.T 560, 8 P.C1.D1.T 560, 8 P.C1.D1.T 560, "
            "9 P.C1.D1.t 569, 10 P.C1.D1.a.b 504, 10 P.C1.D1. 570, 11 P.C1.D2 566, 11 P.C1.D3 565, "
            "11 P.C1.D4 567, 11 P.C1.D5 571, 11 P.C1.D6 560, 12 P.C2 560, 12 P.C2 571, 13 P 564");
  // What was right is there when that is asked for.
  const owned_obj_ptr rest = LoadText(text, report, {.isLenient = true});
  ASSERT_NE(rest, nullptr);
  EXPECT_EQ(tree_testing::FindBroken(*rest), "");
  EXPECT_NE(rest->FindObject(u"C1.D1.T"), nullptr);

  const std::pair<const char*, const char*> wholes[] = {{"{\"P\": {\n\"Type\" \"Plant\"}}", "2  579"},
                                                        {"{}", "0  576"},
                                                        {"{\"A\": {}, \"B\": {}}", "0  576"},
                                                        {"", "0  574"},
                                                        {"Plant", "0  574"},
                                                        {"{\"P\": null}", "1 P 571"}};
  for (const auto& [whole, told] : wholes) {
    EXPECT_EQ(LoadText(whole, report), nullptr);
    EXPECT_EQ(Told(report), told) << whole;
  }
}

TEST_F(Project, XmlTellsEveryErrorWithLineAndPath) {
  load_report_t report;
  const std::string_view text = R"(<?xml version="1.0"?>
<Plant><Name>P</Name><Titel>misspelt</Titel><Channels>
  <Channel><Name>C1</Name><Medium>40000</Medium><Medium>1</Medium><Devices>
    <Device><Name>D1</Name><Retries>11</Retries><Station><b/></Station><Tags>
      <Tag><Name>T</Name><Writable>maybe</Writable><Address encoding="base64">?</Address></Tag>
      <Tag><Name>t</Name></Tag>
      <Tag><Name>_a.b</Name></Tag>
      <Tag/></Tags></Device>
    <Tag><Name>D2</Name></Tag>
    <Dose/>
  </Devices></Channel></Channels>
</Plant>)";
  EXPECT_EQ(LoadText(text, report), nullptr);
  EXPECT_EQ(Told(report),
            "2 P 563, 3 P.C1 561, 3 P.C1 564, 4 P.C1.D1 562, 4 P.C1.D1 560, 5 P.C1.D1.T 560, "
            "5 P.C1.D1.T 560, 6 P.C1.D1 569, 7 P.C1.D1.Ua_b 504, 8 P.C1.D1.noname 570, 9 P.C1 566, 10 P.C1 565");
  EXPECT_EQ(LoadText("<Plant>\n<Name>P</Nam></Plant>", report), nullptr);
  EXPECT_EQ(Told(report), "2  601");
}

TEST_F(Project, BinaryTellsWhatIsWrongAndWhere) {
  const owned_obj_ptr plant = plant_testing::MakePlant(1, 1, 2);
  const auto whole = WriteProject(*plant, form_t::BINARY);
  load_report_t report;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(LoadProject(std::span(whole).first(size), report, {.form = form_t::BINARY}), nullptr) << size;
    EXPECT_TRUE(Told(report).ends_with(" 573")) << size;
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
    return Told(report);
  };
  // The second tag: its name stands behind format, type, version and the length of the name.
  const std::size_t name = find("Tag0000001");
  EXPECT_EQ(tell(name, ' '), "0 Plant.Channel0000000.Device0000000. ag0000001 504");
  EXPECT_EQ(tell(name - 6, 0x7F), "0 Plant.Channel0000000.Device0000000.Tag0000001 572");      // the version
  EXPECT_EQ(tell(name - 8, 0x87), "0 Plant.Channel0000000.Device0000000 566");                 // a device among tags
  EXPECT_EQ(tell(name - 8, 0x99), "0 Plant.Channel0000000.Device0000000 575");                 // a type nobody knows
  EXPECT_EQ(tell(find("Device0000000") + 40, 0), "0 Plant.Channel0000000.Device0000000 562");  // no retries
  EXPECT_EQ(tell(8, 2), "0  572");
  EXPECT_EQ(tell(whole.size() - 1, 'd'), "0  575");
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
}

TEST_F(Project, FilesAreReplacedWholeAndKnownByTheirContent) {
  const CTempFolder folder;
  const owned_obj_ptr plant = MakeOddPlant();
  CTableObj& tag = *static_cast<CPlant&>(*plant).tags.GetRecord(0);
  for (const form_t form : kForms) {
    tag.SetModified(true);
    SaveProject(*plant, folder.PathOf("plant"), form);
    EXPECT_FALSE(plant->IsModified() || tag.IsModified());
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
  EXPECT_EQ(Told(report), "0  579");
  EXPECT_EQ(FormOf(AsBytes("\xEF\xBB\xBF \n{")), form_t::JSON);
  EXPECT_EQ(FormOf(AsBytes(std::string_view("<\0?\0", 4))), form_t::XML);
  EXPECT_EQ(FormFromName(u"\\srv\\plant.Xml"), form_t::XML);
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
  const owned_obj_ptr plant = plant_testing::MakePlant(1, 2, 1);
  plant->GetChildTable(0)->GetRecord(0)->GetChildTable(0)->GetRecord(1)->SetName(u"a.b");
  const auto failures = ValidateTree(*plant);
  ASSERT_EQ(failures.size(), 1U);
  EXPECT_TRUE(ValidateTree(*plant, 0).empty());
  EXPECT_EQ(failures[0].path, u"Plant.Channel0000000.a.b");
  EXPECT_EQ(failures[0].failure.message->GetMessageId(), i18n::IDS_OBJECT_NAME_NOT_VALID);
}

}  // namespace
