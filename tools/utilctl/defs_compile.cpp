// utilctl defs compile: sources into definition files, language files and the index.
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "platform/framework/file_lock.h"
#include "platform/zorplatform/file_search.h"
#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/definition_checks.h"
#include "tools/utilctl/definition_folder.h"
#include "tools/utilctl/definition_source.h"
#include "tools/utilctl/files.h"
#include "tools/utilctl/language_files.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/definition_writer.h"

namespace utilctl {

using namespace zorutil::properties;

namespace {

class CCompiler {
 public:
  CCompiler(CCall& call, std::string folder) : call_(call), folder_(std::move(folder)), store_(FolderText(folder_)) {
    for (const std::string& path : call.GetAll("SOURCE")) {
      sources_.push_back(std::make_unique<CDefinitionSource>(path));
    }
  }

  // False when there is anything to report.
  bool Check() {
    FindDoubles();
    for (const auto& source : sources_) {
      for (const std::string& tag : FindLanguageFiles(folder_, source->GetStem(), false)) {
        if (!source->GetTexts().contains(tag)) continue;
        source->Remark({}, "the language file \"" + GetLanguageFile(*source, tag) +
                               "\" was not made by this command, and is not replaced");
      }
      source->ResolveConditions([this](const CString& name) { return FindQualified(name); });
      for (const auto& property : source->GetProperties())
        byId_.emplace(property.definition->GetId(), property.definition);
    }
    const find_by_id_t find = [this](int id) { return FindById(id); };
    for (const auto& source : sources_) {
      const definition_file_t& content = source->GetContent();
      for (definition_fault_t& fault :
           CheckDefinitions(content.definitions, content.namespaceNumber, find, call_.GetLanguage())) {
        source->Remark(source->GetProperties()[fault.index].PathOf(fault.member), std::move(fault.cause));
      }
    }
    return Report();
  }

  // False when another compiler has put something into the folder since the check that stands in the way.
  bool Write() {
    MakeFolder(folder_);
    const zorplatform::CFileLock lock(FolderText(folder_) + kIndexFileName);
    FindDoubles();
    if (!Report()) return false;
    for (const auto& source : sources_) {
      WriteDefinitionFile(FileText(GetDefinitionFile(*source)), source->GetContent());
      for (const auto& [tag, texts] : source->GetTexts()) {
        ReplaceWholeFile(GetLanguageFile(*source, tag), LanguageFileText(tag, texts));
      }
      // Those of languages that the source no longer has would speak of other numbers.
      for (const std::string& tag : FindLanguageFiles(folder_, source->GetStem(), true)) {
        if (!source->GetTexts().contains(tag)) zorplatform::RemoveFile(FileText(GetLanguageFile(*source, tag)));
      }
    }
    CreateIndexFile(FolderText(folder_));
    // Told only now: without the index nobody finds the files.
    zorutil::json::array_t files;
    for (const auto& source : sources_) Tell(*source, GetDefinitionFile(*source), files);
    AddMember(call_.report.result, u"files", std::move(files));
    return true;
  }

 private:
  // False when there is anything to report.
  bool Report() {
    for (const auto& source : sources_) call_.report.Add(source->GetProblems());
    return call_.report.GetProblems().empty();
  }

  // Two sources, or a source and a file that stays, of one namespace or one name.
  void FindDoubles() {
    std::map<int, std::string> numbers;
    std::map<std::u16string, std::string> names;
    std::map<std::string, std::string> stems;
    for (const auto& source : sources_) {
      const auto [at, isNew] = stems.emplace(source->GetStem(), source->GetPath());
      if (!isNew) source->Remark({}, "makes the same file as " + at->second);
    }
    if (std::error_code error; std::filesystem::is_directory(folder_, error)) {
      for (const auto& file : ReadDefinitionFolder(folder_, false)) {
        if (stems.contains(file.stem)) {
          replaced_.insert(file.number);
          continue;
        }
        // The index could not be made beside it.
        if (!file.failure.empty()) call_.report.Add({file.path, 0, 0, "", file.failure});
        if (file.number == 0) continue;
        numbers.emplace(file.number, file.path);
        names.emplace(FoldedName(file.namespaceName), file.path);
      }
    }
    for (const auto& source : sources_) {
      const definition_file_t& content = source->GetContent();
      replaced_.insert(content.namespaceNumber);
      if (content.namespaceNumber == 0 || content.namespaceName.IsEmpty()) continue;
      const auto [number, isNewNumber] = numbers.emplace(content.namespaceNumber, source->GetPath());
      if (!isNewNumber) source->RemarkMember(u"number", "the number is taken by " + number->second);
      const auto [name, isNewName] = names.emplace(FoldedName(content.namespaceName), source->GetPath());
      if (!isNewName) source->RemarkMember(u"namespace", "the name is taken by " + name->second);
    }
  }

  bool IsReplaced(int namespaceNumber) const { return replaced_.contains(namespaceNumber); }

  std::string GetDefinitionFile(const CDefinitionSource& source) const {
    return JoinPath(folder_, source.GetStem() + ".prop");
  }

  std::string GetLanguageFile(const CDefinitionSource& source, const std::string& tag) const {
    return JoinPath(folder_, source.GetStem() + "." + tag + ".lang");
  }

  definition_ptr_t FindById(int id) {
    const auto found = byId_.find(id);
    if (found != byId_.end()) return found->second;
    return IsReplaced(GetNamespaceNumber(id)) ? nullptr : store_.GetDefinition(id);
  }

  // "namespace.property", where either may hold full stops of its own.
  definition_ptr_t FindQualified(const CString& name) {
    for (int stop = name.Find(u'.'); stop >= 0; stop = name.Find(u'.', stop + 1)) {
      const CString space = name.Left(stop);
      const CString property = name.Mid(stop + 1);
      for (const auto& source : sources_) {
        if (source->GetContent().namespaceName.CompareNoCase(space) != 0) continue;
        if (auto found = source->Find(property)) return found;
      }
      auto found = store_.GetDefinition(space, property);
      if (found != nullptr && !IsReplaced(GetNamespaceNumber(found->GetId()))) return found;
    }
    return nullptr;
  }

  void Tell(const CDefinitionSource& source, const std::string& path, zorutil::json::array_t& files) {
    const definition_file_t& content = source.GetContent();
    const std::size_t count = content.definitions.size();
    call_.report.text += path + ": namespace " + std::to_string(content.namespaceNumber) + " " +
                         content.namespaceName.ToUtf8() + ", " + std::to_string(count) +
                         (count == 1 ? " property" : " properties");
    zorutil::json::array_t languages;
    for (const auto& [tag, texts] : source.GetTexts()) {
      call_.report.text += ", " + tag;
      languages.elements.push_back(std::make_shared<zorutil::json::scalar_t>(CVariant(tag)));
    }
    call_.report.text += '\n';
    zorutil::json::object_t file;
    AddMember(file, u"source", CVariant(source.GetPath()));
    AddMember(file, u"file", CVariant(path));
    AddMember(file, u"namespace", CVariant(content.namespaceName));
    AddMember(file, u"number", CVariant::FromInt32(content.namespaceNumber));
    AddMember(file, u"properties", CVariant::FromInt32(static_cast<int>(count)));
    AddMember(file, u"languages", std::move(languages));
    files.AddObject(std::move(file));
  }

  CCall& call_;
  const std::string folder_;
  CDefinitionStore store_;
  std::vector<std::unique_ptr<CDefinitionSource>> sources_;
  std::map<int, definition_ptr_t> byId_;
  std::set<int> replaced_;  // the namespaces of which the files of the folder no longer speak
};

}  // namespace

exit_t CompileDefinitions(CCall& call) {
  CCompiler compiler(call, call.Get("--out"));
  return compiler.Check() && compiler.Write() ? EXIT_FINE : EXIT_FINDINGS;
}

}  // namespace utilctl
