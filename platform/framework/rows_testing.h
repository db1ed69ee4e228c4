// For tests: a table of short texts in one literal, so that a case stays short.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace rows_testing {

/// The rows of a table, which ";" separates, each with its fields, which "|" separates. White space before a row does
/// not count.
inline std::vector<std::vector<std::string>> Rows(const std::string& table) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream in(table);
  for (std::string row; std::getline(in >> std::ws, row, ';');) {
    auto& fields = rows.emplace_back(1);
    for (const char unit : row) unit == '|' ? fields.emplace_back() : fields.back() += unit;
  }
  return rows;
}

}  // namespace rows_testing
