#include "util/values/bstr.h"

#include <new>
#include <ostream>
#include <string>

#include "platform/text/collation.h"
#include "platform/text/number_text.h"
#include "platform/text/surrogates_internal.h"
#include "platform/text/utf.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/utf8_string.h"
#include "util/serialization/primitives_internal.h"
#include "util/values/bstr_serialization_internal.h"
#include "util/values/variant.h"

using zorplatform::CException;

namespace {

// The word against which every string is tested for truth.
constexpr std::u16string_view kTrue = u"True";

constexpr int kRealDigits = 10;

}  // namespace

CBstr::CBstr(const CBstr& other) : text_(SysCopyString(other.text_)) {
  if (text_ == nullptr && other.text_ != nullptr) throw std::bad_alloc();
}

CBstr& CBstr::operator=(const CBstr& other) {
  if (this == &other) return *this;
  if (SysStringByteLen(other.text_) % 2 == 0) return Assign(other.text_, other.GetLength());
  return *this = CBstr(other);
}

CBstr& CBstr::Assign(const char16_t* text, std::size_t length) {
  if (text == nullptr) {
    Release();
  } else if (length > std::numeric_limits<std::uint32_t>::max() / 2 ||
             !SysReAllocStringLen(&text_, text, static_cast<std::uint32_t>(length))) {
    throw std::bad_alloc();
  }
  return *this;
}

CBstr& CBstr::AssignAscii(const char* text, std::size_t length) {
  char16_t wide[number_text::kMaxChars];
  utf::WidenAscii({text, length}, wide);
  return Assign(wide, length);
}

CBstr& CBstr::operator=(const wchar_t* text) {
  return text == nullptr ? Assign(nullptr, 0) : *this = std::wstring_view(text);
}

CBstr& CBstr::operator=(const char* text) {
  return text == nullptr ? Assign(nullptr, 0) : *this = std::string_view(text);
}

CBstr& CBstr::operator=(std::u16string_view text) { return Assign(text.data(), text.size()); }

CBstr& CBstr::operator=(std::wstring_view text) {
  if (text.data() == nullptr) return Assign(nullptr, 0);
  const std::u16string wide = utf::ToUtf16(text);
  return Assign(wide.data(), wide.size());
}

CBstr& CBstr::operator=(std::string_view utf8) {
  if (utf8.data() == nullptr) return Assign(nullptr, 0);
  const std::u16string wide = utf::ToUtf16(utf8);
  return Assign(wide.data(), wide.size());
}

CBstr& CBstr::operator=(const CVariant& value) { return *this = value.ToString().View(); }

CBstr& CBstr::AssignInteger(std::int64_t value) {
  char text[number_text::kMaxChars];
  return AssignAscii(text, number_text::FormatInteger(value, text));
}

CBstr& CBstr::AssignInteger(std::uint64_t value) {
  char text[number_text::kMaxChars];
  return AssignAscii(text, number_text::FormatInteger(value, text));
}

CBstr& CBstr::AssignReal(double value) {
  char text[number_text::kMaxChars];
  return AssignAscii(text, number_text::FormatGeneral(value, kRealDigits, text));
}

bool CBstr::IsTrue(std::u16string_view text) noexcept {
  return number_text::ParseInt64(text) != 0 || collation::CompareNoCase(text, kTrue) == 0;
}

std::int64_t CBstr::ToInt64() const noexcept { return number_text::ParseInt64(View()); }
std::uint64_t CBstr::ToUInt64() const noexcept { return number_text::ParseUInt64(View()); }
double CBstr::ToDouble() const noexcept { return number_text::ParseDouble(View()); }

int CompareNoCase(const CBstr& a, const CBstr& b) noexcept { return collation::CompareNoCase(a.View(), b.View()); }

std::ostream& operator<<(std::ostream& out, const CBstr& text) { return out << utf::ToUtf8(text.View()); }

namespace zorutil {

using primitives::ReadLittle;
using primitives::WriteLittle;

namespace {

constexpr std::uint32_t kUtf8Flag = 0x80000000;
constexpr std::uint32_t kStackBytes = 1024;

BSTR AllocOrThrow(const char16_t* text, std::size_t units) {
  const BSTR made = SysAllocStringLen(text, static_cast<std::uint32_t>(units));
  if (made == nullptr) CException::Throw(CException::kAllocation);
  return made;
}

BSTR ReadUtf8(ISerializer& in, std::uint32_t bytes) {
  if (bytes <= kStackBytes) {
    char narrow[kStackBytes];
    char16_t wide[utf::MaxUtf16Units(kStackBytes)];
    in.Read(narrow, bytes);
    return AllocOrThrow(wide, utf::Utf8ToUtf16({narrow, bytes}, wide));
  }
  std::string narrow;
  primitives::ReadGrowing(in, bytes, [&](std::size_t total) {
    narrow.resize(total);
    return narrow.data();
  });
  const std::u16string wide = utf::ToUtf16(narrow);
  return AllocOrThrow(wide.data(), wide.size());
}

BSTR ReadUtf16(ISerializer& in, std::uint32_t bytes) {
  if (bytes % 2 != 0) {
    CException::Throw(CException::kEndOfStream, "corrupt text: an odd count of " + std::to_string(bytes) + " bytes");
  }
  if (bytes <= primitives::kReadChunk) {
    const BSTR text = AllocOrThrow(nullptr, bytes / 2);
    CBstr owner;
    owner.Attach(text);
    in.Read(text, bytes);
    primitives::SwapElements(text, bytes / 2, sizeof(char16_t));
    return owner.Detach();
  }
  std::u16string units;
  primitives::ReadGrowing(in, bytes, [&](std::size_t total) {
    units.resize(total / 2);
    return units.data();
  });
  primitives::SwapElements(units.data(), units.size(), sizeof(char16_t));
  return AllocOrThrow(units.data(), units.size());
}

}  // namespace

void WriteBstr(const char16_t* text, ISerializer& out) {
  const std::u16string_view view = SysStringView(text);
  const std::size_t bytes = view.size() * 2;
  if (bytes == 0) return WriteLittle<std::uint32_t>(out, 0);
  const zorplatform::CUtf8String utf8(view);
  const bool isAscii = utf8.GetLength() == view.size();
  if (utf8.GetLength() < bytes && (isAscii || !utf::HasUnpairedSurrogate(view))) {
    WriteLittle(out, static_cast<std::uint32_t>(utf8.GetLength()) | kUtf8Flag);
    out.Write(utf8.GetString(), static_cast<unsigned>(utf8.GetLength()));
    return;
  }
  WriteLittle(out, static_cast<std::uint32_t>(bytes));
  primitives::WriteUnits(out, view);
}

BSTR ReadBstr(ISerializer& in) try {
  const auto header = ReadLittle<std::uint32_t>(in);
  if (header == 0) return nullptr;
  return header & kUtf8Flag ? ReadUtf8(in, header & ~kUtf8Flag) : ReadUtf16(in, header);
} catch (const std::bad_alloc&) {
  CException::Throw(CException::kAllocation);
}

void Serialize(const CBstr& text, ISerializer& out) { WriteBstr(text.IsNull() ? nullptr : text.GetString(), out); }
void Deserialize(CBstr& text, ISerializer& in) { text.Attach(ReadBstr(in)); }

}  // namespace zorutil
