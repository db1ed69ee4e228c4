#include "examples/replay/tag_list.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "examples/readings/source_testing.h"
#include "platform/framework/temp_folder_testing.h"

namespace replay {
namespace {

using readings::CTextSource;

struct read_t {
  CTagList tags;
  bool any = false;
  std::string messages;
};

read_t Read(const std::string& text) {
  CTextSource source(text);
  CCsvReader reader(source);
  std::ostringstream messages;
  CProblemLog log(messages, 100);
  read_t result;
  result.any = result.tags.Read(reader, "t.csv", log);
  result.messages = messages.str();
  return result;
}

TEST(TagList, FillsInWhatIsLeftOpen) {
  const read_t read = Read("name\nA\n");
  EXPECT_EQ(read.messages, "");
  ASSERT_EQ(read.tags.GetTags().size(), 1u);
  const tag_t& tag = read.tags.GetTags()[0];
  EXPECT_EQ(tag.rawType, DT_DOUBLE);
  EXPECT_EQ(tag.scaling, CScaling());
  EXPECT_FALSE(tag.isScaled);
  EXPECT_FALSE(tag.isRefused);
  EXPECT_FALSE(tag.deadband.IsDeadband());
}

TEST(TagList, ReadsEveryColumnInAnyOrder) {
  const read_t read = Read(
      "Negate,CLAMP_HIGH,clamp low,scaled high,scaled low,scaled type,raw high,raw low,scaling type,raw type,unit,name,"
      "deadband high,deadband low,deadband,deadband type\r\n"
      " true , 1,0,100,-50,long,4095,819,square root,word,\"m\xC2\xB3/h\",\" A,1 \",40,-40,2.5,percent\r\n");
  EXPECT_EQ(read.messages, "");
  ASSERT_EQ(read.tags.Find("A,1"), 0);
  const tag_t& tag = read.tags.GetTags()[0];
  EXPECT_EQ(tag.unit, "m\xC2\xB3/h");
  EXPECT_EQ(tag.rawType, DT_WORD);
  EXPECT_TRUE(tag.isScaled);
  CScaling scaling;
  scaling.SetScalingType(CScaling::SQUARE_ROOT);
  scaling.SetRawLow(819);
  scaling.SetRawHigh(4095);
  scaling.SetScaledDataType(DT_LONG);
  scaling.SetScaledLow(-50);
  scaling.SetScaledHigh(100);
  scaling.SetClampHigh(true);
  scaling.SetNegateValue(true);
  scaling.SetUnits(u"m³/h");
  EXPECT_EQ(tag.scaling, scaling);
  EXPECT_EQ(tag.deadband.GetDeadbandType(), CDeadband::PERCENT);
  EXPECT_EQ(tag.deadband.GetThreshold(), 2);
}

TEST(TagList, ChoosesDefaultsThatGoWithTheRest) {
  const read_t read = Read(
      "name,raw type,scaling type,scaled type,clamp low,deadband,deadband type,scaled high\n"
      "plain,QWord,,,,5,,\nlinear,Short,Linear,,,1,Percent,50\nclamped,Short,,,1,,,\nwidened,Short,None,Long,,,,\n");
  EXPECT_EQ(read.messages, "");
  const struct {
    DATATYPE scaledType;
    bool isScaled;
    double threshold;
  } expected[] = {{DT_QWORD, false, 5}, {DT_DOUBLE, true, 0.5}, {DT_DOUBLE, true, 0}, {DT_LONG, true, 0}};
  ASSERT_EQ(read.tags.GetTags().size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    const tag_t& tag = read.tags.GetTags()[i];
    EXPECT_EQ(tag.scaling.GetScaledDataType(), expected[i].scaledType) << tag.name;
    EXPECT_EQ(tag.isScaled, expected[i].isScaled) << tag.name;
    EXPECT_EQ(tag.deadband.GetThreshold(), expected[i].threshold) << tag.name;
  }
}

TEST(TagList, TellsWhatIsWrongWithACellAndRefusesItsTag) {
  const std::string header =
      "name,raw type,scaling type,raw low,raw high,scaled type,scaled low,scaled high,clamp low,deadband type,deadband,"
      "deadband low,deadband high\n";
  const struct {
    const char* row;
    const char* message;
  } cases[] = {
      {"A,Int,,,,,,,,,,,",
       "2:3: raw type 'Int': expected one of String, Boolean, Char, Byte, Short, Word, Long, DWord, "
       "Float, Double, BCD, LBCD, Date, LLong, QWord"},
      {"A,Short Array,,,,,,,,,,,", "2:3: raw type 'Short Array': expected one of String"},
      {"A,,cubic,,,,,,,,,,", "2:4: scaling type 'cubic': expected one of None, Linear, Square Root"},
      {"A,,,1.2.3,,,,,,,,,", "2:5: raw low '1.2.3': expected a number"},
      {"A,,,,,,,,maybe,,,,", "2:10: clamp low 'maybe': expected 0, 1, true or false"},
      {"A,,,,,,,,,Relative,,,", "2:11: deadband type 'Relative': expected one of None, Absolute, Percent"},
      {"A,,,,,,,,,,-1,,", "2:12: a negative deadband: expected 0 or more"},
      {"A,,,,,,,,,,,9,8", "2:13: deadband: The low range must not exceed the high range."},
      {"A,Boolean,Linear,,,,,,,,,,", "2:3: raw type Boolean cannot be scaled: expected"},
      {"A,Short,Linear,,,QWord,,,,,,,", "2:18: scaled type QWord cannot hold a scaled value: expected"},
      {"A,Byte,Linear,0,256,,,,,,,,",
       "2:15: raw range: expected raw low below raw high, both in what raw type Byte holds"},
      {"A,Short,Linear,,,Byte,0,300,,,,,", "2:23: scaled range: expected scaled low below scaled high"},
      {"A,Short", "2:1: 2 fields: expected 13, as in the header"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.row);
    const read_t read = Read(header + c.row + "\nB,,,,,,,,,,,,\n");
    EXPECT_TRUE(read.messages.starts_with(std::string("t.csv:") + c.message)) << read.messages;
    ASSERT_EQ(read.tags.GetTags().size(), 2u);
    EXPECT_TRUE(read.tags.GetTags()[0].isRefused);
    EXPECT_FALSE(read.tags.GetTags()[1].isRefused);
  }
}

TEST(TagList, GoesThroughADocumentAndBack) {
  const read_t csv = Read(
      "name,unit,raw type,scaling type,raw high,scaled type,negate,deadband type,deadband\n"
      "A,m\xC2\xB3,short,linear,4000,float,1,percent,2\nB,bar,,,,,,,\nC,,,,,,1,,\n");
  const CTempFolder folder;
  const std::string path = folder.Native("tags.xml").string();
  std::ostringstream messages;
  CProblemLog log(messages, 100);
  csv.tags.WriteXml(path, log);
  EXPECT_EQ(messages.str(), path +
                                ": tag 'C': clamps, negation and another type without scaling have no place in a "
                                "document\n");
  CTagList back;
  EXPECT_TRUE(back.ReadXml(path, log));
  ASSERT_EQ(back.GetTags().size(), 3u);
  for (std::size_t i = 0; i < 2; ++i) {
    const tag_t &a = csv.tags.GetTags()[i], &b = back.GetTags()[i];
    EXPECT_TRUE(a.scaling == b.scaling && a.deadband.GetThreshold() == b.deadband.GetThreshold()) << a.name;
    EXPECT_TRUE(a.rawType == b.rawType && a.unit == b.unit && a.isScaled == b.isScaled) << a.name;
  }
}

TEST(TagList, TellsTheLineOfAFaultInADocument) {
  const CTempFolder folder;
  const std::string path = folder.Native("tags.xml").string();
  const struct {
    const char* content;
    const char* message;
  } cases[] = {
      {"<Tag>\n<Name> </Name></Tag>", ":2:1: a tag without a name\n"},
      {"<Tag><Name>A</Name></Tag>\n<Tag><Name>A</Name></Tag>",
       ":3:1: tag 'A' a second time: the one of line 2 counts\n"},
      {"<Group/>", ":2:1: element 'Group': expected Tag\n"},
      {"<Tag><Name>A</Name>\n<Scaling><Type>cubic</Type></Scaling></Tag>",
       ":3:1: Scaling: Type 'cubic': expected one of None, Linear, Square Root\n"},
      {"<Tag><Name>A</Name><RawType>Int</RawType></Tag>",
       ":2:1: RawType 'Int': expected one of String, Boolean, Char, "},
      {"<Tag><Name>A</Name>\n<Deadband><LowRange>9</LowRange></Deadband></Tag>",
       ":3:1: Deadband: The low range must not exceed the high range.\n"},
      {"<Tag><Name>A</Name><RawType>String</RawType><Scaling><Type>Linear</Type></Scaling></Tag>",
       ":2:1: raw type String cannot be scaled"},
      {"<Tag>", ", line 2, column "},
  };
  for (const auto& c : cases) {
    folder.Put("tags.xml", std::string("<Tags>\n") + c.content + "</Tags>");
    std::ostringstream messages;
    CProblemLog log(messages, 100);
    CTagList tags;
    tags.ReadXml(path, log);
    EXPECT_TRUE(messages.str().starts_with(path + c.message)) << messages.str();
  }
}

TEST(TagList, ReportsRowsWithoutUseAndGoesOn) {
  const read_t read = Read("name,colour,name\nA,,\n\"B\nA,red,x\n,,\nB,,\n");
  EXPECT_TRUE(read.messages.starts_with("t.csv:1:6: unknown column 'colour': expected name, unit, raw type, "))
      << read.messages;
  EXPECT_NE(read.messages.find("t.csv:1:13: column 'name' a second time: the first one counts\n"
                               "t.csv:3:1: a quote that is not closed: expected a closing quote (a quote inside a "
                               "field is written twice)\n"
                               "t.csv:4:1: tag 'A' a second time: the one of line 2 counts\n"
                               "t.csv:5:1: a tag without a name\n"),
            std::string::npos)
      << read.messages;
  EXPECT_EQ(read.tags.Find("B"), 1);
  EXPECT_EQ(read.tags.Find("b"), -1);
}

TEST(TagList, NeedsAHeaderWithNames) {
  for (const char* text : {"", "\n", "unit,raw type\nC,Short\n", "na\"me\nA\n"}) {
    const read_t read = Read(text);
    EXPECT_FALSE(read.any) << text;
    EXPECT_NE(read.messages.find("no column 'name': expected a header line"), std::string::npos) << read.messages;
  }
}

}  // namespace
}  // namespace replay
