// CSV text row by row, from any source of bytes, in constant memory.
//
//   CCsvReader reader(source);
//   while (reader.Next()) {
//     if (reader.GetProblem() != nullptr) Complain(*reader.GetProblem());
//     else Use(reader.GetFields());                      // views, valid until the next Next
//   }
//
// Taken: fields in double quotes (a quote inside is written twice, line breaks may stand inside), LF and CRLF, a
// UTF-8 byte-order mark, a missing last line break. Blank lines are passed over. A row that cannot be read is given
// out as a problem, and reading goes on behind it: after a quote gone wrong with the line below that quote, so that
// one stray quote never costs more than its own line. How the source cuts the bytes makes no difference. No
// allocation per row. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace readings {

/// Where bytes come from. A failure is the source's own exception, which passes through the reader.
class CByteSource {
 public:
  virtual ~CByteSource() = default;
  /// Up to `count` bytes, at least one while there are any; 0 is the end.
  virtual std::size_t Read(char* buffer, std::size_t count) = 0;
};

/// A place in a text: lines and columns count from 1, columns in characters (code points).
struct text_position_t {
  std::uint64_t line = 0;
  std::uint64_t column = 0;

  bool operator==(const text_position_t&) const = default;
};

struct csv_problem_t {
  text_position_t at;
  const char* text;  ///< what is wrong and what was expected
};

class CCsvReader {
 public:
  /// The longest row in bytes, its line breaks included, and the most fields of one; beyond that it is a problem.
  static constexpr std::size_t kMaxRowBytes = 64 * 1024;
  static constexpr std::size_t kMaxFields = 64;

  /// `blockSize` is how much the source is asked for at a time. The source must outlive the reader.
  explicit CCsvReader(CByteSource& source, std::size_t blockSize = 256 * 1024);

  /// Goes to the next row, good or bad. False at the end.
  bool Next();

  /// Null for a good row.
  const csv_problem_t* GetProblem() const { return bad_ ? &problem_ : nullptr; }
  /// The fields of a good row: at least one, quotes removed.
  std::span<const std::string_view> GetFields() const { return {fields_.data(), fieldCount_}; }
  /// The line on which the row begins.
  std::uint64_t GetLine() const { return rowLine_; }
  /// Where a field of a good row begins (its quote, if it has one).
  text_position_t GetPosition(std::size_t field) const;

 private:
  enum class scan_t { row, blank, needsMore };

  bool Fill();
  void SkipByteOrderMark();
  void SkipRestOfLine();
  scan_t Scan();
  scan_t ScanQuoted(const char*& at);
  scan_t TakeRow(const char* contentEnd, const char* next);
  scan_t Refuse(const char* at, const char* text, const char* resume);
  bool AddField(const char* begin, const char* text, std::size_t textSize);
  text_position_t PositionOf(const char* at) const;

  CByteSource& source_;
  std::size_t blockSize_;
  std::size_t capacity_;
  std::unique_ptr<char[]> buffer_;
  const char* begin_;  // the first byte that is not yet given out
  const char* end_;
  bool atEnd_ = false;
  bool skipLine_ = false;  // what is left of a refused line is still to be passed over

  const char* rowBegin_;
  std::uint64_t rowLine_ = 0;
  std::uint64_t line_ = 1;  // of begin_
  bool unusual_ = false;    // the row holds bytes that are not plain ASCII text
  bool multiline_ = false;
  bool bad_ = false;
  csv_problem_t problem_{};
  std::vector<std::string_view> fields_;
  std::vector<std::size_t> fieldOffsets_;
  std::size_t fieldCount_ = 0;
  std::vector<char> unquoted_;  // the texts of fields that held doubled quotes
};

/// Appends a field as CSV, in quotes when it needs them: it is read back as it was, blanks at its ends included.
void AppendCsvField(std::string& out, std::string_view field);

/// The text without blanks and tabs at its ends.
std::string_view Trimmed(std::string_view text);

}  // namespace readings
