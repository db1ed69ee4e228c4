#include "util/json/json_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "platform/zorplatform/exception.h"
#include "util/json/json_serializer.h"
#include "util/json/value_conversions.h"
#include "util/serialization/stream_serializers.h"

using namespace zorutil::json;

namespace {

constexpr write_options_t kCompact{.indent = 0};

std::string Nested(int depth, const std::string& open, const std::string& inside, const std::string& close) {
  std::string text;
  for (int i = 0; i != depth; ++i) text += open;
  text += inside;
  for (int i = 0; i != depth; ++i) text += close;
  return text;
}

std::shared_ptr<IValue> Value(std::string_view text) {
  std::shared_ptr<IValue> value;
  const text_error_t error = ReadText(text, value);
  EXPECT_FALSE(error) << text << ": " << error.ToString();
  return value != nullptr ? value : std::make_shared<scalar_t>();
}

std::string Written(CVariant value) { return WriteText(scalar_t(std::move(value)), kCompact); }

}  // namespace

TEST(JsonText, RefusesWhatIsNotJsonAndSaysWhere) {
  using namespace std::string_literals;
  const struct {
    std::string text;
    const char* where;
    const char* cause;
  } cases[] = {
      // structure
      {"", "line 1, column 1", "no value"},
      {" \n ", "line 2, column 2", "no value"},
      {"[", "line 1, column 2", "too early"},
      {"{", "line 1, column 2", "too early"},
      {"[1", "line 1, column 3", "too early"},
      {"[1,", "line 1, column 4", "too early"},
      {"[1 2]", "line 1, column 4", "comma or ]"},
      {"[1:2]", "line 1, column 3", "comma or ]"},
      {"[1,]", "line 1, column 4", "value is missing"},
      {"[,1]", "line 1, column 2", "value is missing"},
      {"[1,,2]", "line 1, column 4", "value is missing"},
      {"[1}", "line 1, column 3", "comma or ]"},
      {"[1]]", "line 1, column 4", "more behind"},
      {"[1][2]", "line 1, column 4", "more behind"},
      {"]", "line 1, column 1", "value is missing"},
      {"{]", "line 1, column 2", "quotes"},
      {"{,}", "line 1, column 2", "quotes"},
      {"{a:1}", "line 1, column 2", "quotes"},
      {"{\"a\"}", "line 1, column 5", "colon"},
      {"{\"a\" \"b\"}", "line 1, column 6", "colon"},
      {"{\"a\",1}", "line 1, column 5", "colon"},
      {"{\"a\":}", "line 1, column 6", "value is missing"},
      {"{\"a\":1,}", "line 1, column 8", "member must follow"},
      {"{\"a\":1]", "line 1, column 7", "comma or }"},
      {"{\"a\":1 \"b\":2}", "line 1, column 8", "comma or }"},
      {"{\"a\":1,\n \"\u00e4\u20ac\U0001F600\" 2}", "line 2, column 8", "colon"},
      {"[1, // one\n2]", "line 1, column 5", "comments"},
      {"[1]\x1A", "line 1, column 4", "more behind"},
      {"[1\x0C]", "line 1, column 2", "neither"},
      // words and numbers
      {"nul", "line 1, column 1", "neither"},
      {"[True]", "line 1, column 2", "value is missing"},
      {"[truee]", "line 1, column 2", "neither"},
      {"[nan]", "line 1, column 2", "neither"},
      {"[-Infinity]", "line 1, column 2", "digit must follow the minus"},
      {"[-]", "line 1, column 2", "minus"},
      {"[+1]", "line 1, column 2", "value is missing"},
      {"[5.]", "line 1, column 2", "decimal point"},
      {"[1e]", "line 1, column 2", "exponent"},
      {"[1e+]", "line 1, column 2", "exponent"},
      {"[01]", "line 1, column 2", "begin with 0"},
      {"[1a]", "line 1, column 2", "neither"},
      {"[1\"a\"]", "line 1, column 2", "neither"},
      {"{\"a\":null\"b\"}", "line 1, column 6", "neither"},
      {"[1,\\\"a\"]", "line 1, column 4", "outside a string"},
      {"1e400", "line 1, column 1", "too large"},
      {"-1e99999999999999999999", "line 1, column 1", "too large"},
      // strings
      {"\"", "line 1, column 1", "no end"},
      {"[\n\"a]", "line 2, column 1", "no end"},
      {"[\"\\\"]", "line 1, column 2", "no end"},
      {"[\"a\nb\"]", "line 1, column 4", "control"},
      {"[\"a\0b\"]"s, "line 1, column 4", "control"},
      {"[\"\\x41\"]", "line 1, column 3", "no such escape"},
      {"[\"\\u12\"]", "line 1, column 3", "four"},
      {"[\"\\u12G4\"]", "line 1, column 3", "four"},
      {"[\"\\ud800\\u1x\"]", "line 1, column 9", "four"},
      {"[\"a\" \"]", "line 1, column 6", "no end"},
      {"{\"\\q\":1}", "line 1, column 3", "no such escape"},
      // UTF-8; what is wrong before it comes first
      {"[\"\xFF\"]", "line 1, column 3", "UTF-8"},
      {"[\"\xC0\xAF\"]", "line 1, column 3", "UTF-8"},
      {"[\"\xE2\x82\"]", "line 1, column 3", "UTF-8"},
      {"[\"\xE0\x9F\xBF\"]", "line 1, column 3", "UTF-8"},
      {"[\"\xED\xA0\x80\"]", "line 1, column 3", "UTF-8"},
      {"[\"\xF4\x90\x80\x80\"]", "line 1, column 3", "UTF-8"},
      {"[\xE9]", "line 1, column 2", "UTF-8"},
      {"[1,,\"\xFF\"]", "line 1, column 4", "value is missing"},
      {"\xFF\xFE[\0]\0"s, "line 1, column 1", "UTF-8"},
      // nesting
      {Nested(129, "[", "", "]"), "line 1, column 129", "128"},
      {Nested(100'000, "[", "", "]"), "line 1, column 129", "128"},
      {Nested(100'000, "{\"a\":", "1", "}"), "line 1, column 641", "128"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 40));
    const auto before = std::make_shared<scalar_t>();
    std::shared_ptr<IValue> value = before;
    const text_error_t error = ReadText(c.text, value);
    EXPECT_EQ(value, before);
    EXPECT_TRUE(error.ToString().starts_with(std::string(c.where) + ":")) << error.ToString();
    EXPECT_NE(error.cause.find(c.cause), std::string::npos) << error.ToString();
  }
}

TEST(JsonText, ReadsEveryFormAndWritesItShortest) {
  const struct {
    std::string text;
    std::string written;
  } cases[] = {
      {" [ ] ", "[]"},
      {"{\"a\":{},\"a\":[{ }],\"\":null}", "{\"a\":{},\"a\":[{}],\"\":null}"},
      // names with the same hash
      {"{\"collisionOfName1\":1,\"AOcjBXwB.UoJkjfW\":2}", "{\"collisionOfName1\":1,\"AOcjBXwB.UoJkjfW\":2}"},
      {"\t[\r\n1 ,true,false , null]\n", "[1,true,false,null]"},
      {"\xEF\xBB\xBF[1]", "[1]"},
      {"\"\"", "\"\""},
      {R"("\"\\\/\b\f\n\r\t\u0041\u00E9\u20ac\ud83d\ude00\u0000\u001f\u007f, plain")",
       "\"\\\"\\\\/\\b\\f\\n\\r\\tA\u00e9\u20ac\U0001F600\\u0000\\u001f\x7F, plain\""},
      {"\"\u00e9\u20ac\U0001F600 and more than sixteen plain characters\\\\\"",
       "\"\u00e9\u20ac\U0001F600 and more than sixteen plain characters\\\\\""},
      {R"(["\ud800","\uDC00\ud800x","\ud800\ud83d\ude00"])", "[\"\\ud800\",\"\\udc00\\ud800x\",\"\\ud800\U0001F600\"]"},
      {R"({"\u0061\n":1})", "{\"a\\n\":1}"},
      {"[0,-0,0.0,-0.0,5.0,1e2,1E+2,1e-2]", "[0,-0.0,0.0,-0.0,5.0,100.0,100.0,0.01]"},
      {"[1e15,1e16,0.00001,1e-6,123456789012345678]", "[1000000000000000.0,1e+16,0.00001,1e-06,123456789012345678]"},
      {"[0.1,1.7976931348623157e308,5e-324,2.2250738585072011e-308,1e-400,-1e-400]",
       "[0.1,1.7976931348623157e+308,5e-324,2.225073858507201e-308,0.0,-0.0]"},
      {"[1e23,1e-23,9243441777624755e-2]", "[1e+23,1e-23,92434417776247.55]"},
      {"[9007199254740993.0,0.1000000000000000055511151231257827,123456789012345678901234567890]",
       "[9007199254740992.0,0.1,1.2345678901234568e+29]"},
      {Nested(128, "[", "", "]"), Nested(128, "[", "", "]")},
      // a character of two units where the writer divides a long text
      {"[\"" + std::string(16'383, 'x') + "\U0001F600" + std::string(70'000, 'x') + "\\n\"]",
       "[\"" + std::string(16'383, 'x') + "\U0001F600" + std::string(70'000, 'x') + "\\n\"]"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 60));
    const auto value = Value(c.text);
    EXPECT_EQ(WriteText(*value, kCompact), c.written);
    EXPECT_EQ(WriteText(*Value(WriteText(*value)), kCompact), c.written);
  }
}

TEST(JsonText, GivesEachNumberTheSmallestExactType) {
  const struct {
    const char* text;
    CVariant value;
  } cases[] = {
      {"2147483647", CVariant::FromInt32(2147483647)},
      {"2147483648", CVariant::FromInt64(2147483648)},
      {"-2147483648", CVariant::FromInt32(std::numeric_limits<std::int32_t>::min())},
      {"-2147483649", CVariant::FromInt64(-2147483649)},
      {"9223372036854775807", CVariant::FromInt64(std::numeric_limits<std::int64_t>::max())},
      {"-9223372036854775808", CVariant::FromInt64(std::numeric_limits<std::int64_t>::min())},
      {"9223372036854775808", CVariant::FromUInt64(9223372036854775808U)},
      {"10000000000000000000", CVariant::FromUInt64(10'000'000'000'000'000'000U)},
      {"18446744073709551615", CVariant::FromUInt64(18446744073709551615U)},
      {"18446744073709551616", CVariant::FromDouble(18446744073709551616.0)},
      {"30000000000000000000", CVariant::FromDouble(3e19)},
      {"-9223372036854775809", CVariant::FromDouble(-9223372036854775809.0)},
      {"1.0", CVariant::FromDouble(1)},
      {"-0", CVariant::FromDouble(-0.0)},
      {"true", CVariant::FromBool(true)},
      {"null", CVariant()},
      {"\"1\"", CVariant(u"1")},
  };
  for (const auto& c : cases) EXPECT_EQ(ValueAsVariant(Value(c.text)), c.value) << c.text;
}

TEST(JsonText, WritesEveryTypeOfVariantAsWhatComesNearest) {
  const double infinity = std::numeric_limits<double>::infinity();
  const std::int16_t grid[] = {1, 2, 3, 4, 5, 6};
  const std::vector<CVariant> mixed = {CVariant(u"a"), CVariant::FromDouble(0.5)};
  CVariant third = CVariant(u"-0.125");
  ASSERT_TRUE(third.ConvertType(VT_DECIMAL, CVariant::CONVERT_OR_CLEAR));
  const struct {
    CVariant value;
    const char* text;
  } cases[] = {
      {CVariant::FromInt8(-128), "-128"},
      {CVariant::FromUInt8(255), "255"},
      {CVariant::FromFloat(0.1F), "0.1"},
      {CVariant::FromDouble(infinity), "null"},
      {CVariant::FromDouble(-std::numeric_limits<double>::quiet_NaN()), "null"},
      {CVariant::FromFloat(-std::numeric_limits<float>::infinity()), "null"},
      {CVariant::Null(), "null"},
      {CVariant::FromDate(45000.25), "\"2023-03-15 06:00:00.000\""},
      {CVariant::FromCurrency({.int64 = -10'500}), "-1.05"},
      {CVariant::FromCurrency({.int64 = std::numeric_limits<std::int64_t>::min()}), "-922337203685477.5808"},
      {third, "-0.125"},
      {CVariant::FromError(-1), "-1"},
      {CVariant(3, VT_I2, grid), "[1,2,3]"},
      {CVariant(2, 3, VT_I2, grid), "[[1,2,3],[4,5,6]]"},
      {CVariant(0, VT_I2, nullptr), "[]"},
      {CVariant::FromArray(mixed), "[\"a\",0.5]"},
  };
  for (const auto& c : cases) EXPECT_EQ(Written(c.value), c.text);
}

TEST(JsonText, ADocumentIsItsObjectsWithOrWithoutAnArrayAroundThem) {
  const struct {
    const char* text;
    const char* compact;
    const char* asArray;
  } cases[] = {
      {"", "", "[]"},
      {" [] ", "", "[]"},
      {"{}{\"a\":1} {\"b\":[2]}", "{}\n{\"a\":1}\n{\"b\":[2]}", "[{},{\"a\":1},{\"b\":[2]}]"},
      {"[{\"a\":1},{}]{}[{}]", "{\"a\":1}\n{}\n{}\n{}", "[{\"a\":1},{},{},{}]"},
  };
  for (const auto& c : cases) {
    root_t document;
    EXPECT_EQ(ReadText(c.text, document).ToString(), "");
    EXPECT_EQ(WriteText(document, kCompact), c.compact);
    EXPECT_EQ(WriteTextAsArray(document, kCompact), c.asArray);
  }
  root_t document;
  ASSERT_FALSE(ReadText("{\"kept\":1}", document));
  EXPECT_EQ(ReadText("{}\n[", document).ToString(), "line 2, column 2: the text ends too early");
  for (const char* text : {"1", "[1]", "[[]]", "[{},]", "[{}", "{},{}", "{} \"", "{}]"}) {
    EXPECT_TRUE(ReadText(text, document)) << text;
    EXPECT_EQ(WriteText(document, kCompact), "{\"kept\":1}");
  }
  // An array around the objects is a level of its own.
  EXPECT_FALSE(ReadText(Nested(128, "{\"a\":", "1", "}"), document));
  EXPECT_THROW(WriteTextAsArray(document), zorplatform::CException);
}

TEST(JsonText, MembersKnowTheirLinesAndShareTheirNames) {
  root_t document;
  ASSERT_FALSE(ReadText("{\n\"a\":\n1,\"b\":{\r\n\"x\":[{\n\n\"a\":2}]}}\n{ \"a\" : 3}", document, 10));
  object_t& first = document.objects.front();
  const auto& inner = ValueAsObject(ValueAsArray(first.FindMember(u"b").AsObject().FindMember(u"x").value).elements[0]);
  EXPECT_EQ(first.members.front().line, 11);
  EXPECT_EQ(first.members.back().line, 12);
  EXPECT_EQ(inner.members.front().line, 15);
  EXPECT_EQ(document.objects.back().members.front().line, 16);
  EXPECT_EQ(first.members.front().name.GetString(), inner.members.front().name.GetString());

  document.AdjustLineNumbers(5);
  EXPECT_EQ(first.members.front().line, 16);
  EXPECT_EQ(inner.members.front().line, 20);

  // A node outlives what was read with it.
  const std::shared_ptr<IValue> kept = inner.members.front().value;
  document = root_t();
  EXPECT_EQ(ValueAsString(kept), u"2");
}

// More names than any table of names begins with, each met three times and in changing order.
TEST(JsonText, ManyNamesStayApart) {
  std::string text = "{";
  for (int i = 0; i != 30'000; ++i)
    text += (i == 0 ? "\"n" : ",\"n") + std::to_string(i * 7919 % 10'000) + "\":" + std::to_string(i);
  text += '}';
  root_t document;
  ASSERT_FALSE(ReadText(text, document));
  int i = 0;
  for (const member_t& member : document.objects.front().members) {
    ASSERT_EQ(member.name, "n" + std::to_string(i * 7919 % 10'000));
    ++i;
  }
  EXPECT_EQ(WriteText(document, kCompact), text);
}

TEST(JsonText, ALargeDocumentKeepsEachValueAndAPartOfItOutlivesTheRest) {
  constexpr int kValues = 150'000;
  std::string text = "[0";
  for (int i = 1; i != kValues; ++i) text += "," + (i % 3 == 0 ? std::to_string(i) : '"' + std::to_string(i) + '"');
  std::shared_ptr<IValue> document = Value(text + "]");
  std::vector<std::shared_ptr<IValue>> kept;
  for (const auto& element : ValueAsArray(document).elements) {
    if (kept.size() * 1000 == static_cast<std::size_t>(ValueAsVariant(element).GetAsDouble())) kept.push_back(element);
  }
  EXPECT_TRUE(WriteText(*document, kCompact) == text + "]");
  document.reset();
  ASSERT_EQ(kept.size(), kValues / 1000u);
  for (std::size_t i = 0; i != kept.size(); ++i)
    EXPECT_EQ(ValueAsVariant(kept[i]).GetAsDouble(), 1000.0 * static_cast<double>(i));
}

TEST(JsonText, PrettyTextHasALineForEachValue) {
  EXPECT_EQ(WriteText(*Value("{\"a\":[1,{\"b\":{}}],\"c\":[]}")),
            "{\n  \"a\": [\n    1,\n    {\n      \"b\": {}\n    }\n  ],\n  \"c\": []\n}");
}

// --- serializers -------------------------------------------------------------------------------------------------

namespace {

// A text serializer of somebody else, at depth 1 and indenting by a tab.
class other_text_t : public zorutil::ISerializer {
 public:
  bool IsBinary() const override { return false; }
  bool IsText() const override { return true; }
  void Read(void*, unsigned) override { ADD_FAILURE(); }
  void Write(const void*, unsigned) override { ADD_FAILURE(); }
  int GetTextDepth() const override { return 1; }
  CString MakeIndent(unsigned depth) const override { return CString(u'\t', static_cast<int>(depth)); }
  void WriteText(const CString& text) override { text_ += text; }
  const CString& GetText() const override { return text_; }

 private:
  CString text_;
};

}  // namespace

TEST(JsonSerializer, DocumentsTravelThroughEveryKindOfSerializer) {
  root_t document;
  ASSERT_FALSE(ReadText("{\"a\":[\"\\u20ac\"]}{}", document));

  json_serializer_t own(kCompact);
  own.WriteText(u"# ");
  document.Serialize(own);
  EXPECT_EQ(own.GetText(), u"# {\"a\":[\"\u20ac\"]}\n{}");
  own.WriteText(u"!");
  EXPECT_EQ(own.GetText(), u"# {\"a\":[\"\u20ac\"]}\n{}!");
  own.Clear();
  document.SerializeAsArray(own);
  EXPECT_EQ(own.GetText(), u"[{\"a\":[\"\u20ac\"]},{}]");
  root_t copy;
  copy.Deserialize(own);
  EXPECT_EQ(WriteText(copy), WriteText(document));

  other_text_t other;
  document.Serialize(other);
  EXPECT_EQ(other.GetText(), u"{\n\t\t\"a\": [\n\t\t\t\"\u20ac\"\n\t\t]\n\t}\n{}");
  copy = root_t();
  copy.Deserialize(other);
  EXPECT_EQ(WriteText(copy), WriteText(document));

  zorutil::memory_serializer_t binary;
  document.Serialize(binary);
  binary.Rewind();
  copy = root_t();
  copy.Deserialize(binary);
  EXPECT_EQ(WriteText(copy), WriteText(document));

  json_serializer_t wrong("{\n\"a\" 1}");
  try {
    copy.Deserialize(wrong);
    ADD_FAILURE();
  } catch (const zorplatform::CException& exception) {
    EXPECT_STREQ(exception.what(), "JSON: line 2, column 5: a colon must follow the name");
  }
  EXPECT_EQ(WriteText(copy), WriteText(document));
}

TEST(JsonSerializer, RefusesAModelNestedTooDeepAndWritesNothingOfIt) {
  std::shared_ptr<IValue> deep = std::make_shared<array_t>();
  for (int i = 1; i != 128; ++i) deep = std::make_shared<array_t>(std::vector{deep});
  json_serializer_t out(kCompact);
  deep->Serialize(out);
  const std::string written(out.GetUtf8());
  EXPECT_EQ(written, Nested(128, "[", "", "]"));
  out.SetTextDepth(1);
  EXPECT_THROW(deep->Serialize(out), zorplatform::CException);
  EXPECT_THROW(WriteText(array_t({std::make_shared<scalar_t>(), deep})), zorplatform::CException);
  EXPECT_EQ(out.GetUtf8(), written);
}
