#include "util/objects/described_object.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string_view>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/sync.h"
#include "platform/text/surrogates_internal.h"
#include "util/docs/structured_doc.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/objects/load_errors.h"
#include "util/objects/object_search.h"
#include "util/objects/table_changes_internal.h"
#include "util/properties/password.h"
#include "util/properties/property.h"
#include "util/properties/validation.h"
#include "util/serialization/stream_serializers.h"

namespace zorutil {

namespace {

// Tells who hears of failures which objects saving failed in, or an exception of loading left.
class CFailureNote {
 public:
  explicit CFailureNote(const CTableObj& object, bool isLoad) : object_(object), isLoad_(isLoad) {}
  CFailureNote(const CFailureNote&) = delete;
  CFailureNote& operator=(const CFailureNote&) = delete;
  ~CFailureNote() {
    if (hasSucceeded_ || (isLoad_ && std::uncaught_exceptions() == exceptions_)) return;
    if (ILoadErrors* const errors = ILoadErrors::GetCurrent()) errors->OnFailedObject(object_.GetName());
  }
  int Succeed() {
    hasSucceeded_ = true;
    return 1;
  }

 private:
  const CTableObj& object_;
  const bool isLoad_;  // then the table tells of a record that fails without exception
  const int exceptions_ = std::uncaught_exceptions();
  bool hasSucceeded_ = false;
};

// --- records -----------------------------------------------------------------------------------------------------

// Neighbouring fields of fixed width go to the file, and come from it, in one piece.
constexpr std::size_t kRunSize = 256;

class CRecordWriter {
 public:
  explicit CRecordWriter(CFile& file) : file_(file), out_(&file) {}

  void Write(const CTableObj& object, const field_t& field) {
    field.get(object, value_);
    const std::size_t width = FieldWidth(field.kind);
    if (width == 0 || used_ + width > run_.size()) Flush();
    if (width == 0) return WriteField(field.kind, value_, out_);
    PackField(field.kind, value_, run_.data() + used_);
    used_ += width;
  }
  void Flush() {
    if (used_ != 0) file_.Write(run_.data(), static_cast<unsigned>(used_));
    used_ = 0;
  }

 private:
  CFile& file_;
  file_serializer_t out_;
  std::array<std::uint8_t, kRunSize> run_;
  std::size_t used_ = 0;
  field_value_t value_;
};

class CRecordReader {
 public:
  CRecordReader(CFile& file, const type_description_t& type, unsigned version)
      : in_(&file), type_(type), version_(version) {}

  // The field that the object refused; null when it took all.
  const field_t* Read(CTableObj& object) {
    const auto fields = type_.fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const field_t& field = fields[i];
      if (field.since > version_) continue;
      if (const std::size_t width = FieldWidth(field.kind); width != 0) {
        if (at_ == filled_) Fill(i);
        UnpackField(field.kind, run_.data() + at_, value_);
        at_ += width;
      } else {
        ReadField(field.kind, in_, value_);
      }
      if (!field.set(object, value_)) return &field;
    }
    return nullptr;
  }

 private:
  // Reads the fields of fixed width from `first` on, up to one of another kind, or that has no room any more.
  void Fill(std::size_t first) {
    std::size_t size = 0;
    for (std::size_t i = first; i < type_.fields.size(); ++i) {
      const field_t& field = type_.fields[i];
      if (field.since > version_) continue;
      const std::size_t width = FieldWidth(field.kind);
      if (width == 0 || size + width > run_.size()) break;
      size += width;
    }
    in_.Read(run_.data(), static_cast<unsigned>(size));
    at_ = 0;
    filled_ = size;
  }

  file_serializer_t in_;
  const type_description_t& type_;
  const unsigned version_;
  std::array<std::uint8_t, kRunSize> run_;
  std::size_t at_ = 0, filled_ = 0;
  field_value_t value_;
};

// --- documents ---------------------------------------------------------------------------------------------------

constexpr const char16_t* kDescription = u"Description";
constexpr const char16_t* kEncoding = u"encoding";
constexpr const char16_t* kBase64 = u"base64";

// Whether every document holds the text: no control characters, no halves of surrogate pairs, no non-characters.
bool IsPlainText(std::u16string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (unit >= 0x20 && unit < 0xD800) continue;
    if (unit == u'\t' || unit == u'\n' || unit == u'\r' || (unit >= 0xE000 && unit < 0xFFFE)) continue;
    if (!utf::IsPairAt(text, i)) return false;
    ++i;
  }
  return true;
}

bool WriteText(CStructuredDoc& doc, void* element, const char16_t* ns, const char16_t* name, const CString& text) {
  if (IsPlainText(text)) return doc.WriteElement(element, ns, name, true, text) != nullptr;
  void* const child = doc.WriteElement(element, ns, name, false, UnitsToBase64(text));
  const bool isWritten = child != nullptr && doc.WriteAttribute(child, kEncoding, kBase64) != 0;
  doc.ReleaseElement(child);
  return isWritten;
}

}  // namespace

class CDescribedObj::CDocumentReader {
 public:
  CDocumentReader(CDescribedObj& object, CStructuredDoc& doc, const char16_t* ns)
      : object_(object),
        type_(object.GetTypeDescription()),
        doc_(doc),
        ns_(ns),
        seen_(kFirstField + type_.fields.size() + type_.tables.size()) {
    if (errors_ != nullptr) errors_->EnterObject(object.GetName());
  }
  CDocumentReader(const CDocumentReader&) = delete;
  CDocumentReader& operator=(const CDocumentReader&) = delete;
  ~CDocumentReader() {
    if (errors_ != nullptr) errors_->LeaveObject();
  }

  bool Read(void* element) {
    for (void* child = doc_.FindFirstChild(element, false); child != nullptr; child = doc_.FindNext(child, true)) {
      if (!ReadChild(element, child)) {
        doc_.ReleaseElement(child);
        return false;
      }
    }
    if (!seen_[kName] && errors_ != nullptr) Tell(element, i18n::MakeLocalizedMessage(i18n::IDS_OBJECT_NAME_MISSING));
    if (!seen_[kDescriptionSlot]) object_.SetDescription(u"");
    if (object_.IsRecursing()) {
      for (std::size_t i = 0; i < type_.tables.size(); ++i) {
        if (!seen_[FirstTable() + i]) type_.tables[i].get(object_).Reset();
      }
    }
    return true;
  }

 private:
  static constexpr std::size_t kName = 0, kDescriptionSlot = 1, kFirstField = 2;
  std::size_t FirstTable() const { return kFirstField + type_.fields.size(); }

  // True: go on.
  bool Tell(void* element, std::unique_ptr<i18n::ILocalizedMessage> message) {
    if (errors_ == nullptr) {
      doc_.SetLastError(std::move(message));
      return false;
    }
    errors_->Add(element, std::move(message));
    return true;
  }
  bool IsFirst(std::size_t slot) {
    const bool isFirst = !seen_[slot];
    seen_[slot] = true;
    return isFirst;
  }

  bool ReadChild(void* element, void* child) {
    doc_.GetName(child, name_);
    const std::size_t slot = FindSlot();
    if (slot == seen_.size()) {
      return Tell(child,
                  i18n::MakeLocalizedMessage(i18n::IDS_SETTING_UNKNOWN, {CVariant(type_.name), CVariant(name_)}));
    }
    if (!IsFirst(slot)) return Tell(child, i18n::MakeLocalizedMessage(i18n::IDS_SETTING_TWICE, {CVariant(name_)}));
    if (slot == kName) return CheckName(child);
    if (slot == kDescriptionSlot) {
      if (!GetText(child) || text_.Find(u'\0') >= 0) {
        return Tell(child, i18n::MakeLocalizedMessage(i18n::IDS_SETTING_TYPE, {CVariant(name_)}));
      }
      object_.SetDescription(text_.GetString());
      return true;
    }
    if (slot < FirstTable()) return ReadField(child, type_.fields[slot - kFirstField]);
    if (!object_.IsRecursing()) return true;
    CTable& table = type_.tables[slot - FirstTable()].get(object_);
    return table.Load(&doc_, element, ns_) != 0;
  }

  // What the element is; the number of slots when it is unknown. Elements mostly come in the order of the fields.
  std::size_t FindSlot() {
    const std::u16string_view name = name_.View();
    if (next_ < type_.fields.size() && name == type_.fields[next_].name) return kFirstField + next_++;
    if (name == u"Name") return kName;
    if (name == kDescription) return kDescriptionSlot;
    if (const field_t* const field = type_.FindField(name)) {
      next_ = static_cast<std::size_t>(field - type_.fields.data()) + 1;
      return kFirstField + next_ - 1;
    }
    if (const child_table_t* const table = type_.FindTable(name)) {
      return FirstTable() + static_cast<std::size_t>(table - type_.tables.data());
    }
    return seen_.size();
  }

  // A name that is not valid was repaired before: that is told to who wants every error.
  bool CheckName(void* child) {
    if (errors_ == nullptr) return true;
    doc_.GetText(child, text_);
    if (text_ == object_.GetName()) return true;
    return Tell(child, i18n::MakeLocalizedMessage(i18n::IDS_OBJECT_NAME_NOT_VALID, {CVariant(text_)}));
  }

  bool ReadField(void* child, const field_t& field) {
    field_result_t result = field_result_t::WRONG_TYPE;
    const bool hasChildren = IsParent(child);
    if (!hasChildren && (FieldWidth(field.kind) != 0 ? doc_.GetText(child, text_) != 0 : GetText(child))) {
      result = FieldFromText(field, text_, value_);
      if (result == field_result_t::TAKEN && !field.set(object_, value_)) result = field_result_t::REFUSED;
    }
    return result == field_result_t::TAKEN || Tell(child, MakeFieldMessage(field, result));
  }

  bool IsParent(void* element) {
    void* const child = doc_.FindFirstChild(element, false);
    doc_.ReleaseElement(child);
    return child != nullptr;
  }

  bool GetText(void* child) {
    doc_.GetText(child, text_);
    CString encoding;
    if (doc_.ReadAttribute(child, kEncoding, encoding) == 0) return true;
    return encoding == kBase64 && UnitsFromBase64(text_, text_);
  }

  CDescribedObj& object_;
  const type_description_t& type_;
  CStructuredDoc& doc_;
  const char16_t* ns_;
  ILoadErrors* errors_ = ILoadErrors::GetCurrent();
  std::vector<bool> seen_;
  std::size_t next_ = 0;  // the field that is expected
  CString name_, text_;
  field_value_t value_;
};

CDescribedObj::CDescribedObj(const type_description_t& type) : CTableObj(type.type, true, type.version), type_(&type) {
  SetSubtype(type.subtype);
}
CDescribedObj::~CDescribedObj() = default;

// --- properties ----------------------------------------------------------------------------------------------------

void CDescribedObj::GetProperties(properties::property_list_t& list) const {
  CTableObj::GetProperties(list);
  field_value_t value;
  for (const field_t& field : type_->fields) {
    field.get(*this, value);
    list.push_back(properties::CProperty::Create(field.id, FieldToVariant(field, value)));
  }
}

namespace {

[[noreturn]] void ThrowRefused(const field_t& field, field_result_t result) {
  throw i18n::message_exception_t(MakeFieldMessage(field, result), field.name, u"", field.id,
                                  properties::kValidationFailed);
}

[[noreturn]] void ThrowName(unsigned message, const CString& name) {
  throw i18n::message_exception_t(i18n::MakeLocalizedMessage(message, {CVariant(name)}), u"Name", u"", kObjectName,
                                  properties::kValidationFailed);
}

// Fields of one object that change together. What is not kept is put back, which allocates nothing.
class CFieldChanges {
 public:
  explicit CFieldChanges(CTableObj& object) : object_(object) {}
  CFieldChanges(const CFieldChanges&) = delete;
  CFieldChanges& operator=(const CFieldChanges&) = delete;
  ~CFieldChanges() {
    while (made_ > 0) {
      change_t& change = changes_[--made_];
      try {
        change.field->set(object_, change.earlier);
      } catch (...) {
        // A setter that does not even take back what it gave; the exception under way says more.
      }
    }
  }

  void Add(const field_t& field, const CVariant& value) {
    change_t change{&field, {}, {}};
    const field_result_t result = FieldFromVariant(field, value, change.value);
    if (result != field_result_t::TAKEN) ThrowRefused(field, result);
    changes_.push_back(std::move(change));
  }
  void Make() {
    while (made_ < changes_.size()) {
      change_t& change = changes_[made_];
      change.field->get(object_, change.earlier);
      ++made_;  // a setter that throws may have changed something
      if (!change.field->set(object_, change.value)) ThrowRefused(*change.field, field_result_t::REFUSED);
    }
  }
  void Keep() { made_ = 0; }
  bool IsEmpty() const { return changes_.empty(); }

 private:
  struct change_t {
    const field_t* field;
    field_value_t value;
    field_value_t earlier;
  };
  CTableObj& object_;
  std::vector<change_t> changes_;
  std::size_t made_ = 0;
};

}  // namespace

void CDescribedObj::SetProperties(const properties::property_list_t& list) {
  const object_lock_t lock(*this);
  CFieldChanges changes(*this);
  const CVariant* newName = nullptr;
  const CVariant* newDescription = nullptr;
  for (const auto& property : list) {
    if (property == nullptr) continue;
    const int id = property->GetId();
    if (id == kObjectName) newName = &property->GetValue();
    if (id == kObjectDescription) newDescription = &property->GetValue();
    if (const field_t* const field = type_->FindField(id)) changes.Add(*field, property->GetValue());
  }
  const CString name = newName != nullptr ? newName->ToString() : GetName();
  const CString earlierDescription = GetDescription();
  const CString description =
      newDescription != nullptr ? CString(newDescription->ToString().GetString()) : earlierDescription;
  if (name != GetName() && !IsValidName(name.GetString())) ThrowName(i18n::IDS_OBJECT_NAME_NOT_VALID, name);

  // The name comes last, for to put the others back needs no memory.
  changes.Make();
  CTableChanges::SetDescription(*this, description);
  try {
    if (!SetName(name.GetString())) ThrowName(i18n::IDS_OBJECT_NAME_TAKEN, name);
  } catch (...) {
    CTableChanges::SetDescription(*this, earlierDescription);
    throw;
  }
  if (!changes.IsEmpty() || description != earlierDescription) SetModified(true);
  changes.Keep();
}

// --- children ------------------------------------------------------------------------------------------------------

CTable* CDescribedObj::GetChildTable(unsigned index) const {
  return index < type_->tables.size() ? &type_->tables[index].get(const_cast<CDescribedObj&>(*this)) : nullptr;
}

CTable* CDescribedObj::GetTableFor(const CTableObj* object) const {
  if (object == nullptr) return nullptr;
  const child_table_t* const table = type_->FindTableFor(object->GetType());
  return table == nullptr ? nullptr : &table->get(const_cast<CDescribedObj&>(*this));
}

bool CDescribedObj::CanAddObject(const CTableObj* object) const { return GetTableFor(object) != nullptr; }

bool CDescribedObj::AddObject(CTableObj* object) {
  CTable* const table = GetTableFor(object);
  return table != nullptr && table->Insert(object) != CTable::invalid_index;
}

ref_counted_obj_ptr_vec_t CDescribedObj::GetChildObjects(short type, short subtype) {
  return GetChildObjectsOf(*this, type, subtype);
}

ref_counted_obj_ptr CDescribedObj::FindObjectByName(const char16_t* name, ITableObjVisitor& visitor) const {
  return FindObjectBelow(*this, name, visitor);
}

bool CDescribedObj::GenerateName(CTableObj* object) const {
  const CTable* const table = GetTableFor(object);
  if (table == nullptr) return false;
  CString name = object->GetName();
  if (name.IsEmpty()) name = object->GetObjectName();
  constexpr unsigned kMaxLength = 256;
  return table->GenerateName(name, kMaxLength) != 0 && object->SetName(name.GetString());
}

void CDescribedObj::OnLoadComplete() {
  for (const child_table_t& child : type_->tables) {
    const CTable& table = child.get(*this);
    const CSingleLock lock(table.GetLock());
    for (unsigned i = 0; i < table.GetCount(); ++i) table.GetRecord(i)->OnLoadComplete();
  }
}

// --- persistence ---------------------------------------------------------------------------------------------------

namespace {

// Names and descriptions that documents would not give back are told to who loads or saves a whole project. Others,
// such as a copy of an object that has no name yet, may have any.
bool IsNamedWell(const CTableObj& object) {
  ILoadErrors* const errors = ILoadErrors::GetCurrent();
  if (errors == nullptr) return true;
  const CString& name = object.GetName();
  if (name.Find(u'\0') >= 0 || !object.IsValidName(name.GetString())) {
    errors->Add(nullptr, name.IsEmpty()
                             ? i18n::MakeLocalizedMessage(i18n::IDS_OBJECT_NAME_MISSING)
                             : i18n::MakeLocalizedMessage(i18n::IDS_OBJECT_NAME_NOT_VALID, {CVariant(name)}));
    return false;
  }
  if (object.HaveDescription() && object.GetDescription().Find(u'\0') >= 0) {
    errors->Add(nullptr, i18n::MakeLocalizedMessage(i18n::IDS_SETTING_TYPE, {CVariant(kDescription)}));
    return false;
  }
  return true;
}

}  // namespace

int CDescribedObj::OnSave(CFile* file) const {
  CFailureNote note(*this, false);
  if (!IsNamedWell(*this)) return 0;
  CRecordWriter writer(*file);
  for (const field_t& field : type_->fields) writer.Write(*this, field);
  writer.Flush();
  if (IsRecursing()) {
    for (unsigned i = 0; const CTable* const table = GetChildTable(i); ++i) {
      const CSingleLock lock(table->GetLock());
      if (table->Save(file) == 0) return 0;
    }
  }
  return note.Succeed();
}

int CDescribedObj::OnLoad(CFile* file) {
  CFailureNote note(*this, true);
  if (!IsNamedWell(*this)) return 0;
  if (const field_t* const refused = CRecordReader(*file, *type_, GetVersion()).Read(*this)) {
    if (ILoadErrors* const errors = ILoadErrors::GetCurrent()) {
      errors->Add(nullptr, MakeFieldMessage(*refused, field_result_t::REFUSED));
    }
    return 0;
  }
  if (IsRecursing()) {
    for (const child_table_t& child : type_->tables) {
      CTable& table = child.get(*this);
      if (child.since > GetVersion()) {
        table.Reset();
      } else if (table.Load(file) == 0) {
        return 0;
      }
    }
  }
  return note.Succeed();
}

int CDescribedObj::OnSave(CStructuredDoc* doc, void* element, const char16_t* ns) const {
  CFailureNote note(*this, false);
  if (!IsNamedWell(*this)) return 0;
  if (HaveDescription() && !WriteText(*doc, element, ns, kDescription, GetDescription())) return 0;
  field_value_t value;
  CString text;
  for (const field_t& field : type_->fields) {
    field.get(*this, value);
    if (field.kind == field_kind_t::PASSWORD && !doc->GetEncryptPasswords()) {
      properties::DecryptPassword(value.text, value.text);
    }
    FieldToText(field, value, text);
    if (!WriteText(*doc, element, ns, field.name, text)) return 0;
  }
  if (IsRecursing()) {
    for (unsigned i = 0; const CTable* const table = GetChildTable(i); ++i) {
      const CSingleLock lock(table->GetLock());
      if (table->GetCount() != 0 && table->Save(doc, element, ns) == 0) return 0;
    }
  }
  return note.Succeed();
}

int CDescribedObj::OnLoad(CStructuredDoc* doc, void* element, const char16_t* ns) {
  return CDocumentReader(*this, *doc, ns).Read(element) ? 1 : 0;
}

// --- fields --------------------------------------------------------------------------------------------------------

field_result_t SetField(CDescribedObj& object, const field_t& field, const CVariant& value) {
  field_value_t converted;
  const field_result_t result = FieldFromVariant(field, value, converted);
  if (result != field_result_t::TAKEN) return result;
  if (!field.set(object, converted)) return field_result_t::REFUSED;
  object.SetModified(true);
  return field_result_t::TAKEN;
}

CVariant GetField(const CTableObj& object, const field_t& field) {
  field_value_t value;
  field.get(object, value);
  return FieldToVariant(field, value);
}

// --- child tables --------------------------------------------------------------------------------------------------

CChildTable::CChildTable(CDescribedObj& owner, unsigned growthIncrement) : CTable(0, true, growthIncrement) {
  SetOwner(&owner);
}
CChildTable::~CChildTable() = default;

// Looked up when it is first needed: while the table is made, its owner is not yet what the description describes.
const child_table_t* CChildTable::GetTableDescription() const {
  if (const child_table_t* const known = description_.load(std::memory_order_relaxed)) return known;
  auto& owner = static_cast<CDescribedObj&>(*GetOwner());
  for (const child_table_t& table : owner.GetTypeDescription().tables) {
    if (&table.get(owner) != this) continue;
    description_.store(&table, std::memory_order_relaxed);
    return &table;
  }
  return nullptr;
}

CString CChildTable::GetTableName() const {
  const child_table_t* const table = GetTableDescription();
  return table == nullptr ? CString() : CString(table->name);
}

bool CChildTable::CanHold(const CTableObj& object) const {
  const child_table_t* const table = GetTableDescription();
  if (table != nullptr && table->Takes(object.GetType())) return true;
  ILoadErrors* const errors = ILoadErrors::GetCurrent();
  if (errors != nullptr && IsLoading() && GetOwner()->IsSerializingBinary()) {
    errors->Add(nullptr, i18n::MakeLocalizedMessage(i18n::IDS_TYPE_NOT_TAKEN,
                                                    {CVariant(object.GetObjectName()), CVariant(GetTableName())}));
  }
  return false;
}

}  // namespace zorutil
