#include "examples/replay/tag_check.h"

#include "examples/readings/reading.h"
#include "platform/text/collation.h"
#include "util/i18n/language.h"
#include "util/i18n/localized_resource.h"
#include "util/i18n/message_ids.h"

namespace replay {
namespace {

using readings::ExpectedRaw;

template <class T, class TextOf>
std::string OneOf(int first, int last, TextOf textOf) {
  std::string list = "one of";
  for (int i = first; i <= last; ++i) {
    list += i == first ? " " : ", ";
    list += CString(textOf(static_cast<T>(i))).ToUtf8();
  }
  return list;
}

bool IsNone(const CString& text) {
  const CString english = i18n::CLocalizedResource(i18n::IDS_SCALING_NONE).GetText(i18n::kLanguageEnglish);
  return text.CompareNoCase(CScaling::TextFromType(CScaling::NONE)) == 0 || text.CompareNoCase(english) == 0;
}

}  // namespace

bool ReadRawType(const CString& text, DATATYPE& type) {
  const DATATYPE read = CDataType::TypeFromText(text);
  if (read == DT_DEFAULT || CDataType::IsArrayType(read)) return false;
  type = read;
  return true;
}

bool ReadScalingType(const CString& text, CScaling::SCALINGTYPE& type) {
  const CScaling::SCALINGTYPE read = CScaling::TypeFromText(text);
  if (read == CScaling::NONE && !IsNone(text)) return false;
  type = read;
  return true;
}

bool ReadDeadbandType(const CString& text, CDeadband::deadband_t& type) {
  const CDeadband::deadband_t read = CDeadband::FromString(text);
  if (read == CDeadband::NONE && text.CompareNoCase(CDeadband::ToString(read)) != 0) return false;
  type = read;
  return true;
}

std::string ExpectedRawTypes() { return OneOf<DATATYPE>(DT_STRING, DT_QWORD, CDataType::TextFromType); }
std::string ExpectedScalingTypes() {
  return OneOf<CScaling::SCALINGTYPE>(CScaling::NONE, CScaling::SQUARE_ROOT, CScaling::TextFromType);
}
std::string ExpectedDeadbandTypes() {
  return OneOf<CDeadband::deadband_t>(CDeadband::NONE, CDeadband::PERCENT, CDeadband::ToString);
}

void CheckTag(const tag_t& tag, const std::function<void(tag_field_t, std::string_view)>& complain) {
  const CScaling& scaling = tag.scaling;
  const std::string raw = "raw type " + CString(CDataType::TextFromType(tag.rawType)).ToUtf8();
  const std::string scaled = "scaled type " + CString(CDataType::TextFromType(scaling.GetScaledDataType())).ToUtf8();
  CScaling::SCALINGRESULT verdict = CScaling::VALID;
  scaling.IsValid(tag.rawType, &verdict);
  switch (verdict) {
    case CScaling::VALID: break;
    case CScaling::INVALID_RAW_TYPE:
      complain(RAW_TYPE, raw +
                             " cannot be scaled: expected a number of at most 32 bits, a BCD number, a real or a "
                             "date");
      break;
    case CScaling::INVALID_SCALED_TYPE:
      complain(SCALED_TYPE, scaled +
                                " cannot hold a scaled value: expected Char, Byte, Short, Word, Long, DWord, Float "
                                "or Double");
      break;
    case CScaling::INVALID_RAW_RANGE:
      complain(RAW_LOW, "raw range: expected raw low below raw high, both in what " + raw + " holds, " +
                            ExpectedRaw(tag.rawType));
      break;
    case CScaling::INVALID_SCALED_RANGE:
      complain(SCALED_LOW, "scaled range: expected scaled low below scaled high, both in what " + scaled + " holds");
      break;
  }
  const CDeadband& deadband = tag.deadband;
  if (deadband.GetDeadband() < 0) complain(DEADBAND, "a negative deadband: expected 0 or more");
  if (deadband.GetLowRange() > deadband.GetHighRange()) {
    complain(DEADBAND_LOW, "deadband: " + i18n::CLocalizedResource(i18n::IDS_LOW_RANGE_ABOVE_HIGH).GetText(0).ToUtf8());
  }
}

}  // namespace replay
