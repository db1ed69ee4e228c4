#include "util/objects/table_obj.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <vector>

#include "platform/text/collation.h"
#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/objects/object_search.h"
#include "util/objects/table_obj_internal.h"
#include "util/objects/type_registry.h"

using zorutil::object_lock_t;
using zorutil::properties::CProperty;
using zorutil::properties::FindProperty;

namespace {

// They stay to the end of the process, for objects may live as long.
struct descriptions_t {
  CCriticalSection lock;
  std::map<const CTableObj*, CString> texts;
};

descriptions_t& Descriptions() {
  static descriptions_t& descriptions = *new descriptions_t;
  return descriptions;
}

// Objects share the locks of their names; each is held for a few instructions.
CLightLock& NameLock(const CTableObj* object) {
  static CLightLock locks[64];
  return locks[reinterpret_cast<std::uintptr_t>(object) / sizeof(CTableObj) % std::size(locks)];
}

[[noreturn]] void RefuseName(unsigned messageId, const CString& name) {
  i18n::message_exception_t::Throw(i18n::MakeLocalizedMessage(messageId, {CVariant(name.View())}), E_INVALIDARG);
}

}  // namespace

CTableObj::ITableObjectCompare::~ITableObjectCompare() = default;
CTableObjNp::~CTableObjNp() = default;

// --- making, copying, ending ---------------------------------------------------------------------------------------

CTableObj::CTableObj(short type, bool trackMods, unsigned short version)
    : fullType_(MakeFullType(type, 0)),
      versionWord_(version & 0x7F),
      flags_(static_cast<std::uint8_t>(trackMods ? 0U : kNotTracking)) {}

CTableObj::CTableObj(const CTableObj& other)
    : IPropertyModel(other),
      fullType_(other.fullType_),
      versionWord_(other.versionWord_ & kVersionMask),
      flags_(std::uint8_t{kNotTracking}),
      name_(other.CopyName()) {
  SetDescriptionText(other.GetDescription());
  SetTrackMods(other.IsTrackingMods());
}

CTableObj& CTableObj::operator=(const CTableObj& other) {
  if (this == &other) return *this;
  {
    const untracked_t untracked(*this);
    if (IsInTable()) {
      SetName(other.CopyName().GetString());
    } else {
      CString name = other.CopyName();
      SwapName(name);
    }
    SetDescriptionText(other.GetDescription());
  }
  customBits_ = 0;
  SetFlags(kModified | kSerializing, false);
  SetTrackMods(other.IsTrackingMods());
  return *this;
}

CTableObj::~CTableObj() {
  if (!HasFlags(kHasDescription)) return;
  descriptions_t& descriptions = Descriptions();
  const std::lock_guard guard(descriptions.lock);
  descriptions.texts.erase(this);
}

// --- properties ----------------------------------------------------------------------------------------------------

void CTableObj::GetProperties(property_list_t& list) const {
  list.push_back(CProperty::Create(zorutil::kObjectName, CVariant(CopyName().View())));
  list.push_back(CProperty::Create(zorutil::kObjectDescription, CVariant(GetDescription().View())));
  list.push_back(CProperty::Create(zorutil::kObjectType, CVariant::FromInt16(GetType())));
  list.push_back(CProperty::Create(zorutil::kObjectSubtype, CVariant::FromInt16(GetSubType())));
}

void CTableObj::SetProperties(const property_list_t& list) {
  const auto name = FindProperty(zorutil::kObjectName, list);
  const auto description = FindProperty(zorutil::kObjectDescription, list);
  const CString newName = name != nullptr ? name->GetValue().ToString() : CString();
  const CString newDescription = description != nullptr ? description->GetValue().ToString() : CString();
  if (name != nullptr && !SetName(newName.GetString())) RefuseName(i18n::IDS_OBJECT_NAME_TAKEN, newName);
  if (description != nullptr) SetDescription(newDescription.GetString());
}

void CTableObj::ValidateProperties(const property_list_t& list, IValidationContext&) const {
  const auto name = FindProperty(zorutil::kObjectName, list);
  if (name == nullptr) return;
  const CString text = name->GetValue().ToString();
  if (!IsValidName(text.GetString())) RefuseName(i18n::IDS_OBJECT_NAME_NOT_VALID, text);
}

std::shared_ptr<CTableObj::IPropertyEditor> CTableObj::GetPropertyHelper(int, const property_list_t&) {
  return nullptr;
}

void CTableObj::OnPropertyChanged(int) {}

// --- names ---------------------------------------------------------------------------------------------------------

bool CTableObj::SetName(const char16_t* name) {
  CString newName = TextOf(name);
  for (;;) {
    const table_pin_t pin(*this);
    CTable* const table = pin.GetTable();
    if (table == nullptr) {
      const std::lock_guard guard(NameLock(this));
      if (name_ == newName) return true;
      name_.Swap(newName);
      break;
    }
    const std::lock_guard guard(*table->GetLock());
    if (GetTable() != table) continue;  // it was moved meanwhile
    if (name_ == newName) return true;
    if (!table->Rename(this, newName)) return false;
    break;
  }
  SetModified(true);
  return true;
}

bool CTableObj::IsValidName(const char16_t* name) const { return IsValidBaseName(name); }

bool CTableObj::IsValidBaseName(const char16_t* name) noexcept {
  if (name == nullptr || *name == u'\0' || *name == u'_' || *name == u' ') return false;
  return std::u16string_view(name).find_first_of(u".\"") == std::u16string_view::npos;
}

CString& CTableObj::FixUpLegacyName(CString& name) {
  name.Trim();
  if (name.IsEmpty()) name = u"noname";
  name.Replace(u'.', u'_');
  if (name[0] == u'_') name.SetAt(0, u'U');
  return name;
}

CString CTableObj::CopyName() const {
  const std::lock_guard guard(NameLock(this));
  return name_;
}

void CTableObj::SwapName(CString& name) noexcept {
  const std::lock_guard guard(NameLock(this));
  name_.Swap(name);
}

CString CTableObj::GetDisplayName() const { return CopyName(); }

bool CTableObj::GenerateName(CTableObj*) const { return false; }

CString& CTableObj::GetPath(const CTableObj* object, CString& path) {
  std::vector<CString> names;
  // Each step holds the object that it stands on; the first is the caller's.
  zorutil::ref_counted_obj_ptr held;
  while (object != nullptr) {
    names.push_back(object->CopyName());
    zorutil::ref_counted_obj_ptr parent;
    {
      const table_visit_t visit(*object);
      parent = object->GetParent();
    }
    held = std::move(parent);
    object = held.get();
  }
  path.Empty();
  while (!names.empty()) {
    if (!path.IsEmpty()) path += u'.';
    path += names.back();
    names.pop_back();
  }
  return path;
}

// --- the tree ------------------------------------------------------------------------------------------------------

zorutil::ref_counted_obj_ptr CTableObj::FindObjectByName(const char16_t*, zorutil::ITableObjVisitor&) const {
  return nullptr;
}

zorutil::ref_counted_obj_ptr_vec_t CTableObj::GetChildObjects(short, short) { return {}; }

bool CTableObj::AddObject(CTableObj*) { return false; }

zorutil::ref_counted_obj_ptr CTableObj::FindObject(const char16_t* path, short type, short subtype) const {
  if (path == nullptr) return nullptr;
  if (GetParent() == nullptr) {
    const std::u16string_view whole = path;
    const std::size_t end = std::min(whole.find(u'.'), whole.size());
    if (!whole.empty() && collation::CompareNoCase(whole.substr(0, end), CopyName()) == 0) {
      if (end < whole.size()) {
        auto found = zorutil::FindObjectByPath(*this, path + end + 1, type, subtype);
        if (found) return found;
      } else if (zorutil::IsOfType(*this, type, subtype)) {
        return const_cast<CTableObj*>(this);
      }
    }
  }
  return zorutil::FindObjectByPath(*this, path, type, subtype);
}

bool CTableObj::CanDeleteObject(const CTableObj* object) const {
  return object != nullptr && object->GetParent() == this;
}

bool CTableObj::CanAddObject(const CTableObj* object) const { return object != nullptr; }

CSyncObject* CTableObj::GetLock() const {
  const CTable* const table = GetTable();
  return table != nullptr ? table->GetLock() : GetFreeObjectsLock();
}

CSyncObject* CTableObj::GetFreeObjectsLock() {
  static CCriticalSection& lock = *new CCriticalSection;
  return &lock;
}

CTableObj* CTableObj::GetParent() const {
  const CTable* const table = GetTable();
  return table != nullptr ? table->GetOwner() : nullptr;
}

CTable* CTableObj::GetChildTable(unsigned) const { return nullptr; }

void CTableObj::PostCreate(const property_list_t&) {}

std::unique_ptr<CTableObj::ITableObjectCompare> CTableObj::GetObjectComparisonFunc() { return nullptr; }

// --- identity ------------------------------------------------------------------------------------------------------

CString CTableObj::GetObjectName(const CTableObj* object) {
  return zorutil::CTypeRegistry::GetName(GetFullType(object));
}

CString CTableObj::GetDescription() const {
  if (!HasFlags(kHasDescription)) return {};
  descriptions_t& descriptions = Descriptions();
  const std::lock_guard guard(descriptions.lock);
  const auto found = descriptions.texts.find(this);
  return found == descriptions.texts.end() ? CString() : found->second;
}

bool CTableObj::HaveDescription() const {
  const std::lock_guard guard(Descriptions().lock);
  return HasFlags(kHasDescription);
}

void CTableObj::SetDescription(const char16_t* text) { SetDescriptionText(TextOf(text)); }

void CTableObj::SetDescriptionText(const CString& text) {
  // Most objects never have one.
  if (text.IsEmpty() && !HasFlags(kHasDescription)) return;
  {
    descriptions_t& descriptions = Descriptions();
    const std::lock_guard guard(descriptions.lock);
    if (text.IsEmpty()) {
      if (descriptions.texts.erase(this) == 0) return;
    } else {
      CString& stored = descriptions.texts[this];
      if (stored == text) return;
      stored = text;
    }
    SetFlags(kHasDescription, !text.IsEmpty());
  }
  SetModified(true);
}

// --- state ---------------------------------------------------------------------------------------------------------

void CTableObj::ReplaceFlags(unsigned mask, unsigned value) const noexcept {
  std::uint8_t flags = flags_.load(std::memory_order_relaxed);
  while ((flags & mask) != value &&
         !flags_.compare_exchange_weak(flags, static_cast<std::uint8_t>((flags & ~mask) | value),
                                       std::memory_order_relaxed)) {
  }
}

void CTableObj::SetModified(bool isModified) {
  if (!IsTrackingMods()) return;
  SetFlags(kModified, isModified);
  if (!isModified || IsSerializing()) return;
  const table_pin_t pin(*this);
  if (pin.GetTable() != nullptr) pin.GetTable()->SetModified(true);
}

void CTableObj::SetCustomBit(unsigned bit, bool value) {
  if (bit >= 8) return;
  const object_lock_t guard(*this, object_lock_t::unless_free_t());
  const auto mask = static_cast<std::uint8_t>(1U << bit);
  value ? customBits_ |= mask : customBits_ &= static_cast<std::uint8_t>(~mask);
}

bool CTableObj::GetCustomBit(unsigned bit) const {
  if (bit >= 8) return false;
  const object_lock_t guard(*this, object_lock_t::unless_free_t());
  return (customBits_ >> bit & 1U) != 0;
}

// --- equality ------------------------------------------------------------------------------------------------------

bool operator==(const CTableObj& a, const CTableObj& b) {
  using zorutil::properties::IProperty;
  const auto sorted = [](const CTableObj& object) {
    CTableObj::property_list_t list;
    object.GetProperties(list);
    std::vector<std::shared_ptr<IProperty>> properties(list.begin(), list.end());
    std::stable_sort(properties.begin(), properties.end(), [](const auto& one, const auto& other) {
      if (one == nullptr || other == nullptr) return one.get() == nullptr && other.get() != nullptr;
      return one->GetId() < other->GetId();
    });
    return properties;
  };
  return sorted(a) == sorted(b);
}
