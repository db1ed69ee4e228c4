#include "util/project/json_mapping.h"

#include <cmath>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/framework/sync.h"
#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/json/node_pool_internal.h"
#include "util/objects/table.h"
#include "util/objects/type_registry.h"

namespace zorutil::project {

namespace {

using json::IValue;
using json::member_t;
using json::object_t;
using json::scalar_t;
using value_ptr = std::shared_ptr<IValue>;

constexpr const char16_t* kType = u"Type";
constexpr const char16_t* kDescription = u"Description";
constexpr const char16_t* kVariant = u"Variant";

std::unique_ptr<i18n::ILocalizedMessage> Message(unsigned id, std::vector<CVariant> arguments = {}) {
  return i18n::MakeLocalizedMessage(id, std::move(arguments));
}

value_ptr Scalar(CVariant value) {
  return std::allocate_shared<scalar_t>(json::node_allocator_t<scalar_t>(), std::move(value));
}
value_ptr Object(object_t&& object) {
  return std::allocate_shared<object_t>(json::node_allocator_t<object_t>(), std::move(object));
}

const scalar_t* AsScalar(const value_ptr& value) {
  return value != nullptr && value->IsScalar() ? static_cast<const scalar_t*>(value.get()) : nullptr;
}
const object_t* AsObject(const value_ptr& value) {
  return value != nullptr && value->IsObject() ? static_cast<const object_t*>(value.get()) : nullptr;
}

// --- fields ------------------------------------------------------------------------------------------------------

// Whether the text of a JSON scalar reads as the same variant.
bool IsNatural(const CVariant& value) {
  switch (value.vt) {
    case VT_EMPTY:
    case VT_BSTR:
    case VT_I4: return true;
    case VT_BOOL: return value.boolVal == VARIANT_TRUE || value.boolVal == VARIANT_FALSE;
    case VT_I8: return value.llVal > INT32_MAX || value.llVal < INT32_MIN;
    case VT_UI8: return value.ullVal > INT64_MAX;
    case VT_R8: return std::isfinite(value.dblVal);
    default: return false;
  }
}

value_ptr ToJson(const field_t& field, field_value_t& value) {
  switch (field.kind) {
    case field_kind_t::BOOL: return Scalar(CVariant::FromBool(value.integer != 0));
    case field_kind_t::UINT64: return Scalar(CVariant::FromUInt64(static_cast<std::uint64_t>(value.integer)));
    case field_kind_t::REAL4:
    case field_kind_t::REAL8:
      if (std::isfinite(value.real)) {
        return Scalar(field.kind == field_kind_t::REAL4 ? CVariant::FromFloat(static_cast<float>(value.real))
                                                        : CVariant::FromDouble(value.real));
      }
      break;
    case field_kind_t::TEXT:
    case field_kind_t::PASSWORD: return Scalar(CVariant::FromString(value.text.View()));
    case field_kind_t::VALUE: {
      if (IsNatural(value.value)) return Scalar(value.value);
      CString text;
      FieldToText(field, value, text);
      object_t object;
      object.members.emplace_back(kVariant, Scalar(CVariant(text)), 0);
      return Object(std::move(object));
    }
    default:
      return Scalar(value.integer >= INT32_MIN && value.integer <= INT32_MAX
                        ? CVariant::FromInt32(static_cast<std::int32_t>(value.integer))
                        : CVariant::FromInt64(value.integer));
  }
  CString text;
  FieldToText(field, value, text);
  return Scalar(CVariant(text));
}

bool IsNoNumber(const CVariant& value) {
  const std::u16string_view text = value.GetStringView();
  return text == u"NaN" || text == u"INF" || text == u"-INF";
}

field_result_t FromJson(const field_t& field, const value_ptr& from, field_value_t& out) {
  constexpr auto kWrong = field_result_t::WRONG_TYPE;
  if (field.kind == field_kind_t::VALUE) {
    if (const object_t* const object = AsObject(from)) {
      if (object->members.size() != 1 || object->members.front().name != kVariant) return kWrong;
      const scalar_t* const text = AsScalar(object->members.front().value);
      if (text == nullptr || !text->IsString()) return kWrong;
      return FieldFromText(field, CString(text->value.GetStringView()), out);
    }
  }
  const scalar_t* const scalar = AsScalar(from);
  if (scalar == nullptr) {
    if (from != nullptr || field.kind != field_kind_t::VALUE) return kWrong;
    out.value = CVariant();  // null without a node
    return field_result_t::TAKEN;
  }
  switch (field.kind) {
    case field_kind_t::VALUE: break;
    case field_kind_t::BOOL:
      if (!scalar->IsBool()) return kWrong;
      break;
    case field_kind_t::TEXT:
    case field_kind_t::PASSWORD:
      if (!scalar->IsString()) return kWrong;
      break;
    case field_kind_t::REAL4:
    case field_kind_t::REAL8:
      if (!scalar->IsNumber() && !(scalar->IsString() && IsNoNumber(scalar->value))) return kWrong;
      break;
    default:
      if (!scalar->IsNumber()) return kWrong;
      break;
  }
  return FieldFromVariant(field, scalar->value, out);
}

// --- objects to JSON -----------------------------------------------------------------------------------------------

[[noreturn]] void ThrowNotSaved(const CTableObj& object, i18n::ILocalizedMessage& why) {
  CString path;
  object.GetPath(path);
  throw i18n::message_exception_t(
      Message(i18n::IDS_OBJECT_NOT_SAVED, {CVariant(path), CVariant(why.GetMessageText(0))}), path, u"", 0,
      static_cast<int>(why.GetMessageId()));
}

// The names of one type after another, as strings that all members share.
class CNames {
 public:
  explicit CNames(const type_description_t& type) : type_(&type), typeName_(Scalar(CVariant(type.name))) {
    for (const field_t& field : type.fields) fields_.emplace_back(field.name);
  }
  const type_description_t* GetType() const { return type_; }
  const value_ptr& GetTypeName() const { return typeName_; }
  const CString& Of(std::size_t field) const { return fields_[field]; }

 private:
  const type_description_t* type_;
  value_ptr typeName_;  // shared, for nobody changes it
  std::vector<CString> fields_;
};

class CWriter {
 public:
  object_t Write(const CTableObj& object, bool withChildren) {
    const CDescribedObj* const described = AsDescribed(&object);
    if (described == nullptr) {
      ThrowNotSaved(object, *Message(i18n::IDS_TYPE_NOT_DESCRIBED, {CVariant(object.GetObjectName())}));
    }
    if (!object.IsValidName(object.GetName().GetString())) {
      ThrowNotSaved(object, *Message(i18n::IDS_OBJECT_NAME_NOT_VALID, {CVariant(object.GetName())}));
    }
    const type_description_t& type = described->GetTypeDescription();
    const CNames& names = NamesOf(type);
    object_t out;
    out.members.emplace_back(typeMember_, names.GetTypeName(), 0);
    if (object.HaveDescription()) {
      out.members.emplace_back(descriptionMember_, Scalar(CVariant(object.GetDescription())), 0);
    }
    for (std::size_t i = 0; i < type.fields.size(); ++i) {
      type.fields[i].get(object, value_);
      out.members.emplace_back(names.Of(i), ToJson(type.fields[i], value_), 0);
    }
    if (!withChildren) return out;
    for (std::size_t i = 0; i < type.tables.size(); ++i) {
      const CTable& table = *object.GetChildTable(static_cast<unsigned>(i));
      const CSingleLock lock(table.GetLock());
      if (table.GetCount() == 0) continue;
      object_t records;
      for (unsigned index = 0; index < table.GetCount(); ++index) {
        const CTableObj& record = *table.GetRecord(index);
        records.members.emplace_back(record.GetName(), Object(Write(record, true)), 0);
      }
      out.members.emplace_back(type.tables[i].name, Object(std::move(records)), 0);
    }
    return out;
  }

 private:
  const CNames& NamesOf(const type_description_t& type) {
    for (const auto& names : names_) {
      if (names->GetType() == &type) return *names;
    }
    names_.push_back(std::make_unique<CNames>(type));
    return *names_.back();
  }

  const CString typeMember_ = kType, descriptionMember_ = kDescription;
  std::vector<std::unique_ptr<CNames>> names_;
  field_value_t value_;
};

// --- JSON to objects -----------------------------------------------------------------------------------------------

class CReader {
 public:
  explicit CReader(load_report_t& report) : report_(report) {}

  // `table` is the one that is to take the object; null for the root.
  owned_obj_ptr Read(const CString& name, const value_ptr& from, int line, const child_table_t* table) {
    const entered_t entered(report_, name);
    const object_t* const members = AsObject(from);
    if (members == nullptr) return Refuse(line, Message(i18n::IDS_OBJECT_EXPECTED));
    const type_description_t* const type = FindType(*members, line);
    if (type == nullptr) return nullptr;
    if (table != nullptr && !table->Takes(type->type)) {
      return Refuse(line, Message(i18n::IDS_TYPE_NOT_TAKEN, {CVariant(type->name), CVariant(table->name)}));
    }
    owned_obj_ptr object(CTableObj::CreateObject(type->type, type->subtype));
    CDescribedObj* const described = AsDescribed(object.get());
    if (described == nullptr || &described->GetTypeDescription() != type) {
      return Refuse(line, Message(i18n::IDS_TYPE_NOT_DESCRIBED, {CVariant(type->name)}));
    }
    if (name.Find(u'\0') >= 0 || !object->IsValidName(name.GetString())) {
      return Refuse(line, name.IsEmpty() ? Message(i18n::IDS_OBJECT_NAME_MISSING)
                                         : Message(i18n::IDS_OBJECT_NAME_NOT_VALID, {CVariant(name)}));
    }
    const bool tracks = object->IsTrackingMods();
    object->SetTrackMods(false);
    object->SetName(name.GetString());
    ReadMembers(*described, *members);
    object->SetTrackMods(tracks);
    object->SetModified(false);
    return object;
  }

 private:
  struct entered_t {
    entered_t(load_report_t& r, const CString& name) : report(r) { report.EnterObject(name); }
    entered_t(const entered_t&) = delete;
    entered_t& operator=(const entered_t&) = delete;
    ~entered_t() { report.LeaveObject(); }
    load_report_t& report;
  };

  void Tell(int line, std::unique_ptr<i18n::ILocalizedMessage> message) { report_.AddAt(line, 0, std::move(message)); }
  std::nullptr_t Refuse(int line, std::unique_ptr<i18n::ILocalizedMessage> message) {
    Tell(line, std::move(message));
    return nullptr;
  }

  const type_description_t* FindType(const object_t& object, int line) {
    for (const member_t& member : object.members) {
      if (member.name != kType) continue;
      const scalar_t* const name = AsScalar(member.value);
      if (name == nullptr || !name->IsString()) {
        return Refuse(member.line, Message(i18n::IDS_SETTING_TYPE, {CVariant(kType)}));
      }
      // Mostly that of the object before.
      if (lastType_ != nullptr && name->value.GetStringView() == lastType_->name) return lastType_;
      std::int32_t fullType = 0;
      if (!CTypeRegistry::FindType(name->value.GetStringView(), fullType)) {
        return Refuse(member.line, Message(i18n::IDS_TYPE_UNKNOWN, {name->value}));
      }
      lastType_ = CTypeRegistry::GetDescription(fullType);
      if (lastType_ == nullptr) Tell(member.line, Message(i18n::IDS_TYPE_NOT_DESCRIBED, {name->value}));
      return lastType_;
    }
    return Refuse(line, Message(i18n::IDS_TYPE_MISSING));
  }

  void ReadMembers(CDescribedObj& object, const object_t& from) {
    const type_description_t& type = object.GetTypeDescription();
    const std::size_t firstTable = 2 + type.fields.size();
    std::vector<bool> seen(firstTable + type.tables.size());
    std::size_t next = 0;  // the field that is expected
    for (const member_t& member : from.members) {
      const std::u16string_view name = member.name.View();
      std::size_t slot = seen.size();
      if (next < type.fields.size() && name == type.fields[next].name) {
        slot = 2 + next++;
      } else if (name == kType) {
        slot = 0;
      } else if (name == kDescription) {
        slot = 1;
      } else if (const field_t* const field = type.FindField(name)) {
        next = static_cast<std::size_t>(field - type.fields.data()) + 1;
        slot = 1 + next;
      } else if (const child_table_t* const table = type.FindTable(name)) {
        slot = firstTable + static_cast<std::size_t>(table - type.tables.data());
      }
      if (slot == seen.size()) {
        Tell(member.line, Message(i18n::IDS_SETTING_UNKNOWN, {CVariant(type.name), CVariant(member.name)}));
        continue;
      }
      if (seen[slot]) {
        Tell(member.line, Message(i18n::IDS_SETTING_TWICE, {CVariant(member.name)}));
        continue;
      }
      seen[slot] = true;
      if (slot == 1) ReadDescription(object, member);
      if (slot >= 2 && slot < firstTable) ReadField(object, type.fields[slot - 2], member);
      if (slot >= firstTable) ReadTable(object, type.tables[slot - firstTable], member);
    }
  }

  void ReadDescription(CDescribedObj& object, const member_t& member) {
    const scalar_t* const text = AsScalar(member.value);
    if (text == nullptr || !text->IsString() || text->value.GetStringView().find(u'\0') != std::u16string_view::npos) {
      return Tell(member.line, Message(i18n::IDS_SETTING_TYPE, {CVariant(kDescription)}));
    }
    object.SetDescription(CString(text->value.GetStringView()).GetString());
  }

  void ReadField(CDescribedObj& object, const field_t& field, const member_t& member) {
    field_result_t result = FromJson(field, member.value, value_);
    if (result == field_result_t::TAKEN && !field.set(object, value_)) result = field_result_t::REFUSED;
    if (result != field_result_t::TAKEN) Tell(member.line, MakeFieldMessage(field, result));
  }

  void ReadTable(CDescribedObj& object, const child_table_t& description, const member_t& member) {
    const object_t* const records = AsObject(member.value);
    if (records == nullptr) return Tell(member.line, Message(i18n::IDS_OBJECT_EXPECTED));
    CTable& table = description.get(object);
    for (const member_t& record : records->members) {
      owned_obj_ptr child = Read(record.name, record.value, record.line, &description);
      if (child == nullptr) continue;
      if (table.Insert(child.get()) != CTable::invalid_index) {
        child.release();
      } else {
        const entered_t entered(report_, record.name);
        Tell(record.line, Message(i18n::IDS_OBJECT_NAME_TAKEN, {CVariant(record.name)}));
      }
    }
    table.SetModified(false);
  }

  load_report_t& report_;
  const type_description_t* lastType_ = nullptr;
  field_value_t value_;
};

}  // namespace

std::shared_ptr<IValue> FieldToJson(const CTableObj& object, const field_t& field) {
  field_value_t value;
  field.get(object, value);
  return ToJson(field, value);
}

std::unique_ptr<i18n::ILocalizedMessage> FieldFromJson(const field_t& field, const std::shared_ptr<IValue>& from,
                                                       field_value_t& out) {
  const field_result_t result = FromJson(field, from, out);
  return result == field_result_t::TAKEN ? nullptr : MakeFieldMessage(field, result);
}

object_t ObjectToJson(const CTableObj& object, bool withChildren) {
  const json::node_pool_t pool;
  return CWriter().Write(object, withChildren);
}

owned_obj_ptr ObjectFromJson(const CString& name, const std::shared_ptr<IValue>& from, int line,
                             load_report_t& report) {
  return CReader(report).Read(name, from, line, nullptr);
}

}  // namespace zorutil::project
