// All settings of the process: four INI documents, one a level, and the options objects that read and write them.
//
//   COptionsContainer& settings = COptionsContainer::GetInstance();
//   settings.LoadSettings(COptions::LEVEL_1, zorutil::GetRuntimeIniFile());       // the options of level 1 hear of it
//   ...
//   if (settings.IsModified(COptions::LEVEL_1)) settings.SaveSettings(COptions::LEVEL_1, zorutil::GetRuntimeIniFile());
//
// The documents are empty until they are loaded. A load replaces its level whole; one that throws leaves the level as
// it was, and nobody is told. Otherwise every options object of that very level is told, in the order of their making,
// by its OnSettingsChanged; what an override throws is dropped.
//
// One object, made when it is first asked for and destroyed as the process ends. Any number of threads: each operation
// holds the container's lock throughout, the disk and the calls of handlers included. The lock is re-entrant, so that a
// handler may use the container, load another level, make options and destroy others than its own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/framework/sync.h"
#include "platform/zorplatform/ini_file.h"
#include "util/options/options.h"

class CFile;
class CStructuredDoc;

class ZORUTIL_API COptionsContainer {
 public:
  /// The levels are those of options.
  using level_t = COptions::level_t;
  /// What stands in a stream. Any other number means FORMAT_INI.
  enum format_t : std::int32_t {
    FORMAT_TEXT = 0,  ///< the INI text as one string (util/serialization/string_serialization.h), others may follow
    FORMAT_INI = 1,   ///< the document's own bytes, up to the end of the stream
  };

  /// The one of the process; made by the first call.
  static COptionsContainer& GetInstance();
  COptionsContainer(const COptionsContainer&) = delete;
  COptionsContainer& operator=(const COptionsContainer&) = delete;

  // --- a level in a file -------------------------------------------------------------------------------------------

  /// A file that is not there is an empty document. CFileException when it cannot be read.
  void LoadSettings(level_t level, const CString& path);
  /// Replaces the file, whole or not at all; the level is then not modified. CFileException.
  void SaveSettings(level_t level, const CString& path) const;

  // --- in a stream: what the stream throws, and CException for a corrupt string, pass through ------------------------

  /// The stream from its position on replaces the level.
  void LoadSettings(level_t level, CFile* file, format_t format);
  /// The level is then not modified.
  void SaveSettings(level_t level, CFile* file, format_t format) const;

  // --- in a structured document --------------------------------------------------------------------------------------
  // <Options><Section Name="Scan"><Value Name="RateMs">250</Value></Section></Options>, all in the namespace `path`
  // (null or empty: none), below the top element. Empty values are not saved, nor are sections without keys.

  /// Without "Options" the level is empty. A top element of that name, which saving into an empty document makes, is
  /// taken too. The level is modified when there was a value, for no file has it yet.
  void LoadSettings(level_t level, CStructuredDoc* document, const char16_t* path);
  /// Adds "Options", unless the level has no sections. The level stays as modified as it was. What the document refuses
  /// is left out, with a message in its error slot.
  void SaveSettings(level_t level, CStructuredDoc* document, const char16_t* path) const;

  // -------------------------------------------------------------------------------------------------------------------

  /// Empties the level, and tells its options.
  void SetDefaults(level_t level);
  /// Whether a value was written since the level was loaded, saved or emptied.
  bool IsModified(level_t level) const;
  /// The first of the registered objects with that section, letter case aside; null if there is none. It stays its
  /// owner's.
  COptions* Find(const CString& section);

 protected:
  friend class COptions;

  COptionsContainer();
  ~COptionsContainer();

  /// For options objects alone, as they are made and destroyed.
  /// @{
  void Add(COptions* options);
  void Remove(const COptions* options);
  /// @}
  /// `out` is empty when the value is missing and `def` null.
  void GetProfileStringW(const COptions& options, const char16_t* key, const char16_t* def, CString& out) const;
  /// What the document's write returns.
  bool WriteProfileStringW(const COptions& options, const char16_t* key, const char16_t* value);

 private:
  CIniFile& _GetINIByOption(level_t level) { return documents_[IndexOf(level)]; }
  CIniFile& _GetINIByOption(level_t level) const { return documents_[IndexOf(level)]; }
  void _OnSettingsChanged(level_t level);
  void Replace(level_t level, CIniFile&& document);
  static std::size_t IndexOf(level_t level) noexcept;

  mutable std::array<CIniFile, 4> documents_;  // saving clears a document's modified flag
  mutable CCriticalSection lock_{4000};
  std::vector<COptions*> options_;  // in the order of their making; null in place of one removed while others are told
  int notifications_ = 0;           // how many are going on, one within another
};
