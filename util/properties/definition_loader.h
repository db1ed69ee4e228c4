// The definitions of the running program: where their files lie, the index of their namespaces, and finding them.
//
//   CreateIndexFile();                                          // once, when definition files were added
//   std::shared_ptr<IPropertyDefinition> speed = GetDefinition(u"Motors", u"speed");
//   CString title = speed->GetMetaData().text;
//
// Definition files (definition_file.h), one a namespace, lie in the folder "Properties" of the application directory
// (platform/zorplatform/app_dir.h), beside the index "namespace.idx" that tells which file holds which namespace, so
// that opening one namespace reads one file. When they are read, what may fail and how names are matched is said in
// definition_store.h. All functions may run on any number of threads.
#pragma once

#include <memory>
#include <utility>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/properties/functor.h"
#include "util/properties/property_definition.h"

namespace zorutil::properties {

class CDefinitionStore;

/// The index's name in the definitions directory.
inline constexpr char16_t kIndexFileName[] = u"namespace.idx";

/// The path text of the definitions directory, which ends in "\". It is settled by the first call of any function here,
/// and stays as long as the process; the first call of this one makes the directory if it can.
ZORUTIL_API const char16_t* GetPropertiesDir();

/// Writes the index of the definition files that are there, in the order of their names: whole, or not at all. Left out
/// are files that ReadDefinitionFile skips or IsIndexable (definition_writer.h) refuses, and those whose namespace name
/// has a line break. CException -1 when the index cannot be written or a count in the header of a definition file is
/// corrupt, -3 when such a file ends within its header. The program goes on with an index that it has read.
ZORUTIL_API void CreateIndexFile();
/// The same for another directory, whose path text ends in "\".
ZORUTIL_API void CreateIndexFile(const CString& directory);
/// Nothing happens when there is none; CException -1 when it cannot be removed.
ZORUTIL_API void RemoveIndexFile();
ZORUTIL_API void RemoveIndexFile(const CString& directory);

/// The store of the definitions directory; lives as long as the process. The functions below are its.
ZORUTIL_API CDefinitionStore& GetDefinitionStore();

/// What the functions of that name of CDefinitionStore give, for the definitions directory.
/// @{
ZORUTIL_API std::shared_ptr<IPropertyDefinition> GetDefinition(int id);
ZORUTIL_API std::shared_ptr<IPropertyDefinition> GetDefinition(const CString& namespaceName, const CString& name);
ZORUTIL_API const char16_t* GetNamespaceName(int propertyId);
ZORUTIL_API void IterateNamespaces(functor_t<const std::pair<int, metadata_t>&>& functor);
ZORUTIL_API bool IterateDefinitions(const CString& namespaceName,
                                    functor_t<std::shared_ptr<IPropertyDefinition>>& functor);
ZORUTIL_API metadata_t GetMetaData(int namespaceNumber, int number, unsigned short languageId);
/// @}

}  // namespace zorutil::properties
