#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>

#include "examples/replay/replay.h"
#include "platform/text/number_text.h"

namespace replay {
namespace {

enum column_t { TAG, UNIT, READINGS, REPORTED, SUPPRESSED, LOWEST, HIGHEST, DROPOUTS, FAILURES, FIRST, COLUMNS };
constexpr bool IsLeft(int column) { return column == TAG || column == UNIT; }

struct row_t {
  std::string cells[COLUMNS];
};

// "1234567" as "1,234,567".
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

// How many characters, not bytes.
std::size_t WidthOf(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

row_t RowOf(const tag_statistics_t& tag) {
  const bool valued = tag.good != 0 && tag.tag->scaling.GetScaledDataType() != DT_STRING;
  return {{tag.tag->name, tag.tag->unit, Grouped(tag.readings), Grouped(tag.reported),
           Percent(tag.good - tag.reported, tag.good), valued ? Value(tag.low) : "-", valued ? Value(tag.high) : "-",
           Grouped(tag.dropouts), Grouped(tag.failures),
           tag.firstFailureLine != 0 ? Grouped(tag.firstFailureLine) : "-"}};
}

tag_statistics_t Total(const std::vector<tag_statistics_t>& tags) {
  tag_statistics_t total;
  for (const tag_statistics_t& tag : tags) {
    total.readings += tag.readings;
    total.reported += tag.reported;
    total.good += tag.good;
  }
  return total;
}

}  // namespace

void PrintSummary(std::ostream& out, const std::vector<tag_statistics_t>& tags, double seconds) {
  std::vector<row_t> rows = {{{"tag", "unit", "readings", "reported", "suppressed", "lowest", "highest", "dropouts",
                               "failures", "first in line"}}};
  for (const tag_statistics_t& tag : tags) rows.push_back(RowOf(tag));
  std::size_t widths[COLUMNS] = {};
  for (const row_t& row : rows) {
    for (int i = 0; i < COLUMNS; ++i) widths[i] = std::max(widths[i], WidthOf(row.cells[i]));
  }
  for (const row_t& row : rows) {
    std::string line;
    for (int i = 0; i < COLUMNS; ++i) {
      const std::string pad(widths[i] - WidthOf(row.cells[i]), ' ');
      line += (i == 0 ? "" : "  ") + (IsLeft(i) ? row.cells[i] + pad : pad + row.cells[i]);
    }
    out << line << '\n';
  }
  const tag_statistics_t total = Total(tags);
  const auto rate = static_cast<double>(total.readings) / std::max(seconds, 1e-9);
  out << Grouped(total.readings) << " readings, " << Grouped(total.reported) << " reported, "
      << Percent(total.good - total.reported, total.good) << " suppressed; " << Value(std::round(seconds * 1000) / 1000)
      << " s, " << Grouped(static_cast<std::uint64_t>(rate)) << " readings a second\n";
}

}  // namespace replay
