// An INI document: sections of keys and values that programs read and people edit.
//
//   CIniFile settings;
//   settings.Load(u"\\etc\\plant\\settings.ini");
//   CString port;
//   if (!settings.ReadValue(u"Server", u"Port", port)) port = u"49320";
//   settings.WriteValue(u"Server", u"Port", u"49321");
//   settings.Save(u"\\etc\\plant\\settings.ini");      // one line of the file has changed
//
//   ; a comment                          lines that begin with ; or # are comments
//   [Server]                             sections and keys are matched letter case aside
//   Port = 49320                         blanks around key and value do not count
//   Banner = "  two\nlines  "            quoted: \\ \" \n \r \t \0 and \uXXXX; any other \ stands for itself
//
// The document keeps what it was loaded from: comments, blank lines, order, line ends, encoding (UTF-8 with or without
// byte order mark, UTF-16 with one), and lines that it does not understand. A change rewrites the one line it changes.
// Of two keys of one name the first counts, as do all sections of one name together. The letter case of each UTF-16
// unit does not count, accents do. Bytes and units that are no characters read as U+FFFD, and stay in the file as they
// are. A document holds up to 1 GiB of UTF-8; what would make a larger one throws std::length_error. Looking up takes
// the same time whatever the size, and so does a change: names are in a table, and a new line does not move the others.
// After a key was added or deleted, GetLine counts. A value. One thread at a time changes it; any number may read it at
// once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"

class CFile;
class CStringArray;

namespace zorplatform {

/// A line that was kept but has no meaning, or a part of one. `what` is one of a fixed set, in English, such as "no =
/// behind the key". A section line without its ], or with text behind it, opens its section all the same; a value whose
/// quotation marks are not in order is the text as it stands.
struct ini_problem_t {
  std::uint32_t line;    ///< from 1
  std::uint32_t column;  ///< from 1, in characters
  std::string what;      ///< UTF-8, for people
};

class ZORPLATFORM_API CIniFile {
 public:
  CIniFile();
  CIniFile(const CIniFile&);
  CIniFile& operator=(const CIniFile&);
  CIniFile(CIniFile&&) noexcept;
  CIniFile& operator=(CIniFile&&) noexcept;
  ~CIniFile();

  // --- loading: the document is replaced whole, or stays as it was when an exception is thrown --------------------
  // Lines without meaning do not make a load fail: see GetProblems. A loaded document is not modified.

  /// CFileException when the file cannot be read.
  void Load(const CString& path);
  /// Everything from the file's position to its end.
  void Load(CFile* file);
  /// The document is UTF-8 without a mark then. One U+FEFF at the beginning is dropped.
  void FromText(const CString& text);
  /// The lines without meaning of what was loaded last, in the order of the text: rubbish, a missing bracket, a key or
  /// value that is not valid text, a key given twice. At most the first 1,000.
  const std::vector<ini_problem_t>& GetProblems() const noexcept;

  // --- saving: the modified flag is cleared -----------------------------------------------------------------------

  /// Replaces the file: a reader sees the old one or the new one, whole (see CReplaceFile).
  void Save(const CString& path);
  /// Writes the bytes at the file's position.
  void Save(CFile* file);
  /// The text without a byte order mark.
  void ToText(CString& text) const;

  // --- values -----------------------------------------------------------------------------------------------------
  // A section or key of null is the empty one. Keys before the first section line belong to the section without name.

  /// False, and an empty `value`, when there is no such key.
  bool ReadValue(const char16_t* section, const char16_t* key, CString& value) const;
  /// Where a key stands: the line from 1; 0 when there is none.
  std::uint32_t GetLine(const char16_t* section, const char16_t* key) const;
  /// Changes the key's line, or adds one behind the last of the section, or a new section at the end. A line that gives
  /// that value already stays as it is. Null writes an empty value. The modified flag is set. False, and nothing
  /// changes, for a name that no line can hold: an empty key, a key that begins with ; # [ or U+FEFF, or holds = or a
  /// control character, a section that holds ] or a control character, blanks at either end of a name, an unpaired
  /// surrogate.
  bool WriteValue(const char16_t* section, const char16_t* key, const char16_t* value);
  /// False when there was none. The line goes, and with it all others of that name in the section; comment lines stay.
  bool DeleteValue(const char16_t* section, const char16_t* key);
  /// The section line and all its keys; comments inside it go too, down to the next section line. Comments before the
  /// first section line stay: they speak of the whole file. False when there was no such section.
  bool DeleteSection(const char16_t* section);
  /// Names as they are first written, each once, in the order of the text. The section without name is listed only
  /// when it has keys.
  /// @{
  void QuerySections(CStringArray& sections) const;
  void QueryKeys(const char16_t* section, CStringArray& keys) const;
  /// @}
  /// Empties the document; it is then not modified.
  void Reset();
  /// Whether there is nothing in it, not even a comment.
  bool IsEmpty() const noexcept;
  /// Whether a value was written or deleted since the last load, save or reset.
  bool IsModified() const noexcept;
  void SetModified(bool modified) noexcept;

 private:
  struct document_t;
  document_t& Change();
  std::unique_ptr<document_t> document_;  // null: empty
  bool modified_ = false;
};

}  // namespace zorplatform

using zorplatform::CIniFile;
