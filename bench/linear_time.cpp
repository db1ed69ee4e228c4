// linear_time: whether work grows with what it works on, or with the square of it. scripts/linear counts the
// instructions of each row at a size, at twice and at four times that size.
//
//   linear_time                  every row; linear_time patch XML: those whose names hold one of the words
//
// A row prepares its input, and gives back the work that is counted: zorutil_counted runs it, and nothing else is
// counted. A name and a size stand on standard output for each count.
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "examples/readings/csv_reader.h"
#include "platform/framework/mem_file.h"
#include "platform/framework/string_array.h"
#include "platform/framework/temp_folder_testing.h"
#include "platform/registry/registry_text.h"
#include "platform/text/collation.h"
#include "platform/zorplatform/ini_file.h"
#include "util/docs/xml_document.h"
#include "util/i18n/language_module.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_template.h"
#include "util/json/json_text.h"
#include "util/json/patch.h"
#include "util/objects/object_search.h"
#include "util/objects/plant_types_testing.h"
#include "util/project/project_diff.h"
#include "util/project/project_file.h"
#include "util/project/project_patch.h"
#include "util/project/tree_validation.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/definition_testing.h"
#include "util/properties/definition_writer.h"
#include "util/properties/validation.h"
#include "util/serialization/serialization_buffer.h"
#include "util/serialization/stream_serializers.h"
#include "util/values/base64.h"
#include "util/values/bstr.h"
#include "util/values/safe_array.h"

extern "C" [[gnu::noinline]] void zorutil_counted(const std::function<void()>& work) { work(); }

namespace {

using namespace zorutil::properties;
using definition_testing::Define;
using plant_testing::NumberedName;
using zorutil::owned_obj_ptr;
using zorutil::project::form_t;
using work_t = std::function<void()>;

struct row_t {
  const char* name;
  unsigned size;
  std::function<work_t(unsigned)> prepare;
};

[[noreturn]] void Stop(const std::string& why) {
  std::fprintf(stderr, "linear_time: %s\n", why.c_str());
  std::exit(2);
}
void Require(bool isSo, const char* otherwise) {
  if (!isSo) Stop(otherwise);
}

/// What `each` gives for 0 to count - 1, one behind the other.
template <class Each>
std::string Joined(unsigned count, Each each) {
  std::string text;
  for (unsigned i = 0; i < count; ++i) text += each(i);
  return text;
}
std::string N(unsigned number) { return std::to_string(number); }

// --- texts and values ------------------------------------------------------------------------------------------------

work_t Utf(unsigned n) {
  return [text = Joined(n, [](unsigned i) {
            return i % 3 == 0 ? "ä" : i % 3 == 1 ? "a" : "水";
          })] { Require(CString(text).ToUtf8() == text, "a text was lost"); };
}
work_t LongNumber(unsigned n) {
  return [text = CString("0." + std::string(n, '7'))] {
    for (const VARTYPE type : {VT_R8, VT_I4, VT_CY, VT_DECIMAL, VT_DATE, VT_BOOL}) {
      CVariant value(text);
      value.ConvertType(type, CVariant::CONVERT_OR_KEEP);
    }
    static_cast<void>(static_cast<double>(CBstr(text)));
  };
}
work_t Append(unsigned n) {
  return [n] {
    CString text;
    for (unsigned i = 0; i < n; ++i) text += u'x';
    CStringArray list;
    for (unsigned i = 0; i < n; ++i) list.Add(u"x");
  };
}
work_t Replace(unsigned n) {
  return [n, bytes = Joined(n, [](unsigned i) { return i % 2 == 0 ? "ab" : "\xC3"; })] {  // half of them malformed
    CString text(bytes);
    text.Replace(u"a", u"xyz");
    text.Replace(u"xyz", u"");
    Require(text.GetLength() >= static_cast<int>(n / 2), "a text was lost");
  };
}
work_t Compare(unsigned n) {
  return [a = CString(std::string(n, 'a') + "1"), b = CString(std::string(n, 'A') + "2")] {
    Require(a.CompareNoCase(b) < 0, "the order is wrong");
  };
}
work_t Base64(unsigned n) {
  return [bytes = std::string(n, '\x5A')] {
    CString text;
    zorutil::base64_encode(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size()),
                           text);
    zorplatform::CGrowableBuffer back;
    zorutil::base64_decode(text, back);
  };
}
work_t Texts(unsigned n) {
  return [n] {
    CVariant texts(n % 65536, VT_BSTR, nullptr);
    for (unsigned i = 0; i < n; ++i) texts.GetArray()->SetText(i, u"pump");
    zorutil::CSerializationBuffer buffer;
    zorutil::Serialize(texts, buffer);
    CVariant back;
    zorutil::Deserialize(back, buffer);
    CString text;
    back.Format(text, CVariant::FORMAT_FULL);
    Require(back == texts && !text.IsEmpty(), "an array was lost");
  };
}
work_t Conversions(unsigned n) {
  return [numbers = CVariant::FromArray(std::vector<double>(n % 65536, 0.1))] {
    for (const VARTYPE type : {VT_BSTR, VT_R4, VT_I2, VT_DECIMAL}) {
      CVariant value = numbers;
      value.ConvertType(VT_ARRAY | type, CVariant::CONVERT_OR_KEEP);
      value.ConvertType(VT_ARRAY | VT_R8, CVariant::CONVERT_OR_KEEP);
    }
  };
}
work_t Message(unsigned n) {
  return [n] {
    std::unique_ptr<i18n::ILocalizedMessage> chain;
    for (unsigned i = 0; i < n; ++i) {
      auto part = i18n::MakeNonLocalizedMessage(u"part ");
      if (chain != nullptr) part->Append(std::move(chain));
      chain = std::move(part);
    }
    const auto copy = i18n::CopyLocalizedMessage(chain);
    Require(copy->GetMessageText(0).GetLength() == static_cast<int>(5 * n) && copy->IsLocalized() == false,
            "a part was lost");
  };
}
work_t Template(unsigned n) {
  return [text = CString(Joined(n, [](unsigned i) { return i % 2 == 0 ? "%1$s " : "%% %2$5d"; }))] {
    const CVariant arguments[] = {u"pump", CVariant::FromInt32(7)};
    i18n::ExpandTemplate(text.View(), arguments);
  };
}
work_t Languages(unsigned n) {
  return [text = "[Texts]\n" + Joined(n, [](unsigned i) {
                   return N(i * 7919 % 100'003) + " = text %s\n" + N(i) + " ? rubbish\n1 = twice\n";
                 })] {
    const auto module = i18n::CLanguageModule::Register(u"linear", text, nullptr);
    Require(!module->GetIds().empty() && !module->GetProblems(0).empty(), "texts were lost");
  };
}

// --- documents -------------------------------------------------------------------------------------------------------

work_t IniLoad(const std::string& text) {
  return [text] {
    CMemFile file(std::as_bytes(std::span(text)));
    CIniFile document;
    document.Load(&file);
    CString value;
    document.ReadValue(u"s", u"k", value);
  };
}
work_t IniSections(unsigned n) {
  return IniLoad(Joined(n, [](unsigned i) { return "[Section " + N(i) + "]\nkey=" + N(i) + "\n"; }));
}
work_t IniKeys(unsigned n) {
  return IniLoad("[s]\n" + Joined(n, [](unsigned i) { return "key " + N(i) + "=1\nkey=twice\nrubbish\n"; }));
}
work_t IniChanges(unsigned n) {
  return [n] {
    CIniFile document;
    for (unsigned i = 0; i < n; ++i) {
      const CString key(N(i));
      document.WriteValue(u"one", key.GetString(), u"1");
      document.WriteValue((CString(u"section ") + key).GetString(), u"k", u"1");
    }
    CStringArray keys;
    document.QueryKeys(u"one", keys);
    document.QuerySections(keys);
    for (unsigned i = 0; i < n; ++i) document.DeleteValue(u"one", CString(N(i * 7919 % n)).GetString());
    for (unsigned i = 0; i < n; ++i) document.DeleteSection((CString(u"section ") + CString(N(i))).GetString());
    CMemFile file;
    document.Save(&file);
  };
}
work_t XmlRound(const std::string& text) {
  return [text] {
    CXmlDocument document;
    CMemFile in(std::as_bytes(std::span(text))), out;
    Require(document.LoadFrom(in) == 1 && document.SaveTo(out) == 1, "a document was refused");
    unsigned count = 0;
    for (void* child = document.FindFirstChild(document.GetElementByName(nullptr, nullptr, nullptr, false), true);
         child != nullptr; child = document.FindNext(child, true)) {
      CString value;
      document.GetText(child, value);
      ++count;
    }
    static_cast<void>(count);
  };
}
work_t XmlChildren(unsigned n) {
  return XmlRound("<a>" + Joined(n, [](unsigned i) { return "<b" + N(i % 7) + ">x</b" + N(i % 7) + "><!-- c -->"; }) +
                  "</a>");
}
work_t XmlText(unsigned n) {
  return XmlRound("<a><b>" + Joined(n, [](unsigned) { return "text &lt;&#228; <![CDATA[x]]><!-- -->"; }) + "</b></a>");
}
// The parser beneath compares each attribute of an element with each other: that is why there is a limit to them.
work_t XmlAttributes(unsigned n) {
  const std::string attributes = Joined(CXmlDocument::kMaxAttributes, [](unsigned i) { return " a" + N(i) + "=\"\""; });
  return XmlRound("<a>" + Joined(n, [&](unsigned) { return "<b" + attributes + "/>"; }) + "</a>");
}
work_t XmlNamespaces(unsigned n) {
  return XmlRound("<a>" + Joined(n, [](unsigned i) { return "<p:b xmlns:p=\"urn:" + N(i) + "\" p:c=\"1\"/>"; }) +
                  "</a>");
}
work_t XmlDeep(unsigned n) {
  const std::string deep = Joined(200, [](unsigned) { return "<b>"; }) + Joined(200, [](unsigned) { return "</b>"; });
  return XmlRound("<a>" + Joined(n, [&](unsigned) { return deep; }) + "</a>");
}
work_t XmlWrite(unsigned n) {
  return [n] {
    CXmlDocument document;
    document.WriteElement(nullptr, u"urn:x", u"a", true, u"");
    for (unsigned i = 0; i < n; ++i) document.WriteElement(nullptr, u"urn:x", u"b", true, static_cast<std::int32_t>(i));
    void* const top = document.GetElementByName(nullptr, nullptr, nullptr, false);
    unsigned count = 0;
    for (void* b = document.GetElementByName(top, u"urn:x", u"b", false); b != nullptr;
         b = document.GetNextElementByName(b, true)) {
      ++count;
    }
    Require(count == n, "an element was lost");
  };
}
work_t JsonRound(const std::string& text) {
  return [text] {
    std::shared_ptr<zorutil::json::IValue> value;
    Require(!zorutil::json::ReadText(text, value), "a text was refused");
    zorutil::json::WriteText(*value);
    Require(zorutil::json::AreEqual(value.get(), value.get()), "not equal");
  };
}
std::string Members(unsigned n) {
  return "{" + Joined(n, [](unsigned i) { return (i == 0 ? "\"m" : ",\"m") + N(i) + "\":" + N(i); }) + "}";
}
work_t JsonMembers(unsigned n) { return JsonRound(Members(n)); }
work_t JsonTwice(unsigned n) {
  return JsonRound("{" + Joined(n, [](unsigned i) { return i == 0 ? "\"m\":1" : ",\"m\":1"; }) + "}");
}
work_t JsonArrays(unsigned n) {
  const std::string deep = std::string(100, '[') + std::string(100, ']');
  return JsonRound(
      "[" + Joined(n, [&](unsigned i) { return (i == 0 ? "" : ",") + deep + ",\"a\\u0041\\n" + N(i) + "\",1.5e3"; }) +
      "]");
}
work_t JsonText(unsigned n) {
  return JsonRound("\"" + Joined(n, [](unsigned) { return "a\\\"\\u00e4水"; }) + "\"");
}
work_t JsonPatch(unsigned n) {
  const std::string patch =
      "[" +
      Joined(n,
             [](unsigned i) {
               const std::string at = "/m" + N(i);
               return (i == 0 ? "" : ",") +
                      ("{\"op\":\"replace\",\"path\":\"" + at + "\",\"value\":1},{\"op\":\"test\",\"path\":\"" + at) +
                      "\",\"value\":1},{\"op\":\"add\",\"path\":\"/list/-\",\"value\":2},{\"op\":\"move\",\"from\":\"" +
                      at + "\",\"path\":\"/n" + N(i) + "\"}";
             }) +
      "]";
  return [patch, text = "{\"list\":[]," + Members(n).substr(1)] {
    std::shared_ptr<zorutil::json::IValue> operations, document;
    Require(!zorutil::json::ReadText(patch, operations) && !zorutil::json::ReadText(text, document), "refused");
    Require(!zorutil::json::ApplyPatch(*operations, document), "a patch was refused");
  };
}
work_t CsvRows(unsigned n) {
  struct source_t final : readings::CByteSource {
    std::string text;
    std::size_t at = 0;
    std::size_t Read(char* buffer, std::size_t count) override {
      count = text.copy(buffer, count, at);
      at += count;
      return count;
    }
  };
  return [text = Joined(n, [](unsigned i) { return N(i) + ",\"a \"\"b\"\"\",c\n\"stray\n"; })] {
    source_t source;
    source.text = text;
    readings::CCsvReader reader(source);
    while (reader.Next()) {
    }
  };
}

// --- properties and the registry -------------------------------------------------------------------------------------

constexpr int kNamespace = 77;
int IdOf(unsigned i) { return MakePropertyId(kNamespace, static_cast<int>((i + 1) << 8)); }

property_list_t Properties(unsigned n, int value) {
  property_list_t list;
  for (unsigned i = 0; i < n; ++i) list.push_back(CProperty::Create(IdOf(i), CVariant::FromInt(value)));
  return list;
}
work_t PropertyLists(unsigned n) {
  return [n, list = Properties(n, 1), changes = Properties(n, 2)] {
    zorutil::CSerializationBuffer buffer;
    list.Serialize(buffer);
    property_list_t read, copy;
    read.Deserialize(buffer);
    CopyPropertyList(read, copy);
    Require(MergeProperties(copy, changes).size() == n, "properties were lost");
  };
}
definition_file_t Definitions(unsigned n) {
  definition_file_t file{kNamespace, u"Linear", {}};
  for (unsigned i = 0; i < n; ++i) {
    auto definition =
        Define(IdOf(i), CString("Property" + N(i)).GetString(), TYPE_SIGNED_INTEGER, CVariant::FromInt(10));
    definition->SetAllowConditions(
        {definition_testing::When(IdOf(n / 2), CVariantCompare::NOT_EQUAL, CVariant::FromInt(-1)),
         definition_testing::When(IdOf(i / 2), CVariantCompare::NOT_EQUAL, CVariant::FromInt(-2))});
    file.definitions.push_back(std::move(definition));
  }
  return file;
}
// Lives as long as the program.
struct store_t {
  explicit store_t(const definition_file_t& file) {
    WriteDefinitionFile(folder.PathOf("linear.prop"), file);
    CreateIndexFile(folder.GetPath());
    store = std::make_unique<CDefinitionStore>(folder.GetPath());
  }
  CTempFolder folder;
  std::unique_ptr<CDefinitionStore> store;
};
// Each property is allowed when the one before is.
work_t ConditionChain(unsigned n) {
  definition_file_t file = Definitions(n);
  for (unsigned i = 1; i < n; ++i) {
    static_cast<property_def_t&>(*file.definitions[i])
        .SetAllowConditions({definition_testing::When(IdOf(i - 1), CVariantCompare::NOT_EQUAL, CVariant::FromInt(-1))});
  }
  return [n, files = std::make_shared<store_t>(file), list = Properties(n, 1)] {
    CValidationContext context(*files->store);
    Require(CollectValidationFailures(list, context).size() == n, "failures were lost");
  };
}
work_t DefinitionFiles(unsigned n) {
  return [n, files = std::make_shared<store_t>(Definitions(n))] {
    for (unsigned i = 0; i < n; ++i) {
      Require(files->store->GetDefinition(u"Linear", CString("Property" + N(i))) != nullptr, "a definition was lost");
    }
  };
}
work_t Validation(unsigned n) {
  return [n, files = std::make_shared<store_t>(Definitions(n)), list = Properties(n, 1)] {
    CValidationContext context(*files->store);
    Require(CollectValidationFailures(list, context).size() == n, "failures were lost");
  };
}
work_t RegistryText(unsigned n) {
  return [n, text = "registry 1\n" +
                    Joined(n,
                           [](unsigned i) {
                             return "[HKEY_USERS\\Key " + N(i) + "]\n\"v\" = REG_DWORD 1\n\"v\" = REG_SZ \"x\"\n";
                           }) +
                    "[HKEY_USERS\\One]\n" +
                    Joined(n, [](unsigned i) { return "\"Value " + N(i) + "\" = REG_BINARY 00 ff\n"; }) +
                    Joined(n, [](unsigned) { return "[HKEY_USERS\\One]\n\"twice\" = REG_SZ \"x\"\n"; })] {
    std::vector<registry::text_problem_t> problems;
    const auto keys = registry::ParseText(text, problems);
    Require(problems.empty() && registry::PrintText(keys).size() > n, "a text was refused");
  };
}
work_t RegistryFile(unsigned n) {
  std::vector<registry::key_values_t> keys{{registry::HKEY_USERS, u"One", {}}};
  for (unsigned i = 0; i < n; ++i) {
    keys.push_back({registry::HKEY_USERS, CString("Many\\Key " + N(i)), {}});
    keys[0].values.push_back({CString("Value " + N(i)), registry::value_t::FromDword(i)});
  }
  return [keys, folder = std::make_shared<CTempFolder>()] {
    registry::SetRegistryFile(folder->PathOf("registry.db"));
    std::vector<registry::key_values_t> read;
    Require(registry::WriteKeys(keys) && registry::ReadTree(registry::HKEY_USERS, u"", read), "the registry failed");
    Require(read.size() == keys.size() + 2, "keys were lost");
  };
}

// --- tables and projects ---------------------------------------------------------------------------------------------

using plant_testing::CDevice;
using plant_testing::CPlant;
using plant_testing::CTag;

/// A plant of one device, and that device.
struct plant_t {
  owned_obj_ptr owner = plant_testing::MakePlant(1, 1, 0);
  CPlant& Get() const { return static_cast<CPlant&>(*owner); }
  CDevice& Device() const {
    return static_cast<CDevice&>(*Get().channels.GetRecord(0)->GetChildTable(0)->GetRecord(0));
  }
  template <class Name>
  plant_t& Add(unsigned n, Name name) {
    for (unsigned i = 0; i < n; ++i)
      plant_testing::FillTag(plant_testing::Add<CTag>(Device().tags, CString(name(i))), i);
    return *this;
  }
  std::shared_ptr<plant_t> Share() { return std::make_shared<plant_t>(std::move(*this)); }
};
std::string TagName(unsigned i) { return "Tag " + N(i); }

/// The bytes of a table of n records of one type, written one behind the other.
template <class Name>
work_t LoadTable(unsigned n, Name name) {
  CMemFile file;
  const std::uint16_t format = 1;
  std::uint8_t head[6] = {
      format, 0, static_cast<std::uint8_t>(n), static_cast<std::uint8_t>(n >> 8), static_cast<std::uint8_t>(n >> 16),
      0};
  file.Write(head, sizeof head);
  for (unsigned i = 0; i < n; ++i) {
    CTag tag;
    tag.SetName(CString(name(i)).GetString());
    tag.Save(&file, false);
  }
  return [n, bytes = std::vector<std::byte>(file.GetContent().begin(), file.GetContent().end())] {
    CMemFile in(bytes);
    const plant_t plant;
    Require(plant.Device().tags.Load(&in) == 1 && plant.Device().tags.GetCount() == n, "a table was refused");
  };
}
work_t TableTwice(unsigned n) {
  return LoadTable(n, [](unsigned) { return "Tag"; });
}
work_t TableLongNames(unsigned n) {
  return LoadTable(n, [](unsigned i) { return std::string(200, 'x') + N(i * 7919 % 1'000'003); });
}
work_t TableFalling(unsigned n) {
  return LoadTable(n, [n](unsigned i) { return N(10'000'000 + n - i); });
}
work_t TableChanges(unsigned n) {
  return [n] {
    plant_t plant;
    CTable& tags = plant.Add(n, [n](unsigned i) { return TagName(i * 7919 % n); }).Device().tags;
    for (unsigned i = 0; i < n; ++i) {
      CString name(u"Tag 1");
      Require(tags.GenerateName(name, 256) != 0, "no name");
      Require(tags.Rename(tags.GetRecord(i * 7919 % n), CString("Other " + N(i))), "not renamed");
    }
    while (tags.GetCount() != 0) tags.Delete(tags.GetRecord(tags.GetCount() / 2));
  };
}
work_t Project(const CTableObj& root, form_t form) {
  const auto bytes = zorutil::project::WriteProject(root, form);
  return [bytes, form] {
    zorutil::project::load_report_t report;
    const auto loaded = zorutil::project::LoadProject(bytes, report, {form});
    Require(loaded != nullptr && zorutil::project::WriteProject(*loaded, form) == bytes, "a project was lost");
  };
}
template <form_t FORM>
work_t WideProject(unsigned n) {
  return Project(*plant_t().Add(n, TagName).owner, FORM);
}
// A channel for each ten devices, most of them one behind the other.
template <form_t FORM>
work_t DeepProject(unsigned n) {
  plant_t plant;
  for (unsigned c = 0; c < n; ++c) {
    auto& channel =
        plant_testing::Add<plant_testing::CChannel>(plant.Get().channels, CString("Channel of devices " + N(c)));
    CDevice* device = &plant_testing::Add<CDevice>(channel.devices, u"Device");
    for (unsigned depth = 0; depth < 20; ++depth) device = &plant_testing::Add<CDevice>(device->devices, u"Device");
  }
  return Project(*plant.owner, FORM);
}
// A text with an error in each object: all are told.
work_t BadProject(unsigned n) {
  std::string text(reinterpret_cast<const char*>(
                       zorutil::project::WriteProject(*plant_t().Add(n, TagName).owner, form_t::JSON).data()),
                   0);
  const auto bytes = zorutil::project::WriteProject(*plant_t().Add(n, TagName).owner, form_t::JSON);
  text.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  for (std::size_t at = 0; (at = text.find("\"ScanRate\"", at)) != std::string::npos; ++at) text[at + 1] = 'X';
  return [text] {
    zorutil::project::load_report_t report;
    const auto loaded = zorutil::project::LoadProject(std::as_bytes(std::span(text)), report, {form_t::JSON, true});
    Require(loaded != nullptr && report.HasErrors() && !report.ToString().IsEmpty(), "no errors");
  };
}
work_t Diff(unsigned n) {
  auto a = plant_t().Add(n, TagName).Share();
  auto b =
      plant_t()
          .Add(n, [](unsigned i) { return i % 4 == 0   ? "Renamed " + N(i)
                                          : i % 4 == 1 ? "New " + N(i)
                                                       : TagName(i); })
          .Share();
  for (unsigned i = 0; i < n; ++i) {
    auto& tag = static_cast<CTag&>(*b->Device().tags.GetRecord(i));
    if (i % 4 != 0) tag.deadband += 1;
  }
  return [a, b] {
    const auto diff = zorutil::project::DiffTrees(*a->owner, *b->owner);
    const auto patch = diff.ToPatch();
    Require(!diff.ToString().IsEmpty(), "no differences");
    Require(
        bool(zorutil::project::ApplyPatch(*patch, *a->owner)) && zorutil::project::AreTreesEqual(*a->owner, *b->owner),
        "a patch failed");
  };
}
// All of one content, under other names: each could be any.
work_t DiffOfEqual(unsigned n) {
  const auto make = [n](const char* base) {
    auto plant = plant_t().Add(n, [base](unsigned i) { return base + N(i); }).Share();
    for (unsigned i = 0; i < n; ++i) plant_testing::FillTag(static_cast<CTag&>(*plant->Device().tags.GetRecord(i)), 0);
    return plant;
  };
  return [a = make("Tag "), b = make("Other ")] {
    Require(!zorutil::project::DiffTrees(*a->owner, *b->owner).IsEmpty(), "no differences");
  };
}
work_t Patch(unsigned n) {
  const std::string at = "/Channels/Channel0000000/Devices/Device0000000/Tags/";
  const std::string patch = "[" +
                            Joined(n,
                                   [&](unsigned i) {
                                     return (i == 0 ? "" : ",") +
                                            ("{\"op\":\"replace\",\"path\":\"" + at + TagName(i) +
                                             "/ScanRate\",\"value\":7},{\"op\":\"add\",\"path\":\"") +
                                            at + "New " + N(i) +
                                            "\",\"value\":{\"Type\":\"Tag\"}},{\"op\":\"move\",\"from\":\"" + at +
                                            TagName(i) + "\",\"path\":\"" + at + "Moved " + N(i) +
                                            "\"},{\"op\":\"remove\",\"path\":\"" + at + "New " + N(i) + "\"}";
                                   }) +
                            "]";
  return [patch, plant = plant_t().Add(n, TagName).Share()] {
    const auto result = zorutil::project::ApplyPatch(patch, *plant->owner);
    Require(bool(result), "a patch was refused");
  };
}
work_t Search(unsigned n) {
  return [n, plant = plant_t().Add(n, TagName).Share()] {
    for (unsigned i = 0; i < n; ++i) {
      const CString path("Channel0000000.Device0000000." + TagName(i));
      Require(bool(zorutil::FindObjectByPath(*plant->owner, path.GetString())), "an object was not found");
    }
    const owned_obj_ptr copy(CTableObj::CopyObject(*plant->owner, CTableObj::kCopyHierarchy));
    Require(zorutil::project::AreTreesEqual(*plant->owner, *copy), "a copy is another");
  };
}
work_t ValidateTrees(unsigned n) {
  definition_file_t file{plant_testing::kNamespace,
                         u"Plant",
                         {Define(zorutil::MakePropertyId(plant_testing::kNamespace, 4), u"ScanRate", TYPE_INTEGER,
                                 CVariant::FromUInt(99'999'999))}};
  return [n, files = std::make_shared<store_t>(file), plant = plant_t().Add(n, TagName).Share()] {
    Require(zorutil::project::ValidateTree(*plant->owner, n, files->store.get()).size() == n, "failures were lost");
  };
}

const row_t kRows[] = {{"long text, to UTF-16 and back", 100'000, Utf},
                       {"number of many digits", 4'000, LongNumber},
                       {"text and list, built one by one", 20'000, Append},
                       {"malformed text, its parts replaced", 20'000, Replace},
                       {"long names compared", 100'000, Compare},
                       {"base64", 200'000, Base64},
                       {"array of texts", 2'000, Texts},
                       {"conversions of arrays", 1'000, Conversions},
                       {"message of many parts", 1'000, Message},
                       {"template of many arguments", 2'000, Template},
                       {"language file of many texts and faults", 1'000, Languages},
                       {"INI, many sections", 2'000, IniSections},
                       {"INI, many keys, duplicates and rubbish", 2'000, IniKeys},
                       {"INI, keys and sections written and deleted", 500, IniChanges},
                       {"XML, many children and comments", 2'000, XmlChildren},
                       {"XML, a text of many pieces", 2'000, XmlText},
                       {"XML, elements of the most attributes", 2, XmlAttributes},
                       {"XML, many namespaces", 1'000, XmlNamespaces},
                       {"XML, many deep branches", 20, XmlDeep},
                       {"XML, elements written and gone through", 1'000, XmlWrite},
                       {"JSON, many members of an object", 4'000, JsonMembers},
                       {"JSON, one member name many times", 4'000, JsonTwice},
                       {"JSON, deep arrays, texts, numbers", 100, JsonArrays},
                       {"JSON, a long text of escapes", 10'000, JsonText},
                       {"JSON patch of many operations", 500, JsonPatch},
                       {"CSV, many rows, stray quotes", 10'000, CsvRows},
                       {"property lists, read, copied, merged", 2'000, PropertyLists},
                       {"definition file, each found by its name", 500, DefinitionFiles},
                       {"validation, each property with a failure", 500, Validation},
                       {"validation, conditions in a chain", 250, ConditionChain},
                       {"registry text, keys, values, duplicates", 1'000, RegistryText},
                       {"registry file, keys and values", 300, RegistryFile},
                       {"table of one name many times", 1'000, TableTwice},
                       {"table of long names", 1'000, TableLongNames},
                       {"table in falling order", 2'000, TableFalling},
                       {"table, generated names, renaming, removing", 500, TableChanges},
                       {"wide project, binary", 1'000, WideProject<form_t::BINARY>},
                       {"wide project, XML", 250, WideProject<form_t::XML>},
                       {"wide project, JSON", 250, WideProject<form_t::JSON>},
                       {"deep project, binary", 50, DeepProject<form_t::BINARY>},
                       {"deep project, XML", 20, DeepProject<form_t::XML>},
                       {"deep project, JSON", 20, DeepProject<form_t::JSON>},
                       {"project with many errors", 250, BadProject},
                       {"diff, and its patch", 250, Diff},
                       {"diff of equal objects under other names", 250, DiffOfEqual},
                       {"patch of many operations", 125, Patch},
                       {"search of each object, copy", 500, Search},
                       {"validation of a tree, each with a failure", 500, ValidateTrees}};

bool IsWanted(std::string_view name, int argc, char** argv) {
  bool isWanted = argc < 2;
  for (int i = 1; i < argc; ++i) isWanted = isWanted || name.find(argv[i]) != name.npos;
  return isWanted;
}

}  // namespace

int main(int argc, char** argv) {
  const plant_testing::CTypes types;
  for (const row_t& row : kRows) {
    if (!IsWanted(row.name, argc, argv)) continue;
    row.prepare(2)();  // what is made once for the whole program
    for (const unsigned factor : {1, 2, 4}) {
      const work_t work = row.prepare(row.size * factor);
      std::printf("%u\t%s\n", row.size * factor, row.name);
      std::fflush(stdout);
      zorutil_counted(work);
    }
  }
}
