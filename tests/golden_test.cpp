// Files of every form, as each version wrote them, are read by every later one: they stand in tests/golden, a folder
// for each version whose forms differ from those before, and are never written again. docs/formats.md explains them
// byte by byte.
//
// What a form holds is said here, by the function that makes it. Of the newest folder the files are written today with
// the same bytes, both from these values and from what is read; of the older ones what is read is these values.
// Values are such that another order of bytes, a lost sign, a number cut to 32 bits or a changed NaN would show.
//
// For a new folder: ZORUTIL_MAKE_GOLDEN=1.1 tests/golden_test. Files that are there stay as they are.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "util/project/golden_testing.h"

using namespace golden_testing;

namespace {

template <class T>
std::string RewriteTexts(const std::string& bytes) {
  memory_serializer_t in(Bytes(bytes));
  return Written([&](auto& out) {
    for (const auto text : kTexts) {
      T read;
      Deserialize(read, in);
      EXPECT_EQ(read, text);
      Serialize(read, out);
    }
  });
}

// The bits of a number, and what an array or a text is equal by.
void ExpectSame(const CVariant& read, const CVariant& expected) {
  ASSERT_EQ(read.vt, expected.vt);
  if (read.IsArray() && expected.GetArray() == nullptr) {
    EXPECT_EQ(read.GetNumElements(), 0U);
  } else if (read.IsArray() || read.vt == VT_BSTR) {
    EXPECT_EQ(read, expected);
    EXPECT_EQ(read.IsArray() && read.GetArray()->GetNumRows() == 2,
              expected.IsArray() && expected.GetArray()->GetNumRows() == 2);
  } else {
    EXPECT_EQ(read.ullVal, read.vt == VT_ERROR ? 0 : expected.ullVal) << "type " << read.vt;  // no form keeps the code
    EXPECT_TRUE(read.vt != VT_DECIMAL || read.wReserved1 == expected.wReserved1) << "sign and scale";
  }
}

// Out of the buffer and into a stream: the other way round than they were made.
template <const std::vector<CVariant>& (*VALUES)()>
std::string RewriteValues(const std::string& bytes) {
  CMemFile file(Bytes(bytes));
  zorutil::CSerializationBuffer in;
  in.FromFile(file, static_cast<unsigned>(bytes.size()));
  return Written([&](auto& out) {
    for (const CVariant& expected : VALUES()) {
      CVariant read;
      zorutil::Deserialize(read, in);
      ExpectSame(read, expected);
      zorutil::Serialize(read, out);
    }
  });
}
std::string RewriteArray(const std::string& bytes) {
  CVariant read(1, VT_R8, nullptr);
  memory_serializer_t in(Bytes(bytes));
  zorutil::Deserialize(*read.parray, in);
  EXPECT_TRUE(*read.parray == *Arrays()[5].parray && read.GetArray()->GetNumRows() == 2);
  return Written([&](auto& out) { zorutil::Serialize(*read.parray, out); });
}

std::string RewriteMessage(const std::string& bytes) {
  i18n::CLocalizedMessage message;
  memory_serializer_t in(Bytes(bytes));
  message.Deserialize(in);
  EXPECT_EQ(message.GetFlag(), 0x81);
  EXPECT_EQ(message.GetMessageText(i18n::kLanguageEnglish).ToUtf8(),
            "The value is out of range. Enter a value from -5 to m³/h. (as it came)");
  return Written([&](auto& out) { message.Serialize(out); });
}

template <class T>
std::string RewriteRecord(const std::string& bytes) {
  CMemFile file(Bytes(bytes));
  T read;
  read.Load(&file);
  EXPECT_TRUE(read == Make(T()));
  return Saved([&](CMemFile& again) { read.Save(&again); });
}
std::string RewriteDocument(const std::string& bytes) {
  CXmlDocument document;
  CMemFile file(Bytes(bytes));
  EXPECT_EQ(document.LoadFrom(file), 1);
  CScaling scaling;
  CDeadband deadband;
  CResolutionRate rate;
  EXPECT_EQ(scaling.Load(&document, nullptr, u"urn:zorutil:golden"), 1);
  EXPECT_EQ(deadband.Load(&document, nullptr, u"urn:zorutil:golden"), 1);
  EXPECT_EQ(rate.Load(&document, nullptr, u"urn:zorutil:golden"), 1);
  EXPECT_TRUE(scaling == Make(CScaling()) && deadband == Make(CDeadband()) && rate == Make(CResolutionRate()));
  return WriteDocument(scaling, deadband, rate);
}

std::string RewriteObjects(const std::string& bytes) {
  memory_serializer_t in(Bytes(bytes));
  object_list_t read;
  read.Deserialize(in);
  EXPECT_TRUE(read == (object_list_t{Properties(), property_list_t()}));
  const CProductKey key;
  for (const int id : {1, 2, 3}) EXPECT_EQ(FindProperty(Id(id), read.front())->GetDecryptedString().View(), kSecret);
  return Written([&](auto& out) { read.Serialize(out); });
}

// Found in a folder by way of an index, as a program finds them.
definition_file_t ReadDefinitions(const std::string& index, const std::string& definitions) {
  const CTempFolder folder;
  folder.Put("golden.prop", definitions);
  folder.Put(CString(kIndexFileName).ToUtf8(), index);
  CDefinitionStore store(folder.GetPath());
  definition_file_t read{kNamespace, store.GetNamespaceName(Id(7)), {}};
  auto collect = MakeFunctor<std::shared_ptr<IPropertyDefinition>>(
      [&](auto each) { return read.definitions.push_back(each), false; });
  EXPECT_TRUE(store.IterateDefinitions(u"Goldene Pumpen", collect));
  const auto speed = store.GetDefinition(Id(0x10203));
  EXPECT_TRUE(speed != nullptr && speed->GetQualifiedName() == u"Goldene Pumpen.Drehzahl" && speed->IsExempt());
  return read;
}
std::string RewriteDefinitions(const std::string& bytes) {
  const definition_file_t read = ReadDefinitions(MakeIndex(), bytes);
  return Written([&](auto& out) { WriteDefinitionStream(out, read); });
}
std::string RewriteIndex(const std::string& bytes) {
  const definition_file_t read = ReadDefinitions(bytes, MakeDefinitions());
  return MakeIndex(Written([&](auto& out) { WriteDefinitionStream(out, read); }));
}

std::string RewriteObject(const std::string& bytes) {
  CMemFile file(Bytes(bytes));
  const zorutil::owned_obj_ptr read(CTableObj::CreateObject(&file));
  EXPECT_EQ(read->Load(&file, true), 1);
  EXPECT_TRUE(zorutil::project::AreTreesEqual(*read, *TableOf(Thing()).GetRecord(0)));
  return Saved([&](CMemFile& again) { read->Save(&again, true); });
}
std::string RewriteCopy(const std::string& bytes) {
  memory_serializer_t in(Bytes(bytes));
  const zorutil::owned_obj_ptr read(new CThing);
  EXPECT_TRUE(zorutil::DeserializeHierarchy(*read, in) && zorutil::project::AreTreesEqual(*read, *Thing()));
  return Written([&](auto& out) { zorutil::SerializeHierarchy(*read, out); });
}
std::string RewriteTable(const std::string& bytes) {
  CMemFile file(Bytes(bytes));
  const zorutil::owned_obj_ptr read(new CThing);
  EXPECT_EQ(TableOf(read).Load(&file), 1);
  EXPECT_TRUE(zorutil::project::AreTreesEqual(*TableOf(read).GetRecord(0), *TableOf(Thing()).GetRecord(0)));
  return Saved([&](CMemFile& again) { TableOf(read).Save(&again); });
}
template <form_t FORM>
std::string RewriteProject(const std::string& bytes) {
  zorutil::project::load_report_t report;
  const auto read = zorutil::project::LoadProject(Bytes(bytes), report, {FORM});
  if (read == nullptr) return report.ToString().ToUtf8();
  EXPECT_TRUE(zorutil::project::AreTreesEqual(*read, *Thing()));
  return Text(zorutil::project::WriteProject(*read, FORM));
}

std::string PrintKeys() {
  std::vector<registry::key_values_t> keys;
  EXPECT_EQ(registry::ReadTree(registry::HKEY_LOCAL_MACHINE, u"Golden", keys).text, "");
  EXPECT_EQ(keys, Keys());
  return registry::PrintText(keys);
}
std::string PrintDatabase(const std::string& bytes) {
  const CTempFolder folder;
  folder.Put("registry.db", bytes);
  registry::SetRegistryFile(folder.PathOf("registry.db"));
  return PrintKeys();
}
std::string RewriteExport(const std::string& bytes) {
  const CTempFolder folder;
  std::vector<registry::text_problem_t> problems;
  PutKeys(folder, registry::ParseText(bytes, problems));
  return PrintKeys();
}

std::string RewriteSettings(const std::string& bytes) {
  CIniFile read, again;
  CMemFile in(Bytes(bytes));
  read.Load(&in);
  CString text;
  for (const auto& [section, key, value] : kSettings) {
    EXPECT_TRUE(read.ReadValue(section, key, text) && text == value) << text.ToUtf8();
    again.WriteValue(section, key, text.GetString());
  }
  return Saved([&](CMemFile& out) { again.Save(&out); });
}

// --- the files -------------------------------------------------------------------------------------------------------

struct file_t {
  const char* name;
  std::string (*make)();
  std::string (*rewrite)(const std::string& bytes);  // what was read of it, which is compared with the values above
  bool isExact = true;                               // false: the bytes are another library's choice
};
const file_t kFiles[] = {{"texts.bin", MakeTexts<CString>, RewriteTexts<CString>},
                         {"bstrs.bin", MakeTexts<CBstr>, RewriteTexts<CBstr>},
                         {"values.bin", MakeValues<Scalars>, RewriteValues<Scalars>},
                         {"array_values.bin", MakeValues<Arrays>, RewriteValues<Arrays>},
                         {"array.bin", MakeArray, RewriteArray},
                         {"message.bin", MakeMessage, RewriteMessage},
                         {"scaling.bin", MakeRecord<CScaling>, RewriteRecord<CScaling>},
                         {"deadband.bin", MakeRecord<CDeadband>, RewriteRecord<CDeadband>},
                         {"rate.bin", MakeRecord<CResolutionRate>, RewriteRecord<CResolutionRate>},
                         {"tag.xml", MakeDocument, RewriteDocument},
                         {"properties.bin", MakeObjects, RewriteObjects},
                         {"definitions.prop", MakeDefinitions, RewriteDefinitions},
                         {"namespace.idx", MakeIndex, RewriteIndex},
                         {"object.bin", MakeObject, RewriteObject},
                         {"copy.bin", MakeCopy, RewriteCopy},
                         {"table.bin", MakeTable, RewriteTable},
                         {"project.bin", MakeProject<form_t::BINARY>, RewriteProject<form_t::BINARY>},
                         {"project.xml", MakeProject<form_t::XML>, RewriteProject<form_t::XML>},
                         {"project.json", MakeProject<form_t::JSON>, RewriteProject<form_t::JSON>},
                         {"registry.db", MakeDatabase, PrintDatabase, false},
                         {"registry.txt", MakeExport, RewriteExport},
                         {"settings.ini", MakeSettings, RewriteSettings}};

const std::filesystem::path kFolder = std::filesystem::path(ZORUTIL_SOURCE_DIR) / "tests/golden";

TEST(GoldenFiles, OfEveryVersionAreReadAndThoseOfTheNewestAreWrittenTheSame) {
  zorutil::RegisterType(CThing::kType);
  if (const char* const version = std::getenv("ZORUTIL_MAKE_GOLDEN")) {
    std::filesystem::create_directories(kFolder / version);
    for (const file_t& file : kFiles) {
      const auto path = kFolder / version / file.name;
      if (!std::filesystem::exists(path)) std::ofstream(path, std::ios::binary) << file.make();
    }
  }
  std::set<std::filesystem::path> versions;
  for (const auto& entry : std::filesystem::directory_iterator(kFolder)) {
    if (entry.is_directory()) versions.insert(entry.path());
  }
  ASSERT_TRUE(versions.contains(kFolder / "1.0"));
  for (const auto& version : versions) {
    for (const file_t& file : kFiles) {
      SCOPED_TRACE(version / file.name);
      const std::string golden = FileText(version / file.name), made = file.make();
      const std::string rewritten = file.rewrite(golden);
      EXPECT_EQ(rewritten, file.isExact ? made : file.rewrite(made));
      EXPECT_TRUE(!file.isExact || version != *versions.rbegin() || made == golden);
    }
  }
  zorutil::UnregisterType(CThing::kType);
}

}  // namespace
