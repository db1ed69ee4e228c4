#include "util/i18n/localized_resource.h"

#include <utility>

#include "util/serialization/primitives_internal.h"
#include "util/serialization/string_serialization.h"

namespace i18n {

CLocalizedResource::CLocalizedResource(unsigned id) : module_(CLanguageModule::GetOwn()), id_(id) {}

CLocalizedResource::CLocalizedResource(std::shared_ptr<const CLanguageModule> module, unsigned id) noexcept
    : module_(std::move(module)), id_(id) {}

CString CLocalizedResource::GetText(unsigned short languageId) const {
  if (module_ != nullptr) return module_->GetText(id_, languageId);
  if (name_.IsEmpty()) return {};
  // The module may have been registered since the resource was read.
  const auto module = CLanguageModule::Find(name_);
  return module == nullptr ? CString() : module->GetText(id_, languageId);
}

void CLocalizedResource::Serialize(zorutil::ISerializer& out) const {
  zorutil::Serialize(GetModuleName(), out);
  zorutil::primitives::WriteLittle<std::uint32_t>(out, id_);
}

void CLocalizedResource::Deserialize(zorutil::ISerializer& in) {
  CLocalizedResource read;
  zorutil::Deserialize(read.name_, in);
  read.id_ = zorutil::primitives::ReadLittle<std::uint32_t>(in);
  read.module_ = CLanguageModule::Find(read.name_);
  if (read.module_ != nullptr) read.name_.Empty();
  *this = std::move(read);
}

}  // namespace i18n
