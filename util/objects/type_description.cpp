#include "util/objects/type_description.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>

#include "platform/framework/cstring.h"
#include "platform/framework/invalid_arg.h"
#include "platform/text/ascii_internal.h"
#include "util/objects/table_obj.h"
#include "util/objects/type_registry.h"
#include "util/properties/property_definition.h"

namespace zorutil {

namespace {

bool IsSame(const char16_t* name, std::u16string_view sought) { return std::u16string_view(name) == sought; }

// A name of XML without colon, in the part of Unicode that nobody argues about: the Latin letters.
bool IsElementName(std::u16string_view name) {
  const auto isStart = [](char16_t unit) {
    return ascii::IsLetter(unit) || unit == u'_' || (unit >= 0xC0 && unit <= 0x24F && unit != 0xD7 && unit != 0xF7);
  };
  const auto isPart = [&](char16_t unit) {
    return isStart(unit) || ascii::IsDigit(unit) || unit == u'-' || unit == u'.';
  };
  return !name.empty() && isStart(name.front()) && std::all_of(name.begin(), name.end(), isPart);
}

class CCheck {
 public:
  explicit CCheck(const type_description_t& type) : type_(type) {}

  void Run() {
    Require(type_.name != nullptr && IsElementName(type_.name), "its name is no name of an element");
    Require(type_.version <= 127, "its version is above 127");
    Require(type_.subtype >= 0, "its subtype is negative");
    Require(type_.factory != nullptr, "it has no factory");
    for (const char16_t* reserved : {u"Name", u"Type", u"Description"}) names_.insert(reserved);
    std::set<int> ids{kObjectName, kObjectDescription, kObjectType, kObjectSubtype};
    for (const field_t& field : type_.fields) {
      at_ = field.name;
      TakeName(field.name, field.since);
      Require(field.get != nullptr && field.set != nullptr, "a field has no functions");
      Require(properties::GetNamespaceNumber(field.id) != 0, "the id of a field belongs to no namespace");
      Require(ids.insert(field.id).second, "the id of a field is given twice");
    }
    for (const child_table_t& table : type_.tables) {
      at_ = table.name;
      TakeName(table.name, table.since);
      Require(table.get != nullptr, "a table has no function");
    }
  }

 private:
  void TakeName(const char16_t* name, std::uint16_t since) {
    Require(name != nullptr && IsElementName(name), "the name of a field or table is no name of an element");
    Require(names_.insert(name).second, "the name of a field or table is taken");
    Require(since <= type_.version, "a field or table is newer than the type");
  }
  void Require(bool holds, const char* fault) const {
    if (holds) return;
    const std::string member = at_ == nullptr ? "" : ", \"" + CString(at_).ToUtf8() + '"';
    throw CInvalidArgException("the description of the type \"" + CString(type_.name).ToUtf8() + '"' + member + ": " +
                               fault);
  }

  const type_description_t& type_;
  const char16_t* at_ = nullptr;  // the field or table that is looked at
  std::set<std::u16string_view> names_;
};

}  // namespace

const field_t* type_description_t::FindField(int id) const noexcept {
  const auto found = std::find_if(fields.begin(), fields.end(), [id](const field_t& field) { return field.id == id; });
  return found == fields.end() ? nullptr : &*found;
}

const field_t* type_description_t::FindField(std::u16string_view fieldName) const noexcept {
  for (const field_t& field : fields) {
    if (IsSame(field.name, fieldName)) return &field;
  }
  return nullptr;
}

const child_table_t* type_description_t::FindTable(std::u16string_view tableName) const noexcept {
  for (const child_table_t& table : tables) {
    if (IsSame(table.name, tableName)) return &table;
  }
  return nullptr;
}

const child_table_t* type_description_t::FindTableFor(short childType) const noexcept {
  for (const child_table_t& table : tables) {
    if (table.Takes(childType)) return &table;
  }
  return nullptr;
}

bool child_table_t::Takes(short childType) const noexcept {
  return accepts.empty() || std::find(accepts.begin(), accepts.end(), childType) != accepts.end();
}

void RegisterType(const type_description_t& description) {
  CCheck(description).Run();
  CTypeRegistry::Register(CTableObj::MakeFullType(description.type, description.subtype), description.name,
                          &description);
  try {
    CTableObj::Register(description.type, description.subtype, description.factory);
  } catch (...) {
    CTypeRegistry::Unregister(CTableObj::MakeFullType(description.type, description.subtype));
    throw;
  }
}

void UnregisterType(const type_description_t& description) {
  const std::int32_t fullType = CTableObj::MakeFullType(description.type, description.subtype);
  if (CTypeRegistry::GetDescription(fullType) != &description) return;
  CTypeRegistry::Unregister(fullType);
  CTableObj::Unregister(description.factory);
}

}  // namespace zorutil
