// The lines of an INI document, in order, and where the names are.
//
// All text stands in one buffer, first as it was loaded, then, behind it, the lines that were written since. A line
// with a name is an item; the lines between two such (comments, blank lines, lines without meaning) are one item
// together. The items are a list in the order of the document. A table finds the first line of each name; further lines
// of that name are chained to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/framework/cstring.h"
#include "platform/framework/string_array.h"
#include "platform/zorplatform/ini_file.h"
#include "platform/zorplatform/ini_text_internal.h"

namespace zorplatform::ini {

constexpr std::uint32_t kNone = UINT32_MAX;

/// Open addressing: from a 32-bit hash to numbers. What a number is the name of, the caller knows.
class CNameTable {
 public:
  /// The first item of that hash that `same` recognises, or kNone.
  template <class Same>
  std::uint32_t Find(std::uint32_t hash, Same same) const {
    if (slots_.empty()) return kNone;
    for (std::size_t at = HomeOf(hash); slots_[at].item != kNone; at = NextOf(at)) {
      if (slots_[at].hash == hash && same(slots_[at].item)) return slots_[at].item;
    }
    return kNone;
  }
  /// Tells the processor that this hash will soon be looked up.
  void Prefetch(std::uint32_t hash) const noexcept {
    if (!slots_.empty()) __builtin_prefetch(&slots_[HomeOf(hash)]);
  }
  /// Room for `more` insertions.
  void Reserve(std::size_t more);
  void Insert(std::uint32_t hash, std::uint32_t item) noexcept;
  void Remove(std::uint32_t hash, std::uint32_t item) noexcept;

 private:
  struct slot_t {
    std::uint32_t hash;
    std::uint32_t item;
  };

  std::size_t HomeOf(std::uint32_t hash) const noexcept { return hash >> shift_; }
  std::size_t NextOf(std::size_t at) const noexcept { return (at + 1) & (slots_.size() - 1); }

  std::vector<slot_t> slots_;
  std::size_t used_ = 0;
  int shift_ = 32;
};

enum class kind_t : std::uint8_t { kOther, kSection, kKey };

struct item_t {
  // What looking up needs stands together, mostly in one cache line. Places are bytes of the buffer.
  std::uint32_t nameBegin = 0;
  std::uint32_t nameEnd = 0;
  std::uint32_t valueBegin = 0;  // as it stands there, quotation marks included
  std::uint32_t valueEnd = 0;
  std::uint32_t section = 0;
  kind_t kind = kind_t::kOther;
  bool isRepeated : 1 = false;   // not the first of its name
  bool hasAsciiName : 1 = true;  // and so compared without decoding
  bool isPlain : 1 = true;       // the value is ASCII and not quoted
  bool isQuoted : 1 = false;

  std::uint32_t begin = 0;  // of all lines, with their ends
  std::uint32_t end = 0;
  std::uint32_t previous = kNone;
  std::uint32_t next = kNone;
  std::uint32_t same = kNone;  // a further line of this name
  std::uint32_t line = 0;      // from 1, as it was loaded
};

/// All section lines of one name. Section 0 is the one without name.
struct section_t {
  std::uint32_t firstLine = kNone;  // section lines, chained by item_t::same
  std::uint32_t lastLine = kNone;
  std::uint32_t lastKey = kNone;  // where a new key goes; kNone: not known
  std::uint32_t hash = 0;         // of the name
  std::string folded;
};

class CDocument {
 public:
  /// A document of more bytes is refused with std::length_error: its text would not fit a CString.
  static constexpr std::size_t kMaxSize = std::size_t{1} << 30;
  static constexpr std::size_t kMaxProblems = 1000;

  CDocument() { sections_[0].hash = hash_({}, 0); }
  /// Of the bytes of a file.
  explicit CDocument(std::string bytes);
  explicit CDocument(std::u16string_view text);

  const std::vector<ini_problem_t>& GetProblems() const noexcept { return problems_; }
  bool IsEmpty() const noexcept { return head_ == kNone && oddByte_.empty(); }
  /// Gives the bytes of the file to `write(data, size)`, in order.
  template <class Write>
  void ForEachByte(Write write) const;
  void ToText(CString& text) const;

  bool ReadValue(const char16_t* section, const char16_t* key, CString& value) const;
  std::uint32_t GetLine(const char16_t* section, const char16_t* key) const;
  void QuerySections(CStringArray& sections) const;
  void QueryKeys(const char16_t* section, CStringArray& keys) const;

  bool WriteValue(const char16_t* section, const char16_t* key, std::u16string_view value);
  bool DeleteValue(const char16_t* section, const char16_t* key);
  bool DeleteSection(const char16_t* section);

 private:
  friend class CParser;

  std::string_view Slice(std::uint32_t begin, std::uint32_t end) const noexcept {
    return {text_.data() + begin, end - begin};
  }
  std::string_view NameOf(const item_t& item) const noexcept { return Slice(item.nameBegin, item.nameEnd); }
  surrogates_t Surrogates() const noexcept {
    return IsUtf16(encoding_) ? surrogates_t::kReplaced : surrogates_t::kMalformed;
  }
  void Decode(std::string_view text, CString& units) const;
  void DecodeValue(const item_t& item, CString& value) const;

  // Lines and their order.
  std::string_view LineEndOf(const item_t& item) const noexcept;
  bool EndsInBlankLine(const item_t& item) const noexcept;
  std::uint32_t CountLines(std::string_view text) const noexcept;
  template <class Visit>
  void ForEachKey(std::uint32_t section, Visit visit) const;
  template <class Visit>
  void ForEachPiece(Visit visit) const;

  // Names.
  bool IsNamed(const item_t& item, std::string_view folded) const;
  std::string FoldedNameOf(const item_t& item) const;
  std::uint32_t HashOf(const item_t& item) const;
  struct wanted_t {
    std::string_view section;  // both folded
    std::uint32_t sectionHash;
    std::string_view key;
    std::uint32_t keyHash;
  };
  wanted_t Want(const CFoldedName& section, const CFoldedName& key) const noexcept;
  std::uint32_t FindSection(std::string_view folded, std::uint32_t hash) const;
  std::uint32_t FindSection(const char16_t* section) const;
  std::uint32_t FindKey(std::uint32_t section, const wanted_t& wanted) const;
  std::uint32_t FindKey(const char16_t* section, const char16_t* key) const;

  // Changing. What may throw comes first, so that a failure leaves the document as it was.
  void Compact();
  void ReserveItems(std::size_t count);
  std::uint32_t LinkBehind(const item_t& item, std::uint32_t before) noexcept;
  void Remove(std::uint32_t item) noexcept;
  void RemoveKey(std::uint32_t item) noexcept;
  void ReplaceValue(std::uint32_t item, std::u16string_view value);
  std::uint32_t PlaceOfNewKey(std::uint32_t section) const noexcept;
  struct draft_t;
  void Commit(const draft_t& draft);
  std::string EqualsAsIn(std::uint32_t above) const;
  void Add(std::uint32_t section, const wanted_t& wanted, std::u16string_view sectionName, std::u16string_view key,
           std::u16string_view value);

  std::string text_;
  std::vector<item_t> items_;
  std::vector<section_t> sections_ = std::vector<section_t>(1);
  std::vector<std::uint32_t> freeSections_;
  CNameTable sectionNames_;  // to sections
  CNameTable keyNames_;      // to the first items of keys
  CNameHash hash_;
  std::vector<ini_problem_t> problems_;
  std::string oddByte_;  // half a unit at the end of UTF-16
  std::string newLine_ = "\n";
  std::size_t unused_ = 0;  // bytes of the buffer that no line needs any more
  std::uint32_t head_ = kNone;
  std::uint32_t tail_ = kNone;
  std::uint32_t free_ = kNone;  // items, chained by `next`
  encoding_t encoding_ = encoding_t::kUtf8;
  bool hasLineNumbers_ = true;  // those of the items are true
};

// Neighbours in the buffer, which a document that was not changed consists of, in one piece.
template <class Visit>
void CDocument::ForEachPiece(Visit visit) const {
  std::uint32_t begin = 0, end = 0;
  for (std::uint32_t at = head_; at != kNone; at = items_[at].next) {
    if (items_[at].begin != end) {
      if (begin < end) visit(Slice(begin, end));
      begin = items_[at].begin;
    }
    end = items_[at].end;
  }
  if (begin < end) visit(Slice(begin, end));
}

template <class Write>
void CDocument::ForEachByte(Write write) const {
  std::string_view mark = MarkOf(encoding_);
  if (!IsUtf16(encoding_)) {
    // Deleting may have brought bytes to the top that would be taken for a mark.
    if (mark.empty() && head_ != kNone && EncodingOf(Slice(items_[head_].begin, items_[head_].end)) != encoding_) {
      mark = MarkOf(encoding_t::kUtf8Marked);
    }
    write(mark);
    return ForEachPiece(write);
  }
  std::string bytes(mark);
  ForEachPiece([&](std::string_view piece) { AppendUtf16(piece, encoding_ == encoding_t::kUtf16Be, bytes); });
  bytes += oddByte_;
  write(std::string_view(bytes));
}

}  // namespace zorplatform::ini
