#include "util/properties/property.h"

#include <utility>

#include "platform/zorssl/secure_memory.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/password.h"
#include "util/serialization/primitives_internal.h"
#include "util/values/variant_compare.h"

namespace zorutil::properties {

namespace {

bool IsExempt(int id) {
  const IPropertyDefinition* const definition = GetDefinitionStore().FindDefinition(id);
  return definition != nullptr && definition->IsExempt();
}

}  // namespace

IProperty::~IProperty() = default;

void IProperty::SetEncryptedString(const CString& plainText) {
  const CVariant encrypted(EncryptPassword(plainText));
  CVariant replaced = std::move(GetValue());
  try {
    SetValue(encrypted);
  } catch (...) {
    GetValue() = std::move(replaced);
    throw;
  }
  if (replaced.vt == VT_BSTR) zorssl::Wipe(replaced.bstrVal, replaced.GetSizeInBytes());
}

CString IProperty::GetDecryptedString() const {
  CString text = GetValue().ToString();
  DecryptPassword(text, text);
  return text;
}

std::shared_ptr<IProperty> CProperty::Create(int id, CVariant value) {
  return std::make_shared<CProperty>(key_t(), id, std::move(value));
}

CProperty::CProperty(key_t, int id, CVariant&& value) noexcept : id_(id), value_(std::move(value)) {}

CProperty::~CProperty() = default;

void CProperty::Serialize(ISerializer& out) const {
  primitives::WriteLittle(out, id_);
  zorutil::Serialize(value_, out);
}

void CProperty::Deserialize(ISerializer& in) {
  id_ = primitives::ReadLittle<int>(in);
  zorutil::Deserialize(value_, in);
}

bool operator==(const std::shared_ptr<IProperty>& a, const std::shared_ptr<IProperty>& b) {
  if (a.get() == b.get()) return true;
  if (a.get() == nullptr || b.get() == nullptr || a->GetId() != b->GetId()) return false;
  const CVariant& left = std::as_const(*a).GetValue();
  const CVariant& right = std::as_const(*b).GetValue();
  const bool areEqual =
      left.vt == right.vt ? left == right : CVariantCompare::Values(left, right, CVariantCompare::EQUAL);
  return areEqual || IsExempt(a->GetId());
}

std::shared_ptr<IProperty> MakePasswordProperty(int id, const CString& plainText) {
  return CProperty::Create(id, EncryptPassword(plainText));
}

}  // namespace zorutil::properties
