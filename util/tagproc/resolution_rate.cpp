#include "util/tagproc/resolution_rate.h"

#include <iterator>
#include <limits>

#include "util/docs/structured_doc.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"
#include "util/values/enum_text_internal.h"

using zorutil::primitives::ReadLittle;
using zorutil::primitives::WriteLittle;

namespace {

struct unit_row_t {
  const char16_t* text;
  std::uint32_t milliseconds;

  constexpr std::uint32_t LargestRate() const { return std::numeric_limits<std::uint32_t>::max() / milliseconds; }
};
constexpr unit_row_t kUnits[] = {
    {u"milliseconds", 1}, {u"seconds", 1000}, {u"minutes", 60000}, {u"hours", 3600000}, {u"days", 86400000},
};
static_assert(std::size(kUnits) == CResolutionRate::DAYS + 1);

constexpr std::uint32_t kDefaultRate = 1;
constexpr std::uint16_t kVersion = 1;

bool IsUnit(CResolutionRate::_tagRESOLUTION resolution) {
  return resolution >= CResolutionRate::MILLISECONDS && resolution <= CResolutionRate::DAYS;
}

}  // namespace

int CResolutionRate::SetResolutionRate(std::uint64_t rate, _tagRESOLUTION resolution) {
  if (resolution == NONE) return 0;
  if (rate != 0 && GetRateInMilliseconds(rate, resolution) == 0) return 0;
  rate_ = static_cast<std::uint32_t>(rate);
  resolution_ = resolution;
  return 1;
}

int CResolutionRate::GetResolutionRate(std::uint32_t& rate, _tagRESOLUTION& resolution) const {
  rate = rate_;
  resolution = resolution_;
  return 1;
}

std::uint32_t CResolutionRate::GetRateInMilliseconds(std::uint64_t rate, _tagRESOLUTION resolution) {
  if (!IsUnit(resolution) || rate > kUnits[resolution].LargestRate()) return 0;
  return static_cast<std::uint32_t>(rate) * kUnits[resolution].milliseconds;
}

const char16_t* CResolutionRate::TextFromResolution(_tagRESOLUTION resolution) {
  return IsUnit(resolution) ? kUnits[resolution].text : nullptr;
}

CResolutionRate::_tagRESOLUTION CResolutionRate::ResolutionFromText(const char16_t* text) {
  return static_cast<_tagRESOLUTION>(enum_text::IndexOf(kUnits, text, &unit_row_t::text));
}

int CResolutionRate::Load(CFile* file) {
  zorutil::file_serializer_t in(file);
  ReadLittle<std::uint16_t>(in);
  CResolutionRate read;
  read.rate_ = ReadLittle<std::uint32_t>(in);
  read.resolution_ = ReadLittle<_tagRESOLUTION>(in);
  *this = read;
  return 1;
}

int CResolutionRate::Save(CFile* file) const {
  zorutil::file_serializer_t out(file);
  WriteLittle(out, kVersion);
  WriteLittle(out, rate_);
  WriteLittle(out, resolution_);
  return 1;
}

int CResolutionRate::Load(CStructuredDoc* document, void* parent, const char16_t* path) {
  std::uint32_t rate = kDefaultRate;
  CString unit;
  _tagRESOLUTION resolution = NONE;
  if (document->ReadElement(parent, path, u"Rate", true, rate) != nullptr &&
      document->ReadElement(parent, path, u"Resolution", true, unit) != nullptr) {
    resolution = ResolutionFromText(unit);
  } else {
    for (const unit_row_t& row : kUnits) {
      if (document->ReadElement(parent, path, row.text, true, rate) == nullptr) continue;
      resolution = static_cast<_tagRESOLUTION>(&row - kUnits);
      break;
    }
  }
  return SetResolutionRate(rate, resolution);
}

int CResolutionRate::Save(CStructuredDoc* document, void* parent, const char16_t* path) const {
  return document->WriteElement(parent, path, TextFromResolution(resolution_), true, rate_) != nullptr;
}
