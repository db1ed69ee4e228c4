#include "util/values/safe_array.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/framework/cstring.h"
#include "platform/ole/string.h"
#include "platform/zorplatform/exception.h"
#include "util/values/bstr.h"
#include "util/values/variant.h"

using zorplatform::CException;

namespace {

BSTR* Strings(const tagSAFEARRAY& array) { return static_cast<BSTR*>(array.pvData); }
CVariant* Variants(const tagSAFEARRAY& array) { return static_cast<CVariant*>(array.pvData); }
char* Bytes(const tagSAFEARRAY& array) { return static_cast<char*>(array.pvData); }

std::uint16_t FeaturesOf(VARTYPE element) {
  unsigned features = FADF_FIXEDSIZE | FADF_HAVEVARTYPE;
  if (element == VT_BSTR) features |= FADF_BSTR;
  if (element == VT_VARIANT) features |= FADF_VARIANT;
  return static_cast<std::uint16_t>(features);
}

[[noreturn]] void ThrowNoMemory() { CException::Throw(CException::kAllocation); }

BSTR CopyString(const char16_t* text) {
  const BSTR copy = SysCopyString(text);
  if (copy == nullptr && text != nullptr) ThrowNoMemory();
  return copy;
}

}  // namespace

void* CSafeArray::operator new(std::size_t) {
  static_assert(sizeof(CSafeArray) == sizeof(tagSAFEARRAY));
  tagSAFEARRAY* const descriptor = SafeArrayAllocDescriptor();
  if (descriptor == nullptr) ThrowNoMemory();
  return descriptor;
}

void CSafeArray::operator delete(void* descriptor) noexcept {
  SafeArrayDestroyDescriptor(static_cast<tagSAFEARRAY*>(descriptor));
}

CSafeArray::CSafeArray(std::uint32_t count, VARTYPE element, const void* data) {
  _Shape(1, count, element);
  _Alloc(data == nullptr || _OwnsElements());
  _CopyElements(data);
}

CSafeArray::CSafeArray(std::uint16_t rows, std::uint16_t columns, VARTYPE element, const void* data) {
  _Shape(rows, columns, element);
  _Alloc(data == nullptr || _OwnsElements());
  _CopyElements(data);
}

CSafeArray::CSafeArray(const CSafeArray& other) {
  static_cast<tagSAFEARRAY&>(*this) = other;
  SetVarType(other.GetVarType());
  cLocks = 0;
  pvData = nullptr;
  if (other.pvData == nullptr) return;
  _Alloc(_OwnsElements());
  _CopyElements(other.pvData);
}

CSafeArray& CSafeArray::operator=(const CSafeArray& other) {
  if (this == &other) return *this;
  // A block of the same size can be written over, unless its elements own something.
  if (!_OwnsElements() && !other._OwnsElements() && pvData != nullptr && other.pvData != nullptr &&
      GetByteLength() == other.GetByteLength()) {
    void* const data = pvData;
    static_cast<tagSAFEARRAY&>(*this) = other;
    pvData = data;
    cLocks = 0;
    SetVarType(other.GetVarType());
    std::memcpy(data, other.pvData, GetByteLength());
    return *this;
  }
  CSafeArray* const copy = new CSafeArray(other);
  _Swap(*copy);
  copy->Destroy();
  return *this;
}

CSafeArray::~CSafeArray() { _Release(); }

void CSafeArray::_Shape(std::uint32_t rows, std::uint32_t columns, VARTYPE element) noexcept {
  if (rows == 0) columns = 0;
  cDims = rows > 1 ? 2 : 1;
  fFeatures = FeaturesOf(element);
  cbElements = static_cast<std::uint32_t>(CVariant::SizeOf(element));
  cLocks = 0;
  pvData = nullptr;
  rgsabound[0] = {rows > 1 ? rows : columns, 0};
  rgsabound[1] = {rows > 1 ? columns : 0, 0};
  SetVarType(element);
}

// Sets aside elements, as a rule zeroed: 0, null and VT_EMPTY are all zero bits. An array of no elements still has
// data, which tells it from an array without data.
void CSafeArray::_Alloc(bool zeroed) {
  const std::uint64_t count = std::uint64_t{GetNumRows()} * GetNumCols();
  // A string is reported as 4 bytes, but takes a whole pointer.
  const std::uint32_t slot = fFeatures & FADF_BSTR ? sizeof(BSTR) : cbElements;
  pvData = SafeArrayAllocData(std::max<std::uint64_t>(count * slot, 1), zeroed);
  if (pvData == nullptr) ThrowNoMemory();
}

void CSafeArray::_Release() noexcept {
  if (fFeatures & FADF_BSTR) {
    std::for_each_n(Strings(*this), GetNumElements(), SysFreeString);
  } else if (fFeatures & FADF_VARIANT) {
    std::for_each_n(Variants(*this), GetNumElements(), [](CVariant& element) { element.Clear(); });
  }
  SafeArrayFreeData(std::exchange(pvData, nullptr));
}

// Copies into zeroed elements. When it throws, what was copied is released: a constructor that throws has no
// destructor to do so.
void CSafeArray::_CopyElements(const void* data) {
  if (data == nullptr) return;
  const std::uint32_t count = GetNumElements();
  if (!_OwnsElements()) {
    std::memcpy(pvData, data, GetByteLength());
    return;
  }
  try {
    if (fFeatures & FADF_BSTR) {
      const auto* source = static_cast<const BSTR*>(data);
      for (std::uint32_t i = 0; i < count; ++i) {
        Strings(*this)[i] = CopyString(source[i]);
      }
    } else {
      const auto* source = static_cast<const tagVARIANT*>(data);
      for (std::uint32_t i = 0; i < count; ++i) Variants(*this)[i] = CVariant(source[i]);
    }
  } catch (...) {
    _Release();
    throw;
  }
}

void CSafeArray::_Swap(CSafeArray& other) noexcept {
  std::swap(static_cast<tagSAFEARRAY&>(*this), static_cast<tagSAFEARRAY&>(other));
  const VARTYPE vt = GetVarType();
  SetVarType(other.GetVarType());
  other.SetVarType(vt);
}

// Whether the type word, which anybody may set, still describes the memory.
bool CSafeArray::HoldsItsType() const noexcept {
  const VARTYPE element = GetVarType();
  return cbElements != 0 && cbElements == CVariant::SizeOf(element) &&
         (fFeatures & (FADF_BSTR | FADF_VARIANT)) == (FeaturesOf(element) & (FADF_BSTR | FADF_VARIANT));
}

// The element is whole before the old content of `out` goes, which may own this array.
bool CSafeArray::GetElement(std::uint32_t index, CVariant& out) const {
  CVariant element;
  const bool found = _CopyElement(index, element);
  out = std::move(element);
  return found;
}

bool CSafeArray::_CopyElement(std::uint32_t index, CVariant& empty) const {
  const VARTYPE element = GetVarType();
  if (index >= GetNumElements() || !HoldsItsType()) return false;
  if (element == VT_BSTR) {
    empty.AttachString(CopyString(Strings(*this)[index]));
  } else if (cbElements <= sizeof empty.ullVal) {
    empty.vt = element;
    std::memcpy(&empty.ullVal, Bytes(*this) + std::size_t{index} * cbElements, cbElements);
  } else if (element == VT_VARIANT) {
    empty = Variants(*this)[index];
  } else if (element == VT_DECIMAL) {
    DECIMAL decimal;
    std::memcpy(&decimal, Bytes(*this) + std::size_t{index} * sizeof decimal, sizeof decimal);
    SetDecimal(empty, decimal);
  } else {
    return false;
  }
  return true;
}

bool CSafeArray::SetElement(std::uint32_t index, const CVariant& value) {
  const VARTYPE element = GetVarType();
  if (index >= GetNumElements() || !HoldsItsType()) return false;
  if (element == VT_VARIANT) {
    Variants(*this)[index] = value;
    return true;
  }
  if (value.vt != element) {
    CVariant converted(value);
    if (!converted.ConvertType(element, CVariant::CONVERT_OR_CLEAR)) return false;
    return SetElement(index, converted);
  }
  if (element == VT_BSTR) {
    const BSTR copy = CopyString(value.bstrVal);
    SysFreeString(std::exchange(Strings(*this)[index], copy));
    return true;
  }
  if (cbElements <= sizeof value.ullVal) {
    std::memcpy(Bytes(*this) + std::size_t{index} * cbElements, &value.ullVal, cbElements);
  } else if (element == VT_DECIMAL) {
    DECIMAL decimal = GetDecimal(value);
    decimal.wReserved = 0;  // equal decimals of arrays are equal bytes
    std::memcpy(Bytes(*this) + std::size_t{index} * sizeof decimal, &decimal, sizeof decimal);
  } else {
    return false;
  }
  return true;
}

std::u16string_view CSafeArray::GetText(std::uint32_t index) const noexcept {
  if (GetVarType() != VT_BSTR || index >= GetNumElements() || !HoldsItsType()) return {};
  return SysStringView(Strings(*this)[index]);
}

bool CSafeArray::SetText(std::uint32_t index, std::u16string_view text) {
  if (GetVarType() != VT_BSTR || index >= GetNumElements() || !HoldsItsType()) return false;
  const char16_t* const data = text.data() == nullptr ? u"" : text.data();
  if (!std::in_range<std::uint32_t>(text.size()) ||
      !SysReAllocStringLen(&Strings(*this)[index], data, static_cast<std::uint32_t>(text.size()))) {
    ThrowNoMemory();
  }
  return true;
}

void CSafeArray::Format(CString& out, bool full) const {
  out.Empty();
  const std::uint32_t count = GetNumElements();
  const std::uint32_t columns = GetNumCols();
  CVariant element;
  CString text;
  for (std::uint32_t i = 0; i < count; ++i) {
    GetElement(i, element);
    element.Format(text, full ? CVariant::FORMAT_FULL : CVariant::FORMAT_NORMAL);
    if (i % columns != 0) out += u'\t';
    out += text;
    if ((i + 1) % columns == 0) out += u"\r\n";
  }
}

bool operator==(const tagSAFEARRAY& a, const tagSAFEARRAY& b) {
  if (a.pvData == nullptr || b.pvData == nullptr) return a.pvData == b.pvData;
  const std::uint32_t count = static_cast<const CSafeArray&>(a).GetNumElements();
  if (a.cDims != b.cDims || a.cbElements != b.cbElements ||
      count != static_cast<const CSafeArray&>(b).GetNumElements()) {
    return false;
  }
  const VARTYPE element = SafeArrayGetVartype(a);
  const VARTYPE other = SafeArrayGetVartype(b);
  const bool untyped = element == VT_EMPTY || other == VT_EMPTY;
  if (element != other && !untyped) return false;
  if (!untyped && element == VT_BSTR) {
    return std::equal(Strings(a), Strings(a) + count, Strings(b),
                      [](BSTR x, BSTR y) { return SysStringBytes(x) == SysStringBytes(y); });
  }
  if (!untyped && element == VT_VARIANT) return std::equal(Variants(a), Variants(a) + count, Variants(b));
  return std::memcmp(a.pvData, b.pvData, std::size_t{a.cbElements} * count) == 0;
}
