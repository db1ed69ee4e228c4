#include "util/tagproc/deadband.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <iterator>

#include "util/docs/structured_doc.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"
#include "util/values/enum_text_internal.h"

using zorutil::primitives::ReadLittle;
using zorutil::primitives::WriteLittle;

namespace {

constexpr const char16_t* kTexts[] = {u"None", u"Absolute", u"Percent"};
static_assert(std::size(kTexts) == CDeadband::PERCENT + 1);

constexpr std::uint16_t kVersion = 0;

}  // namespace

bool CDeadband::IsSame(double a, double b) { return a == b || std::fabs(a - b) <= DBL_EPSILON; }  // or infinities

int CDeadband::Set(double& field, double value) {
  if (IsSame(field, value)) return 0;
  field = value;
  return 1;
}

int CDeadband::SetDeadbandType(int type) {
  if (type_ == type) return 0;
  type_ = static_cast<deadband_t>(type);
  return 1;
}

const char16_t* CDeadband::ToString(deadband_t type) {
  return type >= NONE && type <= PERCENT ? kTexts[type] : nullptr;
}

CDeadband::deadband_t CDeadband::FromString(const char16_t* text) {
  return static_cast<deadband_t>(std::max(enum_text::IndexOf(kTexts, text), int{NONE}));
}

int CDeadband::Load(CFile* file) {
  zorutil::file_serializer_t in(file);
  ReadLittle<std::uint16_t>(in);
  CDeadband read;
  read.type_ = ReadLittle<deadband_t>(in);
  read.deadband_ = ReadLittle<double>(in);
  read.highRange_ = ReadLittle<double>(in);
  read.lowRange_ = ReadLittle<double>(in);
  *this = read;
  return 1;
}

int CDeadband::Save(CFile* file) const {
  zorutil::file_serializer_t out(file);
  WriteLittle(out, kVersion);
  WriteLittle(out, type_);
  WriteLittle(out, deadband_);
  WriteLittle(out, highRange_);
  WriteLittle(out, lowRange_);
  return 1;
}

int CDeadband::Load(CStructuredDoc* document, void* parent, const char16_t* path) {
  CString type;
  if (document->ReadElement(parent, path, u"DeadbandType", true, type) != nullptr) type_ = FromString(type);
  document->ReadElement(parent, path, u"Deadband", true, deadband_);
  document->ReadElement(parent, path, u"HighRange", true, highRange_);
  document->ReadElement(parent, path, u"LowRange", true, lowRange_);
  if (lowRange_ > highRange_) {
    document->SetLastError(i18n::MakeLocalizedMessage(i18n::IDS_LOW_RANGE_ABOVE_HIGH));
    return 0;
  }
  return 1;
}

int CDeadband::Save(CStructuredDoc* document, void* parent, const char16_t* path) const {
  return document->WriteElement(parent, path, u"DeadbandType", true, ToString(type_)) != nullptr &&
         document->WriteElement(parent, path, u"Deadband", true, deadband_) != nullptr &&
         document->WriteElement(parent, path, u"HighRange", true, highRange_) != nullptr &&
         document->WriteElement(parent, path, u"LowRange", true, lowRange_) != nullptr;
}
