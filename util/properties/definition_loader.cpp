#include "util/properties/definition_loader.h"

#include <string>

#include "platform/framework/file.h"
#include "platform/framework/replace_file.h"
#include "platform/zorplatform/app_dir.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/file_search.h"
#include "util/properties/definition_file.h"
#include "util/properties/definition_store.h"
#include "util/properties/definition_writer.h"
#include "util/properties/namespace_index_internal.h"

namespace zorutil::properties {

using zorplatform::CException;
using zorplatform::CFileSearch;

namespace {

// The index lines of all files of a directory.
class CIndexLines : public CFileSearch::ICallback, public IDefinitionFileClient {
 public:
  bool OnFile(const zorplatform::found_file_t& file) override {
    if (IsIndexable(GetDefinitionFileName(file.name))) ReadDefinitionFile(file.path, *this);
    return true;
  }
  bool OnNamespace(int number, const CString& fileName, const CString& namespaceName) override {
    if (namespaceName.FindOneOf(u"\r\n") < 0) text_ += MakeIndexLine(number, fileName, namespaceName);
    return false;
  }
  bool OnDefinition(std::shared_ptr<IPropertyDefinition>) override { return false; }

  const std::string& GetText() const noexcept { return text_; }

 private:
  std::string text_;
};

[[noreturn]] void ThrowIndexFailure(const char* what, const CFileException& failure) {
  CException::Throw(CException::kEndOfStream, std::string(what) + failure.what());
}

}  // namespace

const char16_t* GetPropertiesDir() {
  static const CString& directory = [&]() -> const CString& {
    const CString& text = GetDefinitionStore().GetDirectory();
    zorplatform::CreatePath(text);
    return text;
  }();
  return directory;
}

void CreateIndexFile() {
  CreateIndexFile(GetPropertiesDir());
  GetDefinitionStore().OnIndexCreated();
}

void CreateIndexFile(const CString& directory) {
  try {
    zorplatform::CReplaceFile index(directory + kIndexFileName);
    CIndexLines lines;
    CFileSearch::FindFile(directory + u"*.prop", lines);
    index.GetFile().Write(lines.GetText().data(), static_cast<unsigned>(lines.GetText().size()));
    index.Commit();
  } catch (const CFileException& failure) {
    ThrowIndexFailure("the namespace index cannot be created: ", failure);
  }
}

void RemoveIndexFile() { RemoveIndexFile(GetPropertiesDir()); }

void RemoveIndexFile(const CString& directory) {
  try {
    zorplatform::RemoveFile(directory + kIndexFileName);
  } catch (const CFileException& failure) {
    ThrowIndexFailure("the namespace index cannot be removed: ", failure);
  }
}

CDefinitionStore& GetDefinitionStore() {
  static CDefinitionStore store(zorplatform::GetAppDir() + u"Properties\\");
  return store;
}

std::shared_ptr<IPropertyDefinition> GetDefinition(int id) { return GetDefinitionStore().GetDefinition(id); }

std::shared_ptr<IPropertyDefinition> GetDefinition(const CString& namespaceName, const CString& name) {
  return GetDefinitionStore().GetDefinition(namespaceName, name);
}

const char16_t* GetNamespaceName(int propertyId) { return GetDefinitionStore().GetNamespaceName(propertyId); }

void IterateNamespaces(functor_t<const std::pair<int, metadata_t>&>& functor) {
  GetDefinitionStore().IterateNamespaces(functor);
}

bool IterateDefinitions(const CString& namespaceName, functor_t<std::shared_ptr<IPropertyDefinition>>& functor) {
  return GetDefinitionStore().IterateDefinitions(namespaceName, functor);
}

metadata_t GetMetaData(int namespaceNumber, int number, unsigned short languageId) {
  return GetDefinitionStore().GetMetaData(namespaceNumber, number, languageId);
}

}  // namespace zorutil::properties
