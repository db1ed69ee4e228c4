#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "util/serialization/serialization_buffer.h"
#include "util/serialization/stream_testing.h"
#include "util/serialization/string_serialization.h"
#include "util/values/bstr.h"
#include "util/values/value_testing.h"

using namespace stream_testing;
using namespace std::literals;
using value_testing::Rows;
using value_testing::Value;
using zorplatform::CException;

namespace {

CVariant ReadValue(std::string_view hex) {
  CVariant value(u"before");
  zorutil::memory_serializer_t in(Bytes(hex));
  zorutil::Deserialize(value, in);
  return value;
}

void ReadVariant(zorutil::ISerializer& in) {
  CVariant value;
  zorutil::Deserialize(value, in);
}
void ReadBstr(zorutil::ISerializer& in) {
  CBstr text;
  zorutil::Deserialize(text, in);
}

DECIMAL Decimal() { return {VT_DECIMAL, 2, DECIMAL::kNegative, 1, 0x0203}; }

TEST(BstrForm, CountsBytesAndKnowsNoCheckWord) {
  const struct {
    std::u16string_view text;
    const char* hex;
  } cases[] = {{u"abcdefghij"sv, "0A0000806162636465666768696A"},
               {u"a\0b"sv, "03000080610062"},
               {u"\u6c34\u6c34"sv, "04000000346C346C"},
               {u"\u00e9"sv, "02000000E900"},
               {u"abc\xDC00"sv, "0800000061006200630000DC"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.hex);
    EXPECT_EQ(Written(CBstr(c.text)), c.hex);
    zorutil::memory_serializer_t in(Bytes(c.hex));
    CBstr back(u"before");
    zorutil::Deserialize(back, in);
    EXPECT_EQ(back.View(), c.text);
    ExpectRefusesDamage(c.hex, ReadBstr);
  }
  EXPECT_EQ(Written(CBstr()), "00000000");
  EXPECT_EQ(Written(CBstr(u"")), "00000000");
}

TEST(BstrForm, ReadsBackEveryLength) {
  for (const std::size_t length : {1023, 1024, 1025, 32768, 32769, 65536, 200000}) {
    for (const char16_t unit : {u'a', u'\u6c34'}) {
      SCOPED_TRACE(length);
      const CBstr text(std::u16string_view(std::u16string(length, unit)));
      zorutil::memory_serializer_t stream;
      zorutil::Serialize(text, stream);
      EXPECT_EQ(stream.GetContent().size(), 4 + length * (unit == u'a' ? 1 : 2));
      stream.Rewind();
      CBstr back;
      zorutil::Deserialize(back, stream);
      EXPECT_TRUE(back == text);
    }
  }
}

TEST(BstrForm, AFailureLeavesTheText) {
  for (const char* hex : {"03000000610062", "0400000061", "FFFFFFFF", "FEFFFF7F"}) {
    SCOPED_TRACE(hex);
    zorutil::memory_serializer_t in(Bytes(hex));
    CBstr text(u"before");
    EXPECT_THROW(zorutil::Deserialize(text, in), CException);
    EXPECT_EQ(text, u"before");
  }
  EXPECT_EQ(CodeOf(Bytes("03000000610062"), ReadBstr), CException::kEndOfStream) << "an odd count of bytes";
}

std::vector<std::pair<CVariant, std::string>> Forms() {
  const std::uint8_t bytes[] = {1, 2, 3, 4, 5, 6};
  const DECIMAL decimals[] = {Decimal()};
  std::vector<std::pair<CVariant, std::string>> forms = {
      {CVariant::FromDecimal(Decimal()), "0E00 0E000280010000000302000000000000"},
      {CVariant(2, 3, VT_UI1, bytes), "1120 1100 02000000 03000000 9000 010203040506"},
      {CVariant(1U, VT_DECIMAL, decimals), "0E20 0E00 01000000 01000000 9000 0E000280010000000302000000000000"}};
  for (const auto& row : Rows(R"(
      |0000; null|0100; i2:-2|0200FEFF; i4:-2|0300FEFFFFFF; r4:1.5|04000000C03F; r8:-0.5|0500000000000000E0BF;
      cy:10001|06001127000000000000; date:2|07000000000000000040; s:ab|0800020000806162; s:|080000000000; err:0|0A00;
      bool:1|0B00FFFF; i1:-1|1000FF; ui1:255|1100FF; ui2:0xFF00|120000FF; ui4:0x80000001|130001000080;
      i8:-2|1400FEFFFFFFFFFFFFFF; ui8:0x8000000000000001|15000100000000000080; i:7|160007000000; ui:7|170007000000;
      [i2:1 -2]|0220 0200 01000000 02000000 9000 0100 FEFF; [r8]|0520 0500 01000000 00000000 9000;
      [s:a ~]|0820 0800 01000000 02000000 9001 0100008061 00000000;
      [var:i1:-1 [ui1:5] s:x null]|0C20 0C00 01000000 04000000 9008 1000FF 1120 1100 01000000 01000000 9000 05 0800 0100008078 0100)")) {
    forms.emplace_back(Value(row[0]), row[1]);
  }
  return forms;
}

std::string WithoutBlanks(std::string hex) {
  std::erase(hex, ' ');
  return hex;
}

// Not operator==, to which some types are unequal even to themselves.
bool Same(const CVariant& a, const CVariant& b) {
  if (a.vt == (VT_VARIANT | VT_ARRAY)) return b.vt == a.vt && a.ToString() == b.ToString();
  return a.vt == b.vt && (a.IsArray() || a.vt == VT_BSTR ? a == b : std::memcmp(&a, &b, sizeof a) == 0);
}

TEST(VariantForm, HasTheseBytesAndRefusesDamage) {
  for (const auto& [value, hex] : Forms()) {
    SCOPED_TRACE(hex);
    EXPECT_EQ(Written(value), WithoutBlanks(hex));
    EXPECT_TRUE(Same(ReadValue(hex), value));
    ExpectRefusesDamage(hex, ReadVariant);
  }
}

TEST(VariantForm, OfANullArrayIsAnArrayOfNoElements) {
  for (const auto& row : Rows("{i4}|0320030001000000000000009000|[i4]; {s}|0820080001000000000000009001|[s]")) {
    EXPECT_EQ(Written(Value(row[0])), row[1]);
    EXPECT_TRUE(ReadValue(row[1]) == Value(row[2]));
  }
  CVariant tooManyRows = ReadValue("0220 0200 00000100 00000000 9000");
  EXPECT_EQ(tooManyRows.ConvertTypeEx(VT_I4 | VT_ARRAY, 0, false), E_INVALIDARG);
}

TEST(VariantForm, CorruptBytesAreRefusedAndLeaveTheValueEmpty) {
  for (const auto& row : Rows(R"(
      reference flag|0340 00000000 00000000;
      variant in itself|0C00 0000 000000000000 0000000000000000;
      array of another type than the value|0320 0200 01000000 01000000 9000 0100 0000;
      rows times columns beyond 32 bits|1120 1100 00000100 00000100 9000;
      rows times columns beyond 64 bits|0320 0300 FFFFFFFF FFFFFFFF 9000;
      unknown element type|6320 6300 01000000 01000000 9000 00000000;
      elements without size|0120 0100 01000000 01000000 9000;
      reference flag in the element type|0320 0340 01000000 01000000 9000 00000000;
      strings without their feature|0820 0800 01000000 01000000 9000 00000000;
      numbers with the feature of variants|0320 0300 01000000 01000000 9008 00000000;
      odd bytes of UTF-16|0800 03000000 616263;
      decimal of 29 places|0E00 0E00 1D00 00000000 0000000000000000;
      decimal array of another sign|0E20 0E00 01000000 01000000 9000 0E00 0001 00000000 0000000000000000)")) {
    SCOPED_TRACE(row[0]);
    CVariant value(u"before");
    EXPECT_EQ(CodeOf(Bytes(row[1]), [&](zorutil::ISerializer& in) { zorutil::Deserialize(value, in); }),
              CException::kEndOfStream);
    EXPECT_TRUE(value.IsEmpty());
  }
}

TEST(VariantForm, AnnouncedSizesTakeNoMemory) {
  for (const char* head :
       {"0800 FFFFFFFF", "0800 FEFFFF7F", "1120 1100 01000000 FFFFFFFF 9000", "0E20 0E00 FFFF0000 FFFF0000 9000",
        "0820 0800 01000000 FFFFFFFF 9001", "0C20 0C00 FFFFFFFF 01000000 9008"}) {
    SCOPED_TRACE(head);
    bytes_t bytes = Bytes(head);
    bytes.resize(bytes.size() + 100000);  // some of it arrives
    CCountingReader in(bytes);
    CVariant value;
    EXPECT_THROW(zorutil::Deserialize(value, in), CException);
    EXPECT_LE(in.GetLargest(), 256u * 1024);
  }
}

TEST(VariantForm, LongArraysComeBackWhole) {
  CVariant numbers(70001, VT_R8, nullptr);
  for (std::size_t i = 0; i < numbers.GetNumElements(); ++i) numbers.AsSpan<double>()[i] = static_cast<double>(i) / 3;
  CVariant strings;
  strings.CreateStringArray(300, 30);
  for (unsigned i = 0; i < 9000; i += 7) strings.GetArray()->SetText(i, CBstr(i).View());
  for (const CVariant* value : {&numbers, &strings}) {
    zorutil::memory_serializer_t stream;
    zorutil::Serialize(*value, stream);
    stream.Rewind();
    CVariant back;
    zorutil::Deserialize(back, stream);
    EXPECT_TRUE(back == *value);
    EXPECT_EQ(back.GetArray()->GetNumRows(), value->GetArray()->GetNumRows());
  }
}

TEST(VariantForm, NestsArrays128DeepAndNoDeeper) {
  CVariant nested;
  std::string hex = "0000";
  for (int depth = 1; depth <= 129; ++depth) {
    nested = CVariant(1U, VT_VARIANT, &nested);
    hex.insert(0, "0C200C0001000000010000009008");
    if (depth != 128) continue;
    EXPECT_EQ(Written(nested), hex);
    EXPECT_TRUE(ReadValue(hex) == nested);
  }
  EXPECT_EQ(CodeOf(Bytes(hex), ReadVariant), CException::kEndOfStream);
  EXPECT_THROW(Written(nested), CException);
}

TEST(VariantForm, WhatCannotBeReadIsNotWritten) {
  CVariant reference;
  reference.vt = VT_I4 | VT_BYREF;
  EXPECT_THROW(Written(reference), CException);
  reference.vt = VT_I4 | VT_BYREF | VT_ARRAY;
  EXPECT_THROW(Written(reference), CException);
  reference.vt = VT_EMPTY;
  CVariant untyped = Value("[i2:1]");
  untyped.GetArray()->SetVarType(VT_EMPTY);
  EXPECT_EQ(Written(untyped), Written(Value("[i2:1]"))) << "it has the value's type";
  untyped.vt = VT_I4 | VT_ARRAY;
  EXPECT_THROW(Written(untyped), CException);
}

TEST(ArrayForm, ReplacesShapeAndTypeAndAFailureLeavesTheArray) {
  const CVariant source = Value("[i2:1 -2]");
  EXPECT_EQ(Written(*source.parray),
            "02000100000002000000900001"
            "00FEFF");
  CVariant target;
  target.CreateStringArray(2, 2);
  target.GetArray()->SetText(3, u"kept");
  zorutil::memory_serializer_t cut(Bytes("0200010000000200000090000100"));
  EXPECT_THROW(zorutil::Deserialize(*target.parray, cut), CException);
  EXPECT_EQ(target.GetArray()->GetText(3), u"kept");
  zorutil::memory_serializer_t in(
      Bytes("02000100000002000000900001"
            "00FEFF"));
  zorutil::Deserialize(*target.parray, in);
  EXPECT_TRUE(*target.parray == *source.parray);
  target.vt = VT_I2 | VT_ARRAY;
  EXPECT_TRUE(target == source);
}

TEST(SerializationBuffer, EndsEveryCutRecordWithItsOwnCode) {
  zorutil::CSerializationBuffer whole;
  zorutil::Serialize(CString(std::u16string(300, u'\u6c34') + u"abc"), whole);
  for (const char* value : {"", "i4:-5", "s:text", "[i2:1 2 3]", "[s:a bc]"}) zorutil::Serialize(Value(value), whole);
  CMemFile file;
  whole.CopyToFile(file);
  for (unsigned cut = 0; cut <= whole.size(); ++cut) {
    file.SeekToBegin();
    zorutil::CSerializationBuffer in, again;
    in.FromFile(file, cut);
    CString text;
    CVariant value;
    const auto readAll = [&](zorutil::ISerializer&) {
      zorutil::Deserialize(text, in);
      zorutil::Serialize(text, again);
      while (again.size() < whole.size()) zorutil::Serialize((zorutil::Deserialize(value, in), value), again);
    };
    EXPECT_EQ(CodeOf({}, readAll), cut < whole.size() ? CException::kEndOfStream : 0) << cut;
    EXPECT_EQ(again == whole, cut == whole.size()) << cut;
  }
}

}  // namespace
