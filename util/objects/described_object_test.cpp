#include "util/objects/described_object.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "platform/framework/allocation_testing.h"
#include "platform/framework/invalid_arg.h"
#include "platform/framework/mem_file.h"
#include "platform/zorplatform/exception.h"
#include "util/docs/xml_document.h"
#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/objects/plant_types_testing.h"
#include "util/properties/password.h"
#include "util/properties/property.h"
#include "util/serialization/stream_testing.h"

namespace {

using namespace plant_testing;
using stream_testing::Bytes;
using stream_testing::Hex;
using zorutil::field_kind_t;
using zorutil::field_result_t;
using zorutil::field_t;
using zorutil::field_value_t;
using zorutil::kObjectDescription;
using zorutil::kObjectName;
using zorutil::MakePropertyId;
using zorutil::type_description_t;
using zorutil::properties::CProperty;
using zorutil::properties::FindProperty;
using zorutil::properties::property_list_t;
using enum field_kind_t;
using enum field_result_t;

constexpr int IdOf(int number) { return MakePropertyId(kNamespace, number); }

class DescribedObject : public testing::Test {
 protected:
  const plant_testing::CTypes types_;
};

// A record of a tag without its own data: format 4, type 904, version, the name "a".
std::string TagHead(const char* version) { return std::string("0400 00008803 ") + version + " 01000080 61"; }
// Address "7", DataType 1, Writable, ScanRate 256, Scaling 2, RawLow 1, RawHigh 2, ScaledLow 3, ScaledHigh -1,
// ClampLow, ClampHigh; then, since version 2, Units "%"; Deadband 0.5; and since version 2 an InitialValue of VT_I2.
constexpr const char* kFirst =
    "01000080 37  0100 01 00010000 02 000000000000F03F 0000000000000040 0000000000000840 000000000000F0BF 01 00";
constexpr const char* kUnits = "01000080 25";
constexpr const char* kDeadband = "0000003F";
constexpr const char* kInitialValue = "0200 0900";

TEST_F(DescribedObject, RecordHoldsTheFieldsOneAfterAnotherAndThenTheTables) {
  CTag tag;
  tag.SetName(u"a");
  tag.address = u"7";
  tag.dataType = CTag::TRUTH;
  tag.scanRate = 256;
  tag.scaling = CTag::SQUARE_ROOT;
  tag.rawLow = 1, tag.rawHigh = 2, tag.scaledLow = 3, tag.scaledHigh = -1;
  tag.clampLow = true;
  tag.units = u"%";
  tag.deadband = 0.5F;
  tag.initialValue = CVariant::FromInt16(9);
  CMemFile file;
  ASSERT_NE(tag.Save(&file, false), 0);
  const std::string expected = TagHead("0200") + kFirst + kUnits + kDeadband + kInitialValue;
  EXPECT_EQ(Hex(file.GetContent()), Hex(Bytes(expected)));

  CChannel channel;
  channel.SetName(u"c");
  CMemFile of;
  ASSERT_NE(channel.Save(&of, false), 0);
  EXPECT_EQ(Hex(of.GetContent()), Hex(Bytes("0400 00008603 0100 01000080 63  0000 00  0100 00000000")));
  CMemFile alone;
  ASSERT_NE(channel.Save(&alone, true), 0);
  EXPECT_EQ(Hex(alone.GetContent()), Hex(Bytes("0400 00008603 0100 01000080 63  0000 00")));
}

TEST_F(DescribedObject, RecordOfAnOlderVersionLeavesNewFieldsAndTablesAsTheyAreMade) {
  CTag tag;
  CMemFile file(Bytes(TagHead("0100") + kFirst + kDeadband));
  ASSERT_NE(tag.Load(&file, false), 0);
  EXPECT_EQ(tag.address, u"7");
  EXPECT_EQ(tag.scaledHigh, -1);
  EXPECT_EQ(tag.deadband, 0.5F);
  EXPECT_EQ(tag.units, u"");
  EXPECT_EQ(tag.GetVersion(), 2);

  CDevice device;  // its second table is of version 2
  Add<CDevice>(device.devices, u"old");
  CMemFile record(
      Bytes("0400 00008703 0100 01000080 64  05 F601 FFFFFFFFFFFFFFFF 0200000000000000 10000000 00000000 04000000 0100 "
            "00000000"));
  ASSERT_NE(device.Load(&record, false), 0);
  EXPECT_EQ(device.offset, -1);
  EXPECT_EQ(device.GetRetries(), 4);
  EXPECT_EQ(device.devices.GetCount(), 0U);
}

TEST_F(DescribedObject, PropertiesHaveTheTypesThatValidationExpects) {
  const CTag tag;
  const CDevice device;
  for (const auto* object : std::initializer_list<const zorutil::CDescribedObj*>{&tag, &device}) {
    property_list_t list;
    object->GetProperties(list);
    for (const field_t& field : object->GetTypeDescription().fields) {
      const CVariant& value = FindProperty(field.id, list)->GetValue();
      if (field.kind == INT64 || field.kind == UINT64 || field.kind == VALUE) continue;  // no property type has these
      EXPECT_EQ(value.vt, zorutil::properties::ExpectedVartype(field.type)) << CString(field.name);
    }
  }
}

TEST_F(DescribedObject, SetPropertiesTakesAllOrNothing) {
  CPlant plant;
  CTag& tag = Add<CTag>(plant.tags, u"FT101");
  Add<CTag>(plant.tags, u"FT102");
  const auto change = [](CTableObj& object, std::vector<std::pair<int, CVariant>> values) {
    property_list_t list;
    for (auto& [id, value] : values) list.push_back(CProperty::Create(id, value));
    try {
      object.SetProperties(list);
      return 0;
    } catch (i18n::message_exception_t& error) {
      return static_cast<int>(error.DetachMessage()->GetMessageId());
    }
  };
  EXPECT_EQ(change(tag, {{IdOf(4), u"250"},
                         {IdOf(6), CVariant::FromInt32(5)},
                         {kObjectDescription, u"flow"},
                         {kObjectName, u"ft101"},
                         {12345, u"of somebody else"},
                         {IdOf(13), CVariant::FromDouble(0.1)}}),
            0);
  EXPECT_EQ(tag.scanRate, 250U);
  EXPECT_EQ(tag.rawLow, 5.0);
  EXPECT_EQ(tag.deadband, 0.1F);
  EXPECT_EQ(tag.GetName(), u"ft101");
  EXPECT_EQ(tag.GetDescription(), u"flow");
  EXPECT_TRUE(tag.IsModified());

  const std::tuple<int, CVariant, int> refused[] = {{IdOf(4), CVariant::FromDouble(0.5), i18n::IDS_SETTING_TYPE},
                                                    {IdOf(4), CVariant::FromInt32(-1), i18n::IDS_SETTING_RANGE},
                                                    {IdOf(1), CVariant(), i18n::IDS_SETTING_TYPE},
                                                    {kObjectName, u"a.b", i18n::IDS_OBJECT_NAME_NOT_VALID},
                                                    {kObjectName, u"FT102", i18n::IDS_OBJECT_NAME_TAKEN}};
  for (const auto& [id, value, message] : refused) {
    EXPECT_EQ(change(tag, {{IdOf(6), CVariant::FromInt32(7)}, {id, value}}), message) << id;
    EXPECT_EQ(tag.rawLow, 5.0);
    EXPECT_EQ(tag.GetName(), u"ft101");
  }
  CDevice device;
  EXPECT_EQ(change(device, {{IdOf(101), CVariant::FromInt32(9)}, {IdOf(107), CVariant::FromInt32(11)}}),
            i18n::IDS_SETTING_REFUSED);
  EXPECT_EQ(device.station, 1);

  bool isDone = false;
  for (int allowed = 0; !isDone; ++allowed) {
    allocation_testing::allocationsLeft = allowed;
    try {
      change(tag, {{IdOf(6), CVariant::FromInt32(7)}, {kObjectName, u"a longer name"}, {kObjectDescription, u"none"}});
      isDone = true;
    } catch (const std::bad_alloc&) {
    }
    allocation_testing::allocationsLeft = -1;
    EXPECT_EQ(tag.rawLow, isDone ? 7.0 : 5.0);
    EXPECT_EQ(tag.GetName(), isDone ? u"a longer name" : u"ft101");
    EXPECT_EQ(tag.GetDescription(), isDone ? u"none" : u"flow");
  }
}

TEST_F(DescribedObject, PasswordsAreEncryptedOnceWhereverTheyComeFrom) {
  CDevice device;
  const field_t& field = *CDevice::kType.FindField(u"Password");
  EXPECT_EQ(SetField(device, field, u"geheim"), TAKEN);
  const CString stored = device.password;
  CString plain;
  ASSERT_TRUE(zorutil::properties::DecryptPassword(stored, plain));
  EXPECT_EQ(plain, u"geheim");
  EXPECT_EQ(SetField(device, field, CVariant(stored)), TAKEN);
  EXPECT_EQ(device.password, stored);
  for (const bool isEncrypted : {true, false}) {
    CXmlDocument xml;
    xml.SetEncryptPasswords(isEncrypted);
    ASSERT_NE(device.Save(&xml, xml.WriteElement(nullptr, nullptr, u"Top", false, u""), nullptr, true), 0);
    EXPECT_EQ(xml.GetXml().Find(u">" + stored + u"<") >= 0, isEncrypted);
    EXPECT_EQ(xml.GetXml().Find(u">geheim<") >= 0, !isEncrypted);
  }
  EXPECT_EQ(SetField(device, field, u""), TAKEN);
  EXPECT_EQ(device.password, u"");
}

TEST_F(DescribedObject, TablesTakeNoOtherTypes) {
  CPlant plant;
  CTag tag;
  CDevice device;
  EXPECT_TRUE(plant.CanAddObject(&tag));
  EXPECT_FALSE(plant.CanAddObject(&device));
  EXPECT_FALSE(plant.AddObject(&device));
  EXPECT_EQ(plant.channels.Insert(&tag), CTable::invalid_index);
  EXPECT_TRUE(plant.GenerateName(&tag));
  EXPECT_EQ(tag.GetName(), u"Tag");
  ASSERT_TRUE(plant.AddObject(&tag));
  EXPECT_EQ(tag.GetTable(), &plant.tags);
  plant.tags.Remove(&tag);
}

TEST_F(DescribedObject, ADocumentTakesAwayWhatItDoesNotHave) {
  CPlant plant;
  plant.SetDescription(u"old");
  Add<CTag>(plant.tags, u"t");
  CXmlDocument xml;
  xml.SetXml(u"<Plant><Name>p</Name></Plant>");
  ASSERT_NE(plant.Load(&xml, xml.GetElementByName(nullptr, nullptr, nullptr, false), nullptr, false), 0);
  EXPECT_TRUE(!plant.HaveDescription() && plant.tags.GetCount() == 0);
}

std::vector<CString> Split(const CString& text) {
  std::vector<CString> parts;
  for (int at = 0; at >= 0;) parts.push_back(text.Tokenize(u"|", at));
  parts.pop_back();
  return parts;
}

TEST_F(DescribedObject, TextsOfFieldsAreExactAndStrict) {
  struct {
    field_kind_t kind;
    const char16_t *same, *other, *wrong, *outOfRange;  // those that are printed alike, or otherwise, and the refused
  } const rows[] = {
      {BOOL, u"true|false", u" true\n|0", u"yes|TRUE| ", u""},
      {INT8, u"-128", u" 7|+7", u"1.0", u"128"},
      {UINT8, u"255", u"007", u"0x10", u"-1|256"},
      {INT32, u"-5", u"", u"12 3|--1| |+|٣", u"2147483648"},
      {INT64, u"-9223372036854775808", u"", u"1e3", u"9223372036854775808|-9223372036854775809"},
      {UINT64, u"18446744073709551615", u"", u"-", u"18446744073709551616"},
      {REAL4, u"0.1|-INF|NaN|1e-45|16777216", u"0.10000000149", u"inf|nan|-nan|.|e5", u"1e39"},
      {REAL8, u"0.30000000000000004|5e-324|-0|INF", u"1e-400|.5", u"1.5x|infinity", u"1e400"},
      {TEXT, u" a |INF", u"", u"", u""},
      {VALUE, u"R4:0.1|EMPTY:|BSTR:|RECORD:AQA=", u"I2:+5", u"RECORD:AQAB|5|EMPTY:5|I2:|R8:NaNs", u"UI1:256|R4:1e39"}};
  for (const auto& row : rows) {
    field_t field{};
    field.kind = row.kind;
    field_value_t value;
    CString printed;
    const auto check = [&](const char16_t* texts, field_result_t result, bool isSame) {
      for (const CString& text : Split(texts)) {
        ASSERT_EQ(FieldFromText(field, text, value), result) << text;
        if (result != TAKEN) continue;
        FieldToText(field, value, printed);
        EXPECT_EQ(printed == text, isSame) << text << ", " << printed;
      }
    };
    check(row.same, TAKEN, true);
    check(row.other, TAKEN, false);
    check(row.wrong, WRONG_TYPE, false);
    check(row.outOfRange, OUT_OF_RANGE, false);
  }
  field_value_t value;
  field_t field{};
  field.kind = field_kind_t::INT64;
  EXPECT_EQ(FieldFromVariant(field, CVariant::FromDouble(-9223372036854775808.0), value), TAKEN);
  EXPECT_EQ(value.integer, std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(FieldFromVariant(field, CVariant::FromDouble(9223372036854775808.0), value), OUT_OF_RANGE);
  EXPECT_EQ(FieldFromVariant(field, CVariant::FromDouble(NAN), value), WRONG_TYPE);
  EXPECT_EQ(FieldFromVariant(field, CVariant::FromBool(true), value), WRONG_TYPE);
}

TEST_F(DescribedObject, DescriptionsThatCannotWorkAreNotRegistered) {
  const auto factory = &zorutil::CreateDescribed<CTag>;
  const field_t good = zorutil::Field<&CTag::scanRate>(IdOf(900), u"Good");
  const std::tuple<int, const char16_t*, std::uint16_t> others[] = {
      // id, name, since
      {IdOf(901), u"Good", 0}, {IdOf(900), u"Twice", 0}, {IdOf(901), u"Scan Rate", 0},
      {IdOf(901), u"Name", 0}, {IdOf(901), u"New", 3},   {256, u"NoNamespace", 0}};
  for (const auto& [id, name, since] : others) {
    field_t fields[] = {good, good};
    fields[1].id = id, fields[1].name = name, fields[1].since = since;
    std::string refusal;
    try {
      zorutil::RegisterType({950, 0, 2, u"Bad", factory, fields});
    } catch (const CInvalidArgException& error) {
      refusal = error.what();
    }
    EXPECT_NE(refusal.find("\"Bad\", \"" + CString(name).ToUtf8() + "\": "), std::string::npos) << refusal;
  }
  for (const type_description_t& bad :
       {type_description_t{950, -1, 2, u"Bad", factory}, type_description_t{950, 0, 128, u"Bad", factory},
        type_description_t{950, 0, 2, u"", factory}, type_description_t{950, 0, 2, u"Bad", nullptr}}) {
    EXPECT_THROW(zorutil::RegisterType(bad), CInvalidArgException);
  }
  // What is taken in one of the two registries leaves nothing in the other.
  EXPECT_THROW(zorutil::RegisterType({950, 0, 2, u"tag", factory}), zorplatform::CException);
  EXPECT_THROW(CTableObj::CreateObject(950, 0), zorplatform::CException);
}

}  // namespace
