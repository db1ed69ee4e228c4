// The definitions of one directory: its index, and of its definition files those that were asked for.
//
//   CDefinitionStore store(u"\\srv\\build\\Properties\\");
//   if (auto speed = store.GetDefinition(u"Motors", u"speed")) Show(speed->GetMinValue());
//
// The program's own definitions are those of definition_loader.h; a store of its own is for tools that look at another
// directory. The index is read when something is first asked, a definition file when something of its namespace is, and
// then never again. All functions may run on any number of threads; a definition that is loaded is found without a
// lock. No lock is held while a file is read: two threads that ask for a namespace first may both read it, and get the
// same definitions.
//
// A directory without index has no definitions, until CreateIndexFile of the loader makes one. What a definition file
// throws (definition_file.h) passes through, at each call, and so does the CFileException of one that is there and
// cannot be opened; one that is missing, or of another namespace than the index says, counts as empty. Names are looked
// up letter case aside, and of two definitions of one id, or of one name, the first counts. A definition whose id
// belongs to another namespace is found by its name only.
#pragma once

#include <memory>
#include <utility>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/properties/functor.h"
#include "util/properties/property_definition.h"

namespace zorutil::properties {

class ZORUTIL_API CDefinitionStore {
 public:
  /// The path text of a directory, which ends in "\".
  explicit CDefinitionStore(const CString& directory);
  CDefinitionStore(const CDefinitionStore&) = delete;
  CDefinitionStore& operator=(const CDefinitionStore&) = delete;
  ~CDefinitionStore();

  /// As the constructor was given it.
  const CString& GetDirectory() const noexcept;

  /// Null when there is none.
  std::shared_ptr<IPropertyDefinition> GetDefinition(int id);
  /// By the name of the namespace, or else of its file, and the name within it.
  std::shared_ptr<IPropertyDefinition> GetDefinition(const CString& namespaceName, const CString& name);
  /// The same as GetDefinition without taking part in its ownership; lives as long as the store.
  const IPropertyDefinition* FindDefinition(int id);

  /// The name of the namespace that a property belongs to; never null, empty when the index does not have it. Lives as
  /// long as the store. CException -1 when the index cannot be read.
  const char16_t* GetNamespaceName(int propertyId);
  /// Each entry of the index with its number, rising. CException -1 when the index cannot be read.
  void IterateNamespaces(functor_t<const std::pair<int, metadata_t>&>& functor);
  /// Each definition of a namespace, in the order of its file. False when the index does not have the namespace, and
  /// there is no definition file of that name either.
  bool IterateDefinitions(const CString& namespaceName, functor_t<std::shared_ptr<IPropertyDefinition>>& functor);
  /// A text of a namespace: that of the language module (i18n/language_module.h) that goes by the name of the
  /// definition file, which the plug-in of the namespace registers. 0 is the product language.
  metadata_t GetMetaData(int namespaceNumber, int number, unsigned short languageId);

  /// Looks for an index again if there was none.
  void OnIndexCreated() noexcept;

 private:
  struct state_t;
  std::unique_ptr<state_t> state_;
};

}  // namespace zorutil::properties
