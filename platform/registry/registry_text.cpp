#include "platform/registry/registry_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <utility>

#include "platform/registry/store_internal.h"
#include "platform/text/collation.h"
#include "platform/text/surrogates_internal.h"
#include "platform/text/utf.h"

namespace registry {

namespace {

constexpr std::string_view kFirstLine = "registry 1";
constexpr std::string_view kBytes = "bytes";
constexpr std::size_t kBytesInLine = 32;
constexpr std::size_t kMaxProblems = 100;
constexpr std::size_t kMaxKeys = 1'000'000;
constexpr std::array<hive_t, 2> kHives{HKEY_LOCAL_MACHINE, HKEY_USERS};
// What stands behind a backslash, and for which unit.
constexpr std::pair<char, char16_t> kEscapes[] = {{'\\', u'\\'}, {'"', u'"'}, {'n', u'\n'}, {'r', u'\r'}, {'t', u'\t'}};

// --- printing ------------------------------------------------------------------------------------------------------

// Whether the unit at a place would not come back, or not be seen, if it were written as it is.
bool NeedsEscape(std::u16string_view text, std::size_t at) {
  const char16_t unit = text[at];
  if (utf::IsSurrogate(unit)) return !utf::IsPairAt(text, at) && (at == 0 || !utf::IsPairAt(text, at - 1));
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029 || unit == 0xFEFF;
}

void AppendQuoted(std::string& out, std::u16string_view text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  out += '"';
  std::size_t plain = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto* const known = std::ranges::find(kEscapes, text[at], &std::pair<char, char16_t>::second);
    if (known == std::end(kEscapes) && !NeedsEscape(text, at)) continue;
    out += utf::ToUtf8(text.substr(plain, at - plain));
    plain = at + 1;
    out += '\\';
    if (known != std::end(kEscapes)) {
      out += known->first;
    } else {
      out += 'u';
      for (int shift = 12; shift >= 0; shift -= 4) out += kDigits[text[at] >> shift & 0xF];
    }
  }
  out += utf::ToUtf8(text.substr(plain));
  out += '"';
}

void AppendBytes(std::string& out, std::span<const std::uint8_t> bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    out += i % kBytesInLine == 0 && i != 0 ? "\n    " : " ";
    out += kDigits[bytes[i] >> 4];
    out += kDigits[bytes[i] & 0xF];
  }
}

// The readable form of a value; false when its data is not what its type says, exactly.
bool AppendReadable(std::string& out, const value_t& value) {
  CString text;
  std::vector<CString> list;
  std::uint32_t number = 0;
  if (value.type == REG_BINARY) {
    AppendBytes(out, value.data);
  } else if (value.ToDword(number)) {
    out += ' ' + std::to_string(number);
  } else if (!value.data.empty() && value.ToText(text)) {
    out += ' ';
    AppendQuoted(out, text);
  } else if (!value.data.empty() && value.ToList(list)) {
    for (const CString& each : list) {
      out += ' ';
      AppendQuoted(out, each);
    }
  } else {
    return false;
  }
  return true;
}

void AppendValue(std::string& out, const named_value_t& named) {
  AppendQuoted(out, named.name);
  const char* const type = GetTypeName(named.value.type);
  out += " = " + (type == nullptr ? std::to_string(named.value.type) : std::string(type));
  if (!AppendReadable(out, named.value)) {
    (out += ' ') += kBytes;
    AppendBytes(out, named.value.data);
  }
  out += '\n';
}

void AppendKey(std::string& out, const key_values_t& key) {
  CString path = GetHiveName(key.hive);
  if (!key.path.IsEmpty()) (path += u'\\') += key.path;
  bool isPlain = true;
  for (std::size_t at = 0; at < path.View().size(); ++at) isPlain = isPlain && !NeedsEscape(path, at);
  out += "\n[";
  if (isPlain) {
    out += path.ToUtf8();
  } else {
    AppendQuoted(out, path);
  }
  out += "]\n";
}

// --- parsing -------------------------------------------------------------------------------------------------------

// What ends the reading of a line.
struct fault_t {
  std::string cause;
};

// The rest of a line, taken from its front.
class CLine {
 public:
  explicit CLine(std::string_view text) : rest_(text) {}

  void SkipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t"), rest_.size())); }
  bool IsAtEnd() {
    SkipBlanks();
    return rest_.empty();
  }
  bool Take(char wanted) {
    SkipBlanks();
    if (!rest_.starts_with(wanted)) return false;
    rest_.remove_prefix(1);
    return true;
  }
  std::string_view TakeWord() {
    SkipBlanks();
    const std::string_view word = rest_.substr(0, rest_.find_first_of(" \t\""));
    rest_.remove_prefix(word.size());
    return word;
  }
  /// What is in quotes, which must begin here.
  CString TakeQuoted(const char* what) {
    if (!Take('"')) throw fault_t{std::string("expected ") + what + " in quotes"};
    std::u16string text;
    for (;;) {
      const std::size_t end = rest_.find_first_of("\"\\");
      if (end == rest_.npos) throw fault_t{"the closing quote is missing"};
      text += utf::ToUtf16(rest_.substr(0, end));
      const bool isOver = rest_[end] == '"';
      rest_.remove_prefix(end + 1);
      if (isOver) return CString(text);
      text += TakeEscape();
    }
  }

 private:
  char16_t TakeEscape() {
    const char letter = rest_.empty() ? '\0' : rest_.front();
    const auto* const known = std::ranges::find(kEscapes, letter, &std::pair<char, char16_t>::first);
    unsigned unit = 0;
    std::size_t length = 1;
    if (known != std::end(kEscapes)) {
      unit = known->second;
    } else {
      length = 5;
      const std::string_view digits = rest_.substr(std::min<std::size_t>(1, rest_.size()), 4);
      const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), unit, 16);
      if (letter != 'u' || digits.size() != 4 || error != std::errc() || end != digits.data() + 4) {
        throw fault_t{"behind \\ stands one of \\ \" n r t, or u and four hexadecimal digits"};
      }
    }
    rest_.remove_prefix(length);
    return static_cast<char16_t>(unit);
  }

  std::string_view rest_;
};

std::uint32_t NumberOf(std::string_view word) {
  const bool isHex = word.starts_with("0x");
  const std::string_view digits = word.substr(isHex ? 2 : 0);
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, isHex ? 16 : 10);
  if (error != std::errc() || end != digits.data() + digits.size()) {
    throw fault_t{"expected a number from 0 to 4294967295"};
  }
  return number;
}

void TakeBytes(CLine& line, std::vector<std::uint8_t>& bytes) {
  while (!line.IsAtEnd()) {
    const std::string_view word = line.TakeWord();
    std::uint8_t byte = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), byte, 16);
    if (word.size() != 2 || error != std::errc() || end != word.data() + 2) {
      throw fault_t{"expected bytes of two hexadecimal digits each"};
    }
    if (bytes.size() == kMaxDataSize) throw fault_t{"a value has at most 64 MiB"};
    bytes.push_back(byte);
  }
}

class CParser {
 public:
  explicit CParser(std::vector<text_problem_t>& problems) : problems_(problems) {}

  std::vector<key_values_t> Parse(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    for (int number = 1; problems_.size() < kMaxProblems; ++number) {
      const std::size_t end = text.find('\n');
      std::string_view line = text.substr(0, end);
      if (line.ends_with('\r')) line.remove_suffix(1);
      try {
        ParseLine(line, number == 1);
      } catch (const fault_t& fault) {
        problems_.push_back({number, fault.cause});
        if (number == 1) break;  // another kind of file
        next_ = LOST;
      }
      if (end == text.npos) break;
      text.remove_prefix(end + 1);
    }
    return problems_.empty() ? std::move(keys_) : std::vector<key_values_t>();
  }

 private:
  void ParseLine(std::string_view text, bool isFirst) {
    if (isFirst) {
      if (text != kFirstLine)
        throw fault_t{"expected \"" + std::string(kFirstLine) + "\", which begins every such file"};
      return;
    }
    if (!utf::IsAscii(text) && utf::ToUtf8(utf::ToUtf16(text)) != text) throw fault_t{"the line is not UTF-8"};
    CLine line(text);
    if (line.IsAtEnd() || text.starts_with('#')) return;
    if (text.starts_with(' ') || text.starts_with('\t')) {
      if (next_ == NOTHING) throw fault_t{"only bytes go on in a line that begins with a blank"};
      if (next_ == BYTES) TakeBytes(line, keys_.back().values.back().value.data);
      return;
    }
    next_ = NOTHING;
    if (text.starts_with('[')) {
      keys_.emplace_back();  // also for the values of a key that cannot be read
      ParseKey(text, keys_.back());
    } else {
      ParseValue(line);
      if (!line.IsAtEnd()) throw fault_t{"something stands behind the value"};
    }
  }

  void ParseKey(std::string_view text, key_values_t& key) {
    const std::size_t end = text.find_last_not_of(" \t");
    if (text[end] != ']' || end == 0) throw fault_t{"the closing ] is missing"};
    const std::string_view inside = text.substr(1, end - 1);
    CString path;
    if (inside.starts_with('"')) {
      CLine line(inside);
      path = line.TakeQuoted("a path");
      if (!line.IsAtEnd()) throw fault_t{"something stands behind the path"};
    } else {
      path = CString(inside);
    }
    if (!SplitPath(path, key.hive, key.path)) {
      throw fault_t{"a path begins with HKEY_LOCAL_MACHINE or HKEY_USERS, and does not end in \\"};
    }
    if (const status_t status = CheckPath(key.hive, key.path); !status) throw fault_t{status.text};
  }

  void ParseValue(CLine& line) {
    if (keys_.empty()) {
      keys_.emplace_back();
      throw fault_t{"it stands before the first key"};
    }
    named_value_t named{line.TakeQuoted("the name of a value"), {}};
    if (const status_t status = CheckName(named.name); !status) throw fault_t{status.text};
    if (!line.Take('=')) throw fault_t{"expected = behind the name"};
    const std::string word(line.TakeWord());
    const std::optional<type_t> type = FindType(word);
    if (!type) throw fault_t{"expected a type, such as REG_SZ, instead of \"" + word + '"'};
    ParseData(line, *type, named.value);
    named.value.type = *type;
    keys_.back().values.push_back(std::move(named));
  }

  void ParseData(CLine& line, type_t type, value_t& value) {
    const bool isText = type == REG_SZ || type == REG_EXPAND_SZ;
    CLine ahead = line;
    if (ahead.TakeWord() == kBytes) {
      line = ahead;
      next_ = BYTES;
    }
    if (type == REG_BINARY) next_ = BYTES;
    if (next_ == BYTES) {
      TakeBytes(line, value.data);
    } else if (isText) {
      value = value_t::FromText(line.TakeQuoted("a text"), type);
    } else if (type == REG_DWORD) {
      value = value_t::FromDword(NumberOf(line.TakeWord()));
    } else {
      std::vector<CString> texts;
      while (!line.IsAtEnd()) texts.push_back(line.TakeQuoted("a text"));
      std::optional<value_t> list = value_t::FromList(texts);
      if (!list) throw fault_t{"a text of a list cannot be empty or hold a NUL"};
      value = std::move(*list);
    }
    if (value.data.size() > kMaxDataSize) throw fault_t{"a value has at most 64 MiB"};
  }

  std::vector<text_problem_t>& problems_;
  std::vector<key_values_t> keys_;
  // What a line that begins with a blank brings: more of the last value's bytes, or of what could not be read.
  enum { NOTHING, BYTES, LOST } next_ = NOTHING;
};

// --- the registry --------------------------------------------------------------------------------------------------

status_t ReadBeneath(const CKey& key, std::vector<key_values_t>& keys) {
  key_values_t read{key.GetHive(), key.GetPath(), {}};
  std::vector<CString> names;
  if (status_t status = key.GetValues(read.values); !status) return status;
  if (status_t status = key.GetSubkeys(names); !status) return status;
  // A damaged file may hold keys beneath themselves: the length of paths ends that, and this what branches.
  if (keys.size() == kMaxKeys) return {code_t::badDatabase, "more than a million keys"};
  keys.push_back(std::move(read));
  for (const CString& name : names) {
    CKey below;
    if (status_t status = below.Open(key, name); !status) return status;
    if (status_t status = ReadBeneath(below, keys); !status) return status;
  }
  return {};
}

// In the thread's transaction, or in one of its own.
template <class Work>
status_t Together(CTransaction::kind_t kind, Work work) {
  CTransaction transaction;
  status_t begun = transaction.Begin(kind);
  if (begun.code == code_t::alreadyExists) return work();
  if (!begun) return begun;
  if (status_t status = work(); !status) return status;
  return transaction.Commit();
}

}  // namespace

bool SplitPath(std::u16string_view whole, hive_t& hive, CString& path) {
  const std::size_t end = whole.find(u'\\');
  const auto* const found = std::ranges::find_if(
      kHives, [&](hive_t each) { return collation::CompareNoCase(whole.substr(0, end), GetHiveName(each)) == 0; });
  if (found == kHives.end() || whole.ends_with(u'\\')) return false;
  hive = *found;
  path = end == whole.npos ? CString() : CString(whole.substr(end + 1));
  return true;
}

std::string PrintValue(const named_value_t& value) {
  std::string out;
  AppendValue(out, value);
  return out;
}

std::string PrintText(std::span<const key_values_t> keys) {
  std::string out = std::string(kFirstLine) + '\n';
  for (const key_values_t& key : keys) {
    AppendKey(out, key);
    for (const named_value_t& value : key.values) AppendValue(out, value);
  }
  return out;
}

std::vector<key_values_t> ParseText(std::string_view utf8, std::vector<text_problem_t>& problems) {
  problems.clear();
  return CParser(problems).Parse(utf8);
}

status_t ReadTree(hive_t hive, std::u16string_view path, std::vector<key_values_t>& keys) {
  std::vector<key_values_t> read;
  status_t status = Together(CTransaction::read, [&]() -> status_t {
    CKey top;
    if (status_t opened = top.Open(hive, path); !opened) return opened;
    return ReadBeneath(top, read);
  });
  if (status) keys = std::move(read);
  return status;
}

status_t WriteKeys(std::span<const key_values_t> keys) {
  return Together(CTransaction::write, [&]() -> status_t {
    for (const key_values_t& each : keys) {
      CKey key;
      if (status_t status = key.Create(each.hive, each.path); !status) return status;
      for (const named_value_t& named : each.values) {
        if (status_t status = key.SetValue(named.name, named.value); !status) return status;
      }
    }
    return {};
  });
}

}  // namespace registry
