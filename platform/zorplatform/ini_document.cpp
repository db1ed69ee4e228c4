#include <algorithm>
#include <bit>
#include <stdexcept>
#include <utility>

#include "platform/text/surrogates_internal.h"
#include "platform/text/utf.h"
#include "platform/zorplatform/ini_document_internal.h"
#include "platform/zorplatform/text_parse.h"

namespace zorplatform::ini {
namespace {

constexpr std::size_t kMinSlots = 16;
constexpr std::size_t kMinUnused = 64 * 1024;  // less is not worth a copy of the text

constexpr bool IsLineEnd(char byte) { return byte == '\n' || byte == '\r'; }

bool IsControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

// What a section and a key have in common: text that is written as it is.
bool IsName(std::u16string_view name) {
  if (name.starts_with(u' ') || name.ends_with(u' ') || std::any_of(name.begin(), name.end(), IsControl)) return false;
  return !utf::HasUnpairedSurrogate(name);
}

bool IsSectionName(std::u16string_view name) { return IsName(name) && name.find(u']') == name.npos; }

// At the top of a file the byte order mark would not be read as part of a key.
bool IsKeyName(std::u16string_view name) {
  constexpr std::u16string_view kNotFirst = u";#[\uFEFF";
  return !name.empty() && kNotFirst.find(name.front()) == kNotFirst.npos && name.find(u'=') == name.npos &&
         IsName(name);
}

void Move(item_t& item, std::size_t begin) {
  const std::uint32_t distance = static_cast<std::uint32_t>(begin) - item.begin;  // modulo 2^32
  for (std::uint32_t* place :
       {&item.begin, &item.end, &item.nameBegin, &item.nameEnd, &item.valueBegin, &item.valueEnd}) {
    *place += distance;
  }
}

}  // namespace

// --- names to items -------------------------------------------------------------------------------------------------

void CNameTable::Reserve(std::size_t more) {
  const std::size_t needed = (used_ + more) + (used_ + more) / 3 + 1;
  if (needed <= slots_.size()) return;
  CNameTable larger;
  larger.slots_.assign(std::bit_ceil(std::max(needed, kMinSlots)), {0, kNone});
  larger.shift_ = 32 - std::countr_zero(larger.slots_.size());
  for (const slot_t& slot : slots_) {
    if (slot.item != kNone) larger.Insert(slot.hash, slot.item);
  }
  *this = std::move(larger);
}

void CNameTable::Insert(std::uint32_t hash, std::uint32_t item) noexcept {
  std::size_t at = HomeOf(hash);
  while (slots_[at].item != kNone) at = NextOf(at);
  slots_[at] = {hash, item};
  ++used_;
}

// Closes the gap, so that what was pushed behind it is still found.
void CNameTable::Remove(std::uint32_t hash, std::uint32_t item) noexcept {
  std::size_t gap = HomeOf(hash);
  while (slots_[gap].item != item) gap = NextOf(gap);
  for (std::size_t at = NextOf(gap); slots_[at].item != kNone; at = NextOf(at)) {
    const std::size_t mask = slots_.size() - 1;
    if (((at - HomeOf(slots_[at].hash)) & mask) < ((at - gap) & mask)) continue;
    slots_[gap] = slots_[at];
    gap = at;
  }
  slots_[gap].item = kNone;
  --used_;
}

bool CDocument::IsNamed(const item_t& item, std::string_view folded) const {
  return item.hasAsciiName ? IsSameAscii(NameOf(item), folded) : FoldName(NameOf(item), Surrogates()) == folded;
}

std::string CDocument::FoldedNameOf(const item_t& item) const { return FoldName(NameOf(item), Surrogates()); }

// The hash of a key comes from that of its section's name, not from the section's number: both slots can be fetched at
// once.
std::uint32_t CDocument::HashOf(const item_t& key) const {
  const std::uint32_t scope = sections_[key.section].hash;
  return key.hasAsciiName ? hash_(NameOf(key), scope) : hash_(FoldedNameOf(key), scope);
}

CDocument::wanted_t CDocument::Want(const CFoldedName& section, const CFoldedName& key) const noexcept {
  const std::uint32_t scope = hash_(section.View(), 0);
  sectionNames_.Prefetch(scope);
  const std::uint32_t hash = hash_(key.View(), scope);
  keyNames_.Prefetch(hash);
  return {section.View(), scope, key.View(), hash};
}

std::uint32_t CDocument::FindSection(std::string_view folded, std::uint32_t hash) const {
  if (folded.empty()) return 0;
  return sectionNames_.Find(hash, [&](std::uint32_t section) { return sections_[section].folded == folded; });
}

std::uint32_t CDocument::FindKey(std::uint32_t section, const wanted_t& wanted) const {
  if (section == kNone) return kNone;
  return keyNames_.Find(wanted.keyHash, [&](std::uint32_t item) {
    return items_[item].section == section && IsNamed(items_[item], wanted.key);
  });
}

std::uint32_t CDocument::FindSection(const char16_t* section) const {
  const CFoldedName folded(section);
  return FindSection(folded.View(), hash_(folded.View(), 0));
}

std::uint32_t CDocument::FindKey(const char16_t* section, const char16_t* key) const {
  const CFoldedName foldedSection(section), foldedKey(key);
  const wanted_t wanted = Want(foldedSection, foldedKey);
  return FindKey(FindSection(wanted.section, wanted.sectionHash), wanted);
}

// --- reading --------------------------------------------------------------------------------------------------------

void CDocument::Decode(std::string_view text, CString& units) const {
  if (utf::IsAscii(text)) {
    units.AssignAscii(text);
    return;
  }
  char16_t* const out = units.GetBuffer(static_cast<int>(text.size()));
  units.ReleaseBuffer(static_cast<int>(ToUnits(text, Surrogates(), out)));
}

void CDocument::DecodeValue(const item_t& item, CString& value) const {
  const std::string_view text = Slice(item.valueBegin, item.valueEnd);
  if (text.empty()) {
    value.Assign({});
  } else if (item.isPlain) {
    value.AssignAscii(text);
  } else if (!item.isQuoted) {
    Decode(text, value);
  } else {
    char16_t* const out = value.GetBuffer(static_cast<int>(text.size()));
    value.ReleaseBuffer(static_cast<int>(Unescape(text.substr(1, text.size() - 2), Surrogates(), out)));
  }
}

bool CDocument::ReadValue(const char16_t* section, const char16_t* key, CString& value) const {
  const std::uint32_t item = FindKey(section, key);
  if (item == kNone) {
    value.Assign({});
    return false;
  }
  DecodeValue(items_[item], value);
  return true;
}

std::uint32_t CDocument::GetLine(const char16_t* section, const char16_t* key) const {
  const std::uint32_t item = FindKey(section, key);
  if (item == kNone) return 0;
  if (hasLineNumbers_) return items_[item].line;
  std::uint32_t line = 1;
  for (std::uint32_t at = head_; at != item; at = items_[at].next) {
    line += CountLines(Slice(items_[at].begin, items_[at].end));
  }
  return line;
}

std::uint32_t CDocument::CountLines(std::string_view text) const noexcept {
  std::uint32_t lines = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsLineEnd(text[i]) && !(text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')) ++lines;
  }
  return lines;
}

template <class Visit>
void CDocument::ForEachKey(std::uint32_t section, Visit visit) const {
  const auto visitUntilSection = [&](std::uint32_t at) {
    for (; at != kNone && items_[at].kind != kind_t::kSection; at = items_[at].next) {
      if (items_[at].kind == kind_t::kKey) visit(at);
    }
  };
  if (section == 0) visitUntilSection(head_);
  for (std::uint32_t line = sections_[section].firstLine; line != kNone; line = items_[line].same) {
    visitUntilSection(items_[line].next);
  }
}

void CDocument::QuerySections(CStringArray& sections) const {
  CStringArray found;
  CString name;
  std::vector<bool> isListed(sections_.size());
  for (std::uint32_t at = head_; at != kNone; at = items_[at].next) {
    const item_t& item = items_[at];
    if (item.kind == kind_t::kOther || isListed[item.section]) continue;
    if (item.kind == kind_t::kSection && item.section == 0) continue;
    isListed[item.section] = true;
    Decode(item.kind == kind_t::kSection ? NameOf(item) : std::string_view(), name);
    found.Add(std::exchange(name, CString()));
  }
  sections = std::move(found);
}

void CDocument::QueryKeys(const char16_t* section, CStringArray& keys) const {
  CStringArray found;
  CString name;
  if (const std::uint32_t index = FindSection(section); index != kNone) {
    ForEachKey(index, [&](std::uint32_t item) {
      if (items_[item].isRepeated) return;
      Decode(NameOf(items_[item]), name);
      found.Add(std::exchange(name, CString()));
    });
  }
  keys = std::move(found);
}

void CDocument::ToText(CString& text) const {
  std::size_t size = 0;
  ForEachPiece([&](std::string_view piece) { size += piece.size(); });
  CString result;
  if (size != 0) {
    char16_t* const out = result.GetBuffer(static_cast<int>(size));
    std::size_t count = 0;
    ForEachPiece([&](std::string_view piece) { count += ToUnits(piece, Surrogates(), out + count); });
    result.ReleaseBuffer(static_cast<int>(count));
  }
  text = std::move(result);
}

// --- lines ----------------------------------------------------------------------------------------------------------

std::string_view CDocument::LineEndOf(const item_t& item) const noexcept {
  const std::string_view line = Slice(item.begin, item.end);
  if (line.ends_with("\r\n")) return line.substr(line.size() - 2);
  return line.substr(line.size() - (IsLineEnd(line.back()) ? 1 : 0));
}

bool CDocument::EndsInBlankLine(const item_t& item) const noexcept {
  if (item.kind != kind_t::kOther) return false;
  const std::string_view lines = Slice(item.begin, item.end - static_cast<std::uint32_t>(LineEndOf(item).size()));
  return lines.size() < item.end - item.begin && (lines.empty() || IsLineEnd(lines.back()));
}

void CDocument::Compact() {
  std::string text;
  text.reserve(text_.size() - unused_);
  ForEachPiece([&](std::string_view piece) { text += piece; });
  std::size_t begin = 0;
  for (std::uint32_t at = head_; at != kNone; at = items_[at].next) {
    Move(items_[at], begin);
    begin = items_[at].end;
  }
  text_.swap(text);
  unused_ = 0;
}

void CDocument::ReserveItems(std::size_t count) {
  if (items_.capacity() - items_.size() < count) items_.reserve(2 * items_.size() + count);
}

// Behind kNone is the top of the document. There is room for one more.
std::uint32_t CDocument::LinkBehind(const item_t& item, std::uint32_t before) noexcept {
  std::uint32_t index = free_;
  if (index == kNone) {
    index = static_cast<std::uint32_t>(items_.size());
    items_.push_back(item);
  } else {
    free_ = std::exchange(items_[index], item).next;
  }
  const std::uint32_t after = std::exchange(before == kNone ? head_ : items_[before].next, index);
  items_[index].previous = before;
  items_[index].next = after;
  (after == kNone ? tail_ : items_[after].previous) = index;
  return index;
}

void CDocument::Remove(std::uint32_t item) noexcept {
  const auto [previous, next] = std::pair(items_[item].previous, items_[item].next);
  (previous == kNone ? head_ : items_[previous].next) = next;
  (next == kNone ? tail_ : items_[next].previous) = previous;
  unused_ += items_[item].end - items_[item].begin;
  items_[item].next = std::exchange(free_, item);
}

// --- changing -------------------------------------------------------------------------------------------------------

bool CDocument::WriteValue(const char16_t* section, const char16_t* key, std::u16string_view value) {
  const CFoldedName foldedSection(section), foldedKey(key);
  const wanted_t wanted = Want(foldedSection, foldedKey);
  const std::uint32_t index = FindSection(wanted.section, wanted.sectionHash);
  const std::uint32_t item = FindKey(index, wanted);
  if (item == kNone && (!IsKeyName(TextOrEmpty(key)) || !IsSectionName(TextOrEmpty(section)))) return false;
  if (unused_ > kMinUnused && unused_ > text_.size() / 2) Compact();
  if (item != kNone) {
    ReplaceValue(item, value);
  } else {
    Add(index, wanted, TextOrEmpty(section), TextOrEmpty(key), value);
  }
  return true;
}

// New text for the end of the buffer, made of lines with their ends.
struct CDocument::draft_t {
  const CDocument& document;
  std::string text;
  std::uint32_t before;  // the line that the new ones follow
  bool isBeforeOpen;     // it ends the document without a line end; the last new line will do so instead
  std::string lineEnd;

  draft_t(const CDocument& owner, std::uint32_t lineBefore)
      : document(owner), before(lineBefore), isBeforeOpen(false), lineEnd(owner.newLine_) {
    if (before == kNone) return;
    const item_t& line = document.items_[before];
    const std::string_view end = document.LineEndOf(line);
    isBeforeOpen = end.empty();
    if (isBeforeOpen) {
      text.append(document.Slice(line.begin, line.end)).append(lineEnd);
    } else {
      lineEnd = end;
    }
  }
  std::uint32_t Place() const { return static_cast<std::uint32_t>(document.text_.size() + text.size()); }
};

// The text goes behind the buffer; the line before, when it had no end, moves there to get one.
void CDocument::Commit(const draft_t& draft) {
  const std::size_t begin = text_.size();
  if (begin - unused_ + draft.text.size() > kMaxSize || begin + draft.text.size() >= kNone) {
    throw std::length_error("an INI document of more than 1 GiB");
  }
  text_ += draft.text;
  hasLineNumbers_ = false;
  if (!draft.isBeforeOpen) return;
  item_t& line = items_[draft.before];
  unused_ += line.end - line.begin;
  Move(line, begin);
  line.end += static_cast<std::uint32_t>(draft.lineEnd.size());
}

// The spacing around "=" and the spelling of the key stay.
void CDocument::ReplaceValue(std::uint32_t index, std::u16string_view value) {
  item_t& item = items_[index];
  CString old;
  DecodeValue(item, old);
  if (old.View() == value) return;

  std::string line(Slice(item.begin, item.valueBegin));
  const std::size_t valueBegin = line.size();
  AppendValue(value, line);
  const std::size_t valueEnd = line.size();
  line += Slice(item.valueEnd, item.end);
  const std::size_t begin = text_.size();
  if (begin - unused_ + line.size() > kMaxSize || begin + line.size() >= kNone) {
    throw std::length_error("an INI document of more than 1 GiB");
  }
  text_ += line;
  unused_ += item.end - item.begin;
  Move(item, begin);
  item.valueEnd = static_cast<std::uint32_t>(begin + valueEnd);
  item.end = static_cast<std::uint32_t>(begin + line.size());
  item.isQuoted = NeedsQuotes(value);
  item.isPlain = !item.isQuoted && utf::IsAscii(std::string_view(line).substr(valueBegin, valueEnd - valueBegin));
}

std::uint32_t CDocument::PlaceOfNewKey(std::uint32_t section) const noexcept {
  const section_t& lines = sections_[section];
  if (lines.lastKey != kNone) return lines.lastKey;
  std::uint32_t place = lines.firstLine;
  ForEachKey(section, [&](std::uint32_t key) { place = key; });
  return place;
}

// The spacing around "=" of a new line: as the key above has it.
std::string CDocument::EqualsAsIn(std::uint32_t above) const {
  std::string equals = "=";
  if (above == kNone || items_[above].kind != kind_t::kKey) return equals;
  const std::string_view between = Slice(items_[above].nameEnd, items_[above].valueBegin);
  if (!between.starts_with('=')) equals.insert(0, 1, ' ');
  if (!between.ends_with('=')) equals += ' ';
  return equals;
}

// A key at the end of its section; a section that is new gets its line at the end of the document, below a blank one.
void CDocument::Add(std::uint32_t section, const wanted_t& wanted, std::u16string_view sectionName,
                    std::u16string_view key, std::u16string_view value) {
  const bool isNew = section == kNone;
  draft_t draft(*this, isNew ? tail_ : PlaceOfNewKey(section));
  item_t blank, head, line;
  if (isNew) {
    blank.begin = draft.Place();
    if (tail_ != kNone && !EndsInBlankLine(items_[tail_])) draft.text += draft.lineEnd;
    blank.end = head.begin = draft.Place();
    draft.text += '[';
    head.nameBegin = draft.Place();
    draft.text += utf::ToUtf8(sectionName);
    head.nameEnd = draft.Place();
    draft.text.append("]").append(draft.lineEnd);
    head.end = draft.Place();
    head.kind = kind_t::kSection;
    head.hasAsciiName = utf::IsAscii(sectionName);
  }
  line.begin = line.nameBegin = draft.Place();
  draft.text += utf::ToUtf8(key);
  line.nameEnd = draft.Place();
  draft.text += EqualsAsIn(draft.before);
  line.valueBegin = draft.Place();
  AppendValue(value, draft.text);
  line.valueEnd = draft.Place();
  if (!draft.isBeforeOpen) draft.text += draft.lineEnd;
  line.end = draft.Place();
  line.kind = kind_t::kKey;
  line.hasAsciiName = utf::IsAscii(key);
  line.isQuoted = NeedsQuotes(value);
  line.isPlain = !line.isQuoted && utf::IsAscii(value);

  ReserveItems(3);
  keyNames_.Reserve(1);
  sectionNames_.Reserve(1);
  std::string folded(isNew ? wanted.section : std::string_view());
  if (isNew && freeSections_.empty()) {
    freeSections_.push_back(static_cast<std::uint32_t>(sections_.size()));
    sections_.emplace_back();
  }
  Commit(draft);

  std::uint32_t before = draft.before;
  if (isNew) {
    section = head.section = freeSections_.back();
    freeSections_.pop_back();
    if (blank.begin < blank.end) before = LinkBehind(blank, before);
    before = LinkBehind(head, before);
    sectionNames_.Insert(wanted.sectionHash, section);
    sections_[section] = {before, before, kNone, wanted.sectionHash, std::move(folded)};
  }
  line.section = section;
  before = LinkBehind(line, before);
  keyNames_.Insert(wanted.keyHash, before);
  sections_[section].lastKey = before;
}

void CDocument::RemoveKey(std::uint32_t item) noexcept {
  section_t& section = sections_[items_[item].section];
  if (section.lastKey == item) {
    std::uint32_t at = items_[item].previous;
    while (at != kNone && items_[at].kind == kind_t::kOther) at = items_[at].previous;
    section.lastKey = at != kNone && items_[at].kind == kind_t::kKey ? at : kNone;
  }
  Remove(item);
}

bool CDocument::DeleteValue(const char16_t* section, const char16_t* key) {
  std::uint32_t item = FindKey(section, key);
  if (item == kNone) return false;
  keyNames_.Remove(HashOf(items_[item]), item);
  while (item != kNone) {
    const std::uint32_t same = items_[item].same;
    RemoveKey(item);
    item = same;
  }
  hasLineNumbers_ = false;
  return true;
}

bool CDocument::DeleteSection(const char16_t* section) {
  const std::uint32_t index = FindSection(section);
  if (index == kNone) return false;
  // All that may need memory comes first.
  std::vector<std::pair<std::uint32_t, std::uint32_t>> names;
  const std::uint32_t firstLine = sections_[index].firstLine;
  ForEachKey(index, [&](std::uint32_t item) {
    if (!items_[item].isRepeated) names.emplace_back(HashOf(items_[item]), item);
  });
  if (names.empty() && firstLine == kNone) return false;
  freeSections_.reserve(freeSections_.size() + 1);

  for (const auto& [hash, item] : names) keyNames_.Remove(hash, item);
  const auto removeUntilSection = [&](std::uint32_t at, bool keysOnly) {
    while (at != kNone && items_[at].kind != kind_t::kSection) {
      const std::uint32_t next = items_[at].next;
      if (!keysOnly || items_[at].kind == kind_t::kKey) Remove(at);
      at = next;
    }
  };
  if (index == 0) removeUntilSection(head_, true);
  for (std::uint32_t line = firstLine; line != kNone;) {
    const auto [same, next] = std::pair(items_[line].same, items_[line].next);
    Remove(line);
    removeUntilSection(next, false);
    line = same;
  }
  if (index != 0) {
    sectionNames_.Remove(sections_[index].hash, index);
    freeSections_.push_back(index);
  }
  sections_[index] = {kNone, kNone, kNone, sections_[index].hash, {}};
  hasLineNumbers_ = false;
  return true;
}

}  // namespace zorplatform::ini
