// From the text of an INI document to its items, in one pass.
#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "platform/text/utf.h"
#include "platform/zorplatform/ini_document_internal.h"

namespace zorplatform::ini {
namespace {

constexpr std::size_t kBytesOfLine = 16;
constexpr std::size_t kLeastItems = 16;
constexpr std::size_t kFirstItems = 1024;
constexpr std::size_t kManyItems = 256 * 1024;  // 16 MB

constexpr bool IsBlank(char byte) { return byte == ' ' || byte == '\t'; }

std::size_t SkipBlanks(std::string_view text, std::size_t from) {
  while (from < text.size() && IsBlank(text[from])) ++from;
  return from;
}
std::size_t TrimBlanks(std::string_view text, std::size_t from, std::size_t to) {
  while (to > from && IsBlank(text[to - 1])) --to;
  return to;
}

bool HasControl(std::string_view text) {
  unsigned found = 0;
  for (const char byte : text) {
    const auto unit = static_cast<unsigned char>(byte);
    found |= static_cast<unsigned>(unit < 0x20) | static_cast<unsigned>(unit == 0x7F);
  }
  return found != 0;
}

}  // namespace

class CParser {
 public:
  explicit CParser(CDocument& document)
      : document_(document), text_(document.text_), isAscii_(utf::IsAscii(std::string_view(document.text_))) {}

  void Run() {
    if (text_.size() > CDocument::kMaxSize) throw std::length_error("an INI document of more than 1 GiB");
    while (at_ < text_.size()) {
      ++lineNumber_;
      TakeLine();
      ReadLine();
      at_ = next_;
    }
    FlushOther(text_.size());
    while (registered_ < announced_) RegisterOldest();
    if (!document_.oddByte_.empty()) {
      begin_ = text_.empty() ? 0 : text_.find_last_of("\r\n") + 1;
      lineNumber_ += text_.empty() || text_.back() == '\n' || text_.back() == '\r' ? 1 : 0;
      line_ = text_.substr(begin_);
      Report(line_.size(), "half a character at the end");
    }
    std::stable_sort(document_.problems_.begin(), document_.problems_.end(),
                     [](const ini_problem_t& a, const ini_problem_t& b) {
                       return a.line != b.line ? a.line < b.line : a.column < b.column;
                     });
  }

 private:
  // The next line feed and carriage return are remembered: in a text without any, one is looked for once, not once a
  // line.
  void TakeLine() {
    if (lineFeed_ < at_ || at_ == 0) lineFeed_ = std::min(text_.find('\n', at_), text_.size());
    if (carriageReturn_ < at_ || at_ == 0) carriageReturn_ = std::min(text_.find('\r', at_), text_.size());
    begin_ = at_;
    next_ = std::min(lineFeed_, carriageReturn_);
    line_ = text_.substr(begin_, next_ - begin_);
    const bool isPair = carriageReturn_ + 1 == lineFeed_ && lineFeed_ < text_.size();
    if (next_ < text_.size()) next_ += isPair ? 2 : 1;
    if (lineNumber_ == 1 && next_ > line_.size()) document_.newLine_ = text_.substr(line_.size(), next_ - line_.size());
  }

  void ReadLine() {
    isAsciiLine_ = isAscii_ || utf::IsAscii(line_);
    if (!isAsciiLine_) {
      const std::size_t malformed = FindMalformed(line_);
      if (malformed != kNowhere) Report(malformed, "a character that is not valid");
    }
    const std::size_t first = SkipBlanks(line_, 0);
    if (first == line_.size() || line_[first] == ';' || line_[first] == '#') return;
    if (line_[first] == '[') {
      ReadSection(first);
    } else {
      ReadKey(first);
    }
  }

  // What is wrong behind the name does not make the keys below belong to another section.
  void ReadSection(std::size_t bracket) {
    const std::size_t close = line_.find(']', bracket);
    const std::size_t nameBegin = SkipBlanks(line_, bracket + 1);
    const std::size_t nameEnd = TrimBlanks(line_, nameBegin, std::min(close, line_.size()));
    if (HasControl(line_.substr(nameBegin, nameEnd - nameBegin))) {
      section_ = kNone;
      return Report(nameBegin, "a control character in the section's name");
    }
    if (close == kNowhere) {
      Report(line_.size(), "no ] behind the section's name");
    } else if (const std::size_t behind = SkipBlanks(line_, close + 1); behind < line_.size()) {
      Report(behind, "text behind the ]");
    }
    item_t& item = AddItem(kind_t::kSection, nameBegin, nameEnd);
    section_ = SectionOf(item);
    item.section = section_;
    section_t& section = document_.sections_[section_];
    item.isRepeated = section.firstLine != kNone;
    if (item.isRepeated) {
      document_.items_[section.lastLine].same = Last();
    } else {
      section.firstLine = Last();
    }
    section.lastLine = Last();
  }

  void ReadKey(std::size_t nameBegin) {
    const std::size_t equals = line_.find('=', nameBegin);
    if (equals == kNowhere) return Report(line_.size(), "no = behind the key");
    const std::size_t nameEnd = TrimBlanks(line_, nameBegin, equals);
    if (section_ == kNone) return Report(nameBegin, "a key of a section without a usable name");
    if (nameBegin == nameEnd) return Report(nameBegin, "no key before the =");
    if (HasControl(line_.substr(nameBegin, nameEnd - nameBegin))) {
      return Report(nameBegin, "a control character in the key");
    }
    item_t& item = AddItem(kind_t::kKey, nameBegin, nameEnd);
    item.section = section_;
    ReadValue(item, equals + 1);

    Announce(document_.HashOf(item));
    document_.sections_[section_].lastKey = Last();
  }

  void ReadValue(item_t& item, std::size_t from) {
    const std::size_t valueBegin = SkipBlanks(line_, from);
    const std::size_t valueEnd = TrimBlanks(line_, valueBegin, line_.size());
    const std::string_view value = line_.substr(valueBegin, valueEnd - valueBegin);
    item.valueBegin = PlaceOf(valueBegin);
    item.valueEnd = PlaceOf(valueEnd);
    item.isPlain = isAsciiLine_ || utf::IsAscii(value);
    if (!value.starts_with('"')) return;
    const std::size_t close = FindClosingQuote(value);
    if (close == kNowhere) return Report(valueBegin, "no closing quotation mark");
    if (close + 1 < value.size()) {
      return Report(SkipBlanks(line_, valueBegin + close + 1), "text behind the closing quotation mark");
    }
    item.isQuoted = true;
    item.isPlain = false;
  }

  std::uint32_t SectionOf(const item_t& line) {
    std::string folded = document_.FoldedNameOf(line);
    const std::uint32_t hash = document_.hash_(folded, 0);
    const std::uint32_t found = document_.FindSection(folded, hash);
    if (found != kNone) return found;
    const auto made = static_cast<std::uint32_t>(document_.sections_.size());
    document_.sectionNames_.Reserve(1);
    document_.sectionNames_.Insert(hash, made);
    document_.sections_.push_back({kNone, kNone, kNone, hash, std::move(folded)});
    return made;
  }

  // Keys are put into the table some lines later, when the slot that they will need has come from memory.
  void Announce(std::uint32_t hash) {
    if (announced_ - registered_ == pending_.size()) RegisterOldest();
    document_.keyNames_.Prefetch(hash);
    pending_[announced_++ % pending_.size()] = {hash, Last()};
  }

  void RegisterOldest() {
    const auto [hash, index] = pending_[registered_++ % pending_.size()];
    item_t& key = document_.items_[index];
    const std::uint32_t first = FindFirst(hash, key);
    if (first == kNone) {
      document_.keyNames_.Reserve(1);
      document_.keyNames_.Insert(hash, index);
      return;
    }
    key.isRepeated = true;
    key.same = std::exchange(document_.items_[first].same, index);
    Report(key.line, document_.Slice(key.begin, key.nameBegin), "a key given before");
  }

  // The first line of the key's name in its section, or kNone.
  std::uint32_t FindFirst(std::uint32_t hash, const item_t& key) const {
    std::string folded;  // made when there is something to compare with
    return document_.keyNames_.Find(hash, [&](std::uint32_t other) {
      if (document_.items_[other].section != key.section) return false;
      if (folded.empty()) folded = document_.FoldedNameOf(key);
      return document_.IsNamed(document_.items_[other], folded);
    });
  }

  item_t& AddItem(kind_t kind, std::size_t nameBegin, std::size_t nameEnd) {
    FlushOther(begin_);
    item_t& item = Append(begin_, next_);
    otherBegin_ = next_;
    item.kind = kind;
    item.line = lineNumber_;
    item.nameBegin = PlaceOf(nameBegin);
    item.nameEnd = PlaceOf(nameEnd);
    item.hasAsciiName = isAsciiLine_ || utf::IsAscii(line_.substr(nameBegin, nameEnd - nameBegin));
    return item;
  }

  // The lines since the last name.
  void FlushOther(std::size_t end) {
    if (otherBegin_ < end) Append(otherBegin_, end);
  }

  // As much as the rest of the text will need if it is like the text so far, but never far beyond what is there.
  void Grow() {
    const std::size_t size = document_.items_.size();
    const double textLeft = at_ == 0 ? 0 : static_cast<double>(text_.size() - at_) / static_cast<double>(at_);
    const auto expected = static_cast<std::size_t>(1.05 * static_cast<double>(size) * (1 + textLeft));
    const std::size_t wanted = size == 0 ? std::clamp(text_.size() / kBytesOfLine, kLeastItems, kFirstItems)
                                         : std::clamp(expected, size + size / 2, std::max(kManyItems, 4 * size));
    document_.items_.reserve(wanted);
    document_.keyNames_.Reserve(wanted - size);
  }

  item_t& Append(std::size_t begin, std::size_t end) {
    if (document_.items_.size() == document_.items_.capacity()) Grow();
    item_t& item = document_.items_.emplace_back();
    item.begin = static_cast<std::uint32_t>(begin);
    item.end = static_cast<std::uint32_t>(end);
    const std::uint32_t index = Last();
    item.previous = document_.tail_;
    (document_.tail_ == kNone ? document_.head_ : document_.items_[document_.tail_].next) = index;
    document_.tail_ = index;
    return item;
  }
  std::uint32_t Last() const { return static_cast<std::uint32_t>(document_.items_.size() - 1); }
  std::uint32_t PlaceOf(std::size_t column) const { return static_cast<std::uint32_t>(begin_ + column); }

  void Report(std::size_t place, const char* what) { Report(lineNumber_, line_.substr(0, place), what); }
  void Report(std::uint32_t line, std::string_view before, const char* what) {
    if (document_.problems_.size() == CDocument::kMaxProblems) return;
    const auto characters = std::count_if(before.begin(), before.end(),
                                          [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; });
    document_.problems_.push_back({line, static_cast<std::uint32_t>(characters) + 1, what});
  }

  struct pending_t {
    std::uint32_t hash;
    std::uint32_t item;
  };

  CDocument& document_;
  const std::string_view text_;
  const bool isAscii_;
  bool isAsciiLine_ = true;
  std::size_t lineFeed_ = 0;
  std::size_t carriageReturn_ = 0;
  std::size_t at_ = 0;
  std::size_t begin_ = 0;  // of the line
  std::size_t next_ = 0;   // the line behind it
  std::size_t otherBegin_ = 0;
  std::string_view line_;  // without its end
  std::uint32_t lineNumber_ = 0;
  std::uint32_t section_ = 0;
  std::array<pending_t, 16> pending_{};  // a ring
  std::size_t announced_ = 0;
  std::size_t registered_ = 0;
};

CDocument::CDocument(std::string bytes) : CDocument() {
  encoding_ = EncodingOf(bytes);
  if (bytes.size() > kMaxSize) throw std::length_error("an INI document of more than 1 GiB");
  bytes.erase(0, MarkOf(encoding_).size());
  if (IsUtf16(encoding_)) {
    oddByte_ = bytes.substr(bytes.size() & ~std::size_t{1});
    bytes.resize(bytes.size() - oddByte_.size());
    text_ = FromUtf16(bytes, encoding_ == encoding_t::kUtf16Be);
    bytes = {};
  } else {
    text_ = std::move(bytes);
  }
  CParser(*this).Run();
}

CDocument::CDocument(std::u16string_view text) : CDocument() {
  text_ = utf::ToUtf8(text.substr(text.starts_with(u'\uFEFF') ? 1 : 0));
  CParser(*this).Run();
}

}  // namespace zorplatform::ini
