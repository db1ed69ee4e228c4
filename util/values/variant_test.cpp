#include "util/values/variant.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <sstream>
#include <vector>

#include "platform/framework/string_array.h"
#include "platform/ole/string.h"
#include "platform/zorplatform/exception.h"
#include "util/values/safe_array.h"
#include "util/values/variant_helpers.h"

using namespace std::literals;
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

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

CVariant Strings(std::initializer_list<const char16_t*> texts) {
  CVariant array;
  array.CreateStringArray(static_cast<unsigned>(texts.size()));
  unsigned i = 0;
  for (const char16_t* text : texts) {
    if (text != nullptr) array.GetArray()->SetText(i, text);
    ++i;
  }
  return array;
}

CVariant Ints(std::vector<std::int32_t> values) { return CVariant::FromArray<std::int32_t>(values); }

CVariant NullArray(VARTYPE element) {
  CVariant value;
  value.vt = static_cast<VARTYPE>(element | VT_ARRAY);
  return value;
}

// One of each way to own something, or nothing.
std::vector<CVariant> OneOfEach() {
  const CVariant nested[] = {CVariant(u"x"), Ints({1, 2}), CVariant()};
  std::vector<CVariant> values = {CVariant(),
                                  CVariant::FromDouble(2.5),
                                  CVariant(u"text"),
                                  CVariant(u""),
                                  Ints({1, 2, 3}),
                                  Strings({u"a", u"b"}),
                                  CVariant(3U, VT_VARIANT, nested),
                                  Ints({})};
  values.push_back(NullArray(VT_I4));
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
  CVariant numbers = Ints(std::vector<std::int32_t>(1000, 1));
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
  const CVariant inner[] = {CVariant(u"leaf"), Ints({4, 5}), CVariant()};
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
  CVariant strings = Strings({u"abc"});
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
  CVariant source = Strings({u"a"});
  tagVARIANT record = source;
  source.DetachData();
  EXPECT_TRUE(source.IsEmpty());
  CVariant target(u"freed");
  target.AttachData(record);
  EXPECT_EQ(record.vt, VT_EMPTY);
  EXPECT_EQ(record.ullVal, 0u);
  target.AttachData(target);
  EXPECT_TRUE(target == Strings({u"a"}));
  target.AttachString(SysAllocString(u"s"));
  EXPECT_EQ(target.GetStringView(), u"s");
}

// A string that claims more than can be allocated makes the copy of its array fail half-way.
TEST(VariantOwnership, AFailedCopyLeavesTheOldValueAndNoLeak) {
  struct {
    std::uint32_t byteLength = 0xFFFFFFFE;
    char16_t text[2] = {};
  } huge;
  CVariant source = Strings({u"a", nullptr, u"c"});
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
  for (const std::size_t length : {std::size_t{1} << 30, (std::size_t{1} << 32) + 1}) {
    EXPECT_THROW(kept = std::u16string_view(u"x", length), std::bad_alloc);
    EXPECT_THROW(source.GetArray()->SetText(0, std::u16string_view(u"x", length)), CException);
  }
  EXPECT_EQ(kept.GetStringView(), u"kept");
  EXPECT_EQ(source.GetArray()->GetText(0), u"a");
}

TEST(VariantArray, IsCreatedFromThePresentType) {
  for (const VARTYPE vt : {VT_EMPTY, VT_NULL, VT_ERROR, VT_UNKNOWN}) {
    CVariant value;
    value.vt = vt;
    try {
      value.CreateArray(1, nullptr);
      ADD_FAILURE() << vt;
    } catch (const CException& error) {
      EXPECT_EQ(error.GetCode(), CException::kNoFixedSize);
    }
    EXPECT_EQ(value.vt, vt);
  }
  EXPECT_THROW(CVariant(1U, VT_NULL, nullptr), CException);
  CVariant value(u"freed");
  value.CreateArray(2, "ignored for strings");
  EXPECT_TRUE(value == Strings({nullptr, nullptr}));
  value.vt = VT_BSTR | VT_ARRAY;
  value.CreateArray(1, nullptr);
  EXPECT_EQ(value.GetNumElements(), 1u);
  const std::int16_t truths[] = {VARIANT_TRUE, 1, 0};
  CVariant bools(3U, VT_BOOL, truths);
  std::vector<bool> read(5);
  GetArrayAsVector(bools, read);
  EXPECT_EQ(read, (std::vector<bool>{true, false, false}));
  GetArrayAsVector(Ints({1}), read);
  EXPECT_TRUE(read.empty());
  std::vector<CString> texts(1);
  GetArrayAsVector(Strings({u"a", nullptr}), texts);
  EXPECT_EQ(texts, (std::vector<CString>{u"a", u""}));
  GetArrayAsVector(NullArray(VT_BSTR), texts);
  EXPECT_TRUE(texts.empty());
}

TEST(VariantArray, TellsSizesAndStrings) {
  const struct {
    CVariant value;
    std::size_t bytes;
    unsigned elements;
    bool listed;
    CStringArray list;
  } cases[] = {{CVariant(), 0, 1, false, {}},
               {CVariant::FromInt16(3), 2, 1, false, {}},
               {CVariant::FromDecimal({}), 16, 1, false, {}},
               {CVariant(u"abc"), 6, 1, false, {}},
               {Ints({1, -2}), 8, 2, true, {u"1", u"-2"}},
               {Strings({u"a", nullptr, u"b"}), 12, 3, true, {u"a", u"", u"b"}},
               {NullArray(VT_R8), 0, 0, true, {}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.value));
    EXPECT_EQ(c.value.GetSizeInBytes(), c.bytes);
    EXPECT_EQ(c.value.GetNumElements(), c.elements);
    CStringArray list = {u"before"};
    EXPECT_EQ(c.value.GetStringArray(list), c.listed);
    EXPECT_EQ(list, c.list);
  }
}

TEST(VariantArray, GivesOutAddressesAndSpansOfItsElements) {
  CVariant ints = Ints({1, 2});
  EXPECT_EQ(static_cast<void*>(ints), ints.parray->pvData);
  EXPECT_EQ(ints.AsSpan<std::int32_t>().size(), 2u);
  EXPECT_TRUE(ints.AsSpan<std::uint32_t>().empty() && ints.AsSpan<float>().empty());
  CVariant text(u"a"), number = CVariant::FromInt8(1), decimal = CVariant::FromDecimal({}), empty;
  EXPECT_EQ(static_cast<void*>(text), text.bstrVal);
  EXPECT_EQ(static_cast<void*>(number), &number.cVal);
  EXPECT_EQ(static_cast<const void*>(decimal), &decimal);
  EXPECT_EQ(static_cast<void*>(empty), nullptr);
  CVariant null = NullArray(VT_I4);
  EXPECT_EQ(static_cast<void*>(null), nullptr);
}

TEST(VariantFormat, WritesTheseTexts) {
  const struct {
    CVariant value;
    const char* normal;
    const char* full;
  } cases[] = {
      {CVariant(), "", ""},
      {CVariant::Null(), "", ""},
      {CVariant::FromError(5), "", ""},
      {CVariant::FromInt8(-128), "-128", "-128"},
      {CVariant::FromInt16(-32768), "-32768", "-32768"},
      {CVariant::FromInt(-5), "-5", "-5"},
      {CVariant::FromBool(true), "1", "1"},
      {CVariant::FromUInt8(255), "255", "255"},
      {CVariant::FromUInt(4294967295), "4294967295", "4294967295"},
      {CVariant::FromInt64(INT64_MIN), "-9223372036854775808", "-9223372036854775808"},
      {CVariant::FromUInt64(UINT64_MAX), "18446744073709551615", "18446744073709551615"},
      {CVariant::FromFloat(0.1F), "0.1", "0.100000001"},
      {CVariant::FromFloat(1e10F), "1E+10", "1E+10"},
      {CVariant::FromDouble(0.1), "0.1", "0.100000000000000006"},
      {CVariant::FromDouble(-0.0), "-0", "-0"},
      {CVariant::FromDouble(123456789012345.6), "123456789012346", "123456789012345.594"},
      {CVariant::FromDouble(9.99999999999999e99), "9.99999999999999E+99", "9.99999999999999045E+99"},
      {CVariant::FromDouble(1.23456789012345e100), "1.2345678901235E+100", "1.23456789012345006E+100"},
      {CVariant::FromDouble(-1.23456789012345e100), "-1.2345678901235E+100", "-1.23456789012345006E+100"},
      {CVariant::FromDouble(kInfinity), "INF", "INF"},
      {CVariant::FromDouble(kNaN), "NAN", "NAN"},
      {CVariant::FromDate(45000.25), "2023-03-15 06:00:00.000", "2023-03-15 06:00:00.000"},
      {CVariant(u"tab\t"), "tab\t", "tab\t"},
      {CVariant::FromCurrency({-12500}), "-1.25", "-1.25"},
      {CVariant::FromDecimal({0, 2, 0, 0, 1230}), "12.3", "12.3"},
      {Ints({1, -2}), "1\t-2\r\n", "1\t-2\r\n"},
      {NullArray(VT_I4), "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.full);
    CString text = u"before";
    c.value.Format(text, CVariant::FORMAT_NORMAL);
    EXPECT_EQ(text.ToUtf8(), c.normal);
    EXPECT_EQ(c.value.ToString(), text);
    c.value.FormatEx(text);
    EXPECT_EQ(text.ToUtf8(), c.full);
  }
  std::ostringstream out;
  out << CVariant(u"\u00e9") << CVariant::FromInt16(3);
  EXPECT_EQ(out.str(),
            "\xC3\xA9"
            "3");
  EXPECT_EQ(testing::PrintToString(CVariant::FromFloat(0.5F)), "VT_R4 \"0.5\"");
}

TEST(VariantReading, TellsTruthAndNumber) {
  const struct {
    CVariant value;
    bool truth;
    double number;
  } cases[] = {
      {CVariant(), false, 0},
      {CVariant::Null(), false, 0},
      {CVariant::FromInt8(-1), true, -1},
      {CVariant::FromUInt8(255), true, 255},
      {CVariant::FromInt16(256), true, 256},
      {CVariant::FromUInt16(0), false, 0},
      {CVariant::FromUInt32(0x80000000), true, 2147483648.0},
      {CVariant::FromUInt(4294967295), true, 4294967295.0},
      {CVariant::FromInt64(std::int64_t{1} << 32), true, 4294967296.0},
      {CVariant::FromUInt64(UINT64_MAX), true, 0x1p64},
      {CVariant::FromFloat(FLT_MIN), true, double{FLT_MIN}},
      {CVariant::FromFloat(std::nextafter(FLT_MIN, 0.0F)), false, double{std::nextafter(FLT_MIN, 0.0F)}},
      {CVariant::FromFloat(-0.0F), false, 0},
      {CVariant::FromDouble(DBL_MIN), true, DBL_MIN},
      {CVariant::FromDouble(-std::nextafter(DBL_MIN, 0)), false, -std::nextafter(DBL_MIN, 0)},
      {CVariant::FromDate(0.5), true, 0.5},
      {CVariant::FromCurrency({1}), true, 0},
      {CVariant::FromBool(true), true, 1},
      {CVariant(u"tRUE"), true, 0},
      {CVariant(u" 2.5 bar"), true, 2.5},
      {CVariant(u"0.5"), false, 0.5},
      {CVariant(u""), false, 0},
      {CVariant::FromDecimal({0, 0, 0, 0, 5}), false, 0},
      {Ints({1}), false, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.value));
    EXPECT_EQ(static_cast<bool>(c.value), c.truth);
    EXPECT_EQ(c.value.GetAsDouble(), c.number);
  }
  EXPECT_TRUE(static_cast<bool>(CVariant::FromDouble(kNaN)) && static_cast<bool>(CVariant::FromFloat(NAN)));
  EXPECT_EQ(static_cast<CTimeStamp>(CVariant(u"45000.25")), CTimeStamp(45000.25));
}

TEST(VariantEquality, GoesByTypeAndBits) {
  CVariant truthArray(1U, VT_BOOL, nullptr), shortArray(1U, VT_I2, nullptr);
  const struct {
    CVariant a, b;
    bool equal;
  } cases[] = {
      {CVariant(), CVariant(), true},
      {CVariant::FromInt(5), CVariant::FromInt32(5), true},
      {CVariant::FromUInt32(5), CVariant::FromUInt(5), true},
      {CVariant::FromInt(5), CVariant::FromUInt(5), false},
      {CVariant::FromInt32(5), CVariant::FromInt64(5), false},
      {CVariant::FromInt32(1), CVariant::FromDouble(1), false},
      {CVariant::Null(), CVariant::Null(), false},
      {CVariant::FromError(1), CVariant::FromError(1), false},
      {CVariant::FromFloat(0.0F), CVariant::FromFloat(-0.0F), false},
      {CVariant::FromDouble(0.0), CVariant::FromDouble(-0.0), false},
      {CVariant::FromDouble(kNaN), CVariant::FromDouble(kNaN), true},
      {CVariant::FromInt64(1), CVariant::FromInt64((std::int64_t{1} << 32) + 1), false},
      {CVariant::FromCurrency({5}), CVariant::FromCurrency({5}), true},
      {CVariant::FromDecimal({0, 1, 0, 0, 10}), CVariant::FromDecimal({0, 0, 0, 0, 1}), false},
      {CVariant(u"a"), CVariant(u"A"), false},
      {CVariant(u"a\0b"sv), CVariant(u"a\0c"sv), false},
      {Ints({1, 2}), Ints({1, 2}), true},
      {Ints({1, 2}), Ints({1, 3}), false},
      {Ints({}), NullArray(VT_I4), false},
      {NullArray(VT_I4), NullArray(VT_I4), true},
      {NullArray(VT_I4), NullArray(VT_INT), true},
      {NullArray(VT_I4), NullArray(VT_R8), false},
      {Ints({1}), CVariant::FromInt32(1), false},
      {truthArray, shortArray, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.a) + " == " + testing::PrintToString(c.b));
    EXPECT_EQ(c.a == c.b, c.equal);
    EXPECT_EQ(c.b == c.a, c.equal);
  }
  CVariant null;  // a null string
  null.vt = VT_BSTR;
  EXPECT_TRUE(null == CVariant(u""));
}

TEST(VariantSet, TextKeepsTheType) {
  const struct {
    CVariant before;
    const char16_t* text;
    CVariant after;
  } cases[] = {
      {CVariant(), u"12", CVariant(u"12")},
      {CVariant(u"old"), nullptr, CVariant(u"")},
      {CVariant(), nullptr, CVariant(u"")},
      {CVariant::FromInt8(1), u"-200", CVariant::FromInt8(-128)},
      {CVariant::FromUInt8(1), u"256", CVariant::FromUInt8(255)},
      {CVariant::FromInt16(1), u"abc", CVariant::FromInt16(0)},
      {CVariant::FromInt16(1), u"70000", CVariant::FromInt16(32767)},
      {CVariant::FromUInt16(1), u"-1", CVariant::FromUInt16(0)},
      {CVariant::FromInt(1), u"99999999999", CVariant::FromInt(INT32_MAX)},
      {CVariant::FromUInt32(1), u"99999999999", CVariant::FromUInt32(UINT32_MAX)},
      {CVariant::FromInt64(1), u"-9223372036854775809", CVariant::FromInt64(INT64_MIN)},
      {CVariant::FromUInt64(1), u"18446744073709551616", CVariant::FromUInt64(UINT64_MAX)},
      {CVariant::FromUInt64(1), u"-1", CVariant::FromUInt64(0)},
      {CVariant::FromFloat(1), u"1e999", CVariant::FromFloat(INFINITY)},
      {CVariant::FromDouble(1), u"2.5e0x", CVariant::FromDouble(2.5)},
      {CVariant::FromDate(1), u"45000.5", CVariant::FromDate(45000.5)},
      {CVariant::FromDate(1), u"2023-03-15", CVariant::FromDate(2023)},
      {CVariant::FromBool(false), u"True", CVariant::FromBool(true)},
      {CVariant::FromBool(true), u"yes", CVariant::FromBool(false)},
      {CVariant::FromCurrency({7}), u"12", CVariant::FromCurrency({7})},
      {Ints({7}), u"12", Ints({7})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.before) + " = " + testing::PrintToString(c.after));
    CVariant value(c.before);
    Set(value, c.text);
    EXPECT_TRUE(value == c.after) << testing::PrintToString(value);
  }
}

TEST(VariantSet, TakesEveryKindOfText) {
  char16_t units[] = u"7";
  wchar_t wide[] = L"7";
  const auto expectSeven = [](auto&& text) {
    CVariant value = CVariant::FromInt16(1);
    Set(value, text);
    EXPECT_TRUE(value == CVariant::FromInt16(7));
  };
  expectSeven(static_cast<char16_t*>(units));
  expectSeven(static_cast<wchar_t*>(wide));
  expectSeven(u"7");
  expectSeven("7");
  expectSeven(CString(u"7"));
  expectSeven("7"s);
  expectSeven(u"7"s);
  expectSeven(u"7"sv);
  CVariant text(u"0123");
  Set(text, text.GetStringView().substr(2));
  EXPECT_EQ(text.GetStringView(), u"23");
}

TEST(VariantSet, TimeKeepsTheTypeAndBytesAndListsReplaceIt) {
  const CTimeStamp time(45000.75);
  const struct {
    CVariant before, after;
  } cases[] = {
      {CVariant(), CVariant::FromDate(45000.75)},
      {CVariant::FromDate(1), CVariant::FromDate(45000.75)},
      {CVariant(u"old"), CVariant(u"2023-03-15 18:00:00.000")},
      {CVariant::FromUInt16(1), CVariant::FromUInt16(45000)},
      {CVariant::FromInt(1), CVariant::FromInt(45000)},
      {CVariant::FromUInt64(1), CVariant::FromUInt64(45000)},
      {CVariant::FromFloat(1), CVariant::FromFloat(45000.75F)},
      {CVariant::FromDouble(1), CVariant::FromDouble(45000.75)},
      {CVariant::FromBool(false), CVariant::FromBool(true)},
      {CVariant::FromCurrency({1}), CVariant::FromCurrency({450007500})},
      {Ints({1}), Ints({1})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.before));
    CVariant byTime(c.before), byFileTime(c.before);
    Set(byTime, time);
    Set(byFileTime, time.GetFileTime());
    EXPECT_TRUE(byTime == c.after && byFileTime == c.after) << testing::PrintToString(byTime);
  }
  CVariant negative = CVariant::FromInt64(1);
  Set(negative, CTimeStamp(-2.75));
  EXPECT_EQ(negative.llVal, -2) << "cut toward zero";
  Set(negative, static_cast<const tagVARIANT&>(CVariant(u"copied")));
  EXPECT_EQ(negative.GetStringView(), u"copied");
  Set(negative, std::vector<unsigned char>{1, 2});
  EXPECT_EQ(negative.vt, VT_UI1 | VT_ARRAY);
  EXPECT_EQ(negative.AsSpan<std::uint8_t>()[1], 2);
  Set(negative, std::vector<unsigned char>());
  EXPECT_TRUE(negative.GetArray() != nullptr && negative.GetNumElements() == 0);
}

TEST(VariantSet, AListOfTextsGoesIntoTheSlotsThatFit) {
  const CStringArray two = {u"1", u"x"};
  const struct {
    CVariant before, after;
  } cases[] = {
      {CVariant(), Strings({u"1", u"x"})},
      {CVariant::FromInt16(5), Strings({u"1", u"x"})},
      {Strings({u"a"}), Strings({u"1", u"x"})},
      {Strings({u"a", u"b"}), Strings({u"1", u"x"})},
      {Ints({7, 8}), Ints({1, 8})},
  };
  for (const auto& c : cases) {
    CVariant value(c.before);
    Set(value, two);
    EXPECT_TRUE(value == c.after) << testing::PrintToString(value);
  }
  CVariant one = CVariant::FromInt16(5);
  Set(one, CStringArray{u"a"});
  EXPECT_TRUE(one == Strings({u"a"}));
  Set(one, CStringArray());
  EXPECT_TRUE(one == Strings({}));
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
