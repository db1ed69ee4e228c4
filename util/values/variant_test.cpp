#include "util/values/variant.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <new>
#include <sstream>
#include <vector>

#include "platform/framework/string_array.h"
#include "platform/ole/string.h"
#include "platform/zorplatform/exception.h"
#include "util/values/safe_array.h"
#include "util/values/value_testing.h"
#include "util/values/variant_compare.h"
#include "util/values/variant_helpers.h"

using namespace std::literals;
using value_testing::Rows;
using value_testing::Value;
using variant_helpers::Set;
using zorplatform::CException;
using zorplatform::CTimeStamp;

namespace {

static_assert(sizeof(CVariant) == 16 && std::is_standard_layout_v<CVariant>);
static_assert(std::is_nothrow_move_constructible_v<CVariant> && std::is_nothrow_move_assignable_v<CVariant> &&
              std::is_nothrow_swappable_v<CVariant>);
static_assert(!std::is_constructible_v<CVariant, int> && !std::is_constructible_v<CVariant, bool> &&
              !std::is_constructible_v<CVariant, double> && !std::is_constructible_v<CVariant, void*> &&
              !std::is_constructible_v<CVariant, const int*>);
static_assert(!std::is_assignable_v<CVariant&, int> && !std::is_assignable_v<CVariant&, bool>);
static_assert(!std::is_convertible_v<CVariant, bool> && !std::is_convertible_v<CString, bool> &&
              !std::is_convertible_v<CVariant, void*> && !std::is_convertible_v<CVariant, int>);
static_assert(std::is_constructible_v<CVariant, std::string> && std::is_constructible_v<CVariant, std::u16string> &&
              std::is_assignable_v<CVariant&, std::string> && std::is_assignable_v<CVariant&, std::nullptr_t>);

// One of each way to own something, or nothing.
std::vector<CVariant> OneOfEach() {
  std::vector<CVariant> values;
  for (const char* text :
       {"", "r8:2.5", "s:text", "s:", "[i4:1 2 3]", "[s:a b]", "[var:s:x [i4:1] i2:5]", "[i4]", "{i4}"})
    values.push_back(Value(text));
  values.push_back(CVariant::FromDecimal({0, 3, 0, 0, 1234}));
  return values;
}

TEST(VariantCopy, IsEqualAndIndependentWhateverWasHeldBefore) {
  for (const CVariant& source : OneOfEach()) {
    for (CVariant target : OneOfEach()) {
      SCOPED_TRACE(testing::PrintToString(source) + " into " + testing::PrintToString(target));
      CVariant copy(source);
      target = source;
      EXPECT_TRUE(copy == source && target == source);
      EXPECT_EQ(target.vt, source.vt);
      const CVariant& same = target;
      target = same;
      EXPECT_TRUE(target == source);
      if (CSafeArray* const array = target.GetArray(); array != nullptr && array->SetElement(0, CVariant(u"77"))) {
        EXPECT_FALSE(target == source);
        EXPECT_TRUE(copy == source);
      }
    }
  }
}

TEST(VariantCopy, MovingAndSwappingLeaveTheSourceEmpty) {
  for (const CVariant& value : OneOfEach()) {
    CVariant source(value);
    CVariant target(std::move(source));
    EXPECT_TRUE(source.IsEmpty() && source.ullVal == 0);  // NOLINT: the state after a move is promised
    source = u"old";
    source = std::move(target);
    EXPECT_TRUE(source == value && target.IsEmpty());
    CVariant& same = source;
    source = std::move(same);
    EXPECT_TRUE(source == value);
    CVariant other(u"other");
    swap(source, other);
    EXPECT_TRUE(other == value && source == CVariant(u"other"));
  }
}

TEST(VariantCopy, OfAnArrayThatIsNotOfItsTypeIsANullArray) {
  CVariant bytes(2U, VT_UI1, nullptr);
  bytes.vt = VT_I4 | VT_ARRAY;  // another element size
  CVariant numbers = CVariant::FromArray<std::int32_t>(std::vector<std::int32_t>(1000, 1));
  numbers.vt = VT_BSTR | VT_ARRAY;  // the size of a string
  for (CVariant* const source : {&bytes, &numbers}) {
    CVariant copy(u"old");
    copy = *source;
    EXPECT_EQ(copy.vt, source->vt);
    EXPECT_EQ(copy.parray, nullptr);
    EXPECT_TRUE(CVariant(*source) == copy);
  }
  numbers.vt = VT_I4 | VT_ARRAY;
  numbers.GetArray()->SetVarType(VT_EMPTY);
  CVariant stamped(numbers);
  EXPECT_EQ(stamped.GetArray()->GetVarType(), VT_I4);
  EXPECT_EQ(stamped.AsSpan<std::int32_t>()[999], 1);
  stamped = numbers;  // into the array that is there
  EXPECT_EQ(stamped.GetArray()->GetVarType(), VT_I4);
}

TEST(VariantCopy, MayTakeAnElementOfItsOwnArray) {
  const CVariant inner[] = {CVariant(u"leaf"), Value("[i4:4 5]"), CVariant()};
  const CVariant middle[] = {CVariant(3U, VT_VARIANT, inner)};
  for (unsigned i = 0; i < 3; ++i) {
    CVariant copied(3U, VT_VARIANT, inner), moved(copied), fetched(copied);
    copied = copied.AsSpan<CVariant>()[i];
    moved = std::move(moved.AsSpan<CVariant>()[i]);
    fetched.GetArray()->GetElement(i, fetched);
    EXPECT_TRUE(copied == inner[i] && moved == inner[i] && fetched == inner[i]) << i;
  }
  CVariant sameType(1U, VT_VARIANT, middle);
  sameType = sameType.AsSpan<CVariant>()[0];
  EXPECT_TRUE(sameType == middle[0]);
  sameType.GetArray()->SetElement(0, sameType);  // an array takes a copy of itself
  EXPECT_TRUE(sameType.AsSpan<CVariant>()[0] == middle[0]);
  CVariant text(u"0123456789");
  text = text.GetStringView().substr(3);
  EXPECT_EQ(text.GetStringView(), u"3456789");
  text = static_cast<const char16_t*>(text) + 5;
  EXPECT_EQ(text.GetStringView(), u"89");
  CVariant strings = Value("[s:abc]");
  strings.GetArray()->SetText(0, strings.GetArray()->GetText(0).substr(1));
  strings = strings.GetArray()->GetText(0);
  EXPECT_EQ(strings.GetStringView(), u"bc");
}

TEST(VariantText, IsTakenFromEverySourceAndNullIsEmpty) {
  for (const CVariant& value :
       {CVariant(u"a\u00e9"), CVariant(L"a\u00e9"), CVariant("a\xC3\xA9"), CVariant("a\xC3\xA9"s),
        CVariant(u"a\u00e9"s), CVariant(CString(u"a\u00e9")), CVariant(u"a\u00e9z"sv.substr(0, 2))}) {
    EXPECT_EQ(value.vt, VT_BSTR);
    EXPECT_EQ(value.GetStringView(), u"a\u00e9");
    EXPECT_EQ(value.GetSizeInBytes(), 4u);
  }
  CVariant value(u"old");
  value = "new";
  EXPECT_STREQ(value.ToString().ToUtf8().c_str(), "new");
  value = static_cast<const char*>(nullptr);
  EXPECT_TRUE(value.vt == VT_BSTR && value.bstrVal == nullptr);
  EXPECT_TRUE(CVariant(static_cast<const wchar_t*>(nullptr)).IsEmpty());
  EXPECT_EQ(*static_cast<const char16_t*>(CVariant::FromInt32(5)), u'\0') << "no conversion is made";
}

TEST(VariantOwnership, TravelsThroughPlainRecords) {
  CVariant source = Value("[s:a]"), target(u"freed");
  tagVARIANT record = source;
  source.DetachData();
  target.AttachData(record);
  EXPECT_TRUE(source.IsEmpty() && record.vt == VT_EMPTY && record.ullVal == 0);
  target.AttachData(target);
  EXPECT_TRUE(target == Value("[s:a]"));
}

// A string that claims more than can be allocated makes the copy of its array fail half-way.
TEST(VariantOwnership, AFailedCopyLeavesTheOldValueAndNoLeak) {
  struct {
    std::uint32_t byteLength = 0xFFFFFFFE;
    char16_t text[2] = {};
  } huge;
  CVariant source = Value("[s:a ~ c]");
  BSTR* const slots = static_cast<BSTR*>(source.parray->pvData);
  SysFreeString(std::exchange(slots[1], huge.text));
  for (CVariant target : OneOfEach()) {
    const CVariant before(target);
    EXPECT_THROW(target = source, CException);
    EXPECT_TRUE(target == before);
  }
  CVariant text;
  text.vt = VT_BSTR, text.bstrVal = huge.text;
  const CVariant inner[] = {CVariant(u"x"), CVariant()};
  CVariant variants(2U, VT_VARIANT, inner);
  variants.AsSpan<CVariant>()[1].AttachData(text);
  EXPECT_THROW(CVariant{variants}, std::bad_alloc);
  variants.AsSpan<CVariant>()[1].DetachData();
  slots[1] = nullptr;
  CVariant kept(u"kept");
  for (const std::size_t length :
       {std::size_t{1} << 30, static_cast<std::size_t>(std::min<std::uint64_t>((1ULL << 32) + 1, SIZE_MAX))}) {
    EXPECT_THROW(kept = std::u16string_view(u"x", length), std::bad_alloc);
    EXPECT_THROW(source.GetArray()->SetText(0, std::u16string_view(u"x", length)), CException);
  }
  EXPECT_EQ(kept.GetStringView(), u"kept");
  EXPECT_EQ(source.GetArray()->GetText(0), u"a");
}

TEST(VariantArray, IsCreatedFromThePresentType) {
  for (const char* text : {"", "null", "err:1"}) {
    CVariant value = Value(text);
    const VARTYPE vt = value.vt;
    EXPECT_THROW(value.CreateArray(1, nullptr), CException);
    EXPECT_EQ(value.vt, vt);
    EXPECT_THROW(CVariant(1U, vt, nullptr), CException);
  }
  EXPECT_THROW(CVariant(1U, VT_I4 | VT_BYREF, nullptr), CException);
  CVariant value(u"freed");
  value.CreateArray(2, "ignored for strings");
  EXPECT_TRUE(value == Value("[s:~ ~]"));
  value.CreateArray(1, nullptr);
  EXPECT_TRUE(value == Value("[s:~]"));
  EXPECT_EQ(CVariant(2, 1, VT_BSTR, "ignored too").ToString(), u"\r\n\r\n");
  const std::int16_t truths[] = {VARIANT_TRUE, 1, 0};
  std::vector<bool> bools(5);
  GetArrayAsVector(CVariant(3U, VT_BOOL, truths), bools);
  EXPECT_EQ(bools, (std::vector<bool>{true, false, false}));
  GetArrayAsVector(Value("[i2:1]"), bools);
  EXPECT_TRUE(bools.empty());
  std::vector<CString> texts(1);
  GetArrayAsVector(Value("[s:a ~]"), texts);
  EXPECT_EQ(texts, (std::vector<CString>{u"a", u""}));
  GetArrayAsVector(Value("{s}"), texts);
  EXPECT_TRUE(texts.empty());
}

TEST(VariantArray, ByReferenceIsNotLookedInto) {
  std::uint64_t elsewhere = 1;
  CVariant value;
  value.vt = VT_I4 | VT_ARRAY | VT_BYREF;
  value.parray = reinterpret_cast<decltype(value.parray)>(&elsewhere);
  EXPECT_EQ(value.ToString(), u"");
  EXPECT_TRUE(value.GetSizeInBytes() == 0 && value.GetNumElements() == 0 && static_cast<void*>(value) == nullptr);
  EXPECT_TRUE(value == value && !(value == Value("[i4:1 2]")));
  CVariant other(value);
  other.ullVal = 2;
  EXPECT_FALSE(CVariantCompare::IsValueChanged(value, other, 1, CVariantCompare::EQUAL_IS_CHANGED));
  EXPECT_FALSE(other.ConvertType(VT_R8 | VT_ARRAY, CVariant::CONVERT_OR_KEEP));
  EXPECT_TRUE(other.ConvertTypeEx(VT_R8 | VT_ARRAY, 0, true) == E_FAIL && other.IsEmpty());
}

TEST(VariantArray, TellsSizesStringsAndElements) {
  // The value, its size in bytes, its elements, and the texts of an array.
  for (const auto& c : Rows("|0|1; i2:3|2|1; s:abc|6|1; {r8}|0|0|; [i4:1 -2]|8|2|1 -2; [s:a ~ b]|12|3|a  b")) {
    SCOPED_TRACE(c[0]);
    const CVariant value = Value(c[0]);
    EXPECT_EQ(value.GetSizeInBytes(), std::stoul(c[1]));
    EXPECT_EQ(value.GetNumElements(), std::stoul(c[2]));
    CStringArray list = {u"before"};
    EXPECT_EQ(value.GetStringArray(list), c.size() == 4);
    CString joined;
    for (const CString& text : list) joined += (joined.IsEmpty() ? u"" : u" ") + text;
    EXPECT_EQ(joined.ToUtf8(), c.size() == 4 ? c[3] : "");
  }
  CVariant ints = Value("[i4:1 2]"), null = Value("{i4}"), text(u"a"), decimal = CVariant::FromDecimal({});
  EXPECT_TRUE(ints.AsSpan<std::int32_t>().size() == 2 && ints.AsSpan<std::uint32_t>().empty());
  EXPECT_TRUE(static_cast<void*>(ints) == ints.parray->pvData && static_cast<void*>(null) == nullptr);
  EXPECT_TRUE(static_cast<void*>(text) == text.bstrVal && static_cast<const void*>(decimal) == &decimal);
}

TEST(VariantFormat, WritesTheseTexts) {
  for (const auto& c : Rows(R"(
      ||; null||; err:5||; i1:-128|-128|; i2:-32768|-32768|; i:-5|-5|; bool:1|1|; ui1:255|255|;
      ui:4294967295|4294967295|; cy:-12500|-1.25|; i8:-9223372036854775808|-9223372036854775808|;
      ui8:18446744073709551615|18446744073709551615|; r4:0.1|0.1|0.100000001; r4:1e10|1E+10|;
      r8:0.1|0.1|0.100000000000000006; r8:-0|-0|; r8:123456789012345.6|123456789012346|123456789012345.594;
      r8:inf|INF|; r8:nan|NAN|; r8:9.99999999999999e99|9.99999999999999E+99|9.99999999999999045E+99;
      r8:-1.23456789012345e100|-1.2345678901235E+100|-1.23456789012345006E+100;
      date:45000.25|2023-03-15 06:00:00.000|; {i4}||)")) {
    SCOPED_TRACE(testing::PrintToString(c));
    CString text = u"before";
    Value(c[0]).Format(text, CVariant::FORMAT_NORMAL);
    EXPECT_EQ(text.ToUtf8(), c[1]);
    Value(c[0]).FormatEx(text);
    EXPECT_EQ(text.ToUtf8(), c[2].empty() ? c[1] : c[2]);
  }
  EXPECT_EQ(Value("[i4:1 -2]").ToString(), u"1\t-2\r\n");
  std::ostringstream out;
  out << CVariant(u"\u00e9") << CVariant::FromDecimal({0, 2, 0, 0, 1230}) << testing::PrintToString(Value("r4:0.5"));
  EXPECT_EQ(out.str(),
            "\xC3\xA9"
            "12.3VT_R4 \"0.5\"");
}

TEST(VariantReading, TellsTruthAndNumber) {
  for (const auto& c : Rows(R"(
      |0|0; null|0|0; i1:-1|1|-1; ui1:255|1|255; i2:256|1|256; ui2:0|0|0; ui:4294967295|1|4294967295.0;
      i8:4294967296|1|4294967296.0; ui8:18446744073709551615|1|0x1p64; r4:0x1p-126|1|0x1p-126; r4:0x1p-127|0|0x1p-127;
      r4:-0|0|0; r8:0x1p-1022|1|0x1p-1022; r8:-0x1p-1023|0|-0x1p-1023; date:0.5|1|0.5; cy:1|1|0; bool:1|1|1;
      s:tRUE|1|0; s: 2.5 bar|1|2.5; s:0.5|0|0.5; s:|0|0; [i4:1]|0|0)")) {
    SCOPED_TRACE(testing::PrintToString(c));
    EXPECT_EQ(static_cast<bool>(Value(c[0])), c[1] == "1");
    EXPECT_EQ(Value(c[0]).GetAsDouble(), Value("r8:" + c[2]).dblVal);
  }
  EXPECT_TRUE(static_cast<bool>(Value("r8:nan")) && static_cast<bool>(Value("r4:nan")));
  EXPECT_EQ(static_cast<CTimeStamp>(CVariant(u"45000.25")), CTimeStamp(45000.25));
}

TEST(VariantEquality, HoldsWithinEachOfTheseClassesAndNowhereElse) {
  const auto classes = Rows(R"(
      |; i4:5|i:5; ui4:5|ui:5; i8:5; r8:5; cy:5; r4:0; r4:-0; r8:0; r8:-0; r8:nan|r8:nan; i8:1; i8:4294967297; bool:0; i2:0;
      s:|s:~; s:a; s:A; [i4:1 2]|[i4:1 2]; [i4:1 3]; [i:1 2]; [i4]; {i4}|{i4}|{i}; {r8}; [bool:0]; [i2:0]; [s:a ~]|[s:a ~])");
  for (const auto& one : classes) {
    for (const auto& other : classes) {
      for (const auto& a : one) {
        for (const auto& b : other) EXPECT_EQ(Value(a) == Value(b), &one == &other) << a << " == " << b;
      }
    }
  }
  EXPECT_FALSE(Value("null") == Value("null") || Value("err:1") == Value("err:1"));
  EXPECT_FALSE(CVariant::FromDecimal({0, 1, 0, 0, 10}) == CVariant::FromDecimal({0, 0, 0, 0, 1}));
  EXPECT_FALSE(CVariant(u"a\0b"sv) == CVariant(u"a\0c"sv));
}

TEST(VariantSet, TextKeepsTheType) {
  for (const auto& c : Rows(R"(
      |12|s:12; s:old|~|s:; |~|s:; i1:1|-200|i1:-128; ui1:1|256|ui1:255; i2:1|abc|i2:0; i2:1|70000|i2:32767;
      ui2:1|-1|ui2:0; i:1|99999999999|i:2147483647; ui4:1|99999999999|ui4:4294967295;
      i8:1|-9223372036854775809|i8:-9223372036854775808; ui8:1|18446744073709551616|ui8:18446744073709551615;
      ui8:1|-1|ui8:0; r4:1|1e999|r4:inf; r8:1|2.5e0x|r8:2.5; date:1|45000.5|date:45000.5; date:1|2023-03-15|date:2023;
      bool:0|True|bool:1; bool:1|yes|bool:0; cy:7|12|cy:7; [i4:7]|12|[i4:7])")) {
    SCOPED_TRACE(testing::PrintToString(c));
    CVariant narrow = Value(c[0]), wide(narrow);
    Set(narrow, c[1] == "~" ? nullptr : c[1].c_str());
    Set(wide, CString(c[1] == "~" ? "" : c[1].c_str()));
    EXPECT_TRUE(narrow == Value(c[2]) && wide == narrow);
  }
  CVariant text(u"0123");
  Set(text, text.GetStringView().substr(2));
  EXPECT_EQ(text.GetStringView(), u"23");
  Set(text, L"a");
  Set(text, u"b"s);
  Set(text, static_cast<const wchar_t*>(nullptr));
  EXPECT_EQ(text.GetStringView(), u"");
}

TEST(VariantSet, TimeKeepsTheTypeAndBytesReplaceIt) {
  const CTimeStamp time(45000.75);
  for (const auto& c : Rows(R"(
      |date:45000.75; date:1|date:45000.75; s:old|s:2023-03-15 18:00:00.000; ui2:1|ui2:45000; i:1|i:45000;
      ui8:1|ui8:45000; r4:1|r4:45000.75; r8:1|r8:45000.75; bool:0|bool:1; cy:1|cy:450007500; [i4:1]|[i4:1])")) {
    SCOPED_TRACE(testing::PrintToString(c));
    CVariant byTime = Value(c[0]), byFileTime(byTime);
    Set(byTime, time);
    Set(byFileTime, time.GetFileTime());
    EXPECT_TRUE(byTime == Value(c[1]) && byFileTime == byTime) << testing::PrintToString(byTime);
  }
  CVariant value = Value("i8:1");
  Set(value, CTimeStamp(-2.75));
  EXPECT_EQ(value.llVal, -2) << "cut toward zero";
  CVariant truth = Value("bool:0");
  Set(truth, CTimeStamp(0.5));
  EXPECT_EQ(truth.boolVal, VARIANT_TRUE) << "not cut before";
  Set(value, static_cast<const tagVARIANT&>(CVariant(u"copied")));
  EXPECT_EQ(value.GetStringView(), u"copied");
  Set(value, std::vector<unsigned char>{1, 2});
  EXPECT_TRUE(value == Value("[ui1:1 2]"));
  Set(value, std::vector<unsigned char>());
  EXPECT_TRUE(value == Value("[ui1]"));
}

TEST(VariantSet, AListOfTextsGoesIntoTheSlotsThatFit) {
  for (const auto& c : Rows("|[s:1 x]; i2:5|[s:1 x]; [s:a]|[s:1 x]; [s:a b]|[s:1 x]; [i4:7 8]|[i4:1 8]")) {
    CVariant value = Value(c[0]);
    Set(value, CStringArray{u"1", u"x"});
    EXPECT_TRUE(value == Value(c[1])) << c[0] << ": " << testing::PrintToString(value);
  }
  CVariant one = Value("i2:5");
  Set(one, CStringArray{u"a"});
  EXPECT_TRUE(one == Value("[s:a]"));
  Set(one, CStringArray());
  EXPECT_TRUE(one == Value("[s]"));
}

TEST(VariantText, DoesNotLookAtTheLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no locale with a decimal comma here";
  EXPECT_EQ(CVariant::FromDouble(0.5).ToString(), u"0.5");
  EXPECT_EQ(CVariant(u"0.5").GetAsDouble(), 0.5);
  CVariant value(u"1.5");
  EXPECT_TRUE(value.ConvertType(VT_R8, CVariant::CONVERT_OR_KEEP) && value.dblVal == 1.5);
  std::setlocale(LC_ALL, before.c_str());
}

}  // namespace
