// CSV of any bytes: how the source cuts them changes nothing, places lie inside the text, and the fields of every
// good row, written back, are read as the same row.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "examples/readings/csv_reader.h"
#include "examples/readings/source_testing.h"

namespace {

void Require(bool claim) {
  if (!claim) std::abort();
}

struct row_t {
  std::uint64_t line = 0;
  std::vector<std::string> fields;
  std::vector<readings::text_position_t> places;  // of the fields, or of the problem alone
  std::string problem;

  bool operator==(const row_t&) const = default;
};

std::vector<row_t> Rows(std::string_view text, std::size_t blockSize) {
  readings::CTextSource source{std::string(text)};
  readings::CCsvReader reader(source, blockSize);
  std::vector<row_t> rows;
  while (reader.Next()) {
    row_t& row = rows.emplace_back();
    row.line = reader.GetLine();
    if (const auto* problem = reader.GetProblem(); problem != nullptr) {
      row.problem = problem->text;
      row.places.push_back(problem->at);
      continue;
    }
    for (std::size_t i = 0; i < reader.GetFields().size(); ++i) {
      row.fields.emplace_back(reader.GetFields()[i]);
      row.places.push_back(reader.GetPosition(i));
    }
  }
  return rows;
}

void CheckPlaces(const std::vector<row_t>& rows, std::string_view text) {
  const auto lines = static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  std::uint64_t previous = 0;
  for (const row_t& row : rows) {
    Require(row.line > previous && row.line <= lines);
    previous = row.line;
    for (const auto& place : row.places) {
      Require(place.line >= row.line && place.line <= lines && place.column >= 1 && place.column <= text.size() + 1);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::vector<row_t> rows = Rows(text, 256 * 1024);
  CheckPlaces(rows, text);
  Require(Rows(text, 1 + size % 7) == rows);

  std::string written;
  std::vector<std::vector<std::string>> good;
  for (const row_t& row : rows) {
    if (!row.problem.empty()) continue;
    Require(!row.fields.empty());
    good.push_back(row.fields);
    for (std::size_t i = 0; i < row.fields.size(); ++i) {
      if (i != 0) written += ',';
      readings::AppendCsvField(written, row.fields[i]);
    }
    written += '\n';
  }
  const std::vector<row_t> again = Rows(written, 4096);
  Require(again.size() == good.size());
  for (std::size_t i = 0; i < good.size(); ++i) Require(again[i].fields == good[i]);
  return 0;
}
