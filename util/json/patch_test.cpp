#include "util/json/patch.h"

#include <gtest/gtest.h>

#include <string>

#include "util/json/json_text.h"
#include "util/json/pointer.h"
#include "util/json/value_conversions.h"

using namespace zorutil::json;

namespace {

std::shared_ptr<IValue> Value(std::string_view text) {
  std::shared_ptr<IValue> value;
  const text_error_t error = ReadText(text, value);
  EXPECT_FALSE(error) << text << ": " << error.ToString();
  return value;
}

std::string Text(const std::shared_ptr<IValue>& value) {
  return value != nullptr ? WriteText(*value, {.indent = 0}) : "null";
}

}  // namespace

TEST(JsonPointer, LeadsToExactlyTheNamedValue) {
  auto document = Value(R"({"foo":["bar","baz"],"":0,"a/b":1,"m~n":8,"~1":9,"FOO":2,"o":{"x":{"y":3}}})");
  const struct {
    const char16_t* pointer;
    const char* value;  // null: no such place
  } cases[] = {
      {u"/foo", "[\"bar\",\"baz\"]"},
      {u"/foo/0", "\"bar\""},
      {u"/foo/1", "\"baz\""},
      {u"/", "0"},
      {u"/a~1b", "1"},
      {u"/m~0n", "8"},
      {u"/~01", "9"},
      {u"/FOO", "2"},
      {u"/o/x/y", "3"},
      {u"/Foo", nullptr},
      {u"/foo/2", nullptr},
      {u"/foo/01", nullptr},
      {u"/foo/-", nullptr},
      {u"/foo/+1", nullptr},
      {u"/foo/99999999999999999999999", nullptr},
      {u"/foo/0/x", nullptr},
      {u"foo", nullptr},
      {u"/m~2n", nullptr},
      {u"/m~", nullptr},
      {u"/o/x/y/", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(CString(c.pointer).ToUtf8());
    const auto* const place = ResolvePointer(document, c.pointer);
    EXPECT_EQ(place != nullptr ? Text(*place) : "no place", c.value != nullptr ? c.value : "no place");
    const auto value = ResolvePointer(ValueAsObject(document), c.pointer);
    EXPECT_EQ(value != nullptr, c.value != nullptr);
  }
  EXPECT_EQ(ResolvePointer(document, u""), &document);
  CString made;
  AppendPointerToken(made, u"~1/");
  EXPECT_EQ(made, u"/~01~1");
  EXPECT_EQ(ParsePointer(made)->front(), u"~1/");
}

TEST(JsonPatch, ChangesTheDocumentOrTellsWhyNot) {
  const struct {
    const char* document;
    const char* patch;  // the operations
    const char* result;
    const char* error = "";
  } cases[] = {
      {R"({"a":1})", R"({"op":"add","path":"/b","value":[2]})", R"({"a":1,"b":[2]})"},
      {R"({"a":1})", R"({"op":"add","path":"/a","value":null})", R"({"a":null})"},
      {"[1,3]", R"({"op":"add","path":"/1","value":2},{"op":"add","path":"/-","value":4})", "[1,2,3,4]"},
      {"[1]", R"({"op":"add","path":"/1","value":2})", "[1,2]"},
      {R"({"a":1})", R"({"op":"add","path":"","value":[1]},{"op":"add","path":"/0","value":0})", "[0,1]"},
      {R"({"a":1,"b":[1,2],"a":3})", R"({"op":"remove","path":"/a"},{"op":"remove","path":"/b/0"})",
       R"({"b":[2],"a":3})"},
      {R"({"a":[1]})", R"({"op":"replace","path":"/a/0","value":{}},{"op":"replace","path":"/a","value":7})",
       R"({"a":7})"},
      {R"({"a":{"b":1},"c":{}})", R"({"op":"move","from":"/a/b","path":"/c/d"})", R"({"a":{},"c":{"d":1}})"},
      {"[1,2,3]", R"({"op":"move","from":"/0","path":"/2"})", "[2,3,1]"},
      {R"({"a":{"b":1}})", R"({"op":"move","from":"/a/b","path":""})", "1"},
      {R"({"a":[1]})", R"({"op":"copy","from":"/a","path":"/b"},{"op":"add","path":"/b/-","value":2})",
       R"({"a":[1],"b":[1,2]})"},
      {R"({"a":1,"c":2})", R"({"op":"move","from":"/a","path":"/a"},{"op":"copy","from":"","path":"/b"})",
       R"({"a":1,"c":2,"b":{"a":1,"c":2}})"},
      {R"({"a":{"x":1,"y":[1.0,"t"]}})", R"({"op":"test","path":"/a","value":{"y":[1,"t"],"x":1e0}})",
       R"({"a":{"x":1,"y":[1.0,"t"]}})"},
      {"[9007199254740993]", R"({"op":"test","path":"/0","value":9007199254740992.0})", "[9007199254740993]",
       "operation 1, /0: the value is another one"},
      {"[1]", R"({"op":"test","path":"/0","value":1.5})", "[1]", "operation 1, /0: the value is another one"},
      {"[-1]", R"({"op":"test","path":"/0","value":1.0})", "[-1]", "operation 1, /0: the value is another one"},
      {"[\"a\"]", R"({"op":"test","path":"/0","value":"A"})", "[\"a\"]", "operation 1, /0: the value is another one"},
      // Whatever was done before the failure is taken back, in place.
      {R"({"a":1,"b":[1,2,3],"c":{"d":4}})",
       R"({"op":"remove","path":"/b/1"},{"op":"move","from":"/c/d","path":"/b/0"},{"op":"remove","path":"/c"},
          {"op":"remove","path":"/a"},{"op":"add","path":"/e","value":5},{"op":"replace","path":"/b/0","value":6},
          {"op":"copy","from":"/b","path":"/b/1"},{"op":"add","path":"","value":{}},{"op":"remove","path":"/x"})",
       R"({"a":1,"b":[1,2,3],"c":{"d":4}})", "operation 9, /x: there is no such member"},
      {"[1]", R"({"op":"remove","path":"/-"})", "[1]", "operation 1, /-: there is no such element"},
      {"[1]", R"({"op":"add","path":"/2","value":1})", "[1]", "operation 1, /2: there is no such element"},
      {"[1]", R"({"op":"add","path":"/x","value":1})", "[1]", "operation 1, /x: the index of an element is a number"},
      {"[1]", R"({"op":"add","path":"/0/x","value":1})", "[1]", "operation 1, /0/x: there is nothing inside a scalar"},
      {"{}", R"({"op":"replace","path":"/a","value":1})", "{}", "operation 1, /a: there is no such member"},
      {R"({"a":{}})", R"({"op":"move","from":"/a","path":"/a/b"})", R"({"a":{}})",
       "operation 1, /a/b: a value cannot be moved into itself"},
      {"{}", R"({"op":"copy","from":"/q","path":"/b"})", "{}", "operation 1, /q: there is no such member"},
      {"{}", R"({"op":"remove","path":""})", "{}", "operation 1: the whole document cannot be removed"},
      {"{}", R"({"op":"add","path":"a","value":1})", "{}", "operation 1, a: this is not a JSON pointer"},
      {"{}", R"({"op":"add","path":"/a"})", "{}", "operation 1, /a: the operation needs a \"value\""},
      {"{}", R"({"op":"ADD","path":"/a","value":1})", "{}",
       "operation 1, /a: \"op\" must be add, remove, replace, move, copy or test"},
      {"{}", R"({"op":"move","path":"/a"})", "{}", "operation 1, /a: the operation needs a \"from\" that is a text"},
      {"{}", R"({"op":"add","path":1})", "{}", "operation 1: an operation needs a \"path\" that is a text"},
      {"{}", "1", "{}", "operation 1: an operation must be an object"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.patch);
    auto document = Value(c.document);
    const auto* const before = document.get();
    EXPECT_EQ(ApplyPatch(*Value("[" + std::string(c.patch) + "]"), document).ToString(), c.error);
    EXPECT_EQ(Text(document), c.result);
    EXPECT_TRUE(*c.error == '\0' || document.get() == before);
  }
}

TEST(JsonPatch, NeitherDoublesADocumentWithoutEndNorNestsItTooDeep) {
  std::string doubling;
  for (int i = 0; i != 60; ++i) doubling += R"(,{"op":"copy","from":"","path":"/)" + std::to_string(i) + "\"}";
  doubling[0] = '[';
  auto document = Value("{}");
  EXPECT_NE(ApplyPatch(*Value(doubling + "]"), document, {.maxCopies = 10'000}).cause.find("too many"),
            std::string::npos);
  EXPECT_EQ(Text(document), "{}");

  const std::string deep = std::string(126, '[') + std::string(126, ']');
  document = Value("{\"a\":{\"b\":{}}}");
  EXPECT_NE(ApplyPatch(*Value(R"([{"op":"add","path":"/a/b/c","value":)" + deep + "}]"), document).cause.find("128"),
            std::string::npos);
  EXPECT_FALSE(ApplyPatch(*Value(R"([{"op":"add","path":"/a/b","value":)" + deep + "}]"), document));
}

TEST(JsonPatch, AnObjectStaysAnObjectAndADocumentHasOne) {
  root_t root;
  EXPECT_TRUE(ApplyPatch(*Value("[]"), root));
  ASSERT_FALSE(ReadText(R"({"a":{"b":1}})", root));
  EXPECT_EQ(ApplyPatch(*Value(R"([{"op":"remove","path":"/a"},{"op":"add","path":"","value":1}])"), root).ToString(),
            "operation 2: the document must stay an object");
  const auto shared = root.objects.front().FindMember(u"a").value;
  EXPECT_FALSE(ApplyPatch(*Value(R"([{"op":"move","from":"/a","path":""}])"), root));
  EXPECT_EQ(WriteText(root, {.indent = 0}), R"({"b":1})");
  EXPECT_EQ(Text(shared), R"({"b":1})");
  EXPECT_EQ(ApplyPatch(*Value("{}"), root).ToString(), "a patch must be an array of operations");

  // A node that stands in two places does not come inside itself by the other one.
  auto document = Value(R"({"outer":{"inner":[{}]}})");
  ValueAsObject(document).FindMember(u"again").value = *ResolvePointer(document, u"/outer/inner");
  EXPECT_EQ(ApplyPatch(*Value(R"([{"op":"move","from":"/outer","path":"/again/0/x"}])"), document).ToString(),
            "operation 1, /again/0/x: a value cannot be moved into itself");
  EXPECT_EQ(Text(document), R"({"outer":{"inner":[{}]},"again":[{}]})");
}
