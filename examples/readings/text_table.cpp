#include "examples/readings/text_table.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "platform/text/number_text.h"

namespace readings {
namespace {

// How many characters, not bytes.
std::size_t WidthOf(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

}  // namespace

CTextTable::CTextTable(std::vector<column_t> columns) : columns_(std::move(columns)) {
  std::vector<std::string>& heads = rows_.emplace_back();
  for (const column_t& column : columns_) heads.push_back(column.head);
}

void CTextTable::Print(std::ostream& out, const std::string& indent) const {
  std::vector<std::size_t> widths(columns_.size());
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], WidthOf(row[i]));
  }
  for (const auto& row : rows_) {
    std::string line = indent;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string pad(widths[i] - WidthOf(row[i]), ' ');
      line += (i == 0 ? "" : "  ") + (columns_[i].isLeft ? row[i] + pad : pad + row[i]);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
  }
}

std::string Grouped(std::uint64_t count) {
  const std::string digits = std::to_string(count);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i != 0 && (digits.size() - i) % 3 == 0) text += ',';
    text += digits[i];
  }
  return text;
}

std::string Percent(std::uint64_t part, std::uint64_t whole) {
  if (whole == 0) return "-";
  char text[32];
  const double percent = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
  const auto end = std::to_chars(text, std::end(text), percent, std::chars_format::fixed, 1);
  return std::string(text, end.ptr) + " %";
}

std::string Value(double value) {
  char text[number_text::kMaxChars];
  return {text, number_text::FormatGeneral(value, 6, text)};
}

}  // namespace readings
