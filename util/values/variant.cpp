#include "util/values/variant.h"

#include <cmath>
#include <limits>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>

#include "platform/framework/invalid_arg.h"
#include "platform/framework/string_array.h"
#include "platform/text/number_text.h"
#include "platform/zorplatform/exception.h"
#include "util/values/bstr.h"
#include "util/values/safe_array.h"
#include "util/values/vartype_internal.h"

using zorplatform::CException;

namespace {

enum class kind_t : std::uint8_t { none, integer, natural, real, truth, text };

// What the library knows of each VARTYPE, by its number.
struct vartype_row_t {
  std::uint8_t size;
  kind_t kind;
  const char* name;
};
constexpr vartype_row_t kVartypes[] = {
    {0, kind_t::none, "VT_EMPTY"},    {0, kind_t::none, "VT_NULL"},    {2, kind_t::integer, "VT_I2"},
    {4, kind_t::integer, "VT_I4"},    {4, kind_t::real, "VT_R4"},      {8, kind_t::real, "VT_R8"},
    {8, kind_t::none, "VT_CY"},       {8, kind_t::real, "VT_DATE"},    {4, kind_t::text, "VT_BSTR"},
    {0, kind_t::none, "VT_DISPATCH"}, {0, kind_t::none, "VT_ERROR"},   {2, kind_t::truth, "VT_BOOL"},
    {16, kind_t::none, "VT_VARIANT"}, {0, kind_t::none, "VT_UNKNOWN"}, {16, kind_t::none, "VT_DECIMAL"},
    {0, kind_t::none, "VT_15"},       {1, kind_t::integer, "VT_I1"},   {1, kind_t::natural, "VT_UI1"},
    {2, kind_t::natural, "VT_UI2"},   {4, kind_t::natural, "VT_UI4"},  {8, kind_t::integer, "VT_I8"},
    {8, kind_t::natural, "VT_UI8"},   {4, kind_t::integer, "VT_INT"},  {4, kind_t::natural, "VT_UINT"},
};
static_assert(std::size(kVartypes) == VT_UINT + 1);
constexpr vartype_row_t kUnknown = {0, kind_t::none, "VT_?"};

constexpr const vartype_row_t& RowOf(VARTYPE vt) { return vt < std::size(kVartypes) ? kVartypes[vt] : kUnknown; }

std::int64_t IntegerOf(const tagVARIANT& value) {
  switch (RowOf(value.vt).size) {
    case 1: return value.cVal;
    case 2: return value.iVal;
    case 4: return value.lVal;
    default: return value.llVal;
  }
}

std::uint64_t NaturalOf(const tagVARIANT& value) {
  switch (RowOf(value.vt).size) {
    case 1: return value.bVal;
    case 2: return value.uiVal;
    case 4: return value.ulVal;
    default: return value.ullVal;
  }
}

double RealOf(const tagVARIANT& value) { return value.vt == VT_R4 ? double{value.fltVal} : value.dblVal; }

// The number of significant digits of a real's text. From 1e100 on one digit fewer keeps the exponent form short.
int DigitsOf(const tagVARIANT& value, CVariant::format_t format) {
  if (value.vt == VT_R4) return format == CVariant::FORMAT_FULL ? 9 : 6;
  if (format == CVariant::FORMAT_FULL) return 18;
  return std::fabs(value.dblVal) >= 1e100 ? 14 : 15;
}

VARTYPE PlainInt(VARTYPE vt) {
  if ((vt & VT_TYPEMASK) == VT_INT) return static_cast<VARTYPE>((vt & ~VT_TYPEMASK) | VT_I4);
  if ((vt & VT_TYPEMASK) == VT_UINT) return static_cast<VARTYPE>((vt & ~VT_TYPEMASK) | VT_UI4);
  return vt;
}

std::uint16_t CheckedExtent(unsigned extent) {
  if (extent > std::numeric_limits<std::uint16_t>::max()) {
    throw CInvalidArgException("an array of " + std::to_string(extent) + " rows or columns: at most 65535");
  }
  return static_cast<std::uint16_t>(extent);
}

void RequireFixedSize(VARTYPE element) {
  if (CVariant::SizeOf(element) == 0 || (element & VT_BYREF) != 0) {
    CException::Throw(CException::kNoFixedSize,
                      "an array of type " + std::to_string(element) + ", which has no fixed size");
  }
}

}  // namespace

CVariant::CVariant(const char16_t* text) : CVariant() {
  if (text != nullptr) AttachString(CBstr(text).Detach());
}
CVariant::CVariant(const wchar_t* text) : CVariant() {
  if (text != nullptr) AttachString(CBstr(text).Detach());
}
CVariant::CVariant(const char* text) : CVariant() {
  if (text != nullptr) AttachString(CBstr(text).Detach());
}
CVariant::CVariant(std::u16string_view text) : CVariant() {
  AttachString(CBstr(text.data() == nullptr ? u"" : text).Detach());
}
CVariant::CVariant(std::string_view utf8) : CVariant() {
  AttachString(CBstr(utf8.data() == nullptr ? "" : utf8).Detach());
}

CVariant::CVariant(unsigned count, VARTYPE element, const void* data) : CVariant() {
  vt = element;
  CreateArray(count, data);
}

CVariant::CVariant(unsigned rows, unsigned columns, VARTYPE element, const void* data) : CVariant() {
  vt = element;
  CreateArray(rows, columns, data);
}

CVariant CVariant::FromDecimal(const DECIMAL& value) noexcept {
  CVariant made;
  SetDecimal(made, value);
  return made;
}

CVariant& CVariant::operator=(std::u16string_view text) {
  if (vt != VT_BSTR || text.size() > static_cast<std::size_t>(CString::kMaxLength)) return *this = CVariant(text);
  const char16_t* const data = text.data() == nullptr ? u"" : text.data();
  if (!std::in_range<std::uint32_t>(text.size()) ||
      !SysReAllocStringLen(&bstrVal, data, static_cast<std::uint32_t>(text.size()))) {
    throw std::bad_alloc();
  }
  return *this;
}

void CVariant::AttachData(tagVARIANT& data) noexcept {
  if (&data == this) return;
  CVariant taken;  // before the old value goes, which may hold the record
  taken.SetRecord(std::exchange(data, tagVARIANT{}));
  Swap(taken);
}

void CVariant::AttachString(BSTR text) noexcept {
  if (vt == VT_BSTR && bstrVal == text) return;
  Clear();
  vt = VT_BSTR;
  bstrVal = text;
}

// An array without data, or with elements of another size or of another type than strings, is no array to copy:
// the copy is a null array of the type.
void CVariant::CopyOwned(const tagVARIANT& other) {
  Forget();
  if (other.vt == VT_BSTR) {
    bstrVal = SysCopyString(other.bstrVal);
    if (bstrVal == nullptr && other.bstrVal != nullptr) throw std::bad_alloc();
    vt = VT_BSTR;
    return;
  }
  const VARTYPE element = vartype::ElementOf(other.vt);
  const auto* const source = reinterpret_cast<const CSafeArray*>(other.parray);
  const bool usable = source != nullptr && source->cbElements == SizeOf(element) &&
                      (element != VT_BSTR || source->GetVarType() == VT_BSTR);
  CSafeArray* const copy = usable ? new CSafeArray(*source) : nullptr;
  if (copy != nullptr && copy->GetVarType() == VT_EMPTY) copy->SetVarType(element);
  AdoptArray(element, copy);
}

void CVariant::AssignOwned(const tagVARIANT& other) {
  if (this == &other) return;
  if (other.vt == VT_BSTR && vt == VT_BSTR && other.bstrVal != nullptr && SysStringByteLen(other.bstrVal) % 2 == 0) {
    *this = SysStringView(other.bstrVal);
    return;
  }
  const auto* const source = reinterpret_cast<const CSafeArray*>(other.parray);
  if ((other.vt & VT_ARRAY) != 0 && vt == other.vt && parray != nullptr && source != nullptr &&
      source->cbElements == SizeOf(vt) && source->GetVarType() == vartype::ElementOf(vt)) {
    *GetArray() = *source;  // into the memory that is there
    return;
  }
  CVariant copy;
  if (OwnsMemory(other.vt)) {
    copy.CopyOwned(other);
  } else {
    copy.SetRecord(other);
  }
  Swap(copy);
}

void CVariant::FreeOwned() noexcept {
  if (vt == VT_BSTR) {
    SysFreeString(bstrVal);
  } else if (CSafeArray* const array = GetArray()) {
    array->Destroy();
  }
}

void CVariant::AdoptArray(VARTYPE element, CSafeArray* array) noexcept {
  Clear();
  vt = static_cast<VARTYPE>(element | VT_ARRAY);
  parray = array;
}

void CVariant::CreateArray(unsigned count, const void* data) {
  const VARTYPE element = vartype::ElementOf(vt);
  RequireFixedSize(element);
  AdoptArray(element, new CSafeArray(count, element, element == VT_BSTR ? nullptr : data));
}

void CVariant::CreateArray(unsigned rows, unsigned columns, const void* data) {
  const VARTYPE element = vartype::ElementOf(vt);
  RequireFixedSize(element);
  AdoptArray(element,
             new CSafeArray(CheckedExtent(rows), CheckedExtent(columns), element, element == VT_BSTR ? nullptr : data));
}

void CVariant::CreateStringArray(unsigned count) { AdoptArray(VT_BSTR, new CSafeArray(count, VT_BSTR, nullptr)); }

void CVariant::CreateStringArray(unsigned rows, unsigned columns) {
  AdoptArray(VT_BSTR, new CSafeArray(CheckedExtent(rows), CheckedExtent(columns), VT_BSTR, nullptr));
}

std::size_t CVariant::GetSizeInBytes() const noexcept {
  if (IsArray()) return GetArray() == nullptr ? 0 : GetArray()->GetByteLength();
  return vt == VT_BSTR ? SysStringByteLen(bstrVal) : SizeOf(vt);
}

unsigned CVariant::GetNumElements() const noexcept {
  if (!IsArray()) return 1;
  return GetArray() == nullptr ? 0 : GetArray()->GetNumElements();
}

bool CVariant::GetStringArray(CStringArray& out) const {
  out.RemoveAll();
  if (!IsArray()) return false;
  CVariant element;
  for (unsigned i = 0; i < GetNumElements(); ++i) {
    GetArray()->GetElement(i, element);
    out.Add(element.ToString());
  }
  return true;
}

void CVariant::Format(CString& out, format_t format) const {
  if (vt == VT_I4) {  // the most frequent one
    out.AssignInteger(lVal);
    return;
  }
  if (IsArray()) {
    if (GetArray() == nullptr) return out.Empty();  // none, or a reference to one
    return GetArray()->Format(out, format == FORMAT_FULL);
  }
  char text[number_text::kMaxChars];
  const auto give = [&](std::size_t length) { out.AssignAscii({text, length}); };
  if (vt == VT_DATE) {
    out = zorplatform::CTimeStamp(date).ToString();
    return;
  }
  switch (RowOf(vt).kind) {
    case kind_t::integer: out.AssignInteger(IntegerOf(*this)); return;
    case kind_t::natural: out.AssignInteger(NaturalOf(*this)); return;
    case kind_t::real: return give(number_text::FormatGeneral(RealOf(*this), DigitsOf(*this, format), text));
    case kind_t::truth: out = boolVal != 0 ? u"1" : u"0"; return;
    case kind_t::text: out = SysStringView(bstrVal); return;
    case kind_t::none: break;
  }
  CVariant copy(*this);
  out = copy.ConvertTypeEx(VT_BSTR, 0, false) >= 0 ? copy.GetStringView() : std::u16string_view();
}

CString CVariant::ToString() const {
  CString text;
  Format(text, FORMAT_NORMAL);
  return text;
}

CVariant::operator bool() const noexcept {
  switch (vt) {
    case VT_R4: return !(std::fabs(fltVal) < 1.1754944e-38f);
    case VT_R8:
    case VT_DATE: return !(std::fabs(dblVal) < 2.2250738585072014e-308);
    case VT_CY: return cyVal.int64 != 0;
    case VT_BSTR: return CBstr::IsTrue(SysStringView(bstrVal));
    default: break;
  }
  const kind_t kind = RowOf(vt).kind;
  const bool isNumber = kind == kind_t::integer || kind == kind_t::natural || kind == kind_t::truth;
  return isNumber && NaturalOf(*this) != 0;
}

CVariant::operator zorplatform::CTimeStamp() const noexcept { return zorplatform::CTimeStamp(GetAsDouble()); }

double CVariant::GetAsDouble() const noexcept {
  switch (RowOf(vt).kind) {
    case kind_t::integer: return static_cast<double>(IntegerOf(*this));
    case kind_t::natural: return static_cast<double>(NaturalOf(*this));
    case kind_t::real: return RealOf(*this);
    case kind_t::truth: return boolVal != 0 ? 1 : 0;
    case kind_t::text: return number_text::ParseDouble(SysStringView(bstrVal));
    case kind_t::none: break;
  }
  return 0;
}

unsigned CVariant::CheckedCount(std::size_t count) {
  if (count > std::numeric_limits<unsigned>::max()) throw std::length_error("an array of more than 2^32 - 1 elements");
  return static_cast<unsigned>(count);
}

unsigned CVariant::SizeOf(VARTYPE type) noexcept {
  return RowOf(static_cast<VARTYPE>(type & ~(VT_ARRAY | VT_BYREF))).size;
}

void* CVariant::ValueAddress() noexcept {
  if (IsArray()) return GetArray() == nullptr ? nullptr : parray->pvData;
  if (vt == VT_BSTR) return bstrVal;
  if (vt == VT_DECIMAL) return this;
  return RowOf(vt).size == 0 ? nullptr : &ullVal;
}

void* CVariant::ArrayData(bool (*accepts)(VARTYPE)) const noexcept {
  return ArrayCount(accepts) == 0 ? nullptr : parray->pvData;
}

std::size_t CVariant::ArrayCount(bool (*accepts)(VARTYPE)) const noexcept {
  const CSafeArray* const array = GetArray();
  const bool readable = array != nullptr && array->HoldsItsType() && accepts(array->GetVarType());
  return readable ? array->GetNumElements() : 0;
}

bool operator==(const CVariant& a, const CVariant& b) {
  if (a.vt != b.vt && PlainInt(a.vt) != PlainInt(b.vt)) return false;
  if (a.IsArray()) {
    if (a.GetArray() == nullptr || b.GetArray() == nullptr) return a.parray == b.parray;
    return *a.parray == *b.parray;
  }
  switch (a.vt) {
    case VT_EMPTY: return true;
    case VT_BSTR: return SysStringBytes(a.bstrVal) == SysStringBytes(b.bstrVal);
    case VT_DECIMAL: return std::memcmp(&a, &b, sizeof(tagVARIANT)) == 0;
    case VT_VARIANT: return false;
    default: break;
  }
  const std::size_t size = CVariant::SizeOf(a.vt);
  return a.vt <= VT_UINT && size != 0 && std::memcmp(&a.ullVal, &b.ullVal, size) == 0;
}

std::ostream& operator<<(std::ostream& out, const CVariant& value) { return out << value.ToString(); }

void PrintTo(const CVariant& value, std::ostream* out) {
  *out << RowOf(static_cast<VARTYPE>(value.vt & VT_TYPEMASK)).name << (value.IsArray() ? "[] " : " ");
  CString text;
  value.FormatEx(text);
  PrintTo(text, out);
}

template <>
void GetArrayAsVector<CString>(const CVariant& value, std::vector<CString>& out) {
  out.clear();
  if (value.vt != (VT_BSTR | VT_ARRAY) || value.parray == nullptr) return;
  const unsigned count = value.GetNumElements();
  out.reserve(count);
  for (unsigned i = 0; i < count; ++i) out.emplace_back(value.GetArray()->GetText(i));
}

template <>
void GetArrayAsVector<bool>(const CVariant& value, std::vector<bool>& out) {
  out.clear();
  if (value.vt != (VT_BOOL | VT_ARRAY) || value.parray == nullptr) return;
  for (const VARIANT_BOOL element : value.AsSpan<std::int16_t>()) out.push_back(element == VARIANT_TRUE);
}
