#include "util/i18n/language_module.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/invalid_arg.h"
#include "platform/framework/module_path.h"
#include "platform/text/ascii_internal.h"
#include "platform/zorplatform/file_search.h"
#include "util/i18n/english_texts_internal.h"
#include "util/i18n/language_file_internal.h"
#include "util/i18n/language_internal.h"
#include "util/i18n/message_template.h"

namespace i18n {

// The texts of one language with all that it falls back to, ready to be looked up.
struct CLanguageModule::table_t {
  std::vector<unsigned> ids;
  std::vector<CString> texts;
  std::vector<language_problem_t> problems;
};

struct CLanguageModule::state_t {
  language_file_t builtIn;
  std::vector<CString> folders;  // the module's own
  std::array<std::atomic<const table_t*>, kMaxLanguages> tables{};

  ~state_t() {
    for (auto& table : tables) delete table.load(std::memory_order_relaxed);
  }
};

namespace {

constexpr char16_t kOwnName[] = u"libutil";
constexpr char kFolderVariable[] = "ZORUTIL_LANG_DIR";
constexpr char16_t kExtension[] = u".lang";
constexpr char kEnglishTag[] = "en";

struct registry_t {
  std::mutex lock;
  std::map<CString, std::weak_ptr<const CLanguageModule>> modules;
};

// Lives as long as the process, so that messages may be rendered while statics are destroyed.
registry_t& GetRegistry() {
  static registry_t& registry = *new registry_t;
  return registry;
}

// The first file of that tag. Places that could not be looked at are problems of the file, or of one without texts.
std::optional<language_file_t> ReadFirst(const CString& module, std::string_view tag,
                                         const std::vector<CString>& folders) {
  std::optional<language_file_t> unseen;
  for (const CString& folder : folders) {
    const CString path = folder + u"\\" + module + u"." + CString(tag) + kExtension;
    try {
      if (!zorplatform::CheckFileExists(path)) continue;
    } catch (const CFileException& error) {
      if (!unseen) unseen.emplace().path = path;
      unseen->Report(0, error.what());
      continue;
    }
    language_file_t file = ReadLanguageFile(path);
    if (unseen) file.problems.insert(file.problems.begin(), unseen->problems.begin(), unseen->problems.end());
    if (!file.tag.IsEmpty() && file.tag != tag) file.Report(0, "the file's name and its Tag differ");
    return file;
  }
  return unseen;
}

std::vector<CString> GetFolders(const std::vector<CString>& own) {
  std::vector<CString> folders = zorplatform::GetEnvironmentFolders(kFolderVariable);
  folders.insert(folders.end(), own.begin(), own.end());
  return folders;
}

// From the region's tag to that of the language alone: sr-Latn-RS, sr-Latn, sr.
std::vector<std::string> FallBack(std::string tag) {
  std::vector<std::string> tags;
  for (;;) {
    tags.push_back(tag);
    const std::size_t dash = tag.rfind('-');
    if (dash == std::string::npos) return tags;
    tag.resize(dash);
  }
}

std::string Describe(const std::vector<template_argument_t>& arguments) {
  std::string text;
  for (const template_argument_t& argument : arguments) {
    if (!text.empty()) text += ", ";
    text += std::to_string(argument.position) + "$" + argument.kind;
  }
  return text.empty() ? "none" : text;
}

// Takes the texts out of a file that ask for other arguments than English, or that English does not know.
void DropUnusable(language_file_t& file, const language_file_t& english, bool mayAdd) {
  std::erase_if(file.texts, [&](const language_text_t& text) {
    const language_text_t* const reference = english.Find(text.id);
    if (reference == nullptr) {
      if (!mayAdd) file.Report(text.line, "English has no text of the number " + std::to_string(text.id));
      return !mayAdd;
    }
    const auto wanted = GetTemplateArguments(reference->text);
    const auto found = GetTemplateArguments(text.text);
    if (found == wanted) return false;
    file.Report(text.line,
                "the text asks for the arguments " + Describe(found) + ", the English one for " + Describe(wanted));
    return true;
  });
}

// Takes over the texts that the file does not have.
void FillUp(language_file_t& file, const language_file_t& from) {
  file.texts.insert(file.texts.end(), from.texts.begin(), from.texts.end());
  std::stable_sort(file.texts.begin(), file.texts.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
  const auto isSame = [](const auto& a, const auto& b) { return a.id == b.id; };
  file.texts.erase(std::unique(file.texts.begin(), file.texts.end(), isSame), file.texts.end());
}

}  // namespace

CLanguageModule::CLanguageModule(const CString& name, std::string_view english, const void* addressInside)
    : name_(name), state_(std::make_unique<state_t>()) {
  state_->builtIn = ParseLanguageFile(name + u"." + kEnglishTag + kExtension, english);
  const CString folder = addressInside == nullptr ? CString() : zorplatform::GetModuleFolder(addressInside);
  if (!folder.IsEmpty()) {
    state_->folders.push_back(folder);
    state_->folders.push_back(folder + u"\\" + ZORUTIL_LANG_RELATIVE);
  }
  state_->folders.push_back(ZORUTIL_LANG_FOLDER);
}

CLanguageModule::~CLanguageModule() = default;

bool CLanguageModule::IsName(std::u16string_view name) {
  constexpr std::size_t kLongest = 64;
  const auto isAllowed = [](char16_t unit) {
    return ascii::IsDigit(unit) || ascii::IsLetter(unit) || unit == u'-' || unit == u'_' || unit == u'.';
  };
  return !name.empty() && name.size() <= kLongest && name[0] != u'.' &&
         std::all_of(name.begin(), name.end(), isAllowed);
}

std::shared_ptr<const CLanguageModule> CLanguageModule::Register(const CString& name, std::string_view english,
                                                                 const void* addressInside) {
  if (!IsName(name)) throw CInvalidArgException("not a name of a language module: " + name.ToUtf8());
  if (name == kOwnName) throw CInvalidArgException("a second language module " + name.ToUtf8());
  std::shared_ptr<const CLanguageModule> module(new CLanguageModule(name, english, addressInside));
  registry_t& registry = GetRegistry();
  const std::lock_guard guard(registry.lock);
  std::erase_if(registry.modules, [](const auto& entry) { return entry.second.expired(); });
  registry.modules[name] = module;
  return module;
}

std::shared_ptr<const CLanguageModule> CLanguageModule::Find(const CString& name) {
  if (name.IsEmpty()) return nullptr;
  if (name == kOwnName) return GetOwn();
  registry_t& registry = GetRegistry();
  const std::lock_guard guard(registry.lock);
  const auto found = registry.modules.find(name);
  return found == registry.modules.end() ? nullptr : found->second.lock();
}

const std::shared_ptr<const CLanguageModule>& CLanguageModule::GetOwn() {
  static const auto& own = *new std::shared_ptr<const CLanguageModule>(
      new CLanguageModule(kOwnName, GetEnglishTexts(), GetEnglishTexts().data()));
  return own;
}

const CLanguageModule::table_t& CLanguageModule::GetTable(unsigned short languageId) const {
  const std::size_t slot = GetLanguageSlot(languageId);
  auto& place = state_->tables[slot];
  if (const table_t* const table = place.load(std::memory_order_acquire)) return *table;
  // Threads that come at the same time all read the files, and the first one's table stays: no lock is held meanwhile.
  std::unique_ptr<const table_t> made = LoadTable(GetSlotTag(slot));
  const table_t* there = nullptr;
  if (!place.compare_exchange_strong(there, made.get(), std::memory_order_acq_rel)) return *there;
  return *made.release();
}

std::unique_ptr<const CLanguageModule::table_t> CLanguageModule::LoadTable(const std::string& tag) const {
  auto table = std::make_unique<table_t>();
  const std::vector<CString> folders = GetFolders(state_->folders);
  const std::vector<std::string> tags = FallBack(tag);
  const bool isEnglish = tags.back() == kEnglishTag;

  // English first, by which the others are measured: its file over what is built in.
  language_file_t english = state_->builtIn;
  if (auto file = ReadFirst(name_, kEnglishTag, folders)) {
    DropUnusable(*file, english, true);
    FillUp(*file, english);
    english = std::move(*file);
  }
  if (isEnglish) table->problems = english.problems;

  std::vector<language_file_t> files;
  for (const std::string& part : tags) {
    auto file = part == kEnglishTag ? std::nullopt : ReadFirst(name_, part, folders);
    if (!file) continue;
    DropUnusable(*file, english, false);
    files.push_back(std::move(*file));
  }
  for (const language_text_t& reference : english.texts) {
    const language_text_t* text = nullptr;
    for (std::size_t i = 0; i < files.size() && text == nullptr; ++i) text = files[i].Find(reference.id);
    if (text == nullptr && !files.empty() && !isEnglish) {
      files.back().Report(0, "no text of the number " + std::to_string(reference.id));
    }
    table->ids.push_back(reference.id);
    table->texts.push_back(text == nullptr ? reference.text : text->text);
  }
  for (const language_file_t& file : files) {
    table->problems.insert(table->problems.end(), file.problems.begin(), file.problems.end());
  }
  return table;
}

CString CLanguageModule::GetText(unsigned id, unsigned short languageId) const {
  const table_t& table = GetTable(languageId);
  const auto at = std::lower_bound(table.ids.begin(), table.ids.end(), id);
  if (at == table.ids.end() || *at != id) return {};
  return table.texts[static_cast<std::size_t>(at - table.ids.begin())];
}

std::vector<unsigned> CLanguageModule::GetIds() const { return GetTable(kLanguageEnglish).ids; }

namespace {

struct file_names_t : zorplatform::CFileSearch::ICallback {
  bool OnFile(const zorplatform::found_file_t& file) override {
    names.push_back(file.name);
    return true;
  }
  std::vector<CString> names;
};

}  // namespace

std::vector<language_t> CLanguageModule::GetLanguages() const {
  std::map<std::string, language_t> languages;
  const CString begin = name_ + u".";
  languages[kEnglishTag] = {kLanguageEnglish, kEnglishTag, u"English"};
  for (const CString& folder : GetFolders(state_->folders)) {
    file_names_t files;
    try {
      zorplatform::CFileSearch::FindFile(folder + u"\\" + begin + u"*" + kExtension, files);
    } catch (const CFileException&) {
      continue;  // a folder that may not be read offers nothing
    }
    for (const CString& file : files.names) {
      const int length = file.GetLength() - begin.GetLength() - (static_cast<int>(std::size(kExtension)) - 1);
      const std::string tag = file.Mid(begin.GetLength(), length).ToUtf8();
      const unsigned short id = LanguageIdFromTag(tag);
      // Only a tag as the look-up writes it leads to the file.
      const auto tags = FallBack(TagFromLanguageId(id));
      if (id == 0 || languages.contains(tag) || std::find(tags.begin(), tags.end(), tag) == tags.end()) continue;
      const CString name = ReadLanguageFile(folder + u"\\" + file).name;
      languages[tag] = {id, tag, name.IsEmpty() ? CString(tag) : name};
    }
  }
  std::vector<language_t> list;
  for (auto& [tag, language] : languages) list.push_back(std::move(language));
  return list;
}

std::vector<language_problem_t> CLanguageModule::GetProblems(unsigned short languageId) const {
  return GetTable(languageId).problems;
}

}  // namespace i18n
