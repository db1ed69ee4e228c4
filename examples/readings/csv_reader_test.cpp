#include "examples/readings/csv_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "examples/readings/source_testing.h"

namespace readings {
namespace {

using namespace std::string_literals;

// "1[a][b]" for a good row that begins on line 1, "1:3!" for a problem in line 1, column 3.
std::string Read(const std::string& text, std::size_t pieceSize) {
  CTextSource source(text, pieceSize);
  CCsvReader reader(source, 64);
  std::string rows;
  while (reader.Next()) {
    if (const auto* problem = reader.GetProblem(); problem != nullptr) {
      rows.append(std::to_string(problem->at.line)).append(":").append(std::to_string(problem->at.column)).append("! ");
      continue;
    }
    rows += std::to_string(reader.GetLine());
    for (const std::string_view field : reader.GetFields()) rows.append("[").append(field).append("]");
    rows += ' ';
  }
  if (!rows.empty()) rows.pop_back();
  return rows;
}

struct text_case_t {
  std::string text;
  std::string rows;
};

void ExpectRows(const std::vector<text_case_t>& cases) {
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    for (const std::size_t pieceSize : {1000u, 1u, 2u, 3u}) EXPECT_EQ(Read(c.text, pieceSize), c.rows) << pieceSize;
  }
}

TEST(CsvReader, ReadsEveryUsualForm) {
  ExpectRows({{"", ""},
              {"\xEF\xBB\xBF", ""},
              {"a,b\nc,d\n", "1[a][b] 2[c][d]"},
              {"a,b", "1[a][b]"},
              {"a,b\r\nc\r\n", "1[a][b] 2[c]"},
              {"a\r", "1[a]"},
              {"\xEF\xBB\xBF"s + "a,b\n", "1[a][b]"},
              {"\xEF\xBB", "1:1!"},
              {"\n\r\n \t\n,\n\n", "4[][]"},
              {"a,\n,b\n", "1[a][] 2[][b]"},
              {"\"a,b\",\"c \"\"d\"\"\"\r\n\"\"", "1[a,b][c \"d\"] 2[]"},
              {"\"a\nb\",c\nd\n", "1[a\nb][c] 3[d]"},
              {"\"a\r\n\"\"\",c\nd\n", "1[a\r\n\"][c] 3[d]"},
              {"K\xC3\xBChl,\xF0\x9F\x94\xA5\n", "1[K\xC3\xBChl][\xF0\x9F\x94\xA5]"}});
}

TEST(CsvReader, PlacesAProblemAndGoesOnBehindIt) {
  ExpectRows({{"a\nb,c\"d\ne\n", "1[a] 2:4! 3[e]"},
              {"a,\"b\"c\nd\n", "1:6! 2[d]"},
              {"a,\"b\nc\nd\n", "1:3! 2[c] 3[d]"},
              // A stray quote pairs with the next one, two lines down: only its own line is lost.
              {"a,\"b\nc\nd,\"e\"\n", "1:3! 2[c] 3[d][e]"},
              {"\"a\nb\",\"c\nd\n", "2:4! 3[d]"},
              {"a,b\0c\nd\n"s, "1:4! 2[d]"},
              {"\xC3\xBC,\xC3\xBC\xFF\n", "1:4!"},
              {"\xC0\x80\n\xE0\x80\x80\n\xED\xA0\x80\n\xF4\x90\x80\x80\n\xC3\n", "1:1! 2:1! 3:1! 4:1! 5:1!"},
              {"\"a\n\xFF\"\nb\n", "2:1! 3[b]"}});
}

TEST(CsvReader, RefusesRowsThatAreTooLongOrTooWide) {
  const std::string full(CCsvReader::kMaxRowBytes - 1, 'x');
  const std::string commas(CCsvReader::kMaxFields - 1, ',');
  std::string widest = "1";
  for (std::size_t i = 0; i < CCsvReader::kMaxFields; ++i) widest += "[]";
  const struct {
    const char* what;
    std::string text;
    std::string rows;
  } cases[] = {
      {"longest", full + "\na\n", std::string("1[").append(full).append("] 2[a]")},
      {"one longer", full + "x\na\n", "1:1! 2[a]"},
      {"much longer", full + full + full + "\na\n", "1:1! 2[a]"},
      {"quote open for too long", "\"" + full + "\na\n", "1:1! 2[a]"},
      {"quote open for many lines", "b,\"c\n" + std::string(CCsvReader::kMaxRowBytes, '\n') + "a", "1:3! 65538[a]"},
      {"widest", commas, widest},
      {"one wider", commas + ",\na", "1:65! 2[a]"}};
  for (const auto& c : cases) {
    EXPECT_EQ(Read(c.text, 100'000), c.rows) << c.what;
    EXPECT_EQ(Read(c.text, 1000), c.rows) << c.what;
  }
}

TEST(CsvReader, TellsWhereFieldsBegin) {
  CTextSource source("\xEF\xBB\xBFK\xC3\xBChl,\"a\nb\",\"c\",d\n");
  CCsvReader reader(source);
  ASSERT_TRUE(reader.Next());
  const text_position_t places[] = {{1, 1}, {1, 6}, {2, 4}, {2, 8}};
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(reader.GetPosition(i), places[i]) << i;
}

TEST(CsvReader, LetsTheSourcesFailureThrough) {
  struct CFailing : CByteSource {
    std::size_t Read(char*, std::size_t) override { throw std::runtime_error("disk"); }
  } source;
  CCsvReader reader(source);
  EXPECT_THROW(reader.Next(), std::runtime_error);
}

TEST(CsvWriter, QuotesWhatWouldNotComeBack) {
  const struct {
    const char* field;
    const char* written;
  } cases[] = {{"a b", "a b"},         {"", "\"\""},         {"a,b", "\"a,b\""},
               {"a\"b", "\"a\"\"b\""}, {"a\nb", "\"a\nb\""}, {" a", "\" a\""}};
  for (const auto& c : cases) {
    std::string written;
    AppendCsvField(written, c.field);
    EXPECT_EQ(written, c.written);
  }
}

}  // namespace
}  // namespace readings
