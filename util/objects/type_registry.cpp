#include "util/objects/type_registry.h"

#include <map>
#include <mutex>
#include <string>

#include "platform/framework/sync.h"
#include "platform/text/collation.h"
#include "platform/zorplatform/exception.h"
#include "util/objects/table_obj.h"

namespace zorutil {
namespace {

struct name_less_t {
  using is_transparent = void;
  bool operator()(std::u16string_view a, std::u16string_view b) const { return collation::CompareNoCase(a, b) < 0; }
};

struct registry_t {
  CCriticalSection lock;
  std::map<std::int32_t, CTypeRegistry::type_t> types;
  std::map<CString, std::int32_t, name_less_t> numbers;
};

// It stays to the end of the process, for plug-ins take their types back when they are unloaded then.
registry_t& Registry() {
  static registry_t& registry = *new registry_t;
  return registry;
}

[[noreturn]] void Refuse(std::int32_t fullType, const CString& name, const char* why) {
  zorplatform::CException::Throw(zorplatform::CException::kEndOfStream,
                                 "registering object type " + std::to_string(CTableObj::TypeFromFullType(fullType)) +
                                     ", subtype " + std::to_string(CTableObj::SubTypeFromFullType(fullType)) + " \"" +
                                     name.ToUtf8() + "\": " + why);
}

}  // namespace

void CTypeRegistry::Register(std::int32_t fullType, std::u16string_view name, const type_description_t* description) {
  const CString text(name);
  if (text.IsEmpty()) Refuse(fullType, text, "a type needs a name");
  registry_t& registry = Registry();
  const std::lock_guard guard(registry.lock);
  if (registry.types.contains(fullType)) Refuse(fullType, text, "the number is taken");
  const auto [number, isNew] = registry.numbers.try_emplace(text, fullType);
  if (!isNew) Refuse(fullType, text, "the name is taken");
  try {
    registry.types.emplace(fullType, type_t{fullType, text, description});
  } catch (...) {
    registry.numbers.erase(number);
    throw;
  }
}

bool CTypeRegistry::Unregister(std::int32_t fullType) {
  registry_t& registry = Registry();
  const std::lock_guard guard(registry.lock);
  const auto found = registry.types.find(fullType);
  if (found == registry.types.end()) return false;
  registry.numbers.erase(found->second.name);
  registry.types.erase(found);
  return true;
}

CString CTypeRegistry::GetName(std::int32_t fullType) {
  registry_t& registry = Registry();
  const std::lock_guard guard(registry.lock);
  const auto found = registry.types.find(fullType);
  return found == registry.types.end() ? CString() : found->second.name;
}

bool CTypeRegistry::FindType(std::u16string_view name, std::int32_t& fullType) {
  registry_t& registry = Registry();
  const std::lock_guard guard(registry.lock);
  const auto found = registry.numbers.find(name);
  if (found == registry.numbers.end()) return false;
  fullType = found->second;
  return true;
}

const type_description_t* CTypeRegistry::GetDescription(std::int32_t fullType) {
  registry_t& registry = Registry();
  const std::lock_guard guard(registry.lock);
  const auto found = registry.types.find(fullType);
  return found == registry.types.end() ? nullptr : found->second.description;
}

std::vector<CTypeRegistry::type_t> CTypeRegistry::GetTypes() {
  registry_t& registry = Registry();
  const std::lock_guard guard(registry.lock);
  std::vector<type_t> types;
  types.reserve(registry.types.size());
  for (const auto& [number, type] : registry.types) types.push_back(type);
  return types;
}

}  // namespace zorutil
