#include "examples/readings/csv_reader.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace readings {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

constexpr const char* kNotClosed =
    "a quote that is not closed: expected a closing quote (a quote inside a field is written twice)";

constexpr std::uint8_t kStops = 1;    // may end an unquoted field
constexpr std::uint8_t kUnusual = 2;  // a NUL, or part of a character outside ASCII

constexpr std::array<std::uint8_t, 256> MakeClasses() {
  std::array<std::uint8_t, 256> classes{};
  classes[0] = kUnusual;
  for (std::size_t c = 0x80; c < 0x100; ++c) classes[c] = kUnusual;
  for (const char c : {',', '\n', '"'}) classes[static_cast<unsigned char>(c)] = kStops;
  return classes;
}
constexpr auto kClasses = MakeClasses();

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The length of the well-formed character at `at`, or 0.
std::size_t CharacterLength(const char* at, const char* end) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(at[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
  if (length == 0 || static_cast<std::size_t>(end - at) < length) return 0;
  if (!std::all_of(at + 1, at + length, IsContinuation)) return 0;
  // Overlong forms, surrogates and what lies above U+10FFFF all show in the second byte.
  if (lead == 0xE0 && byte(1) < 0xA0) return 0;
  if (lead == 0xED && byte(1) > 0x9F) return 0;
  if (lead == 0xF0 && byte(1) < 0x90) return 0;
  if (lead == 0xF4 && byte(1) > 0x8F) return 0;
  return length;
}

const char* FindNewline(const char* begin, const char* end) {
  return static_cast<const char*>(std::memchr(begin, '\n', static_cast<std::size_t>(end - begin)));
}

bool IsBlank(std::string_view text) { return text.find_first_not_of(" \t\r") == std::string_view::npos; }

}  // namespace

CCsvReader::CCsvReader(CByteSource& source, std::size_t blockSize)
    : source_(source),
      blockSize_(std::max<std::size_t>(blockSize, 1)),
      capacity_(blockSize_ + kMaxRowBytes + 2),
      buffer_(new char[capacity_]),
      begin_(buffer_.get()),
      end_(buffer_.get()),
      rowBegin_(buffer_.get()),
      fields_(kMaxFields),
      fieldOffsets_(kMaxFields) {
  unquoted_.reserve(kMaxRowBytes);
}

bool CCsvReader::Next() {
  if (rowLine_ == 0) SkipByteOrderMark();
  for (;;) {
    if (skipLine_) SkipRestOfLine();
    const scan_t scanned = Scan();
    if (scanned == scan_t::row) return true;
    if (scanned == scan_t::needsMore && !Fill() && begin_ == end_) return false;
  }
}

// Moves what is pending to the front and reads a block behind it. False at the end, which is remembered.
bool CCsvReader::Fill() {
  if (atEnd_) return false;
  const std::size_t pending = static_cast<std::size_t>(end_ - begin_);
  std::memmove(buffer_.get(), begin_, pending);
  begin_ = buffer_.get();
  const std::size_t got = source_.Read(buffer_.get() + pending, std::min(blockSize_, capacity_ - pending));
  end_ = begin_ + pending + got;
  atEnd_ = got == 0;
  return !atEnd_;
}

void CCsvReader::SkipByteOrderMark() {
  const auto pending = [&] { return std::string_view(begin_, static_cast<std::size_t>(end_ - begin_)); };
  while (pending().size() < kByteOrderMark.size() && kByteOrderMark.starts_with(pending()) && Fill()) {
  }
  if (pending().starts_with(kByteOrderMark)) begin_ += kByteOrderMark.size();
}

void CCsvReader::SkipRestOfLine() {
  for (;;) {
    if (const char* newline = FindNewline(begin_, end_); newline != nullptr) {
      begin_ = newline + 1;
      ++line_;
      break;
    }
    begin_ = end_;
    if (!Fill()) break;
  }
  skipLine_ = false;
}

// Reads the row at begin_. Asked for more, it starts again at the row's first byte: what it sees never depends on
// where a block ended.
CCsvReader::scan_t CCsvReader::Scan() {
  rowBegin_ = begin_;
  rowLine_ = line_;
  fieldCount_ = 0;
  unquoted_.clear();
  bad_ = unusual_ = multiline_ = false;
  if (begin_ == end_) return scan_t::needsMore;

  const char* const tooFar =
      begin_ + std::min(static_cast<std::size_t>(end_ - begin_), kMaxRowBytes);  // where a scan must stop
  const bool isLong = static_cast<std::size_t>(end_ - begin_) >= kMaxRowBytes;
  for (const char* at = begin_;;) {
    const char* const fieldBegin = at;
    if (at < tooFar && *at == '"') {
      const scan_t scanned = ScanQuoted(at);
      if (scanned != scan_t::row || bad_) return scanned;
    } else {
      std::uint8_t seen = 0;
      while (at < tooFar) {
        const std::uint8_t kind = kClasses[static_cast<unsigned char>(*at)];
        seen |= kind;
        if ((kind & kStops) != 0) break;
        ++at;
      }
      unusual_ |= (seen & kUnusual) != 0;
      if (at < tooFar && *at == '"') {
        return Refuse(at,
                      "a quote inside a field that does not begin with one: put the whole field in quotes "
                      "and write the quote twice",
                      at);
      }
      if (at == tooFar && !isLong && !atEnd_) return scan_t::needsMore;
      const bool lastOfRow = at == tooFar || *at == '\n';
      const char* fieldEnd = at;
      if (lastOfRow && fieldEnd > fieldBegin && fieldEnd[-1] == '\r') --fieldEnd;
      const auto size = static_cast<std::size_t>(fieldEnd - fieldBegin);
      if (!AddField(fieldBegin, fieldBegin, size)) {
        return Refuse(fieldBegin, "too many fields: expected at most 64 in a row", at);
      }
    }
    if (at == tooFar) {
      if (isLong) return Refuse(rowBegin_, "row too long: expected at most 65536 bytes", at);
      return TakeRow(at, at);
    }
    if (*at == '\n') return TakeRow(at, at + 1);
    ++at;  // the comma
  }
}

// Reads a field in quotes at `at`, and leaves `at` on the comma or line break behind it, or at the end.
CCsvReader::scan_t CCsvReader::ScanQuoted(const char*& at) {
  const char* const open = at;
  const char* const limit = begin_ + std::min(static_cast<std::size_t>(end_ - begin_), kMaxRowBytes);
  const bool complete = atEnd_ || limit < end_ || static_cast<std::size_t>(end_ - begin_) >= kMaxRowBytes;
  const std::size_t copyBegin = unquoted_.size();
  const char* textBegin = open + 1;  // of what is not copied yet
  bool copied = false;
  const char* quote = open + 1;
  for (;;) {
    while (quote < limit && *quote != '"') {
      unusual_ |= (kClasses[static_cast<unsigned char>(*quote)] & kUnusual) != 0;
      multiline_ |= *quote == '\n';
      ++quote;
    }
    if (quote == limit) {
      if (!complete) return scan_t::needsMore;
      return Refuse(open, kNotClosed, open);
    }
    if (quote + 1 == limit && !complete) return scan_t::needsMore;
    if (quote + 1 < limit && quote[1] == '"') {
      unquoted_.insert(unquoted_.end(), textBegin, quote + 1);
      copied = true;
      quote += 2;
      textBegin = quote;
      continue;
    }
    break;
  }

  at = quote + 1;
  if (at < limit && *at == '\r') {
    if (at + 1 == limit && !complete) return scan_t::needsMore;
    if (at + 1 == limit || at[1] == '\n') ++at;
  }
  if (at < limit && *at != ',' && *at != '\n') {
    // Over several lines it is the opening quote that went astray, most likely.
    if (std::find(open, at, '\n') != at) return Refuse(open, kNotClosed, open);
    return Refuse(at,
                  "text behind a closing quote: expected a comma or the end of the line (a quote inside a field "
                  "is written twice)",
                  open);
  }
  const char* text = textBegin;
  std::size_t size = static_cast<std::size_t>(quote - textBegin);
  if (copied) {
    unquoted_.insert(unquoted_.end(), textBegin, quote);
    text = unquoted_.data() + copyBegin;  // reserved for the longest row: never moves
    size = unquoted_.size() - copyBegin;
  }
  if (!AddField(open, text, size)) return Refuse(open, "too many fields: expected at most 64 in a row", at);
  return scan_t::row;
}

bool CCsvReader::AddField(const char* begin, const char* text, std::size_t textSize) {
  if (fieldCount_ == kMaxFields) return false;
  fields_[fieldCount_] = {text, textSize};
  fieldOffsets_[fieldCount_] = static_cast<std::size_t>(begin - rowBegin_);
  ++fieldCount_;
  return true;
}

CCsvReader::scan_t CCsvReader::TakeRow(const char* contentEnd, const char* next) {
  if (unusual_) {
    for (const char* at = rowBegin_; at < contentEnd;) {
      if (*at == '\0') return Refuse(at, "a NUL byte: expected text", contentEnd);
      const std::size_t length = CharacterLength(at, contentEnd);
      if (length == 0) return Refuse(at, "a byte that is not UTF-8: expected UTF-8 text", contentEnd);
      at += length;
    }
  }
  if (multiline_) line_ += static_cast<std::uint64_t>(std::count(rowBegin_, contentEnd, '\n'));
  if (next != contentEnd) ++line_;
  begin_ = next;
  const bool blank = fieldCount_ == 1 && *rowBegin_ != '"' && IsBlank(fields_[0]);
  return blank ? scan_t::blank : scan_t::row;
}

// Ends a bad row: reading goes on with the line below the one that `resume` is on.
CCsvReader::scan_t CCsvReader::Refuse(const char* at, const char* text, const char* resume) {
  problem_ = {PositionOf(at), text};
  bad_ = true;
  fieldCount_ = 0;
  line_ += static_cast<std::uint64_t>(std::count(begin_, resume, '\n'));
  begin_ = resume;
  skipLine_ = true;
  return scan_t::row;
}

text_position_t CCsvReader::PositionOf(const char* at) const {
  text_position_t position{rowLine_, 1};
  for (const char* c = rowBegin_; c < at; ++c) {
    if (*c == '\n') {
      ++position.line;
      position.column = 1;
    } else if (!IsContinuation(*c)) {
      ++position.column;
    }
  }
  return position;
}

text_position_t CCsvReader::GetPosition(std::size_t field) const {
  return PositionOf(rowBegin_ + fieldOffsets_[field]);
}

void AppendCsvField(std::string& out, std::string_view field) {
  const bool plain = field.find_first_of(",\"\r\n") == std::string_view::npos && Trimmed(field) == field;
  if (plain && !field.empty() && !field.starts_with(kByteOrderMark)) {
    out += field;
    return;
  }
  out += '"';
  for (const char c : field) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace readings
