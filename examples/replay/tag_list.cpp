#include "examples/replay/tag_list.h"

#include <optional>
#include <utility>

#include "examples/readings/reading.h"
#include "examples/replay/tag_check.h"

namespace replay {
namespace {

using readings::ParseRaw;
using readings::raw_verdict_t;

// A row as it stands there; what is missing is settled when all of it is known.
struct cells_t {
  std::string name;
  std::string unit;
  std::optional<DATATYPE> rawType, scaledType;
  std::optional<CScaling::SCALINGTYPE> scalingType;
  std::optional<double> rawLow, rawHigh, scaledLow, scaledHigh;
  std::optional<bool> clampLow, clampHigh, negate;
  std::optional<CDeadband::deadband_t> deadbandType;
  std::optional<double> deadband, deadbandLow, deadbandHigh;
};

// --- cells: each takes a text that is not empty, and says what it expects otherwise --------------------------------

bool SetText(std::string& out, std::string_view text) {
  out = text;
  return true;
}

bool SetDataType(std::optional<DATATYPE>& out, std::string_view text) {
  DATATYPE type = DT_DEFAULT;
  if (!ReadRawType(CString(text), type)) return false;
  out = type;
  return true;
}

template <class T>
bool SetNumber(std::optional<T>& out, std::string_view text) {
  CVariant value;
  if (ParseRaw(text, DT_DOUBLE, value) != raw_verdict_t::taken) return false;
  out = value.dblVal;
  return true;
}

bool SetTruth(std::optional<bool>& out, std::string_view text) {
  CVariant value;
  if (ParseRaw(text, DT_BOOLEAN, value) != raw_verdict_t::taken) return false;
  out = value.boolVal != VARIANT_FALSE;
  return true;
}

bool SetScalingType(std::optional<CScaling::SCALINGTYPE>& out, std::string_view text) {
  CScaling::SCALINGTYPE type = CScaling::NONE;
  if (!ReadScalingType(CString(text), type)) return false;
  out = type;
  return true;
}

bool SetDeadbandType(std::optional<CDeadband::deadband_t>& out, std::string_view text) {
  CDeadband::deadband_t type = CDeadband::NONE;
  if (!ReadDeadbandType(CString(text), type)) return false;
  out = type;
  return true;
}

std::string ANumber() { return "a number"; }
std::string ATruth() { return "0, 1, true or false"; }
std::string AText() { return "a text"; }

template <auto kMember, auto kSet>
bool Set(cells_t& cells, std::string_view text) {
  return kSet(cells.*kMember, text);
}

struct column_row_t {
  std::string_view name;
  bool (*set)(cells_t& cells, std::string_view text);
  std::string (*expected)();
};
constexpr column_row_t kColumns[] = {
    {"name", Set<&cells_t::name, SetText>, AText},
    {"unit", Set<&cells_t::unit, SetText>, AText},
    {"raw type", Set<&cells_t::rawType, SetDataType>, ExpectedRawTypes},
    {"scaling type", Set<&cells_t::scalingType, SetScalingType>, ExpectedScalingTypes},
    {"raw low", Set<&cells_t::rawLow, SetNumber<double>>, ANumber},
    {"raw high", Set<&cells_t::rawHigh, SetNumber<double>>, ANumber},
    {"scaled type", Set<&cells_t::scaledType, SetDataType>, ExpectedRawTypes},
    {"scaled low", Set<&cells_t::scaledLow, SetNumber<double>>, ANumber},
    {"scaled high", Set<&cells_t::scaledHigh, SetNumber<double>>, ANumber},
    {"clamp low", Set<&cells_t::clampLow, SetTruth>, ATruth},
    {"clamp high", Set<&cells_t::clampHigh, SetTruth>, ATruth},
    {"negate", Set<&cells_t::negate, SetTruth>, ATruth},
    {"deadband type", Set<&cells_t::deadbandType, SetDeadbandType>, ExpectedDeadbandTypes},
    {"deadband", Set<&cells_t::deadband, SetNumber<double>>, ANumber},
    {"deadband low", Set<&cells_t::deadbandLow, SetNumber<double>>, ANumber},
    {"deadband high", Set<&cells_t::deadbandHigh, SetNumber<double>>, ANumber},
};
static_assert(std::size(kColumns) == TAG_FIELDS);

// Letter case does not count, and "_" stands for a blank.
bool IsColumnName(std::string_view text, std::string_view name) {
  if (text.size() != name.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i] == '_' ? ' ' : text[i];
    if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c) != name[i]) return false;
  }
  return true;
}

// Reads the list row by row; the columns that the header named say which field is which.
class CListReader {
 public:
  CListReader(CCsvReader& reader, std::string_view fileName, CProblemLog& log)
      : reader_(reader), fileName_(fileName), log_(log) {}

  /// False, with the reason reported, when the first row is no header with a name column.
  bool ReadHeader() {
    text_position_t at{1, 1};
    const bool any = reader_.Next();
    if (any && reader_.GetProblem() != nullptr) {
      log_.Add(fileName_, reader_.GetProblem()->at, reader_.GetProblem()->text);
      at = reader_.GetProblem()->at;
    } else if (any) {
      at = reader_.GetPosition(0);
      for (const std::string_view field : reader_.GetFields()) AddColumn(Trimmed(field));
    }
    if (fieldOf_[NAME] >= 0) return true;
    log_.Add(fileName_, at,
             "no column 'name': expected a header line that names the columns, such as " + ColumnNames());
    return false;
  }

  /// The tag of a good row of fields; without a name it has none.
  tag_t ReadTag() {
    tag_t tag;
    tag.line = reader_.GetLine();
    problems_ = log_.GetCount();
    cells_t cells;
    if (ReadCells(cells)) FillIn(tag, cells);
    tag.name = std::move(cells.name);
    tag.unit = std::move(cells.unit);
    tag.isRefused = log_.GetCount() != problems_;
    return tag;
  }

  /// Reports a fault of a cell of the present row; of the row as a whole where it has no such column.
  void Complain(tag_field_t column, std::string_view text) {
    const bool present =
        fieldOf_[column] >= 0 && static_cast<std::size_t>(fieldOf_[column]) < reader_.GetFields().size();
    log_.Add(fileName_, reader_.GetPosition(present ? static_cast<std::size_t>(fieldOf_[column]) : 0), text);
  }

 private:
  static std::string ColumnNames() {
    std::string names;
    for (const column_row_t& column : kColumns) names.append(names.empty() ? "" : ", ").append(column.name);
    return names;
  }

  void AddColumn(std::string_view text) {
    const std::size_t field = columns_.size();
    columns_.push_back(TAG_FIELDS);
    for (int column = 0; column < TAG_FIELDS; ++column) {
      if (!IsColumnName(text, kColumns[column].name)) continue;
      if (fieldOf_[column] >= 0) {
        log_.Add(fileName_, reader_.GetPosition(field),
                 "column " + Quoted(text) + " a second time: the first one counts");
        return;
      }
      columns_[field] = static_cast<tag_field_t>(column);
      fieldOf_[column] = static_cast<int>(field);
      return;
    }
    log_.Add(fileName_, reader_.GetPosition(field), "unknown column " + Quoted(text) + ": expected " + ColumnNames());
  }

  bool ReadCells(cells_t& cells) {
    const auto fields = reader_.GetFields();
    if (static_cast<std::size_t>(fieldOf_[NAME]) < fields.size()) {
      cells.name = Trimmed(fields[static_cast<std::size_t>(fieldOf_[NAME])]);
    }
    if (fields.size() != columns_.size()) {
      log_.Add(fileName_, reader_.GetPosition(0),
               std::to_string(fields.size()) + " fields: expected " + std::to_string(columns_.size()) +
                   ", as in the header");
      return false;
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const std::string_view text = Trimmed(fields[i]);
      if (columns_[i] == TAG_FIELDS || text.empty()) continue;
      const column_row_t& column = kColumns[columns_[i]];
      if (column.set(cells, text)) continue;
      Complain(columns_[i], std::string(column.name) + " " + Quoted(text) + ": expected " + column.expected());
    }
    if (cells.name.empty()) Complain(NAME, "a tag without a name");
    return log_.GetCount() == problems_;
  }

  void FillIn(tag_t& tag, const cells_t& cells) {
    tag.rawType = cells.rawType.value_or(DT_DOUBLE);
    CScaling& scaling = tag.scaling;
    if (cells.scalingType) scaling.SetScalingType(*cells.scalingType);
    const bool computes = scaling.GetScalingType() != CScaling::NONE || cells.clampLow.value_or(false) ||
                          cells.clampHigh.value_or(false) || cells.negate.value_or(false);
    scaling.SetScaledDataType(cells.scaledType.value_or(computes ? DT_DOUBLE : tag.rawType));
    tag.isScaled = computes || scaling.GetScaledDataType() != tag.rawType;
    scaling.SetRawLow(cells.rawLow.value_or(scaling.GetRawLow()));
    scaling.SetRawHigh(cells.rawHigh.value_or(scaling.GetRawHigh()));
    scaling.SetScaledLow(cells.scaledLow.value_or(scaling.GetScaledLow()));
    scaling.SetScaledHigh(cells.scaledHigh.value_or(scaling.GetScaledHigh()));
    scaling.SetClampLow(cells.clampLow.value_or(false));
    scaling.SetClampHigh(cells.clampHigh.value_or(false));
    scaling.SetNegateValue(cells.negate.value_or(false));
    scaling.SetUnits(CString(cells.unit));
    FillInDeadband(tag.deadband, cells, scaling);
    CheckTag(tag, [this](tag_field_t field, std::string_view text) { Complain(field, text); });
  }

  static void FillInDeadband(CDeadband& deadband, const cells_t& cells, const CScaling& scaling) {
    deadband.SetDeadbandType(cells.deadbandType.value_or(cells.deadband ? CDeadband::ABSOLUTE : CDeadband::NONE));
    deadband.SetDeadband(cells.deadband.value_or(0));
    deadband.SetLowRange(cells.deadbandLow.value_or(scaling.GetScaledLow()));
    deadband.SetHighRange(cells.deadbandHigh.value_or(scaling.GetScaledHigh()));
  }

  CCsvReader& reader_;
  std::string_view fileName_;
  CProblemLog& log_;
  std::uint64_t problems_ = 0;        // before the present row
  std::vector<tag_field_t> columns_;  // of each field; TAG_FIELDS where it is unknown
  int fieldOf_[TAG_FIELDS] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
};

}  // namespace

bool CTagList::Read(CCsvReader& reader, std::string_view fileName, CProblemLog& log) {
  CListReader list(reader, fileName, log);
  if (!list.ReadHeader()) return false;
  while (reader.Next()) {
    if (reader.GetProblem() != nullptr) {
      log.Add(fileName, reader.GetProblem()->at, reader.GetProblem()->text);
      continue;
    }
    tag_t tag = list.ReadTag();
    if (tag.name.empty()) continue;
    const std::string problem = Add(std::move(tag));
    if (!problem.empty()) list.Complain(NAME, problem);
  }
  return true;
}

std::string CTagList::Add(tag_t tag) {
  const auto [place, isNew] = numbers_.try_emplace(tag.name, static_cast<int>(tags_.size()));
  if (isNew) {
    tags_.push_back(std::move(tag));
    return {};
  }
  return "tag " + Quoted(tag.name) + " a second time: the one of line " +
         std::to_string(tags_[static_cast<std::size_t>(place->second)].line) + " counts";
}

}  // namespace replay
