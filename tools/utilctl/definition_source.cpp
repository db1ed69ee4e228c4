#include "tools/utilctl/definition_source.h"

#include <algorithm>
#include <set>
#include <utility>

#include "platform/text/utf.h"
#include "tools/utilctl/files.h"
#include "tools/utilctl/source_member.h"
#include "tools/utilctl/source_values.h"
#include "util/i18n/language.h"
#include "util/i18n/language_module.h"
#include "util/i18n/message_template.h"
#include "util/json/json_text.h"
#include "util/properties/property_types.h"

namespace utilctl {

namespace json = zorutil::json;
using namespace zorutil::properties;
using json_ptr_t = std::shared_ptr<json::IValue>;

namespace {

constexpr char kEnglish[] = "en";
constexpr int kMaxNumber = (1 << 21) - 1;

// "Integer", or for a type without name its number.
std::optional<property_type_t> TypeFromJson(const json_ptr_t& value) {
  const auto* scalar = dynamic_cast<const json::scalar_t*>(value.get());
  if (scalar == nullptr) return std::nullopt;
  if (scalar->value.vt == VT_I4) return static_cast<property_type_t>(scalar->value.lVal);
  const property_type_t type = PropertyTypeFromText(CString(scalar->value.GetStringView()));
  if (!scalar->IsString() || type == TYPE_UNKNOWN) return std::nullopt;
  return type;
}

void CollectTextNumbers(const json::IValue* value, std::set<unsigned>& numbers) {
  if (const auto* object = dynamic_cast<const json::object_t*>(value)) {
    for (const json::member_t& member : object->members) {
      const auto* scalar = dynamic_cast<const json::scalar_t*>(member.value.get());
      if (scalar == nullptr) {
        CollectTextNumbers(member.value.get(), numbers);
      } else if (member.name == u"textNumber" && scalar->value.vt == VT_I4) {
        numbers.insert(static_cast<unsigned>(scalar->value.lVal));
      }
    }
  } else if (const auto* array = dynamic_cast<const json::array_t*>(value)) {
    for (const json_ptr_t& each : array->elements) CollectTextNumbers(each.get(), numbers);
  }
}

}  // namespace

std::u16string FoldedName(const CString& name) {
  CString folded = name;
  return std::u16string(folded.MakeLower().View());
}

json_path_t property_source_t::PathOf(std::u16string_view member) const {
  const auto found = members.find(std::u16string(member));
  return found == members.end() ? path : path / found->second;
}

namespace {

// What keeps a text from being stored and shown as it is; empty when nothing does.
std::string FaultOfLetters(std::u16string_view text, std::u16string_view allowed = {}) {
  for (const char16_t unit : text) {
    if ((unit < 0x20 || unit == 0x7F) && allowed.find(unit) == std::u16string_view::npos) {
      return unit == u'\n' || unit == u'\r' ? "a line break cannot stand here"
                                            : "a control character cannot stand here";
    }
  }
  const bool hasHalves = utf::ToUtf16(utf::ToUtf8(text)) != text;
  return hasHalves ? "half of a surrogate pair cannot stand here" : "";
}

}  // namespace

// Reads the document once, in its order.
class CDefinitionSource::CReader {
 public:
  explicit CReader(CDefinitionSource& source) : source_(source) {
    CollectTextNumbers(source.document_.get(), givenNumbers_);
  }

  void Run() {
    CMemberReader members(source_, source_.document_, {});
    if (!members.IsObject()) return;
    members.Require(u"namespace");
    members.Require(u"number");
    members.Require(u"properties");
    if (const auto name = members.GetText(u"namespace")) source_.content_.namespaceName = *name;
    if (members.Has(u"namespace") && source_.content_.namespaceName.IsEmpty()) {
      members.Remark(u"namespace", "a namespace needs a name");
    }
    std::string fault = FaultOfLetters(source_.content_.namespaceName.View());
    if (!fault.empty()) members.Remark(u"namespace", std::move(fault));
    source_.content_.namespaceNumber = members.GetInt(u"number", 1, kMaxNamespace).value_or(0);
    const auto& properties = members.GetArray(u"properties");
    const json_path_t path = members.PathOf(u"properties");
    source_.properties_.reserve(properties.size());
    for (std::size_t i = 0; i < properties.size(); ++i) Property(properties[i], path / i);
    members.Finish();
    const std::string file = source_.stem_;
    if (!IsIndexable(CString(file + ".prop"))) source_.Remark({}, "the file's name cannot stand in an index");
    if (!source_.texts_.empty() && !i18n::CLanguageModule::IsName(CString(file))) {
      source_.Remark({}, "the name of a file with texts is made of letters, digits, \"-\", \"_\" and \".\"");
    }
  }

 private:
  void Property(const json_ptr_t& value, json_path_t path) {
    CMemberReader members(source_, value, std::move(path));
    if (!members.IsObject()) return;
    property_source_t property{members.GetPath(), members.GetPlaces(), nullptr, {}};
    members.Require(u"name");
    members.Require(u"type");
    if (!members.Has(u"id")) members.Require(u"number");
    const CString name = members.GetText(u"name").value_or(CString());
    if (members.Has(u"name") && name.IsEmpty()) members.Remark(u"name", "a property needs a name");
    if (std::string fault = FaultOfLetters(name.View()); !fault.empty()) members.Remark(u"name", std::move(fault));
    const int id = GetId(members);
    property_type_t type = TYPE_NONE;
    if (const json_ptr_t typeValue = members.Get(u"type")) {
      const auto known = TypeFromJson(typeValue);
      if (!known) members.Remark(u"type", "unknown type " + json::WriteText(*typeValue, {.indent = 0}));
      type = known.value_or(TYPE_NONE);
    }

    property.definition = std::make_shared<property_def_t>(id, name, type);
    property_def_t& definition = *property.definition;
    definition.SetQualifiedName(source_.content_.namespaceName + u'.' + name);
    definition.SetExempt(members.GetFlag(u"exempt").value_or(false));
    definition.SetSecondFlag(members.GetFlag(u"flag2").value_or(false));
    definition.SetRequired(members.GetFlag(u"required").value_or(false));
    definition.SetServerOnly(members.GetFlag(u"serverOnly").value_or(false));
    definition.SetSecondNumber(members.GetInt(u"number2").value_or(0));
    definition.SetThirdNumber(members.GetInt(u"number3").value_or(0));
    definition.SetFourthNumber(members.GetInt(u"number4").value_or(0));
    definition.SetMetaDataNumber(Text(members));
    definition.SetDefaultValue(Value(members, u"default", type, value_use_t::value));
    CVariant min = Value(members, u"min", type, value_use_t::limit);
    definition.SetLimits(std::move(min), Value(members, u"max", type, value_use_t::limit));
    definition.SetEnumValues(EnumValues(members, type));
    Conditions(members, u"allow", false, property);
    Conditions(members, u"enable", true, property);
    members.Finish();
    source_.byName_.emplace(FoldedName(name), source_.properties_.size());
    source_.content_.definitions.push_back(property.definition);
    source_.properties_.push_back(std::move(property));
  }

  int GetId(CMemberReader& members) {
    const int space = source_.content_.namespaceNumber;
    const auto number = members.GetInt(u"number", 0, kMaxNumber);
    const auto id = members.GetInt(u"id");
    if (id && number) members.Remark(u"id", "give either the id or the number");
    if (id && GetNamespaceNumber(*id) != space) {
      members.Remark(u"id", "the id belongs to namespace " + std::to_string(GetNamespaceNumber(*id)));
    }
    return id ? *id : MakePropertyId(space, number.value_or(0));
  }

  CVariant Value(CMemberReader& members, const char16_t* name, property_type_t type, value_use_t use) {
    CVariant value;
    std::string cause;
    const json_ptr_t given = members.Get(name);
    if (given != nullptr && !ValueFromJson(given, type, use, value, cause)) {
      members.Remark(name, cause);
      value.Clear();
    }
    return value;
  }

  // The number of the text, 0 without one.
  int Text(CMemberReader& members) {
    const auto given = members.GetInt(u"textNumber", 0);
    const json_ptr_t value = members.Get(u"text");
    if (value == nullptr) return given.value_or(0);
    unsigned number = static_cast<unsigned>(given.value_or(0));
    if (number == 0) {
      while (givenNumbers_.contains(nextNumber_)) ++nextNumber_;
      number = nextNumber_++;
    }
    if (dynamic_cast<const json::object_t*>(value.get()) == nullptr) {
      if (const auto english = members.GetText(u"text")) AddText(kEnglish, number, *english, members.PathOf(u"text"));
      return static_cast<int>(number);
    }
    CMemberReader languages(source_, value, members.PathOf(u"text"));
    const CString english = languages.GetText(u"en").value_or(CString());
    languages.Require(u"en");
    if (languages.Has(u"en")) AddText(kEnglish, number, english, languages.PathOf(u"en"));
    for (const auto& [tag, at] : languages.GetPlaces()) {
      if (tag == u"en") continue;
      const auto text = languages.GetText(tag.c_str());
      const std::string tagText = CString(tag).ToUtf8();
      if (i18n::LanguageIdFromTag(tagText) == 0) {
        source_.Remark(languages.GetPath() / at, "\"" + tagText + "\" is no language", true);
      } else if (text) {
        AddText(tagText, number, *text, languages.GetPath() / at);
      }
    }
    languages.Finish();
    return static_cast<int>(number);
  }

  void AddText(const std::string& tag, unsigned number, const CString& text, const json_path_t& path) {
    const auto [at, isNew] = source_.texts_[tag].emplace(number, text);
    if (!isNew && at->second != text) {
      source_.Remark(path, "text number " + std::to_string(number) + " has another text already");
    }
    if (text.IsEmpty()) source_.Remark(path, "the text is empty");
    // Nothing fills these texts in.
    if (!i18n::GetTemplateArguments(text).empty()) {
      source_.Remark(path, "\"%\" begins a conversion, and there are no arguments; write \"%%\"");
    }
    if (std::string fault = FaultOfLetters(text.View(), u"\t\n\r"); !fault.empty())
      source_.Remark(path, std::move(fault));
  }

  enum_value_list_t EnumValues(CMemberReader& members, property_type_t type) {
    enum_value_list_t values;
    const auto& elements = members.GetArray(u"values");
    if (members.Has(u"values") && !IsEnumProperty(type)) {
      members.Remark(u"values", "only an Enumeration has values");
      return values;
    }
    const json_path_t path = members.PathOf(u"values");
    if (elements.size() > static_cast<std::size_t>(kMaxEnumValues)) members.Remark(u"values", "too many values");
    for (std::size_t i = 0; i < elements.size(); ++i) {
      CMemberReader value(source_, elements[i], path / i);
      value.Require(u"value");
      const int number = value.GetInt(u"value").value_or(0);
      values.push_back(std::make_shared<enumeration_def_t>(source_.content_.namespaceNumber, number, Text(value)));
      value.Finish();
    }
    return values;
  }

  void Conditions(CMemberReader& members, const char16_t* name, bool isEnable, property_source_t& property) {
    const auto& elements = members.GetArray(name);
    const json_path_t path = members.PathOf(name);
    if (elements.size() > static_cast<std::size_t>(kMaxConditions)) members.Remark(name, "too many conditions");
    for (std::size_t i = 0; i < elements.size(); ++i) {
      CMemberReader condition(source_, elements[i], path / i);
      if (!condition.IsObject()) continue;
      condition_source_t read;
      read.path = condition.GetPath();
      read.isEnable = isEnable;
      if (!condition.Has(u"id")) condition.Require(u"property");
      read.watchedName = condition.GetText(u"property").value_or(CString());
      read.namePath = condition.PathOf(u"property");
      read.watchedId = condition.GetInt(u"id").value_or(0);
      const bool isEqual = condition.Has(u"is");
      const char16_t* const operation = isEqual ? u"is" : u"isNot";
      if (isEqual == condition.Has(u"isNot")) source_.Remark(read.path, "give either \"is\" or \"isNot\"");
      read.operation = isEqual ? CVariantCompare::EQUAL : CVariantCompare::NOT_EQUAL;
      read.value = condition.Get(operation);
      read.valuePath = condition.PathOf(operation);
      condition.Finish();
      property.conditions.push_back(std::move(read));
    }
  }

  CDefinitionSource& source_;
  std::set<unsigned> givenNumbers_;
  unsigned nextNumber_ = 1;
};

CDefinitionSource::CDefinitionSource(const std::string& path)
    : path_(path), stem_(StemOf(path)), text_(ReadWholeFile(path)) {
  if (const auto error = json::ReadText(text_, document_)) {
    textProblems_.push_back({path, error.line, error.column, "", error.cause});
    return;
  }
  CReader(*this).Run();
}

void CDefinitionSource::RemarkMember(std::u16string_view member, std::string cause) {
  if (const auto* object = dynamic_cast<const json::object_t*>(document_.get())) {
    const auto found = std::find_if(object->members.begin(), object->members.end(),
                                    [&](const json::member_t& each) { return each.name == member; });
    if (found != object->members.end()) {
      const auto at = static_cast<std::uint32_t>(std::distance(object->members.begin(), found));
      return Remark({at}, std::move(cause));
    }
  }
  Remark({}, std::move(cause));
}

definition_ptr_t CDefinitionSource::Find(const CString& name) const {
  const auto found = byName_.find(FoldedName(name));
  return found == byName_.end() ? nullptr : properties_[found->second].definition;
}

void CDefinitionSource::ResolveConditions(const find_by_name_t& findOther) {
  for (property_source_t& property : properties_) {
    condition_list_t lists[2];
    for (const condition_source_t& each : property.conditions) {
      int id = each.watchedId;
      property_type_t type = TYPE_NONE;
      if (!each.watchedName.IsEmpty()) {
        definition_ptr_t watched = Find(each.watchedName);
        if (watched == nullptr) watched = findOther(each.watchedName);
        if (watched == nullptr) {
          Remark(each.namePath, "unknown property \"" + each.watchedName.ToUtf8() + "\"");
          continue;
        }
        id = watched->GetId();
        type = watched->GetType();
      }
      CVariant value;
      std::string cause;
      if (each.value != nullptr && !ValueFromJson(each.value, type, value_use_t::value, value, cause)) {
        Remark(each.valuePath, cause);
        ValueFromJson(each.value, TYPE_NONE, value_use_t::value, value, cause);  // the checks go on with what is there
      }
      lists[each.isEnable ? 1 : 0].push_back(
          std::make_shared<property_condition_t>(id, each.operation, std::move(value)));
    }
    property.definition->SetAllowConditions(std::move(lists[0]));
    property.definition->SetEnableConditions(std::move(lists[1]));
  }
}

std::vector<problem_t> CDefinitionSource::GetProblems() const {
  std::vector<problem_t> problems = textProblems_;
  for (problem_t& each : LocateRemarks(path_, text_, document_, remarks_)) problems.push_back(std::move(each));
  return problems;
}

}  // namespace utilctl
