#include "util/docs/xml_schema_collection.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/framework/native_path.h"
#include "platform/framework/temp_folder_testing.h"
#include "util/docs/xml_document.h"
#include "util/i18n/localized_message.h"

namespace {

class XmlSchemaCollection : public testing::Test {
 protected:
  CString Write(const std::string& name, const std::string& attributes, const std::string& content) {
    folder_.Put(name, "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' " + attributes +
                          " elementFormDefault='qualified'>\n" + content + "</xs:schema>\n");
    return folder_.PathOf(name);
  }

  // Each fault as "line path", a line each.
  std::string Faults(const char16_t* xml) {
    CXmlDocument document;
    EXPECT_EQ(document.SetXml(xml), 1) << document.GetLastErrorText();
    std::vector<CXmlSchemaCollection::fault_t> faults;
    const int result = schemas_.Validate(document, faults);
    EXPECT_EQ(result, faults.empty() ? 1 : 0);
    std::string text;
    for (const auto& fault : faults) {
      EXPECT_FALSE(fault.text.IsEmpty());
      text += std::to_string(fault.line) + ' ' + fault.element.ToUtf8() + '\n';
    }
    return text;
  }

  const CTempFolder folder_;  // with blanks in its name
  CXmlSchemaCollection schemas_;
};

constexpr const char* kPlant =
    "<xs:include schemaLocation='parts/common%20types.xsd'/>\n"
    "<xs:import namespace='urn:unit' schemaLocation='http://127.0.0.1:1/unit.xsd'/>\n"
    "<xs:element name='Plant'><xs:complexType><xs:sequence>\n"
    "  <xs:element name='Speed' type='p:speed' maxOccurs='unbounded'/>\n"
    "  <xs:element ref='u:Unit' minOccurs='0'/>\n"
    "</xs:sequence><xs:attribute name='id' type='xs:int'/></xs:complexType></xs:element>\n";

TEST_F(XmlSchemaCollection, ChecksDocumentsAgainstSchemasThatNameEachOther) {
  std::filesystem::create_directories(folder_.Native("parts"));
  Write("parts/common types.xsd", "targetNamespace='urn:plant'",
        "<xs:simpleType name='speed'><xs:restriction base='xs:int'><xs:maxInclusive value='3000'/>"
        "</xs:restriction></xs:simpleType>");
  const CString plant =
      Write("plant.xsd", "targetNamespace='urn:plant' xmlns:p='urn:plant' xmlns:u='urn:unit'", kPlant);
  const CString unit = Write("unit.xsd", "targetNamespace='urn:unit' xmlns:p='urn:plant'",
                             "<xs:import namespace='urn:plant' schemaLocation='nowhere.xsd'/>\n"
                             "<xs:element name='Unit' type='p:speed'/>");
  ASSERT_EQ(schemas_.Add(u"urn:plant", plant), 1) << schemas_.GetLastErrorText();
  EXPECT_EQ(schemas_.Compile(), 0);  // the unit's schema would have to be fetched
  EXPECT_NE(schemas_.GetLastErrorText().Find(u"http://127.0.0.1:1/unit.xsd"), -1) << schemas_.GetLastErrorText();
  ASSERT_EQ(schemas_.Add(u"urn:unit", unit), 1) << schemas_.GetLastErrorText();
  ASSERT_EQ(schemas_.Compile(), 1) << schemas_.GetLastErrorText();

  const auto check = [&] {
    EXPECT_EQ(Faults(u"<Plant xmlns='urn:plant' id='1'><Speed>1</Speed><Unit xmlns='urn:unit'>2</Unit></Plant>"), "");
    EXPECT_EQ(Faults(u"<Plant xmlns='urn:plant' id='x'>\n<Speed>1</Speed>\n<Speed>3001</Speed>\n"
                     u"<Unit xmlns='urn:unit'>-</Unit><More/></Plant>"),
              "1 /Plant\n3 /Plant/Speed[2]\n4 /Plant/Unit\n4 /Plant/More\n");
    EXPECT_EQ(Faults(u"<Plant/>"), "1 /Plant\n");
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(check);
  for (std::thread& thread : threads) thread.join();

  std::vector<CXmlSchemaCollection::fault_t> faults;
  EXPECT_EQ(schemas_.Validate(CXmlDocument(), faults), 0);
  EXPECT_EQ(faults.size(), 1U);
  EXPECT_EQ(schemas_.Remove(u"urn:plant"), 1);
  EXPECT_EQ(Faults(u"<Plant xmlns='urn:plant'/>"), "0 \n");  // what is left does not compile any more
}

TEST_F(XmlSchemaCollection, ChecksADocumentThatHasChangedAnew) {
  ASSERT_EQ(schemas_.Add(u"urn:a", Write("ids.xsd", "targetNamespace='urn:a'",
                                         "<xs:element name='a'><xs:complexType><xs:sequence><xs:any minOccurs='0'/>"
                                         "</xs:sequence><xs:attribute name='id' type='xs:ID'/></xs:complexType>"
                                         "</xs:element>")),
            1);
  CXmlDocument document;
  ASSERT_EQ(document.SetXml(u"<a xmlns='urn:a' id='x'><a id='y'/></a>"), 1);
  std::vector<CXmlSchemaCollection::fault_t> faults;
  EXPECT_EQ(schemas_.Validate(document, faults), 1) << faults[0].text;
  document.WriteAttribute(document.FindFirstChild(nullptr, false), u"id", u"x");
  EXPECT_EQ(schemas_.Validate(document, faults), 0);
  document.WriteAttribute(document.GetElementByName(nullptr, u"", u"", false), u"id", u"y");
  EXPECT_EQ(schemas_.Validate(document, faults), 1);
}

TEST_F(XmlSchemaCollection, TellsWhatIsWrongWithASchema) {
  const struct {
    std::string attributes, content;
    const char16_t* error;
  } rows[] = {{"targetNamespace='urn:b'", "", u"s.xsd: The schema is of the namespace \"urn:b\", not of \"urn:a\"."},
              {"targetNamespace='urn:a'", "\n<open>", u"s.xsd, line 3, column"},
              {"targetNamespace='urn:a'", "\n<xs:element name='a' type='xs:none'/>", u"s.xsd, line 3: "},
              {"targetNamespace='urn:a'", "<xs:include schemaLocation='none.xsd'/>", u"none.xsd"},
              {"targetNamespace='urn:a'", "<xs:include schemaLocation='ftp://127.0.0.1/x.xsd'/>",
               u"s.xsd: The schema at \"ftp://127.0.0.1/x.xsd\" is not registered"}};
  for (const auto& row : rows) {
    CXmlSchemaCollection schemas;
    const CString path = Write("s.xsd", row.attributes, row.content);
    EXPECT_FALSE(schemas.Add(u"urn:a", path) == 1 && schemas.Compile() == 1) << row.content;
    EXPECT_NE(schemas.GetLastErrorText().Find(row.error), -1) << schemas.GetLastErrorText();
  }
  EXPECT_EQ(schemas_.Add(u"urn:a", u"\\no\\such.xsd"), 0);
  EXPECT_NE(schemas_.GetLastErrorText().Find(u"such.xsd"), -1);
  EXPECT_EQ(schemas_.GetCount(), 0);
}

}  // namespace
