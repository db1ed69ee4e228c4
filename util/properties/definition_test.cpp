// The records of definitions, their files, the index, and the store over a directory of them.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <future>
#include <string>
#include <utility>
#include <vector>

#include "platform/framework/invalid_arg.h"
#include "platform/framework/mem_file.h"
#include "platform/zorplatform/exception.h"
#include "util/i18n/language_module.h"
#include "util/properties/definition_file.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/definition_testing.h"
#include "util/properties/namespace_index_internal.h"
#include "util/serialization/stream_testing.h"

namespace zorutil::properties {
namespace {

using definition_testing::Define;
using definition_testing::ReadText;
using definition_testing::When;
using definition_testing::WriteText;
using namespace std::literals;
using stream_testing::Bytes;

std::string Written(const definition_file_t& file) {
  memory_serializer_t out;
  WriteDefinitionStream(out, file);
  return stream_testing::Hex(out.GetContent());
}

// What a client of the reader hears.
struct heard_t : IDefinitionFileClient {
  bool OnNamespace(int number, const CString& fileName, const CString& namespaceName) override {
    text += std::to_string(number) + "/" + fileName.ToUtf8() + "/" + namespaceName.ToUtf8();
    return true;
  }
  bool OnDefinition(std::shared_ptr<IPropertyDefinition> definition) override {
    definitions.push_back(std::move(definition));
    return true;
  }
  std::string text;
  std::vector<std::shared_ptr<IPropertyDefinition>> definitions;
};

const std::string kSmallRecord =
    "0800 02000080 4162"                                     // the name, in the form of a CVariant
    "02006000 0F000000 07000000 08000000 09000000 FEFFFFFF"  // id, type, four numbers
    "01000001 1100 09 0200 FFFF 0000"                        // flags, default, minimum, maximum
    "01000000 05000000 06000000"                             // one value of the enumeration
    "00000000 01000000 01000000 05000000 0B00 FFFF";         // no allow condition, one enable condition
const std::string kSmallHead = "23775599 00 0100 0300 06000000 6D6F746F7273 01000000";

TEST(DefinitionFile, HasExactBytesAndRefusesDamage) {
  const std::string hex = stream_testing::Hex(Bytes(kSmallHead + kSmallRecord));
  property_def_t kept(5, u"kept", TYPE_NONE);
  const std::string cut = kSmallRecord.substr(0, kSmallRecord.size() - 2);
  EXPECT_EQ(stream_testing::CodeOf(Bytes(cut), [&](ISerializer& in) { kept.Deserialize(in); }), -3);
  EXPECT_EQ(kept.GetName(), u"kept");
  stream_testing::ExpectRefusesDamage(hex, [](ISerializer& in) {
    heard_t heard;
    ReadDefinitionStream(in, u"file", heard);
  });
  memory_serializer_t in(Bytes(hex));
  heard_t heard;
  ASSERT_TRUE(ReadDefinitionStream(in, u"file", heard));
  ASSERT_EQ(heard.definitions.size(), 1U);
  const IPropertyDefinition& read = *heard.definitions[0];
  EXPECT_EQ(Written({3, u"motors", heard.definitions}), hex);
  EXPECT_EQ(read.GetQualifiedName(), u"motors.Ab");
  EXPECT_TRUE(read.GetMetaDataNumber() == 7 && read.GetSecondNumber() == 8 && read.GetThirdNumber() == 9 &&
              read.GetFourthNumber() == -2);
  EXPECT_EQ(read.GetDefaultValue(), CVariant::FromUInt8(9));
  EXPECT_TRUE(read.GetMinLength() == -1 && read.GetMaxLength() == -1);
  EXPECT_TRUE(read.GetEnumValues()[0]->GetValue() == 5 && read.GetEnumValues()[0]->GetMetaDataNumber() == 6);
  ASSERT_TRUE(read.GetAllowConditions().empty() && read.GetEnableConditions().size() == 1);
  const IPropertyCondition& enabled = *read.GetEnableConditions()[0];
  EXPECT_TRUE(enabled.GetWatchedId() == 1 && enabled.GetOperation() == CVariantCompare::NOT_EQUAL);

  void (property_def_t::*const setFlag[])(bool) noexcept = {&property_def_t::SetExempt, &property_def_t::SetSecondFlag,
                                                            &property_def_t::SetRequired,
                                                            &property_def_t::SetServerOnly};
  for (std::size_t i = 0; i < std::size(setFlag); ++i) {
    property_def_t flagged(1, u"Ab", TYPE_NONE);
    (flagged.*setFlag[i])(true);
    memory_serializer_t out;
    flagged.Serialize(out);
    EXPECT_EQ(stream_testing::Hex(out.GetContent()).substr(64, 8).find('1'), 2 * i + 1);
  }
}

TEST(DefinitionFile, IsTakenOrSkippedByItsHeader) {
  // Flag, the bytes that follow it, the number, the name, no definitions.
  for (const auto& [hex, text] : {std::pair("23775599 00 0000 0100 00000000 00000000", "1/base/base"),
                                  {"23775599 07 AABBCC FF03 02000000 4142 00000000", "1023/base/AB"},
                                  {"23775599 00 0000 0300 04000000 41004200 00000000", "3/base/A"},
                                  {"23775599 00 0000 0300 01000000 00 00000000", "3/base/base"},
                                  {"23775599 00 0000 0000 00000000 00000000", ""},
                                  {"23775599 00 0000 0004 00000000 00000000", ""},
                                  {"24775599", ""}}) {
    memory_serializer_t in(Bytes(hex));
    heard_t heard;
    EXPECT_EQ(ReadDefinitionStream(in, u"base", heard), *text != '\0') << hex;
    EXPECT_EQ(heard.text, text) << hex;
  }
}

TEST(DefinitionFile, CountsThatLieAreCorruptAndCostNoMemory) {
  const std::string head = "23775599 00 0000 0300 ", record = kSmallRecord;
  const std::size_t enumCount = record.find("01000000 05000000"), allowCount = record.find("00000000 01000000 0100");
  const auto with = [&](std::size_t at, const char* count) { return std::string(record).replace(at, 8, count); };
  for (const auto& [hex, code] : {std::pair(head + "FFFFFFFF", -1),
                                  {head + "01100000 4142", -1},
                                  {head + "00100000 4142", -3},
                                  {head + "00000000 01002000", -1},
                                  {head + "00000000 00002000", -3},
                                  {head + "00000000 01000000" + with(enumCount, "FFFFFFFF"), -1},
                                  {head + "00000000 01000000" + with(enumCount, "00000100"), -3},
                                  {head + "00000000 01000000" + with(allowCount, "01100000"), -1}}) {
    const auto bytes = Bytes(hex);
    stream_testing::CCountingReader in(bytes);
    const auto read = [&](ISerializer&) {
      heard_t heard;
      ReadDefinitionStream(in, u"base", heard);
    };
    EXPECT_EQ(stream_testing::CodeOf({}, read), code) << hex;
    EXPECT_LE(in.GetLargest(), kMaxNamespaceNameBytes);
  }
}

TEST(DefinitionFile, ThatCouldNotBeReadBackIsNotWritten) {
  const CTempFolder folder;
  const int id = MakePropertyId(3, 1);
  const auto fine = Define(id, u"", TYPE_NONE), crowded = Define(id, u"", TYPE_NONE),
             hollow = Define(id, u"", TYPE_NONE);
  crowded->SetAllowConditions(condition_list_t(kMaxConditions + 1, When(0, CVariantCompare::EQUAL, {})));
  hollow->SetEnableConditions({nullptr});
  const CString path = folder.GetPath() + u"a.prop";
  WriteDefinitionFile(path, {3, u"", {fine}});
  const std::string before = ReadText(path);
  for (const definition_file_t& file : std::vector<definition_file_t>{{0, u"", {}},
                                                                      {1024, u"", {}},
                                                                      {3, u"a\nb", {}},
                                                                      {4, u"", {fine}},
                                                                      {3, u"", {nullptr}},
                                                                      {3, u"", {crowded}},
                                                                      {3, u"", {hollow}},
                                                                      {3, CString(u'x', 4097), {}}}) {
    EXPECT_THROW(WriteDefinitionFile(path, file), CInvalidArgException) << file.namespaceNumber;
  }
  for (const char16_t* name : {u"a,b.prop", u".prop", u"a.txt", u"a\n5=b.prop"}) {
    EXPECT_THROW(WriteDefinitionFile(folder.GetPath() + name, {3, u"", {}}), CInvalidArgException);
  }
  EXPECT_EQ(ReadText(path), before);
}

TEST(NamespaceIndex, NamesTheFilesThatAreDefinitionFiles) {
  const CTempFolder folder;
  const CString at = folder.GetPath();
  WriteDefinitionFile(at + u"Motors.prop", {1, u"motors", {}});
  WriteDefinitionFile(at + u"a.b.prop", {1023, u"Größe, Gewicht", {}});
  WriteDefinitionFile(at + u"plain.prop", {7, u"", {}});
  const std::string head("\x23\x77\x55\x99\0\0\0", 7), zeros(8, '\0');
  WriteText(at + u"over.prop", head + '\0' + '\4' + zeros);
  WriteText(at + u"x,y.prop", ReadText(at + u"plain.prop"));
  WriteText(at + u"broken.prop", head + std::string("\4\0\3\0\0\0a\nb", 9) + zeros);
  CreateIndexFile(at);
  const std::string index = ReadText(at + kIndexFileName);
  EXPECT_EQ(index, "1=Motors\r\n1023=a.b,Größe, Gewicht\r\n7=plain\r\n");

  // A file that is damaged in its header is named, and leaves the index as it was.
  for (const auto& [rest, code] : {std::pair(""s, -3), {"\3\0\xFF\xFF\xFF\xFF"s, -1}}) {
    WriteText(at + u"short.prop", head + rest);
    try {
      CreateIndexFile(at);
      ADD_FAILURE() << code;
    } catch (const zorplatform::CException& error) {
      EXPECT_EQ(error.GetCode(), code);
      EXPECT_TRUE(std::string_view(error.what()).starts_with((at + u"short.prop: ").ToUtf8())) << error.what();
    }
    EXPECT_EQ(ReadText(at + kIndexFileName), index);
  }
  ASSERT_EQ(::mkfifo(folder.Native("pipe.prop").c_str(), 0600), 0);  // who read it would wait
  WriteText(at + kIndexFileName, "5=pipe\n");
  EXPECT_EQ(CDefinitionStore(at).GetDefinition(MakePropertyId(5, 1)), nullptr);
  RemoveIndexFile(at);
  RemoveIndexFile(at);
  EXPECT_FALSE(zorplatform::FileExists(at + kIndexFileName));
  EXPECT_EQ(stream_testing::CodeOf({}, [&](ISerializer&) { CreateIndexFile(at + u"none\\"); }), -1);
}

TEST(NamespaceIndex, TakesAnyLines) {
  for (const auto& [text, expected] : {std::pair("", ""),
                                       {"4=a,b\n", "4:a/b;"},
                                       {"4=a\r\n17=c,d,e", "4:a/a;17:c/d,e;"},
                                       {"\n\r\n4\n5=\n6", "4:/;5:/;6:/;"},
                                       {"rubbish\n-3=x\n", "0:ubbish/ubbish;"},
                                       {"4=a\n4=b\n", "4:a/a;"},
                                       {"4294967297=a\n99999999999=b\n", "1:a/a;1215752191:b/b;"},
                                       {"7==,\n8,x,y\n", "7:=/;8:x/y;"},
                                       {"9=\xFF\xC3,\n", "9:\xEF\xBF\xBD\xEF\xBF\xBD/;"}}) {
    std::string entries;
    for (const auto& [number, entry] : ReadIndexText(text)) {
      entries += std::to_string(number) + ":" + entry.fileName.ToUtf8() + "/" + entry.namespaceName.ToUtf8() + ";";
    }
    EXPECT_EQ(entries, expected) << text;
  }
}

TEST(DefinitionStore, ReadsTheFileOfANamespaceOnceAndNoOther) {
  const CTempFolder folder;
  const CString at = folder.GetPath();
  const int speed = MakePropertyId(4, 1), power = MakePropertyId(4, 0x1FFFFF);
  const auto all = {Define(speed, u"Speed", TYPE_INTEGER), Define(power, u"power", TYPE_REAL8),
                    Define(speed, u"SPEED", TYPE_HEX)};
  WriteDefinitionFile(at + u"m.prop", {4, u"Motors", {all.begin(), all.end()}});
  WriteText(at + u"cut.prop", std::string("\x23\x77\x55\x99\0\0\0\5\0\0\0\0\0\1\0\0\0", 17));
  ASSERT_TRUE(zorplatform::CreatePath(at + u"sub"));
  WriteDefinitionFile(at + u"sub\\s.prop", {9, u"", {Define(MakePropertyId(9, 1), u"", TYPE_NONE)}});
  CDefinitionStore store(at);

  // Without an index nothing is defined, and whoever asks for the index itself hears of it.
  EXPECT_EQ(store.GetDefinition(speed), nullptr);
  const auto codeOfName = [&] {
    return stream_testing::CodeOf({}, [&](ISerializer&) { store.GetNamespaceName(speed); });
  };
  EXPECT_EQ(codeOfName(), -1);
  WriteText(at + kIndexFileName, std::string((16 << 20) + 1, '\n'));
  EXPECT_EQ(codeOfName(), -1);
  CreateIndexFile(at);
  WriteText(at + kIndexFileName, ReadText(at + kIndexFileName) + "6=gone\n8=m,Eight\n9=sub\\s\n10=motors,x\n");
  store.OnIndexCreated();

  const auto found = store.GetDefinition(speed);
  ASSERT_TRUE(found != nullptr && found->GetType() == TYPE_INTEGER);
  EXPECT_EQ(store.GetDefinition(u"Eight", u"speed"), nullptr);  // the file is of another namespace
  WriteText(at + u"m.prop", "changed");
  RemoveIndexFile(at);
  EXPECT_EQ(store.GetDefinition(u"MOTORS", u"sPEED"), found);
  EXPECT_EQ(store.GetDefinition(u"m", u"POWER"), store.GetDefinition(power));
  EXPECT_EQ(store.GetNamespaceName(power), CString(u"Motors"));
  EXPECT_EQ(store.GetNamespaceName(MakePropertyId(77, 0)), CString());
  for (const int number : {0, 6, 9, 1023}) EXPECT_EQ(store.FindDefinition(MakePropertyId(number, 1)), nullptr);
  EXPECT_EQ(stream_testing::CodeOf({}, [&](ISerializer&) { store.GetDefinition(MakePropertyId(5, 1)); }), -3);

  std::string heard;
  auto define = MakeFunctor<std::shared_ptr<IPropertyDefinition>>([&](const auto& each) {
    heard += each->GetName().ToUtf8() + ";";
    return each->GetId() == power;
  });
  EXPECT_TRUE(store.IterateDefinitions(u"motors", define));
  EXPECT_FALSE(store.IterateDefinitions(u"sub\\..\\sub\\s", define));
  auto name = MakeFunctor<const std::pair<int, metadata_t>&>([&](const auto& each) {
    heard += std::to_string(each.first) + each.second.fileName.ToUtf8() + (each.second.isLoaded ? "! " : " ");
    return each.first == 6;
  });
  store.IterateNamespaces(name);
  EXPECT_EQ(heard, "Speed;power;4m! 5cut 6gone! ");

  const auto texts = i18n::CLanguageModule::Register(
      u"m", "[Language]\nName = English\nTag = en\n[Texts]\n12 = Speed of the shaft\n", nullptr);
  EXPECT_EQ(store.GetMetaData(4, 12, 0).text, u"Speed of the shaft");
}

TEST(DefinitionStore, GivesThreadsThatAskFirstTheSameDefinitions) {
  const CTempFolder folder;
  const int id = MakePropertyId(9, 37);
  WriteDefinitionFile(folder.GetPath() + u"a.prop", {9, u"", {Define(id, u"", TYPE_STRING)}});
  CreateIndexFile(folder.GetPath());
  CDefinitionStore store(folder.GetPath());
  std::vector<std::future<const IPropertyDefinition*>> found;
  for (int i = 0; i < 4; ++i) found.push_back(std::async(std::launch::async, [&] { return store.FindDefinition(id); }));
  for (auto& each : found) EXPECT_EQ(each.get(), store.GetDefinition(id).get());
}

}  // namespace
}  // namespace zorutil::properties
