#include "util/options/options_container.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/string_array.h"
#include "platform/zorplatform/file_search.h"
#include "util/docs/element_internal.h"
#include "util/serialization/string_serialization.h"

namespace {

constexpr const char16_t* kOptions = u"Options";
constexpr const char16_t* kSection = u"Section";
constexpr const char16_t* kValue = u"Value";
constexpr const char16_t* kName = u"Name";

template <class Function>
void ForEachChild(CStructuredDoc& document, const CElement& parent, Function function) {
  CElement child(document, document.FindFirstChild(parent.Get(), false));
  for (; child; child.GoToNext()) function(child);
}

CString NameOf(CStructuredDoc& document, const CElement& element) {
  CString name;
  document.ReadAttribute(element.Get(), kName, name);
  return name;
}

// The element of options that stands below the top one, or is the top one itself.
void* FindOptions(CStructuredDoc& document, const char16_t* ns) {
  CElement top(document, document.GetElementByName(nullptr, u"", u"dummy", false));
  if (!top) return nullptr;
  if (void* const below = document.GetElementByName(top.Get(), ns, kOptions, false)) return below;
  CString name;
  document.GetName(top.Get(), name);
  return name == kOptions ? document.GetElementByName(nullptr, u"", u"dummy", false) : nullptr;
}

CIniFile ReadOptions(CStructuredDoc& document, const char16_t* ns) {
  CIniFile settings;
  const CElement options(document, FindOptions(document, ns));
  if (!options) return settings;
  ForEachChild(document, options, [&](const CElement& section) {
    const CString sectionName = NameOf(document, section);
    ForEachChild(document, section, [&](const CElement& value) {
      CString text;
      document.GetText(value.Get(), text);
      if (!text.IsEmpty()) settings.WriteValue(sectionName, NameOf(document, value), text);
    });
  });
  return settings;
}

void WriteSection(CStructuredDoc& document, const CElement& options, const char16_t* ns, const CIniFile& settings,
                  const CString& name, const CStringArray& keys) {
  const CElement section(document, document.WriteElement(options.Get(), ns, kSection, false, u""));
  if (!section) return;
  document.WriteAttribute(section.Get(), kName, name);
  for (const CString& key : keys) {
    CString text;
    settings.ReadValue(name, key, text);
    if (text.IsEmpty()) continue;
    const CElement value(document, document.WriteElement(section.Get(), ns, kValue, false, text));
    if (value) document.WriteAttribute(value.Get(), kName, key);
  }
}

}  // namespace

COptionsContainer& COptionsContainer::GetInstance() {
  static COptionsContainer container;
  return container;
}

COptionsContainer::COptionsContainer() = default;
COptionsContainer::~COptionsContainer() = default;

// --- files and streams -----------------------------------------------------------------------------------------------

void COptionsContainer::LoadSettings(level_t level, const CString& path) {
  const std::lock_guard guard(lock_);
  CIniFile document;
  // A file that cannot be looked at is not missing: the level would be empty, and whoever saves it would empty the
  // file.
  if (zorplatform::CheckFileExists(path)) {
    try {
      document.Load(path);
    } catch (const CFileException&) {
      if (zorplatform::CheckFileExists(path)) throw;  // else it was removed in between
    }
  }
  Replace(level, std::move(document));
}

void COptionsContainer::SaveSettings(level_t level, const CString& path) const {
  const std::lock_guard guard(lock_);
  _GetINIByOption(level).Save(path);
}

void COptionsContainer::LoadSettings(level_t level, CFile* file, format_t format) {
  const std::lock_guard guard(lock_);
  CIniFile document;
  if (format == FORMAT_TEXT) {
    CString text;
    zorutil::ReadCString(file, text);
    document.FromText(text);
  } else {
    document.Load(file);
  }
  Replace(level, std::move(document));
}

void COptionsContainer::SaveSettings(level_t level, CFile* file, format_t format) const {
  const std::lock_guard guard(lock_);
  CIniFile& document = _GetINIByOption(level);
  if (format == FORMAT_TEXT) {
    CString text;
    document.ToText(text);
    zorutil::WriteCString(file, text);
    document.SetModified(false);
  } else {
    document.Save(file);
  }
}

// --- structured documents --------------------------------------------------------------------------------------------

void COptionsContainer::LoadSettings(level_t level, CStructuredDoc* document, const char16_t* path) {
  const std::lock_guard guard(lock_);
  Replace(level, ReadOptions(*document, path));
}

void COptionsContainer::SaveSettings(level_t level, CStructuredDoc* document, const char16_t* path) const {
  const std::lock_guard guard(lock_);
  const CIniFile& settings = _GetINIByOption(level);
  CStringArray sections;
  settings.QuerySections(sections);
  if (sections.IsEmpty()) return;
  const CElement options(*document, document->WriteElement(nullptr, path, kOptions, false, u""));
  if (!options) return;
  for (const CString& section : sections) {
    CStringArray keys;
    settings.QueryKeys(section, keys);
    if (!keys.IsEmpty()) WriteSection(*document, options, path, settings, section, keys);
  }
}

// ---------------------------------------------------------------------------------------------------------------------

void COptionsContainer::SetDefaults(level_t level) {
  const std::lock_guard guard(lock_);
  Replace(level, CIniFile());
}

bool COptionsContainer::IsModified(level_t level) const {
  const std::lock_guard guard(lock_);
  return _GetINIByOption(level).IsModified();
}

COptions* COptionsContainer::Find(const CString& section) {
  const std::lock_guard guard(lock_);
  const auto found = std::find_if(options_.begin(), options_.end(), [&](const COptions* options) {
    return options != nullptr && options->GetSection().CompareNoCase(section) == 0;
  });
  return found == options_.end() ? nullptr : *found;
}

// --- for options objects ---------------------------------------------------------------------------------------------

void COptionsContainer::Add(COptions* options) {
  const std::lock_guard guard(lock_);
  options_.push_back(options);
}

void COptionsContainer::Remove(const COptions* options) {
  const std::lock_guard guard(lock_);
  const auto found = std::find(options_.begin(), options_.end(), options);
  if (found == options_.end()) return;
  if (notifications_ == 0) {
    options_.erase(found);
  } else {
    *found = nullptr;  // the places of the others stay until all have been told
  }
}

void COptionsContainer::GetProfileStringW(const COptions& options, const char16_t* key, const char16_t* def,
                                          CString& out) const {
  const std::lock_guard guard(lock_);
  out.Empty();
  if (!_GetINIByOption(options.GetLevel()).ReadValue(options.GetSection(), key, out)) out = def;
}

bool COptionsContainer::WriteProfileStringW(const COptions& options, const char16_t* key, const char16_t* value) {
  const std::lock_guard guard(lock_);
  return _GetINIByOption(options.GetLevel()).WriteValue(options.GetSection(), key, value);
}

// ---------------------------------------------------------------------------------------------------------------------

std::size_t COptionsContainer::IndexOf(level_t level) noexcept {
  return level >= COptions::LEVEL_1 && level <= COptions::LEVEL_3 ? static_cast<std::size_t>(level) : 0;
}

void COptionsContainer::Replace(level_t level, CIniFile&& document) {
  _GetINIByOption(level) = std::move(document);
  _OnSettingsChanged(level);
}

void COptionsContainer::_OnSettingsChanged(level_t level) {
  ++notifications_;
  // Objects made meanwhile have nothing to forget.
  for (std::size_t i = 0, count = options_.size(); i < count; ++i) {
    if (options_[i] == nullptr || options_[i]->GetLevel() != level) continue;
    try {
      options_[i]->OnSettingsChanged();
    } catch (...) {
    }
  }
  if (--notifications_ == 0) std::erase(options_, nullptr);
}
