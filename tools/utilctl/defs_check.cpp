// utilctl defs check: whether the files of a folder, and its index, hold what a program expects.
#include <algorithm>
#include <exception>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/zorplatform/file_search.h"
#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/definition_checks.h"
#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/files.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"

namespace utilctl {

using namespace zorutil::properties;

namespace {

class CFolderCheck {
 public:
  CFolderCheck(CCall& call, std::string folder)
      : call_(call), folder_(std::move(folder)), files_(ReadDefinitionFolder(folder_)) {
    for (const auto& file : files_) {
      for (const definition_ptr_t& each : file.definitions) byId_.emplace(each->GetId(), each);
    }
  }

  void Run() {
    CheckIndex();
    CheckNamespaces();
    const find_by_id_t find = [this](int id) {
      const auto found = byId_.find(id);
      return found == byId_.end() ? nullptr : found->second;
    };
    std::size_t count = 0;
    for (const auto& file : files_) {
      if (!file.failure.empty()) call_.report.Add({file.path, 0, 0, "", file.failure});
      count += file.definitions.size();
      for (definition_fault_t& fault : CheckDefinitions(file.definitions, file.number, find, call_.GetLanguage())) {
        const IPropertyDefinition& definition = *file.definitions[fault.index];
        call_.report.Add({file.path, 0, 0,
                          definition.GetName().ToUtf8() + " (" + std::to_string(definition.GetId()) + ") " +
                              CString(fault.member).ToUtf8(),
                          std::move(fault.cause)});
      }
    }
    if (files_.empty()) call_.report.Add({folder_, 0, 0, "", "there is no definition file"});
    const auto intOf = [](std::size_t number) { return CVariant::FromInt64(static_cast<std::int64_t>(number)); };
    AddMember(call_.report.result, u"files", intOf(files_.size()));
    AddMember(call_.report.result, u"properties", intOf(count));
    call_.report.text = std::to_string(files_.size()) + " files, " + std::to_string(count) + " properties, " +
                        std::to_string(call_.report.GetProblems().size()) + " problems\n";
  }

 private:
  void CheckNamespaces() {
    std::map<int, std::string> numbers;
    std::map<std::u16string, std::string> names;
    for (const auto& file : files_) {
      if (file.number == 0) continue;
      const auto [number, isNewNumber] = numbers.emplace(file.number, file.path);
      if (!isNewNumber) {
        call_.report.Add(
            {file.path, 0, 0, "",
             "namespace number " + std::to_string(file.number) + " is that of " + number->second + " too"});
      }
      const auto [name, isNewName] = names.emplace(FoldedName(file.namespaceName), file.path);
      if (!isNewName) {
        call_.report.Add(
            {file.path, 0, 0, "",
             "namespace name \"" + file.namespaceName.ToUtf8() + "\" is that of " + name->second + " too"});
      }
    }
  }

  void CheckIndex() {
    const std::string index = JoinPath(folder_, CString(kIndexFileName).ToUtf8());
    const auto report = [&](std::string cause) { call_.report.Add({index, 0, 0, "", std::move(cause)}); };
    if (!zorplatform::FileExists(FileText(index))) return report("there is no index; defs compile makes it");
    std::map<int, metadata_t> entries;
    auto collect = MakeFunctor<const std::pair<int, metadata_t>&>([&](const std::pair<int, metadata_t>& entry) {
      entries.insert(entry);
      return false;
    });
    try {
      CDefinitionStore(FolderText(folder_)).IterateNamespaces(collect);
    } catch (const std::exception& error) {
      return report(error.what());
    }
    for (const auto& file : files_) {
      if (!file.failure.empty()) continue;
      const auto entry = entries.find(file.number);
      if (entry == entries.end()) {
        report("namespace " + std::to_string(file.number) + " of " + file.path + " is missing");
      } else if (entry->second.fileName.CompareNoCase(CString(file.stem)) == 0 &&
                 entry->second.namespaceName.CompareNoCase(file.namespaceName) != 0) {
        report("namespace " + std::to_string(file.number) + " is called \"" + entry->second.namespaceName.ToUtf8() +
               "\", but \"" + file.namespaceName.ToUtf8() + "\" in " + file.path);
      }
    }
    for (const auto& [number, entry] : entries) {
      const bool isThere =
          std::any_of(files_.begin(), files_.end(), [wanted = number, &named = entry.fileName](const auto& file) {
            return file.number == wanted && named == file.stem;
          });
      if (!isThere) {
        report("namespace " + std::to_string(number) + " is to be in \"" + entry.fileName.ToUtf8() +
               ".prop\", which does not hold it");
      }
    }
  }

  CCall& call_;
  const std::string folder_;
  const std::vector<definition_file_content_t> files_;
  std::map<int, definition_ptr_t> byId_;
};

}  // namespace

exit_t CheckDefinitionFolder(CCall& call) {
  const std::string folder = call.Get("DIR", GetDefaultFolder());
  RequireFolder(folder);
  CFolderCheck(call, folder).Run();
  return call.GetExit();
}

}  // namespace utilctl
