#include "util/docs/xml_document.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <span>
#include <string>

#include "platform/framework/file.h"
#include "platform/framework/mem_file.h"
#include "platform/framework/native_path.h"
#include "platform/framework/temp_folder_testing.h"
#include "util/i18n/localized_message.h"

namespace {

constexpr const char16_t* kDeclaration = u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

CString Error(CXmlDocument& document) {
  CString text = document.GetLastErrorText();
  document.RemoveLastError();
  return text;
}

int LoadBytes(CXmlDocument& document, std::string_view bytes) {
  CMemFile file(std::as_bytes(std::span(bytes)));
  return document.LoadFrom(file);
}

std::string Nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<a>";
  for (int i = 0; i < depth; ++i) text += "</a>";
  return text;
}

CString Text(CXmlDocument& document, void* element) {
  CString text;
  EXPECT_EQ(document.GetText(element, text), 1);
  return text;
}

void* Top(CXmlDocument& document) { return document.GetElementByName(nullptr, u"", u"dummy", false); }

TEST(XmlDocument, WritesOneElementALineAndDeclaresEachNamespaceOnce) {
  CXmlDocument document;
  EXPECT_EQ(document.IsValid(), 0);
  void* const plant = document.WriteElement(nullptr, u"urn:p", u"Plant", false, u"");
  void* const pump = document.WriteElement(plant, u"urn:p", u"Pump", false, u"");
  document.WriteElement(pump, u"urn:p", u"Speed", true, 1500);
  document.WriteElement(pump, nullptr, u"Note", true, u"a <& b]]>");
  document.WriteElement(pump, u"urn:q", u"Foreign", true, u"");
  EXPECT_EQ(document.WriteAttribute(pump, u"id", u"1"), 1);
  EXPECT_EQ(document.WriteAttribute(pump, u"id", u"\"2\"\t\r\n"), 1);
  EXPECT_EQ(document.WriteAttribute(pump, u"xml:lang", u"de"), 1);
  document.ReleaseElement(pump);
  EXPECT_NE(document.WriteElement(nullptr, u"urn:p", u"Pump", true, u""), nullptr);  // below the top element
  const CString expected = CString(kDeclaration) +
                           u"<Plant xmlns=\"urn:p\">\n"
                           u"  <Pump id=\"&quot;2&quot;&#9;&#13;&#10;\" xml:lang=\"de\">\n"
                           u"    <Speed>1500</Speed>\n"
                           u"    <Note xmlns=\"\">a &lt;&amp; b]]&gt;</Note>\n"
                           u"    <Foreign xmlns=\"urn:q\"/>\n"
                           u"  </Pump>\n"
                           u"  <Pump/>\n"
                           u"</Plant>\n";
  EXPECT_EQ(document.GetXml(), expected);
  CXmlDocument again;
  ASSERT_EQ(again.SetXml(expected), 1) << Error(again);
  EXPECT_EQ(again.GetXml(), expected);
  EXPECT_EQ(again.GetNumElementsByName(nullptr, u"urn:p", u"Pump"), 2);
  EXPECT_EQ(again.GetNumElementsByName(nullptr, nullptr, u"Pump"), 0);
}

TEST(XmlDocument, LaysOutWhatItLoadedButLeavesTextsAlone) {
  const struct {
    const char16_t *loaded, *saved;
  } rows[] = {{u"<a><b/><!-- c --><b>\r\n x </b></a>", u"<a>\n  <b/>\n  <!-- c -->\n  <b>\n x </b>\n</a>\n"},
              {u"<a>\n\n<b> </b>\n\t<?go on?></a>", u"<a>\n  <b> </b>\n  <?go on?>\n</a>\n"},
              {u"<a>one <b><c/> <c/></b> two</a>", u"<a>one <b><c/> <c/></b> two</a>\n"},
              {u"<a xml:space='preserve'> <b/></a>", u"<a xml:space=\"preserve\"> <b/></a>\n"},
              {u"<a> <b/><![CDATA[<&]]>&#13;</a>", u"<a> <b/><![CDATA[<&]]>&#13;</a>\n"},
              {u"<!--x--><p:a xmlns:p='u'><p:b p:c='&#x1F600;&lt;'/></p:a><?y?>",
               u"<!--x-->\n<p:a xmlns:p=\"u\">\n  <p:b p:c=\"\U0001F600&lt;\"/>\n</p:a>\n<?y?>\n"}};
  for (const auto& row : rows) {
    CXmlDocument document;
    ASSERT_EQ(document.SetXml(row.loaded), 1) << Error(document);
    EXPECT_EQ(document.GetXml(), CString(kDeclaration) + row.saved);
    CXmlDocument again;
    ASSERT_EQ(again.SetXml(document.GetXml()), 1);
    EXPECT_EQ(again.GetXml(), document.GetXml());
  }
}

TEST(XmlDocument, KeepsEveryCharacterOfATextThroughSaveAndLoad) {
  for (const char16_t* text :
       {u" \t\r\n x \r", u"\r\n", u"]]>\r]]", u"\u00E4\u20AC\U0001F600\u0085\u2028\uFEFF", u""}) {
    SCOPED_TRACE(testing::PrintToString(CString(text)));
    CXmlDocument document;
    void* const top = document.WriteElement(nullptr, nullptr, u"Top", false, u"");
    void* const plain = document.WriteElement(top, nullptr, u"Plain", false, text);
    document.WriteAttribute(plain, u"a", text);
    EXPECT_TRUE(document.WriteLiteralText(document.WriteElement(top, nullptr, u"Literal", false, u"old"), text));
    CXmlDocument again;
    ASSERT_EQ(again.SetXml(document.GetXml()), 1) << Error(again);
    CString value;
    EXPECT_TRUE(again.ReadElement(nullptr, nullptr, u"Literal", true, value) != nullptr && value == text) << value;
    void* const first = again.FindFirstChild(nullptr, false);
    EXPECT_EQ(Text(again, first), text);
    EXPECT_TRUE(again.ReadAttribute(first, u"a", value) == 1 && value == text) << value;
  }
}

TEST(XmlDocument, RefusesTextsAndNamesThatXmlCannotHold) {
  CXmlDocument document;
  void* const top = document.WriteElement(nullptr, nullptr, u"Top", false, u"old");
  for (const char16_t* text : {u"\x1", u"a\x1F", u"\xD800", u"\xDC00x", u"\xD83D\x0041", u"\xFFFE", u"\xFFFF"}) {
    SCOPED_TRACE(testing::PrintToString(CString(text)));
    EXPECT_EQ(document.WriteElement(top, nullptr, u"Bad", true, text), nullptr);
    EXPECT_NE(Error(document).Find(u"\"Bad\" cannot hold the character U+"), -1);
    EXPECT_EQ(document.WriteElement(top, text, u"Bad", true, u""), nullptr);
    EXPECT_EQ(document.WriteElement(top, nullptr, text, true, u""), nullptr);
    EXPECT_EQ(document.SetText(top, text), 0);
    EXPECT_FALSE(document.WriteLiteralText(top, text));
    EXPECT_EQ(document.WriteAttribute(top, u"bad", text), 0);
  }
  for (const char16_t* name : {static_cast<const char16_t*>(nullptr), u"", u"a b", u"1a", u"a:b", u"<"}) {
    EXPECT_EQ(document.WriteElement(top, nullptr, name, true, u""), nullptr) << CString(name);
    EXPECT_EQ(document.WriteAttribute(top, name, u""), 0) << CString(name);
  }
  for (const char16_t* name : {u"xmlns", u"xmlns:a", u":a"}) EXPECT_EQ(document.WriteAttribute(top, name, u""), 0);
  EXPECT_EQ(document.WriteElement(top, u"http://www.w3.org/2000/xmlns/", u"a", true, u""), nullptr);
  EXPECT_EQ(document.GetXml(), CString(kDeclaration) + u"<Top>old</Top>\n");
}

TEST(XmlDocument, FindsElementsInOrderByNameAndNamespace) {
  CXmlDocument document;
  ASSERT_EQ(document.SetXml(u"<t xmlns='u' xmlns:p='v'> <a>1</a><p:a>x</p:a><!-- --><a>2</a><b>3<c/>4</b></t>"), 1);
  CString seen, part;
  void* const top = Top(document);
  for (void* a = document.GetElementByName(top, u"u", u"a", false); a != nullptr;
       a = document.GetNextElementByName(a, true)) {
    seen += Text(document, a);
  }
  for (void* child = document.FindFirstChild(top, false); child != nullptr; child = document.FindNext(child, true)) {
    document.GetName(child, part);
    seen += part + Text(document, child);
  }
  EXPECT_EQ(seen, u"12a1axa2b34");
  EXPECT_EQ(Text(document, top), u"");  // layout
  EXPECT_TRUE(document.ReadLiteralText(top, part) && part == u" ");
  EXPECT_NE(document.ReadElement(nullptr, u"v", u"a", true, part), nullptr);
  EXPECT_EQ(part, u"x");
  void* const b = document.GetElementByName(top, u"u", u"b", false);
  EXPECT_EQ(document.SetText(b, u"5"), 1);
  EXPECT_NE(document.GetXml().Find(u"<b>5<c/></b>"), -1);
  EXPECT_EQ(document.WriteAttribute(b, u"x", u"0"), 1);
  EXPECT_EQ(document.WriteAttribute(b, u"p:x", u"1"), 1);
  EXPECT_EQ(document.WriteAttribute(b, u"q:x", u"1"), 0);
  EXPECT_TRUE(document.ReadAttribute(b, u"x", part) == 1 && part == u"0");
  EXPECT_TRUE(document.ReadAttribute(b, u"p:x", part) == 1 && part == u"1");
  EXPECT_EQ(document.GetElementByName(b, u"u", u"none", true), nullptr);
  ASSERT_EQ(document.SetXml(u"<t xml:space='preserve'><a> <b/></a></t>"), 1);
  EXPECT_EQ(Text(document, document.FindFirstChild(nullptr, false)), u" ");
}

TEST(XmlDocument, KeepsAnOldTreeWhileHandlesToItAreOut) {
  CXmlDocument document;
  ASSERT_EQ(document.SetXml(u"<a>\n<b>1</b></a>"), 1);
  void* const a = Top(document);
  void* const b = document.FindFirstChild(a, false);
  EXPECT_EQ(document.GetLine(b), 2U);
  ASSERT_EQ(document.SetXml(u"<c/>"), 1);
  EXPECT_EQ(document.SetXml(u"<d>"), 0);
  document.ReleaseElement(a);
  EXPECT_EQ(Text(document, b), u"1");
  EXPECT_NE(document.WriteElement(b, nullptr, u"x", true, 1), nullptr);
  document.ReleaseElement(b);
  document.ReleaseElement(nullptr);
  EXPECT_EQ(document.GetXml(), CString(kDeclaration) + u"<c/>\n");
}

TEST(XmlDocument, StepsThatReleaseHandlesLetOldTreesGo) {
  CXmlDocument document;
  const CString text = u"<a><b>" + CString(u'x', 50'000) + u"</b></a>";
  std::size_t before = 0;
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(document.SetXml(text), 1);
    void* const b = i % 2 == 0 ? document.FindFirstChild(Top(document), true)
                               : document.GetElementByName(Top(document), nullptr, u"b", true);
    EXPECT_EQ(i % 2 == 0 ? document.FindNext(b, true) : document.GetNextElementByName(b, true), nullptr);
    if (i == 1) before = ::mallinfo2().uordblks;
  }
  EXPECT_LE(::mallinfo2().uordblks, before + 1'000'000);
}

TEST(XmlDocument, TellsWhereAndWhyATextIsRefusedAndStaysAsItWas) {
  const struct {
    std::string text;
    const char16_t* error;
  } rows[] = {
      {"", u"XML: There is no element in the document."},
      {" \n", u"XML: There is no element in the document."},
      {"<!-- -->", u"XML: There is no element in the document."},
      {"x", u"XML, line 1, column 1: Start tag expected, '<' not found"},
      {"<a>\n<b>\n</a>", u"XML, line 3, column 5: The element \"b\", which begins in line 2, is closed as \"a\"."},
      {"<a>\n<b", u"XML, line 2, column 3: The document ends before it is complete."},
      {"<a>", u"XML, line 1, column 4: The document ends before it is complete."},
      {"<a/><b/>", u"XML, line 1, column 5: Extra content at the end of the document"},
      {"<!DOCTYPE a [<!ENTITY x 'y'>]><a>&x;</a>",
       u"XML, line 1, column 13: Document type definitions are not allowed."},
      {"<!DOCTYPE a SYSTEM 'http://127.0.0.1:1/a.dtd'><a/>",
       u"XML, line 1, column 46: Document type definitions are not allowed."},
      {"<a>&nbsp;</a>", u"XML, line 1, column 10: The entity \"nbsp\" is not defined."},
      {"<a b='&nbsp;'/>", u"XML, line 1, column 13: The entity \"nbsp\" is not defined."},
      {"<a x='1'\n x='2'/>", u"XML, line 2, column 7: The attribute \"x\" is given twice."},
      {"<a>\x01</a>", u"XML, line 1, column 4: A character that XML does not allow."},
      {"<a>&#1;</a>", u"XML, line 1, column 8: A character that XML does not allow."},
      {"<a>\xC3(</a>", u"XML, line 1, column 4: The encoding is unknown, or the bytes are not of that encoding."},
      {"<?xml version='1.0' encoding='no-such'?><a/>",
       u"XML, line 1, column 39: The encoding is unknown, or the bytes are not of that encoding."},
      {"<?xml version='1.0' encoding='UTF-7'?><a/>",
       u"XML, line 1, column 39: The encoding is unknown, or the bytes are not of that encoding."},
      {std::string("\0\0\0<\0\0\0a\0\0\0/\0\0\0>", 16),
       u"XML, line 1, column 1: The encoding is unknown, or the bytes are not of that encoding."},
      {"\x4C\x6F\xA7\x94\x93\x40\xA5\x85\x99\xA2\x89\x96\x95\x7E\x7D\xF1\x4B\xF0\x7D\x6F\x6E\x4C\x81\x61\x6E",
       u"XML, line 1, column 1: The encoding is unknown, or the bytes are not of that encoding."},
      {std::string("\xFF\xFE<\0a\0/\0>", 9), u"XML, line 1, column 4: A character that XML does not allow."},
      {"<p:a/>", u"XML, line 1, column 5: The prefix \"p\" is not declared."},
      {Nested(257), u"XML, line 1, column 771: Elements are nested more than 256 levels deep."},
      {Nested(1'000'000), u"XML, line 1, column 771: Elements are nested more than 256 levels deep."}};
  CXmlDocument document;
  ASSERT_EQ(document.SetXml(u"<kept/>"), 1);
  for (const auto& row : rows) {
    EXPECT_EQ(LoadBytes(document, row.text), 0) << row.text.substr(0, 50);
    EXPECT_EQ(Error(document), row.error) << row.text.substr(0, 50);
  }
  EXPECT_EQ(document.SetXml(u"<a>\n\xD800</a>"), 0);
  EXPECT_EQ(Error(document), u"XML, line 2, column 1: A character that XML does not allow.");
  EXPECT_EQ(document.GetXml(), CString(kDeclaration) + u"<kept/>\n");
}

TEST(XmlDocument, LimitsDepthAndAttributesButNoText) {
  CXmlDocument document;
  ASSERT_EQ(LoadBytes(document, Nested(256)), 1) << Error(document);
  void* deepest = Top(document);
  while (void* const next = document.FindFirstChild(deepest, false)) deepest = next;
  EXPECT_EQ(document.WriteElement(deepest, nullptr, u"a", true, u""), nullptr);
  EXPECT_EQ(Error(document), u"\"a\" would be nested more than 256 levels deep.");

  std::string crowd = "<!-- <a ";
  for (int i = 0; i < 3000; ++i) crowd += "c='' ";
  crowd += "--><?p <b " + crowd.substr(9) + "?><a ";
  for (int i = 0; i < 1024; ++i) crowd += "a" + std::to_string(i) + "='>' ";
  EXPECT_EQ(LoadBytes(document, crowd + "/>"), 1) << Error(document);
  EXPECT_EQ(LoadBytes(document, crowd + "b='' />"), 0);
  EXPECT_NE(Error(document).Find(u": More than 1024 attributes or namespace declarations."), -1);

  std::string declarations = ">";
  for (int i = 0; i < 600; ++i) declarations.insert(0, " xmlns:n" + std::to_string(i) + "='u'");
  EXPECT_EQ(LoadBytes(document, "<a" + declarations + "<b" + declarations + "</b></a>"), 0);

  const std::string huge(20'000'000, 'x');
  ASSERT_EQ(LoadBytes(document, "<a b='" + huge + "'>" + huge + "</a>"), 1) << Error(document);
  EXPECT_EQ(Text(document, Top(document)).GetLength(), 20'000'000);
}

TEST(XmlDocument, KeepsTextsOfEveryLengthInALargeDocument) {
  constexpr int kElements = 20'000;
  const auto textOf = [](int i) {
    return std::string(static_cast<std::size_t>(i % 40), static_cast<char>('a' + i % 26));
  };
  std::string source = "<Top>";
  for (int i = 0; i < kElements; ++i) source += "<t id=\"" + textOf(i + 7) + "\">" + textOf(i) + "</t>";
  CXmlDocument document, again;
  ASSERT_EQ(LoadBytes(document, source + "</Top>"), 1);
  const auto check = [&](CXmlDocument& checked, int changed) {
    int i = 0;
    for (void* t = checked.FindFirstChild(Top(checked), true); t != nullptr; t = checked.FindNext(t, true), ++i) {
      CString id;
      EXPECT_EQ(checked.ReadAttribute(t, u"id", id), 1);
      EXPECT_EQ(id, CString(textOf(i + 7 + changed))) << i;
      EXPECT_EQ(Text(checked, t), CString(textOf(i + changed))) << i;
      checked.SetText(t, CString(textOf(i + 13)));
      checked.WriteAttribute(t, u"id", CString(textOf(i + 20)));
    }
    EXPECT_EQ(i, kElements);
  };
  check(document, 0);
  ASSERT_EQ(again.SetXml(document.GetXml()), 1);
  check(again, 13);
}

TEST(XmlDocument, LoadsOtherEncodings) {
  const auto wide = [](bool big, bool mark, std::u16string_view text) {
    std::string bytes = mark ? big ? "\xFE\xFF" : "\xFF\xFE" : "";
    for (const char16_t unit : text) {
      const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit);
      bytes += big ? std::string{high, low} : std::string{low, high};
    }
    return bytes;
  };
  for (const std::string& bytes : {std::string("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE4</a>"),
                                   std::string("\xEF\xBB\xBF<a>\xC3\xA4</a>"), wide(true, true, u"<a>\u00E4</a>"),
                                   wide(false, true, u"<?xml version='1.0' encoding='UTF-16'?><a>\u00E4</a>"),
                                   wide(false, false, u"<a>\u00E4</a>"), wide(true, false, u"<a>\u00E4</a>")}) {
    CXmlDocument document;
    ASSERT_EQ(LoadBytes(document, bytes), 1) << Error(document);
    EXPECT_EQ(document.GetXml(), CString(kDeclaration) + u"<a>\u00E4</a>\n");
  }
  CXmlDocument document;
  EXPECT_EQ(document.SetXml(u"\uFEFF<?xml version='1.0' encoding='ISO-8859-1'?><a>\u20AC</a>"), 1);
  EXPECT_EQ(document.GetXml(), CString(kDeclaration) + u"<a>\u20AC</a>\n");
}

TEST(XmlDocument, SavesAndLoadsByPath) {
  const CTempFolder folder;
  const CString path = folder.PathOf("plant.xml");
  CXmlDocument document;
  EXPECT_EQ(document.Save(path), 0);
  EXPECT_NE(Error(document).Find(u"plant.xml: The document is empty"), -1);
  EXPECT_EQ(document.Load(path), 0);
  EXPECT_NE(Error(document).Find(u"plant.xml"), -1);
  void* const top = document.WriteElement(nullptr, u"urn:p", u"Plant", false, u"");
  for (int i = 0; i < 50'000; ++i) document.WriteElement(top, u"urn:p", u"Value", true, i);
  ASSERT_EQ(document.Save(path), 1) << Error(document);
  EXPECT_EQ(document.Save(folder.PathOf("none/plant.xml")), 0);
  EXPECT_NE(Error(document).Find(u"plant.xml"), -1);
  CXmlDocument again;
  ASSERT_EQ(again.Load(path), 1) << Error(again);
  EXPECT_EQ(again.GetXml(), document.GetXml());
  const CFile reader(path, CFile::modeRead);
  const std::uint64_t length = reader.GetLength();
  ASSERT_EQ(again.SetXml(u"<short/>") + again.Save(path), 2);
  EXPECT_EQ(reader.GetLength(), length);  // has the old file still, whole
}

}  // namespace
