#include "tools/utilctl/definition_folder.h"

#include <exception>
#include <filesystem>

#include "platform/framework/file.h"
#include "platform/zorplatform/app_dir.h"
#include "platform/zorplatform/file_search.h"
#include "tools/utilctl/files.h"
#include "util/properties/definition_file.h"
#include "util/properties/definition_loader.h"

namespace utilctl {

using namespace zorutil::properties;

namespace {

class CContentReader final : public IDefinitionFileClient {
 public:
  CContentReader(definition_file_content_t& content, bool withDefinitions)
      : content_(content), withDefinitions_(withDefinitions) {}
  bool OnNamespace(int number, const CString&, const CString& name) override {
    content_.number = number;
    content_.namespaceName = name;
    return withDefinitions_;
  }
  bool OnDefinition(definition_ptr_t definition) override {
    content_.definitions.push_back(std::move(definition));
    return true;
  }

 private:
  definition_file_content_t& content_;
  const bool withDefinitions_;
};

class CNames final : public zorplatform::CFileSearch::ICallback {
 public:
  std::vector<std::string> names;
  bool OnFile(const zorplatform::found_file_t& file) override {
    names.push_back(file.name.ToUtf8());
    return true;
  }
};

}  // namespace

definition_file_content_t ReadDefinitions(const std::string& path, bool withDefinitions) {
  definition_file_content_t content;
  content.path = path;
  content.stem = StemOf(path);
  CContentReader reader(content, withDefinitions);
  // Opened once on its own, because the reader does not say why it could not.
  CFile(FileText(path), CFile::modeRead).Close();
  try {
    if (!ReadDefinitionFile(FileText(path), reader)) content.failure = "this is no definition file";
  } catch (const CFileException&) {
    throw;
  } catch (const std::exception& error) {
    content.failure = error.what();
    const std::string place = FileText(path).ToUtf8() + ": ";  // the report names the file itself
    if (content.failure.starts_with(place)) content.failure.erase(0, place.size());
  }
  return content;
}

std::vector<std::string> FindFiles(const std::string& folder, const std::string& mask) {
  CNames names;
  zorplatform::CFileSearch::FindFile(FolderText(folder) + mask, names);
  return std::move(names.names);
}

std::vector<definition_file_content_t> ReadDefinitionFolder(const std::string& folder, bool withDefinitions) {
  std::vector<definition_file_content_t> files;
  for (const std::string& name : FindFiles(folder, "*.prop")) {
    files.push_back(ReadDefinitions(JoinPath(folder, name), withDefinitions));
  }
  return files;
}

std::string GetDefaultFolder() { return NativePath(zorplatform::GetAppDir() + u"Properties"); }

void RequireFolder(const std::string& folder) {
  std::error_code error;
  if (std::filesystem::is_directory(folder, error)) return;
  throw CFileException(FileText(folder), "there is no such folder", 0);
}

void RequireDefinitions(const std::string& folder) {
  RequireFolder(folder);
  if (zorplatform::CheckFileExists(FolderText(folder) + zorutil::properties::kIndexFileName)) return;
  throw CFileException(FileText(folder), "there are no definitions: the folder has no index; defs compile makes it", 0);
}

}  // namespace utilctl
