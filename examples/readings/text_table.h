// Tables and numbers as people read them on a terminal.
//
//   CTextTable table({{"tag", true}, {"readings"}});
//   table.AddRow({"FT101", Grouped(1234567)});
//   table.Print(std::cerr);                    // tag     readings
//                                              // FT101  1,234,567
//
// Widths are counted in characters, so that texts beyond ASCII stand in line. A value object.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace readings {

class CTextTable {
 public:
  struct column_t {
    std::string head;
    bool isLeft = false;  ///< texts stand left, numbers right
  };

  explicit CTextTable(std::vector<column_t> columns);
  /// A cell for each column.
  void AddRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
  bool IsEmpty() const { return rows_.size() == 1; }
  /// Columns two blanks apart, each line after `indent`.
  void Print(std::ostream& out, const std::string& indent = {}) const;

 private:
  std::vector<column_t> columns_;
  std::vector<std::vector<std::string>> rows_;  // the head first
};

/// "1234567" as "1,234,567".
std::string Grouped(std::uint64_t count);
/// "12.5 %", "-" of nothing.
std::string Percent(std::uint64_t part, std::uint64_t whole);
/// With 6 significant digits.
std::string Value(double value);

}  // namespace readings
