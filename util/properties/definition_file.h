// A definition file: the properties of one namespace. The one reader that the index, the loader and tools share.
//
//   class CNames : public IDefinitionFileClient {
//     bool OnNamespace(int, const CString&, const CString& name) override { return name == u"motors"; }
//     bool OnDefinition(std::shared_ptr<IPropertyDefinition> each) override { return Show(each->GetName()); }
//   };
//   CNames names;
//   ReadDefinitionFile(GetPropertiesDir() + CString(u"motors.prop"), names);
//
// The file, little-endian: the magic number (4 bytes), a flag, two bytes that nothing here looks at, a third one if the
// flag is not zero, the namespace number (2 bytes), the length of the namespace name in bytes (4) and the name, which
// ends at the first zero, the number of definitions (4), the definitions (property_definition.h). definition_writer.h
// writes it. No state; any number of threads.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/properties/property_definition.h"
#include "util/serialization/serializer.h"

namespace zorutil::properties {

/// The first four bytes of every definition file.
inline constexpr std::uint32_t kDefinitionFileMagic = 0x99557723;
/// Bytes of a namespace name, and definitions of one file: as many as a namespace has ids. More is a corrupt file.
/// @{
inline constexpr std::uint32_t kMaxNamespaceNameBytes = 4'096;
inline constexpr std::uint32_t kMaxDefinitions = 1U << 21;
/// @}

/// Hears what a definition file holds; called on the thread that reads it.
class ZORUTIL_API IDefinitionFileClient {
 public:
  virtual ~IDefinitionFileClient();
  /// Called first. The namespace has the file's name when the file gives it none. True to have the definitions.
  virtual bool OnNamespace(int number, const CString& fileName, const CString& namespaceName) = 0;
  /// Called for each definition, in the order of the file. False: that was enough.
  virtual bool OnDefinition(std::shared_ptr<IPropertyDefinition> definition) = 0;
};

/// False, and no call, for a file that cannot be opened, has another magic number, or whose namespace number lies
/// outside 1 to kMaxNamespace. CException -3 when the file ends too early, -1 when a count or record in it is corrupt,
/// either beginning with the path; the client may have had some definitions by then. Errors of reading are
/// CFileException.
ZORUTIL_API bool ReadDefinitionFile(const CString& path, IDefinitionFileClient& client);
/// The same from a serializer; `fileName` is what the client is told, and what messages begin with.
ZORUTIL_API bool ReadDefinitionStream(ISerializer& in, const CString& fileName, IDefinitionFileClient& client);

/// What stands between the last "\" and the last full stop behind it: "\etc\motors.prop" gives "motors".
ZORUTIL_API CString GetDefinitionFileName(const CString& path);

}  // namespace zorutil::properties
