#include "examples/replay/replay.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "examples/readings/reading.h"
#include "platform/zorplatform/utf8_string.h"

namespace replay {
namespace {

using readings::AppendCsvField;
using readings::csv_problem_t;
using readings::ExpectedRaw;
using readings::ParseRaw;
using readings::ParseTime;
using readings::raw_verdict_t;

constexpr std::uint64_t kProgressEvery = 1 << 16;

bool IsWord(std::string_view text, std::string_view lower) {
  return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a | 0x20 : a) == b; });
}

}  // namespace

CReplay::CReplay(const CTagList& tags, COutputBuffer& out, CProblemLog& log, replay_options_t options)
    : tags_(tags), out_(out), log_(log), options_(std::move(options)) {
  for (const tag_t& tag : tags.GetTags()) {
    state_t& state = states_.emplace_back();
    state.statistics.tag = &tag;
    AppendCsvField(state.csvName, tag.name);
    const bool drawn = options_.plot != nullptr && !tag.isRefused && tag.scaling.GetScaledDataType() != DT_STRING;
    if (drawn) {
      state.panel =
          options_.plot->AddPanel({tag.name, tag.unit, CString(CDataType::TextFromType(tag.rawType)).ToUtf8()});
    }
  }
}

bool CReplay::Run(CCsvReader& reader, std::string_view fileName) {
  reader_ = &reader;
  fileName_ = fileName;
  if (!ReadHeader()) return false;
  out_.Append("time,tag,value\n");
  while (reader.Next()) {
    if (!TakeRow() && options_.strict) break;
    if (++readings_ % kProgressEvery == 0 && options_.onProgress) options_.onProgress(readings_);
  }
  return true;
}

bool CReplay::ReadHeader() {
  const bool any = reader_->Next();
  if (any && reader_->GetProblem() != nullptr) {
    log_.Add(fileName_, reader_->GetProblem()->at, reader_->GetProblem()->text);
    return false;
  }
  const struct {
    const char* name;
    std::size_t* field;
  } wanted[] = {{"time", &timeField_}, {"tag", &tagField_}, {"value", &valueField_}};
  const auto fields = any ? reader_->GetFields() : std::span<const std::string_view>();
  columns_ = fields.size();
  for (const auto& column : wanted) {
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&](std::string_view field) { return IsWord(Trimmed(field), column.name); });
    if (found == fields.end()) {
      log_.Add(fileName_, {any ? reader_->GetLine() : 1, 1},
               std::string("no column '") + column.name + "': expected a header line with time, tag and value");
      return false;
    }
    *column.field = static_cast<std::size_t>(found - fields.begin());
  }
  return true;
}

// Reports the row as bad, at one of its fields. The text is made only when it will be printed.
template <class MakeText>
bool CReplay::Refuse(std::size_t field, MakeText makeText) {
  if (log_.IsPrinting()) {
    log_.Add(fileName_, reader_->GetPosition(field), makeText());
  } else {
    log_.AddUnprinted();
  }
  return false;
}

// False when the line is bad.
bool CReplay::TakeRow() {
  if (const csv_problem_t* problem = reader_->GetProblem(); problem != nullptr) {
    log_.Add(fileName_, problem->at, problem->text);
    return false;
  }
  const auto fields = reader_->GetFields();
  if (fields.size() != columns_) {
    return Refuse(0, [&] {
      return std::to_string(fields.size()) + " fields: expected " + std::to_string(columns_) + ", as in the header";
    });
  }
  const std::string_view name = Trimmed(fields[tagField_]);
  const int number = tags_.Find(name);
  if (number < 0) {
    return Refuse(tagField_, [&] { return "unknown tag " + Quoted(name) + ": expected one of the tag list"; });
  }
  state_t& state = states_[static_cast<std::size_t>(number)];
  const tag_t& tag = *state.statistics.tag;
  if (tag.isRefused) {
    return Refuse(tagField_, [&] {
      return "tag " + Quoted(name) + " was refused in the tag list, line " + std::to_string(tag.line);
    });
  }
  std::int64_t ms = 0;
  const std::string_view timeText = Trimmed(fields[timeField_]);
  if (!ParseTime(timeText, ms)) {
    return Refuse(timeField_,
                  [&] { return "time " + Quoted(timeText) + ": expected such as 2026-03-12T05:00:00.000"; });
  }

  // A text may be blank; any other value without a character is a dropout.
  const std::string_view text = tag.rawType == DT_STRING ? fields[valueField_] : Trimmed(fields[valueField_]);
  ++state.statistics.readings;
  if (text.empty()) {
    ++state.statistics.dropouts;
    if (options_.plot != nullptr) options_.plot->AddDropout(state.panel, ms);
    return true;
  }
  CVariant value;
  if (ParseRaw(text, tag.rawType, value) != raw_verdict_t::taken) {
    CountFailure(state, ms, std::nan(""));
    return Refuse(valueField_, [&] { return "value " + Quoted(text) + ": expected " + ExpectedRaw(tag.rawType); });
  }
  TakeValue(state, timeText, ms, value);
  return true;
}

void CReplay::CountFailure(state_t& state, std::int64_t ms, double raw) {
  if (state.statistics.failures++ == 0) state.statistics.firstFailureLine = reader_->GetLine();
  if (options_.plot != nullptr) options_.plot->AddFailure(state.panel, ms, raw);
}

void CReplay::TakeValue(state_t& state, std::string_view timeText, std::int64_t ms, CVariant& value) {
  tag_statistics_t& statistics = state.statistics;
  const tag_t& tag = *statistics.tag;
  const double raw = value.GetAsDouble();
  if (tag.isScaled && !tag.scaling.DoScaling(value)) return CountFailure(state, ms, raw);
  const double scaled = value.GetAsDouble();
  if (std::isnan(scaled)) return CountFailure(state, ms, raw);  // the root of a value below the raw range

  if (++statistics.good == 1) statistics.low = statistics.high = scaled;
  statistics.low = std::min(statistics.low, scaled);
  statistics.high = std::max(statistics.high, scaled);
  if (options_.plot != nullptr) options_.plot->AddValue(state.panel, ms, raw, scaled);
  if (statistics.reported == 0 || tag.deadband.DeadbandPassed(state.lastReported, value)) {
    Report(state, timeText, ms, value);
  }
}

void CReplay::Report(state_t& state, std::string_view timeText, std::int64_t ms, CVariant& value) {
  ++state.statistics.reported;
  if (options_.plot != nullptr) options_.plot->AddReported(state.panel, ms, value.GetAsDouble());
  value.Format(text_, CVariant::FORMAT_NORMAL);
  const zorplatform::CUtf8String utf8(text_);
  out_.Append(timeText);
  out_.Append(',');
  out_.Append(state.csvName);
  out_.Append(',');
  if (value.vt == VT_BSTR) {
    std::string field;
    AppendCsvField(field, utf8.View());
    out_.Append(field);
  } else {
    out_.Append(utf8.View());
  }
  out_.Append('\n');
  state.lastReported = std::move(value);
}

std::vector<tag_statistics_t> CReplay::GetStatistics() const {
  std::vector<tag_statistics_t> statistics;
  for (const state_t& state : states_) {
    if (!state.statistics.tag->isRefused) statistics.push_back(state.statistics);
  }
  return statistics;
}

}  // namespace replay
