// Parts of the registry as text: UTF-8 that people can read and edit, and that loses nothing.
//
//   registry 1
//   # A line that begins with # says nothing.
//
//   [HKEY_LOCAL_MACHINE\Software\Acme\Gateway]
//   "" = REG_SZ "the default value"
//   "Folder" = REG_EXPAND_SZ "%DATA%\\acme"
//   "Key" = REG_BINARY 00 01 fe
//       ff
//   "Languages" = REG_MULTI_SZ "en" "de"
//   "Port" = REG_DWORD 49320
//   "Odd" = REG_SZ bytes 41 00 42
//
// In quotes stand \\ \" \n \r \t and \uXXXX for a unit of UTF-16; everything else is itself. A path with characters
// that have no place in a line is quoted inside its brackets. "bytes" stands before data that is not what its type says
// (a text of an odd length); bytes go on in lines that begin with a blank. A number may be written as 0x1f. Of a value
// that is given twice the last counts. Lines end in LF or CR LF.
//
// Functions without state; any number of threads.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/registry/registry.h"

namespace registry {

/// A key and its values, without its subkeys.
struct key_values_t {
  /// The tree that the key stands in.
  hive_t hive = HKEY_LOCAL_MACHINE;
  /// Below the hive, with "\" between names; empty for the hive itself.
  CString path;
  /// In the order of their names where ReadTree made them, else as given.
  std::vector<named_value_t> values;

  bool operator==(const key_values_t&) const = default;
};

/// A line of a text that cannot be read.
struct text_problem_t {
  int line = 0;       ///< from 1
  std::string cause;  ///< in English: what was expected
};

/// "HKEY_USERS\a\b" taken apart; the letter case of the hive does not count. False, with nothing set, when the text
/// begins with no hive or ends in "\".
ZORPLATFORM_API bool SplitPath(std::u16string_view whole, hive_t& hive, CString& path);

/// The line, or lines, of a value, as in PrintText.
ZORPLATFORM_API std::string PrintValue(const named_value_t& value);

/// The text of keys, one behind another: UTF-8 that ParseText reads back to the same keys.
ZORPLATFORM_API std::string PrintText(std::span<const key_values_t> keys);

/// The keys of a text, in its order. When there are problems there are no keys; the first 100 problems are told.
ZORPLATFORM_API std::vector<key_values_t> ParseText(std::string_view utf8, std::vector<text_problem_t>& problems);

/// A key and all beneath it as they were at one moment: each key stands before its subkeys, in the order of names.
/// Belongs to the thread's transaction when there is one.
ZORPLATFORM_API status_t ReadTree(hive_t hive, std::u16string_view path, std::vector<key_values_t>& keys);

/// Makes the keys and sets their values, all or none; what is there besides stays.
ZORPLATFORM_API status_t WriteKeys(std::span<const key_values_t> keys);

}  // namespace registry
