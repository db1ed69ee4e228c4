// The factories of object types.

#include <map>
#include <mutex>
#include <string>

#include "platform/framework/file.h"
#include "platform/framework/sync.h"
#include "platform/zorplatform/exception.h"
#include "util/objects/record_head_internal.h"
#include "util/objects/table_obj.h"
#include "util/objects/type_registry.h"

using zorplatform::CException;

namespace {

using factory_t = CTableObj* (*)();

struct factories_t {
  CCriticalSection lock;
  std::map<std::int32_t, factory_t> byType;
  // Trees are loaded record by record, mostly of one type in a row. Null when nothing was looked up.
  const std::pair<const std::int32_t, factory_t>* last = nullptr;
};

// It stays to the end of the process, for plug-ins take their factories back when they are unloaded then.
factories_t& Factories() {
  static factories_t& factories = *new factories_t;
  return factories;
}

[[noreturn]] void Fail(std::int32_t fullType, const char* what) {
  CException::Throw(CException::kEndOfStream,
                    "object type " + std::to_string(CTableObj::TypeFromFullType(fullType)) + ", subtype " +
                        std::to_string(CTableObj::SubTypeFromFullType(fullType)) + ": " + what);
}

short ShortProperty(int id, short otherwise, const CTableObj::property_list_t& list) {
  const auto property = zorutil::properties::FindProperty(id, list);
  if (property == nullptr) return otherwise;
  CVariant value = property->GetValue();
  if (!value.ConvertType(VT_I2, CVariant::CONVERT_OR_CLEAR)) {
    CException::Throw(CException::kEndOfStream, "creating an object: property " + std::to_string(id) +
                                                    " is no type number: " + property->GetValue().ToString().ToUtf8());
  }
  return value.iVal;
}

}  // namespace

void CTableObj::Register(short type, short subtype, CTableObj* (*factory)()) {
  factories_t& factories = Factories();
  const std::lock_guard guard(factories.lock);
  const std::int32_t fullType = MakeFullType(type, subtype);
  if (!factories.byType.try_emplace(fullType, factory).second) Fail(fullType, "has a factory already");
}

void CTableObj::Unregister(CTableObj* (*factory)()) {
  factories_t& factories = Factories();
  const std::lock_guard guard(factories.lock);
  factories.last = nullptr;
  for (auto at = factories.byType.begin(); at != factories.byType.end(); ++at) {
    if (at->second != factory) continue;
    factories.byType.erase(at);
    return;
  }
}

CTableObj* CTableObj::CreateObject(int fullType) {
  factories_t& factories = Factories();
  const std::lock_guard guard(factories.lock);
  if (factories.last == nullptr || factories.last->first != fullType) {
    const auto found = factories.byType.find(fullType);
    if (found == factories.byType.end()) Fail(fullType, "has no factory");
    factories.last = &*found;
  }
  return factories.last->second();
}

CTableObj* CTableObj::CreateObject(const char16_t* typeName) {
  const CString name = typeName;
  std::int32_t fullType = 0;
  if (!zorutil::CTypeRegistry::FindType(name, fullType)) {
    CException::Throw(CException::kEndOfStream, "the object type \"" + name.ToUtf8() + "\" is not registered");
  }
  return CreateObject(fullType);
}

CTableObj* CTableObj::CreateObject(const property_list_t& list) {
  const short type = ShortProperty(zorutil::kObjectType, -1, list);
  const short subtype = ShortProperty(zorutil::kObjectSubtype, 0, list);
  zorutil::owned_obj_ptr object(CreateObject(type, subtype));
  if (object != nullptr) object->PostCreate(list);
  return object.release();
}

CTableObj* CTableObj::CreateObject(CFile* file) {
  if (file == nullptr || !file->IsOpen()) return nullptr;
  const auto [format, fullType] = zorutil::ReadRecordType(*file);
  CTableObj* const object = CreateObject(fullType);
  if (object == nullptr) return nullptr;
  object->versionWord_ = static_cast<std::uint16_t>((object->versionWord_ & 0x80FF) | format << 8);
  object->SetFlags(kHeadRead, true);
  return object;
}
