// The names of the object types: which full type is called what, in documents and to people.
//
//   zorutil::CTypeRegistry::Register(CTableObj::MakeFullType(kPump, 0), u"Pump");
//   pump.GetObjectName();                                            // "Pump"
//   CTableObj::CreateObject(u"pump");                                // names are compared without case
//
// One registry per process, empty at first. Any thread may call any of these at any time. What a plug-in registers it
// takes back before it is unloaded.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorutil {

struct type_description_t;

class ZORUTIL_API CTypeRegistry {
 public:
  /// A type that is registered.
  struct type_t {
    std::int32_t fullType;  ///< as CTableObj::MakeFullType makes it
    CString name;           ///< as it was registered
    /// What the type stores; null when it was registered without. The registrant's, and valid until Unregister.
    const type_description_t* description;
  };

  CTypeRegistry() = delete;

  /// CException -1, and nothing changes, when the full type or the name is taken, and for an empty name. A name that
  /// serves as an element of documents is a name there.
  static void Register(std::int32_t fullType, std::u16string_view name,
                       const type_description_t* description = nullptr);
  /// False if there was none.
  static bool Unregister(std::int32_t fullType);

  /// Empty for a type that is not registered.
  static CString GetName(std::int32_t fullType);
  /// False, and `fullType` as it was, for a name that is not registered.
  static bool FindType(std::u16string_view name, std::int32_t& fullType);
  /// Null for a type that is not registered, and for one without description.
  static const type_description_t* GetDescription(std::int32_t fullType);
  /// All of them, in the order of their numbers.
  static std::vector<type_t> GetTypes();
};

}  // namespace zorutil
