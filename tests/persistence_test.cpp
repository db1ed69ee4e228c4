// Every save, load and replace of the libraries, of utilctl and of the gateway, under every fault that the disk and the
// memory have. What is expected of each row is said in persistence_testing.h. The last test prints the figures.
#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "examples/gateway/live_settings.h"
#include "examples/gateway/round_trip.h"
#include "platform/framework/file.h"
#include "platform/framework/file_lock.h"
#include "platform/framework/persistence_testing.h"
#include "platform/framework/replace_file.h"
#include "platform/registry/registry_text.h"
#include "platform/zorplatform/file_search.h"
#include "tools/utilctl/files.h"
#include "util/docs/xml_document.h"
#include "util/docs/xml_schema_collection.h"
#include "util/i18n/language_module.h"
#include "util/objects/plant_types_testing.h"
#include "util/options/global_profile.h"
#include "util/options/options_testing.h"
#include "util/project/project_file.h"
#include "util/properties/definition_file.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/definition_testing.h"
#include "util/properties/password.h"
#include "util/properties/property.h"
#include "util/properties/property_list.h"
#include "util/serialization/stream_serializers.h"

namespace {

namespace fs = std::filesystem;
using namespace persistence_testing;
using zorutil::file_serializer_t;
using zorutil::owned_obj_ptr;

// --- words ---------------------------------------------------------------------------------------------------------

// A failure that an operation tells by its result. It needs no memory when there is none.
template <class Text>
void Require(bool isDone, const Text& failure) {
  if (!isDone) throw std::runtime_error(CString(failure).ToUtf8());
}

const char* StateIf(bool isNew, bool isOld) { return isNew ? "new" : isOld ? "old" : "neither"; }
std::string StateOf(const std::string& value) { return value == "old" || value == "new" ? value : "neither: " + value; }
std::string MarkOf(bool isModified) { return isModified ? "old" : "new"; }

// More than the buffers of files hold.
std::string Long(const char* state) { return state + std::string(150'000, *state); }
std::string ReadLong(const CTempFolder& folder) {
  const std::string text = folder.Get("a");
  return StateIf(text == Long("new"), text == Long("old"));
}

void WriteLong(CFile& file) {
  const std::string text = Long("new");
  file.Write(text.data(), 70'000);  // past the buffer, into it, and with what it has no room for
  file.Write(text.data() + 70'000, 50'000);
  file.Write(text.data() + 120'000, static_cast<unsigned>(text.size()) - 120'000);
}

// --- files ---------------------------------------------------------------------------------------------------------

void ReplaceLong(const CString& path) {
  zorplatform::CReplaceFile file(path);
  WriteLong(file.GetFile());
  file.Commit();
}

attempt_t WriteInPlace(const CTempFolder& folder) {
  folder.Put("a", Long("old"));
  return {[path = folder.PathOf("a")] {
            CFile file(path, CFile::modeReadWrite);
            file.SetLength(0);
            WriteLong(file);
            file.Flush(true);
            file.Close();
          },
          {}};
}

attempt_t ReadFile(const CTempFolder& folder) {
  folder.Put("a", Long("new"));
  const auto text = std::make_shared<std::string>("old");
  return {[path = folder.PathOf("a"), text] {
            CFile file(path, CFile::modeRead);
            std::string got(static_cast<std::size_t>(file.GetLength()), '\0');
            file_serializer_t(&file).Read(got.data(), 100);
            file_serializer_t(&file).Read(got.data() + 100, static_cast<unsigned>(got.size()) - 100);
            file.Close();
            *text = got == Long("new") ? "new" : got;
          },
          [text] { return *text; }};
}

attempt_t Replace(const CTempFolder& folder) {
  folder.Put("a", Long("old"));
  return {[path = folder.PathOf("a")] { ReplaceLong(path); }, {}};
}

attempt_t ReplaceThroughLink(const CTempFolder& folder) {
  fs::create_directory(folder.Native("deep"));
  folder.Put("deep/a", Long("old"));
  fs::create_symlink("deep/a", folder.Native("a"));
  return {[path = folder.PathOf("a")] { ReplaceLong(path); }, {}};
}
std::string ReadThroughLink(const CTempFolder& folder) {
  return fs::is_symlink(folder.Native("a")) ? ReadLong(folder) : "the link is gone";
}

attempt_t MakeInNewFolder(const CTempFolder& folder) {
  return {[&folder] {
            zorplatform::MakePath(folder.PathOf("x\\y"));
            ReplaceLong(folder.PathOf("x\\y\\a"));
          },
          {}};
}
std::string ReadInNewFolder(const CTempFolder& folder) {
  const fs::path file = folder.Native("x/y/a");
  return StateIf(FileText(file) == Long("new"), !fs::exists(file));
}

attempt_t ReplaceByUtilctl(const CTempFolder& folder) {
  folder.Put("a", Long("old"));
  return {[path = folder.Native("a").string()] { utilctl::ReplaceWholeFile(path, Long("new")); }, {}};
}

attempt_t ReadByUtilctl(const CTempFolder& folder) {
  folder.Put("a", Long("new"));
  const auto text = std::make_shared<std::string>(Long("old"));
  return {[path = folder.Native("a").string(), text] { *text = utilctl::ReadWholeFile(path); },
          [text] { return StateIf(*text == Long("new"), *text == Long("old")); }};
}

// --- documents -----------------------------------------------------------------------------------------------------

std::string ReadIniText(const std::string& text) {
  return StateIf(text == "[S]\nKey=new\n; kept\n", text == "[S]\nKey=old\n; kept\n");
}
std::string ReadIni(const CTempFolder& folder) { return ReadIniText(folder.Get("a.ini")); }
void PutIni(const CTempFolder& folder, const char* state) {
  folder.Put("a.ini", std::string("[S]\nKey=") + state + "\n; kept\n");
}

attempt_t SaveIni(const CTempFolder& folder) {
  PutIni(folder, "old");
  const auto ini = std::make_shared<CIniFile>();
  ini->Load(folder.PathOf("a.ini"));
  ini->WriteValue(u"S", u"Key", u"new");
  return {[ini, path = folder.PathOf("a.ini")] { ini->Save(path); }, [ini] { return MarkOf(ini->IsModified()); }};
}

attempt_t LoadIni(const CTempFolder& folder) {
  PutIni(folder, "new");
  const auto ini = std::make_shared<CIniFile>();
  ini->FromText(u"[S]\nKey=old\n; kept\n");
  return {[ini, path = folder.PathOf("a.ini")] { ini->Load(path); },
          [ini] {
            CString text;
            ini->ToText(text);
            return ReadIniText(text.ToUtf8());
          }};
}

// utilctl options set: nobody else changes the file meanwhile.
attempt_t ChangeOption(const CTempFolder& folder) {
  PutIni(folder, "old");
  return {[path = folder.PathOf("a.ini")] {
            const zorplatform::CFileLock lock(path);
            COptionsContainer::GetInstance().LoadSettings(COptions::LEVEL_1, path);
            const COpenOptions options;
            options.WriteString(u"Key", u"new");
            COptionsContainer::GetInstance().SaveSettings(COptions::LEVEL_1, path);
          },
          {}};
}

CString OptionOf(const char16_t* key) { return COpenOptions().ReadString(key, u""); }

attempt_t LoadOptions(const CTempFolder& folder) {
  PutIni(folder, "new");
  LoadSettings("[S]\nKey=old\n");
  return {[path = folder.PathOf("a.ini")] { COptionsContainer::GetInstance().LoadSettings(COptions::LEVEL_1, path); },
          [] { return StateOf(OptionOf(u"Key").ToUtf8()); }};
}

attempt_t LoadLiveSettings(const CTempFolder& folder) {
  folder.Put("a.ini", "[Gateway]\nLogIntervalMs=2000\n");
  LoadSettings("");
  const auto settings = std::make_shared<gateway::settings_t>();
  settings->logIntervalMs = 7;
  return {[settings, path = folder.Native("a.ini").string()] { gateway::CLiveSettings(*settings, {}, path); }, {}};
}

std::string ReadXmlText(CXmlDocument& document) {
  CString text;
  document.GetText(document.GetElementByName(nullptr, u"", u"", false), text);
  return StateOf(text.ToUtf8());
}
std::string ReadXml(const CTempFolder& folder) {
  CXmlDocument document;
  return document.Load(folder.PathOf("a.xml")) != 0 ? ReadXmlText(document) : document.GetLastErrorText().ToUtf8();
}

attempt_t SaveXml(const CTempFolder& folder) {
  folder.Put("a.xml", "<Plant>old</Plant>");
  const auto document = std::make_shared<CXmlDocument>();
  document->WriteElement(nullptr, u"", u"Plant", true, u"new");
  return {[document, path = folder.PathOf("a.xml")] {
            const bool isDone = document->Save(path) != 0;
            Require(isDone, document->GetLastErrorText());
          },
          {}};
}

attempt_t LoadXml(const CTempFolder& folder) {
  folder.Put("a.xml", "<Plant a='1' b='2'><!-- x -->new</Plant>");
  const auto document = std::make_shared<CXmlDocument>();
  document->SetXml(u"<Plant>old</Plant>");
  return {[document, path = folder.PathOf("a.xml")] {
            const bool isDone = document->Load(path) != 0;
            Require(isDone, document->GetLastErrorText());
          },
          [document] { return ReadXmlText(*document); }};
}

attempt_t LoadSchema(const CTempFolder& folder) {
  folder.Put("a.xsd",
             "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:a'><xs:element name='A' "
             "type='xs:int'/></xs:schema>");
  const auto schemas = std::make_shared<CXmlSchemaCollection>();
  return {[schemas, path = folder.PathOf("a.xsd")] {
            const bool isDone = schemas->Add(u"urn:a", path) != 0 && schemas->Compile() != 0;
            Require(isDone, schemas->GetLastErrorText());
          },
          {}};
}

attempt_t LoadLanguage(const CTempFolder& folder) {
  folder.Put("motors.de.lang", "[Language]\nTag = de\n[Texts]\n1 = new\n");
  ::setenv("ZORUTIL_LANG_DIR", folder.Native().c_str(), 1);
  const auto motors = std::make_shared<std::shared_ptr<const i18n::CLanguageModule>>();
  return {[motors] {
            const auto registered = i18n::CLanguageModule::Register(u"motors", "[Texts]\n1 = old\n", nullptr);
            const auto problems = registered->GetProblems(7);
            Require(problems.empty(), problems.empty() ? CString() : CString(problems.front().what));
            *motors = registered;
          },
          [motors] { return StateOf(*motors == nullptr ? "old" : (*motors)->GetText(1, 7).ToUtf8()); }};
}

// --- definitions and properties ------------------------------------------------------------------------------------

using namespace zorutil::properties;

void PutDefinitions(const CTempFolder& folder, const char* fileName, int number, const char16_t* name) {
  WriteDefinitionFile(folder.PathOf(fileName),
                      {number, u"", {definition_testing::Define(MakePropertyId(number, 1), name, TYPE_INTEGER)}});
}
std::string ReadDefinitions(const CTempFolder& folder) {
  struct : IDefinitionFileClient {
    bool OnNamespace(int, const CString&, const CString&) override { return true; }
    bool OnDefinition(std::shared_ptr<IPropertyDefinition> each) override { return name = each->GetName(), true; }
    CString name;
  } reader;
  ReadDefinitionFile(folder.PathOf("a.prop"), reader);
  return StateOf(reader.name.ToUtf8());
}

attempt_t SaveDefinitions(const CTempFolder& folder) {
  PutDefinitions(folder, "a.prop", 1, u"old");
  return {[&folder] { PutDefinitions(folder, "a.prop", 1, u"new"); }, {}};
}

attempt_t SaveIndex(const CTempFolder& folder) {
  PutDefinitions(folder, "a.prop", 1, u"x");
  CreateIndexFile(folder.GetPath());
  PutDefinitions(folder, "b.prop", 2, u"x");
  return {[&folder] { CreateIndexFile(folder.GetPath()); }, {}};
}
std::string ReadIndex(const CTempFolder& folder) {
  CDefinitionStore store(folder.GetPath());
  int count = 0;
  functor_of_t<const std::pair<int, metadata_t>&, std::function<bool(const std::pair<int, metadata_t>&)>> counter(
      [&](const auto&) { return ++count, false; });
  store.IterateNamespaces(counter);
  return StateIf(count == 2, count == 1);
}

attempt_t LoadDefinition(const CTempFolder& folder) {
  PutDefinitions(folder, "a.prop", 1, u"x");
  CreateIndexFile(folder.GetPath());
  const auto store = std::make_shared<CDefinitionStore>(folder.GetPath());
  const auto name = std::make_shared<CString>(u"old");
  return {[store, name] {
            const auto definition = store->GetDefinition(u"a", u"x");
            Require(definition != nullptr, u"a.prop: not there");
            *name = u"new";
          },
          [name] { return name->ToUtf8(); }};
}

attempt_t SaveProperties(const CTempFolder& folder) {
  folder.Put("a", "old");
  return {[path = folder.PathOf("a")] {
            property_list_t list;
            list.push_back(MakePasswordProperty(1, u"secret"));
            list.push_back(CProperty::Create(2, CVariant::FromArray(std::vector<double>(20'000, 0.5))));
            zorplatform::CReplaceFile file(path);
            file_serializer_t out(&file.GetFile());
            list.Serialize(out);
            file.Commit();
          },
          {}};
}
std::string ReadProperties(const CTempFolder& folder) {
  if (folder.Get("a") == "old") return "old";
  CFile file(folder.PathOf("a"), CFile::modeRead);
  file_serializer_t in(&file);
  property_list_t list;
  list.Deserialize(in);
  return StateIf(list.size() == 2 && FindProperty(1, list)->GetDecryptedString() == u"secret", false);
}

// --- projects ------------------------------------------------------------------------------------------------------

using namespace zorutil::project;

owned_obj_ptr LoadPlant(const CString& path) {
  load_report_t report;
  owned_obj_ptr plant = LoadProject(path, report);
  Require(plant != nullptr, report.ToString());
  return plant;
}

template <form_t FORM>
attempt_t SavePlant(const CTempFolder& folder) {
  SaveProject(*plant_testing::MakePlant(1, 1, 1), folder.PathOf("a"), FORM);
  const auto plant = std::make_shared<owned_obj_ptr>(plant_testing::MakePlant(1, 2, 3));
  (*plant)->SetModified(true);
  return {[plant, path = folder.PathOf("a")] { SaveProject(**plant, path, FORM); },
          [plant] { return MarkOf((*plant)->IsModified()); }};
}
std::string ReadPlant(const CTempFolder& folder) {
  const owned_obj_ptr plant = LoadPlant(folder.PathOf("a"));
  return StateIf(AreTreesEqual(*plant, *plant_testing::MakePlant(1, 2, 3)),
                 AreTreesEqual(*plant, *plant_testing::MakePlant(1, 1, 1)));
}

template <form_t FORM>
attempt_t LoadPlantAs(const CTempFolder& folder) {
  SaveProject(*plant_testing::MakePlant(1, 2, 3), folder.PathOf("a"), FORM);
  const auto plant = std::make_shared<owned_obj_ptr>();
  return {[plant, path = folder.PathOf("a")] { *plant = LoadPlant(path); },
          [plant] {
            return StateIf(*plant != nullptr && AreTreesEqual(**plant, *plant_testing::MakePlant(1, 2, 3)),
                           *plant == nullptr);
          }};
}

CTable& ChannelsOf(const owned_obj_ptr& plant) { return static_cast<plant_testing::CPlant&>(*plant).channels; }

void WriteTable(const owned_obj_ptr& plant, const CString& path) {
  zorplatform::CReplaceFile file(path);
  Require(ChannelsOf(plant).Save(&file.GetFile()) != 0, u"not saved");
  file.Commit();
}

attempt_t SaveTable(const CTempFolder& folder) {
  WriteTable(plant_testing::MakePlant(1, 1, 1), folder.PathOf("a"));
  return {[path = folder.PathOf("a")] { WriteTable(plant_testing::MakePlant(2, 2, 3), path); }, {}};
}
std::string ReadTable(const CTempFolder& folder) {
  const owned_obj_ptr plant = plant_testing::MakePlant(0, 0, 0);
  CFile file(folder.PathOf("a"), CFile::modeRead);
  Require(ChannelsOf(plant).Load(&file) != 0, u"not loaded");
  return StateIf(AreTreesEqual(*plant, *plant_testing::MakePlant(2, 2, 3)),
                 AreTreesEqual(*plant, *plant_testing::MakePlant(1, 1, 1)));
}

attempt_t LoadTable(const CTempFolder& folder) {
  WriteTable(plant_testing::MakePlant(2, 2, 3), folder.PathOf("a"));
  const auto plant = std::make_shared<owned_obj_ptr>(plant_testing::MakePlant(0, 0, 0));
  return {[plant, path = folder.PathOf("a")] {
            CFile file(path, CFile::modeRead);
            Require(ChannelsOf(*plant).Load(&file) != 0, u"a: not loaded");
          },
          [plant] {
            return StateIf(AreTreesEqual(**plant, *plant_testing::MakePlant(2, 2, 3)),
                           ChannelsOf(*plant).GetCount() == 0);
          }};
}

// What the gateway does: all forms, each read again.
attempt_t SaveAllForms(const CTempFolder& folder) {
  const auto plant = std::make_shared<owned_obj_ptr>(plant_testing::MakePlant(1, 1, 2));
  return {[plant, path = folder.Native("a").string()] {
            for (const auto& trip : gateway::SaveAndReload(**plant, path, 0)) {
              Require(trip.isEqual, CString(trip.fault));
            }
          },
          {}};
}

// --- the registry --------------------------------------------------------------------------------------------------

constexpr const char16_t* kKeys[] = {u"Software\\Plant", u"Software\\Plant\\Line"};

void Require(const registry::status_t& status) { Require(bool{status}, CString(status.text)); }

// Both keys get it, in one call.
registry::status_t WriteBoth(const char16_t* state) {
  // More than a page, so that pages are taken and given back.
  const registry::named_value_t values[] = {
      {u"State", {registry::REG_SZ, {}}},
      {u"Large", registry::value_t::FromBinary(std::vector<std::uint8_t>(9000, static_cast<std::uint8_t>(*state)))}};
  std::vector<registry::key_values_t> keys;
  for (const char16_t* path : kKeys) {
    keys.push_back({registry::HKEY_LOCAL_MACHINE, path, {std::begin(values), std::end(values)}});
    keys.back().values[0].value = registry::value_t::FromText(state);
  }
  return registry::WriteKeys(keys);
}

std::string StateInRegistry(const char16_t* path) {
  registry::value_t value;
  const registry::status_t status = registry::QueryValue(registry::HKEY_LOCAL_MACHINE, path, u"State", value);
  if (status.code == registry::code_t::fileNotFound) return "none";
  Require(status);
  CString text;
  value.ToText(text);
  return text.ToUtf8();
}

void UseRegistryOf(const CTempFolder& folder) { registry::SetRegistryFile(folder.PathOf("machine\\registry.db")); }

// "old", "new" or "none" of both keys.
std::string BothInRegistry(const CTempFolder& folder) {
  UseRegistryOf(folder);
  std::string states[2];
  for (std::size_t i = 0; i < 2; ++i) states[i] = StateInRegistry(kKeys[i]);
  return states[0] == states[1] ? states[0] : states[0] + " and " + states[1];
}

template <class Act>
attempt_t InRegistry(const CTempFolder& folder, Act act) {
  UseRegistryOf(folder);
  Require(WriteBoth(u"old"));
  return {[&folder, act] {
            UseRegistryOf(folder);
            act();
          },
          {}};
}

attempt_t MakeRegistry(const CTempFolder& folder) {
  return {[&folder] {
            UseRegistryOf(folder);
            Require(WriteBoth(u"new"));
          },
          {}};
}
std::string ReadMadeRegistry(const CTempFolder& folder) {
  const std::string state = BothInRegistry(folder);
  return state == "none" ? "old" : state;
}

attempt_t ImportRegistry(const CTempFolder& folder) {
  return InRegistry(folder, [] { Require(WriteBoth(u"new")); });
}

attempt_t ChangeRegistry(const CTempFolder& folder) {
  return InRegistry(folder, [] {
    registry::CTransaction transaction;
    Require(transaction.Begin());
    for (const char16_t* path : kKeys) {
      registry::CKey key;
      Require(key.Create(registry::HKEY_LOCAL_MACHINE, path));
      Require(key.SetValue(u"State", registry::value_t::FromText(u"new")));
    }
    Require(transaction.Commit());
  });
}

attempt_t DeleteFromRegistry(const CTempFolder& folder) {
  return InRegistry(folder, [] {
    if (StateInRegistry(kKeys[0]) == "none") return;  // the attempt before was told of late
    registry::CKey key;
    Require(key.Open(registry::HKEY_LOCAL_MACHINE, u"Software", registry::KEY_READ_WRITE));
    Require(key.DeleteTree(u"Plant"));
  });
}
std::string ReadAfterDelete(const CTempFolder& folder) {
  const std::string state = BothInRegistry(folder);
  return state == "none" ? "new" : state;
}

attempt_t ReadRegistry(const CTempFolder& folder) {
  auto attempt = InRegistry(folder, [] { Require(WriteBoth(u"new")); });
  attempt.act();
  const auto state = std::make_shared<std::string>("old");
  return {[&folder, state] { *state = BothInRegistry(folder); }, [state] { return *state; }};
}

attempt_t WriteGlobalProfile(const CTempFolder& folder) {
  UseRegistryOf(folder);
  zorutil::WriteGlobalProfileString(u"S", u"State", u"old");
  return {[] { zorutil::WriteGlobalProfileString(u"S", u"State", u"new"); }, {}};
}
std::string ReadGlobalProfile(const CTempFolder& folder) {
  UseRegistryOf(folder);
  CString state;
  zorutil::GetGlobalProfileString(u"S", u"State", u"none", state);
  return StateOf(state.ToUtf8());
}

// -------------------------------------------------------------------------------------------------------------------

const row_t kRows[] = {
    {"file, written in place", "a", WriteInPlace, ReadLong, kInPlace},
    {"file, read", "a", ReadFile, nullptr},
    {"file, replaced", "a", Replace, ReadLong},
    {"file, replaced through a link", "a", ReplaceThroughLink, ReadThroughLink},
    {"file, made in a new folder", "y", MakeInNewFolder, ReadInNewFolder},
    {"INI document, saved", "a.ini", SaveIni, ReadIni},
    {"INI document, loaded", "a.ini", LoadIni, nullptr},
    {"options, one changed", "a.ini", ChangeOption, ReadIni},
    {"options, loaded", "a.ini", LoadOptions, nullptr},
    {"XML document, saved", "a.xml", SaveXml, ReadXml},
    {"XML document, loaded", "a.xml", LoadXml, nullptr},
    {"XML schema, loaded", "a.xsd", LoadSchema, nullptr, kKeepsMalloc},
    {"language file, loaded", "motors.de", LoadLanguage, nullptr},
    {"definitions, saved", "a.prop", SaveDefinitions, ReadDefinitions},
    {"definitions, index made", "namespace index", SaveIndex, ReadIndex, kSkipsUnopened},
    {"definitions, loaded", "a", LoadDefinition, nullptr},
    {"property list with password, saved", "a", SaveProperties, ReadProperties},
    {"binary project, saved", "a", SavePlant<form_t::BINARY>, ReadPlant},
    {"binary project, loaded", "a", LoadPlantAs<form_t::BINARY>, nullptr},
    {"XML project, saved", "a", SavePlant<form_t::XML>, ReadPlant},
    {"XML project, loaded", "a", LoadPlantAs<form_t::XML>, nullptr},
    {"JSON project, saved", "a", SavePlant<form_t::JSON>, ReadPlant},
    {"JSON project, loaded", "a", LoadPlantAs<form_t::JSON>, nullptr},
    {"table of records, saved", "a", SaveTable, ReadTable},
    {"table of records, loaded", "a", LoadTable, nullptr},
    {"registry, made", "registry.db", MakeRegistry, ReadMadeRegistry, kIsDatabase},
    {"registry, keys imported", "registry.db", ImportRegistry, BothInRegistry, kIsDatabase},
    {"registry, values set in a transaction", "registry.db", ChangeRegistry, BothInRegistry, kIsDatabase},
    {"registry, tree deleted", "registry.db", DeleteFromRegistry, ReadAfterDelete, kIsDatabase},
    {"registry, read", "registry.db", ReadRegistry, nullptr, kIsDatabase},
    {"global profile, written", "", WriteGlobalProfile, ReadGlobalProfile, kIsDatabase | kTellsNothing},
    {"utilctl, file replaced", "a", ReplaceByUtilctl, ReadLong},
    {"utilctl, file read", "a", ReadByUtilctl, nullptr},
    {"gateway, project saved in all forms", "a.", SaveAllForms, nullptr},
    {"gateway, settings loaded", "a.ini", LoadLiveSettings, nullptr},
};

class Persistence : public testing::TestWithParam<row_t> {
 protected:
  // In memory, where there is such a folder: most of the time goes into the making and removing of files.
  static void SetUpTestSuite() {
    std::error_code error;
    if (fs::is_directory("/dev/shm", error)) ::setenv("TMPDIR", "/dev/shm", 0);
  }
  static void TearDownTestSuite() { std::cout << GetFigures(); }
  const plant_testing::CTypes types_;
};

TEST_P(Persistence, LosesNothingAndTellsEveryFault) { TryEachFault(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Each, Persistence, testing::ValuesIn(kRows), [](const auto& row) {
  std::string name = row.param.name;
  for (char& unit : name) unit = std::isalnum(static_cast<unsigned char>(unit)) != 0 ? unit : '_';
  return name;
});

}  // namespace
