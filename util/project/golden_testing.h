// Values that show every fault of a binary form (another order of bytes, a lost sign, a number cut to 32 bits, a
// changed NaN), and each form written of them: what the files in tests/golden hold, as tests/golden_test.cpp reads
// them. They never change; what a later version adds to a form is added here beside them.
//
//   EXPECT_EQ(golden_testing::MakeRecord<CScaling>(), FileText("tests/golden/1.0/scaling.bin"));
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/framework/mem_file.h"
#include "platform/framework/temp_folder_testing.h"
#include "platform/registry/registry_text.h"
#include "platform/zorplatform/ini_file.h"
#include "util/docs/xml_document.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/objects/described_object.h"
#include "util/objects/object_serialization.h"
#include "util/objects/table.h"
#include "util/project/project_file.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/definition_testing.h"
#include "util/properties/definition_writer.h"
#include "util/properties/password.h"
#include "util/properties/property_list.h"
#include "util/serialization/serialization_buffer.h"
#include "util/serialization/stream_serializers.h"
#include "util/serialization/string_serialization.h"
#include "util/tagproc/deadband.h"
#include "util/tagproc/resolution_rate.h"
#include "util/tagproc/scaling.h"
#include "util/values/bstr.h"
#include "util/values/safe_array.h"
#include "util/values/variant.h"

namespace golden_testing {

using namespace std::literals;
using namespace zorutil::properties;
using zorutil::memory_serializer_t;
using zorutil::project::form_t;

inline std::span<const std::byte> Bytes(const std::string& text) { return std::as_bytes(std::span(text)); }
inline std::string Text(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
template <class Write>
std::string Written(Write write) {
  memory_serializer_t out;
  write(out);
  return Text(out.GetContent());
}
template <class Save>
std::string Saved(Save save) {
  CMemFile file;
  save(file);
  return Text(file.GetContent());
}

inline constexpr double kNaN = std::bit_cast<double>(0x7FF8123456789ABC);
inline constexpr DECIMAL kDecimal = {0, 5, DECIMAL::kNegative, 0x01020304, 0x05060708090A0B0C};

// --- texts and values ------------------------------------------------------------------------------------------------

inline const std::u16string_view kTexts[] = {
    u""sv, u"abc"sv, u"a\0b"sv, u"é"sv, u"äöü ÄÖÜ ß"sv, u"水位計"sv, u"\U0001F600 ok"sv, u"\xDC01"sv, u"\xD834 half"sv};

template <class T>
std::string MakeTexts() {
  return Written([](auto& out) {
    for (const auto text : kTexts) Serialize(T(text), out);
  });
}

// Of all arguments a list, which lines of many hold.
template <class... T>
std::vector<CVariant> Values(T&&... values) {
  std::vector<CVariant> list;
  (list.push_back(std::forward<T>(values)), ...);
  return list;
}

inline const std::vector<CVariant>& Scalars() {
  const auto time = zorplatform::CTimeStamp::FromFields(2026, 7, 31, 23, 59, 58, 987);
  static const std::vector<CVariant> values = Values(
      CVariant(), CVariant::Null(), CVariant::FromBool(true), CVariant::FromBool(false), CVariant::FromInt8(-2),
      CVariant::FromUInt8(0xFE), CVariant::FromInt16(-0x1234), CVariant::FromUInt16(0xFEDC),
      CVariant::FromInt32(-0x12345678), CVariant::FromUInt32(0xFEDCBA98), CVariant::FromInt(0x01020304),
      CVariant::FromUInt(0xF1F2F3F4), CVariant::FromInt64(-0x123456789ABCDEF0),
      CVariant::FromUInt64(0xFEDCBA9876543210), CVariant::FromFloat(-1234.5678F),
      CVariant::FromFloat(std::bit_cast<float>(0x7FC12345)), CVariant::FromDouble(-0.1), CVariant::FromDouble(-0.0),
      CVariant::FromDouble(kNaN), CVariant::FromCurrency({-0x0102030405060708}), CVariant::FromDate(time),
      CVariant::FromError(static_cast<SCODE>(0x80020009)), CVariant::FromDecimal(kDecimal), CVariant(u""),
      CVariant(u"m³/h"), CVariant(u"水位計"), CVariant(u"\xD834"));
  return values;
}

template <class T>
CVariant Array(std::vector<T> values, VARTYPE element, unsigned rows = 1) {
  return CVariant(rows, static_cast<unsigned>(values.size()) / rows, element, values.data());
}
/// The sixth has two rows.
inline const std::vector<CVariant>& Arrays() {
  static const std::vector<CVariant> values = [] {
    CVariant texts(3, VT_BSTR, nullptr), null;
    texts.GetArray()->SetText(0, u"pump");
    texts.GetArray()->SetText(2, u"水");
    null.vt = VT_ARRAY | VT_R8;
    return Values(
        Array<std::int8_t>({-1, 2}, VT_I1), Array<std::uint8_t>({1, 0xFE}, VT_UI1),
        Array<std::int16_t>({-0x1234, 0x0506}, VT_I2), Array<std::uint16_t>({0xFEDC, 1}, VT_UI2),
        Array<std::int16_t>({VARIANT_TRUE, VARIANT_FALSE}, VT_BOOL),
        Array<std::int32_t>({0x01020304, -2, 3, 4, 5, 0x0A0B0C0D}, VT_I4, 2),
        Array<std::uint32_t>({0xFEDCBA98}, VT_UI4), Array<std::int32_t>({-0x01020304}, VT_INT),
        Array<std::uint32_t>({0xF1F2F3F4}, VT_UINT), Array<std::int64_t>({-0x123456789ABCDEF0}, VT_I8),
        Array<std::uint64_t>({0xFEDCBA9876543210}, VT_UI8), Array<float>({-1234.5678F, 0.5F}, VT_R4),
        Array<double>({-0.1, kNaN}, VT_R8), Array<CY>({{0x0102030405060708}}, VT_CY),
        Array<double>({46234.25}, VT_DATE), Array<DECIMAL>({kDecimal}, VT_DECIMAL), texts,
        Array(Values(CVariant::FromInt16(0x0102), CVariant(u"x"), CVariant(), Array<double>({0.5}, VT_R8)), VT_VARIANT),
        Array<double>({}, VT_R8), null);
  }();
  return values;
}

// Through the buffer in one direction.
template <const std::vector<CVariant>& (*VALUES)()>
std::string MakeValues() {
  return Saved([](CMemFile& file) {
    zorutil::CSerializationBuffer buffer;
    for (const CVariant& value : VALUES()) zorutil::Serialize(value, buffer);
    buffer.MoveToFile(file);
  });
}

inline std::string MakeArray() {
  return Written([](auto& out) { zorutil::Serialize(*Arrays()[5].parray, out); });
}

// --- messages, tag processing ----------------------------------------------------------------------------------------

inline std::string MakeMessage() {
  i18n::CLocalizedMessage message(i18n::CLocalizedResource(i18n::IDS_VALUE_OUT_OF_RANGE),
                                  {CVariant::FromInt32(-5), CVariant(u"m³/h")});
  message.SetFlag(0x81);
  message.Append(i18n::MakeNonLocalizedMessage(u" (as it came)"));
  return Written([&](auto& out) { message.Serialize(out); });
}

inline CScaling Make(CScaling scaling) {
  scaling.SetScalingType(CScaling::SQUARE_ROOT);
  scaling.SetScaledDataType(DT_FLOAT);
  scaling.SetRawLow(-4000.1);
  scaling.SetRawHigh(27648);
  scaling.SetScaledLow(-0.0);
  scaling.SetScaledHigh(120.25);
  scaling.SetClampHigh(true);
  scaling.SetNegateValue(true);
  scaling.SetUnits(u"m³/h");
  return scaling;
}
inline CDeadband Make(CDeadband deadband) {
  deadband.SetDeadbandType(CDeadband::PERCENT);
  deadband.SetDeadband(2.5);
  deadband.SetHighRange(200.1);
  deadband.SetLowRange(-12.75);
  return deadband;
}
inline CResolutionRate Make(CResolutionRate rate) {
  rate.SetResolutionRate(0x010203, CResolutionRate::SECONDS);
  return rate;
}

template <class T>
std::string MakeRecord() {
  return Saved([](CMemFile& file) { Make(T()).Save(&file); });
}

inline std::string WriteDocument(const CScaling& scaling, const CDeadband& deadband, const CResolutionRate& rate) {
  CXmlDocument document;
  void* const tag = document.WriteElement(nullptr, u"urn:zorutil:golden", u"Tag", false, u"");
  scaling.Save(&document, tag, u"urn:zorutil:golden");
  deadband.Save(&document, tag, u"urn:zorutil:golden");
  rate.Save(&document, tag, u"urn:zorutil:golden");
  document.ReleaseElement(tag);
  return Saved([&](CMemFile& file) { document.SaveTo(file); });
}
inline std::string MakeDocument() {
  return WriteDocument(Make(CScaling()), Make(CDeadband()), Make(CResolutionRate()));
}
// --- properties ------------------------------------------------------------------------------------------------------

inline constexpr int kNamespace = 1023;
inline constexpr int Id(int number) { return MakePropertyId(kNamespace, number); }
inline const std::u16string_view kSecret = u"Geheim \0 水 1"sv;

/// The product's own key for passwords, as long as it lives.
struct CProductKey {
  CProductKey() {
    std::uint8_t key[kPasswordKeySize];
    for (unsigned i = 0; i < sizeof key; ++i) key[i] = static_cast<std::uint8_t>(0xF0 - i * 7);
    SetPasswordKey(key);
  }
  CProductKey(const CProductKey&) = delete;
  CProductKey& operator=(const CProductKey&) = delete;
  ~CProductKey() { SetPasswordKey({}); }
};

inline property_list_t Properties() {
  property_list_t list;
  list.push_back(CProperty::Create(Id(0x10203), CVariant::FromUInt(0xF1F2F3F4)));
  list.push_back(CProperty::Create(-2, Arrays()[5]));
  list.push_back(CProperty::Create(Id(1), CVariant(EncryptPassword(CString(kSecret)))));
  list.push_back(CProperty::Create(Id(2), CVariant(EncryptPassword(CString(kSecret), PASSWORD_OLDER))));
  const CProductKey key;
  list.push_back(CProperty::Create(Id(3), CVariant(EncryptPassword(CString(kSecret)))));
  return list;
}
inline std::string MakeObjects() {
  const object_list_t objects{Properties(), property_list_t()};
  return Written([&](auto& out) { objects.Serialize(out); });
}

inline definition_file_t Definitions() {
  using definition_testing::When;
  auto speed = definition_testing::Define(Id(0x10203), u"Drehzahl", TYPE_INTEGER, CVariant::FromUInt(1),
                                          CVariant::FromUInt(0xFEDCBA98));
  speed->SetDefaultValue(CVariant::FromUInt(1500));
  speed->SetExempt(true);
  speed->SetRequired(true);
  speed->SetMetaDataNumber(0x01020304);
  speed->SetSecondNumber(-2);
  speed->SetThirdNumber(3);
  speed->SetFourthNumber(-0x01020304);
  speed->SetAllowConditions(
      {When(Id(7), CVariantCompare::NOT_EQUAL, CVariant(u"off")), When(0, CVariantCompare::EQUAL, CVariant())});
  auto mode = definition_testing::Define(Id(7), u"水", TYPE_ENUMERATION);
  mode->SetSecondFlag(true);
  mode->SetServerOnly(true);
  mode->SetEnumValues({std::make_shared<enumeration_def_t>(kNamespace, -5, 0x0A0B0C0D),
                       std::make_shared<enumeration_def_t>(kNamespace, 0x01020304, 1)});
  mode->SetEnableConditions({When(Id(0x10203), CVariantCompare::EQUAL, CVariant::FromDouble(-0.1))});
  return {kNamespace, u"Goldene Pumpen", {speed, mode}};
}
inline std::string MakeDefinitions() {
  return Written([](auto& out) { WriteDefinitionStream(out, Definitions()); });
}

inline std::string MakeIndex(const std::string& definitions) {
  const CTempFolder folder;
  folder.Put("golden.prop", definitions);
  CreateIndexFile(folder.GetPath());
  return folder.Get(CString(kIndexFileName).ToUtf8());
}
inline std::string MakeIndex() { return MakeIndex(MakeDefinitions()); }

// --- objects, tables, projects ---------------------------------------------------------------------------------------

// A field of every kind.
struct CThing final : zorutil::CDescribedObj {
  enum medium_t : std::int16_t { SERIAL = -0x1234, NETWORK = 1 };
  static const zorutil::type_description_t kType;
  CThing() : CDescribedObj(kType) {}
  bool isOn = false;
  std::int8_t i1 = 0;
  std::uint8_t ui1 = 0;
  std::int16_t i2 = 0;
  std::uint16_t ui2 = 0;
  std::int32_t i4 = 0;
  std::uint32_t ui4 = 0;
  std::int64_t i8 = 0;
  std::uint64_t ui8 = 0;
  float r4 = 0;
  double r8 = 0;
  medium_t medium = NETWORK;
  CString text, password;
  CVariant value;
  zorutil::CChildTable things{*this};
};
inline constexpr zorutil::field_t kFields[] = {
    zorutil::Field<&CThing::isOn>(Id(1), u"On"),     zorutil::Field<&CThing::i1>(Id(2), u"I1"),
    zorutil::Field<&CThing::ui1>(Id(3), u"UI1"),     zorutil::Field<&CThing::i2>(Id(4), u"I2"),
    zorutil::Field<&CThing::ui2>(Id(5), u"UI2"),     zorutil::Field<&CThing::i4>(Id(6), u"I4"),
    zorutil::Field<&CThing::ui4>(Id(7), u"UI4"),     zorutil::Field<&CThing::i8>(Id(8), u"I8"),
    zorutil::Field<&CThing::ui8>(Id(9), u"UI8"),     zorutil::Field<&CThing::r4>(Id(10), u"R4"),
    zorutil::Field<&CThing::r8>(Id(11), u"R8"),      zorutil::Field<&CThing::medium>(Id(12), u"Medium"),
    zorutil::Field<&CThing::text>(Id(13), u"Text"),  zorutil::Password<&CThing::password>(Id(14), u"Password"),
    zorutil::Field<&CThing::value>(Id(15), u"Value")};
inline constexpr zorutil::child_table_t kTables[] = {zorutil::ChildTable<&CThing::things, 0x1234>(u"Things")};
inline const zorutil::type_description_t CThing::kType = {
    0x1234, 0x56, 3, u"Thing", &zorutil::CreateDescribed<CThing>, kFields, kTables};

inline CThing& Add(CTable& table, const char16_t* name) {
  auto* const made = new CThing;
  made->SetName(name);
  table.Insert(made);
  return *made;
}
inline zorutil::owned_obj_ptr Thing() {
  auto* const thing = new CThing;
  thing->SetName(u"Werk <Süd> & 水");
  thing->SetDescription(u"two\r\nlines");
  CThing& child = Add(thing->things, u"Pump 1");
  child.isOn = true;
  child.i1 = -2, child.ui1 = 0xFE, child.i2 = -0x1234, child.ui2 = 0xFEDC, child.i4 = -0x12345678,
  child.ui4 = 0xFEDCBA98;
  child.i8 = -0x123456789ABCDEF0, child.ui8 = 0xFEDCBA9876543210, child.r4 = -1234.5678F, child.r8 = -0.1;
  child.medium = CThing::SERIAL;
  child.text = u"bell \a, half \xD83D"sv;
  child.password = EncryptPassword(CString(kSecret));
  child.value = Arrays()[5];
  child.SetDescription(u"\xD800");
  CThing& odd = Add(Add(thing->things, u"ß").things, u"behind");
  odd.r4 = -INFINITY, odd.r8 = NAN, odd.value = CVariant::FromDouble(kNaN);
  return zorutil::owned_obj_ptr(thing);
}
inline CTable& TableOf(const zorutil::owned_obj_ptr& thing) { return static_cast<CThing&>(*thing).things; }

inline std::string MakeObject() {
  return Saved([](CMemFile& file) { TableOf(Thing()).GetRecord(0)->Save(&file, true); });
}

inline std::string MakeCopy() {
  return Written([](auto& out) { zorutil::SerializeHierarchy(*Thing(), out); });
}
inline std::string MakeTable() {
  return Saved([](CMemFile& file) { TableOf(Thing()).Save(&file); });
}
template <form_t FORM>
std::string MakeProject() {
  return Text(zorutil::project::WriteProject(*Thing(), FORM));
}

// --- settings --------------------------------------------------------------------------------------------------------

inline const std::vector<registry::key_values_t>& Keys() {
  using registry::value_t;
  static const std::vector<registry::key_values_t> keys = {
      {registry::HKEY_LOCAL_MACHINE, u"Golden", {}},
      {registry::HKEY_LOCAL_MACHINE,
       u"Golden\\Süd水",
       {{u"", value_t::FromText(u"水 \0 1"sv)},
        {u"Binary", value_t::FromBinary(std::vector<std::uint8_t>{0, 1, 0xFE})},
        {u"Folder", value_t::FromText(u"%DATA%\\x", registry::REG_EXPAND_SZ)},
        {u"List", *value_t::FromList(std::vector<CString>{u"en", u"m³"})},
        {u"Number", value_t::FromDword(0xFEDCBA98)},
        {u"Odd", {registry::REG_SZ, {0x41, 0, 0x42}}}}}};
  return keys;
}
// Leaves the file of the database in the folder.
inline void PutKeys(const CTempFolder& folder, std::span<const registry::key_values_t> keys) {
  registry::SetRegistryFile(folder.PathOf("registry.db"));
  if (const auto written = registry::WriteKeys(keys); !written) throw std::runtime_error(written.text);
}
inline std::string MakeDatabase() {
  const CTempFolder folder;
  PutKeys(folder, Keys());
  return folder.Get("registry.db");
}
inline std::string MakeExport() { return registry::PrintText(Keys()); }

inline const char16_t* const kSettings[][3] = {{u"", u"Top", u"1"},
                                               {u"Server", u"Port", u"49320"},
                                               {u"Server", u"Banner", u"  two\nlines \\ \"quoted\" \t "},
                                               {u"Süd", u"Größe 水", u"\U0001F600 ; no comment"},
                                               {u"Süd", u"Empty", u""},
                                               {u"Server", u"Half", u"\xD83D x"}};
inline std::string MakeSettings() {
  CIniFile file;
  for (const auto& [section, key, value] : kSettings) file.WriteValue(section, key, value);
  return Saved([&](CMemFile& out) { file.Save(&out); });
}

}  // namespace golden_testing
