// The binary forms of variants and safe arrays. They nest: an array may hold variants that hold arrays.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "platform/zorplatform/exception.h"
#include "util/serialization/primitives_internal.h"
#include "util/values/bstr.h"
#include "util/values/bstr_serialization_internal.h"
#include "util/values/safe_array_internal.h"
#include "util/values/variant.h"
#include "util/values/vartype_internal.h"

using zorplatform::CException;
using zorutil::ISerializer;
using zorutil::primitives::ReadLittle;
using zorutil::primitives::WriteLittle;

namespace {

constexpr int kMaxNesting = 128;
constexpr std::uint16_t kOwnershipFeatures = FADF_BSTR | FADF_VARIANT;
constexpr std::size_t kFirstElements = 4096;  // room set aside before elements have arrived

[[noreturn]] void ThrowCorrupt(const std::string& what) {
  CException::Throw(CException::kEndOfStream, "corrupt value: " + what);
}

[[noreturn]] void ThrowUnwritable(const char* what, VARTYPE type) {
  CException::Throw(CException::kNoFixedSize, what + (" of type " + std::to_string(type)) + " cannot be written");
}

void RequireDepth(int depth) {
  if (depth > kMaxNesting) ThrowCorrupt("arrays nested deeper than " + std::to_string(kMaxNesting));
}

// Numbers are little-endian in the stream; a DECIMAL is several of them.
[[maybe_unused]] void SwapDecimal(DECIMAL& decimal) {
  zorutil::primitives::SwapOnBigEndian(decimal.wReserved);
  zorutil::primitives::SwapOnBigEndian(decimal.Hi32);
  zorutil::primitives::SwapOnBigEndian(decimal.Lo64);
}
void SwapValues([[maybe_unused]] void* data, [[maybe_unused]] std::size_t count, [[maybe_unused]] VARTYPE element) {
  if constexpr (std::endian::native == std::endian::big) {
    if (element == VT_DECIMAL) {
      std::for_each_n(static_cast<DECIMAL*>(data), count, SwapDecimal);
    } else {
      zorutil::primitives::SwapElements(data, count, CVariant::SizeOf(element));
    }
  }
}

void RequireDecimal(const DECIMAL& decimal) {
  if (decimal.scale > DECIMAL::kMaxScale || (decimal.sign & ~DECIMAL::kNegative) != 0) {
    ThrowCorrupt("a decimal of scale " + std::to_string(decimal.scale) + " and sign " + std::to_string(decimal.sign));
  }
}

}  // namespace

// The two record forms, which call each other.
struct value_io_t {
  static void WriteVariant(const tagVARIANT& value, ISerializer& out, int depth) {
    if (value.vt == VT_VARIANT || (value.vt & ~(VT_TYPEMASK | VT_ARRAY)) != 0) ThrowUnwritable("a value", value.vt);
    WriteLittle(out, value.vt);
    if (value.vt & VT_ARRAY) return WriteArrayOf(value, out, depth + 1);
    if (value.vt == VT_BSTR) return zorutil::WriteBstr(value.bstrVal, out);
    if (value.vt == VT_DECIMAL) {
      DECIMAL decimal = GetDecimal(value);
      RequireDecimal(decimal);
      SwapValues(&decimal, 1, VT_DECIMAL);
      return out.Write(&decimal, sizeof decimal);
    }
    tagVARIANT copy = value;
    SwapValues(&copy.ullVal, 1, value.vt);
    if (const unsigned size = CVariant::SizeOf(value.vt); size != 0) out.Write(&copy.ullVal, size);
  }

  static void WriteArray(const CSafeArray& array, VARTYPE element, ISerializer& out, int depth) {
    RequireDepth(depth);
    const std::uint32_t count = array.GetNumElements();
    const bool isPlainEmpty = element == VT_EMPTY && count == 0;
    if (array.cbElements != CVariant::SizeOf(element) || (array.cbElements == 0 && !isPlainEmpty)) {
      ThrowUnwritable("an array", element);
    }
    WriteHead(element, array.GetNumRows(), array.pvData == nullptr ? 0 : array.GetNumCols(), array.fFeatures, out);
    if (array.fFeatures & FADF_BSTR) {
      for (std::uint32_t i = 0; i < count; ++i) zorutil::WriteBstr(static_cast<const BSTR*>(array.pvData)[i], out);
    } else if (array.fFeatures & FADF_VARIANT) {
      for (std::uint32_t i = 0; i < count; ++i) WriteVariant(static_cast<const CVariant*>(array.pvData)[i], out, depth);
    } else if constexpr (std::endian::native == std::endian::big) {
      const array_owner_t swapped(new CSafeArray(array));
      SwapValues(swapped->pvData, count, element);
      zorutil::primitives::WriteBytes(out, swapped->pvData, array.GetByteLength());
    } else {
      zorutil::primitives::WriteBytes(out, array.pvData, array.GetByteLength());
    }
  }

  static CVariant ReadVariant(ISerializer& in, int depth) {
    CVariant value;
    const auto vt = ReadLittle<VARTYPE>(in);
    if ((vt & ~(VT_TYPEMASK | VT_ARRAY)) != 0 || vt == VT_VARIANT) ThrowCorrupt("type " + std::to_string(vt));
    const VARTYPE element = vartype::ElementOf(vt);
    if (vt & VT_ARRAY) {
      array_owner_t array = ReadArray(in, depth + 1);
      if (array->GetVarType() != element) {
        ThrowCorrupt("an array of type " + std::to_string(array->GetVarType()) + " in a value of type " +
                     std::to_string(vt));
      }
      value.AdoptArray(element, array.release());
    } else if (vt == VT_BSTR) {
      value.AttachString(zorutil::ReadBstr(in));
    } else if (vt == VT_DECIMAL) {
      DECIMAL decimal;
      in.Read(&decimal, sizeof decimal);
      SwapValues(&decimal, 1, VT_DECIMAL);
      RequireDecimal(decimal);
      SetDecimal(value, decimal);
    } else {
      if (const unsigned size = CVariant::SizeOf(vt); size != 0) in.Read(&value.ullVal, size);
      SwapValues(&value.ullVal, 1, vt);
      value.vt = vt;
    }
    return value;
  }

  static array_owner_t ReadArray(ISerializer& in, int depth) {
    RequireDepth(depth);
    const auto element = ReadLittle<VARTYPE>(in);
    const auto rows = ReadLittle<std::uint32_t>(in);
    const auto columns = ReadLittle<std::uint32_t>(in);
    const auto features = ReadLittle<std::uint16_t>(in);
    const std::uint64_t product = std::uint64_t{rows} * columns;
    const auto count = static_cast<std::uint32_t>(product);
    if (count != product)
      ThrowCorrupt("an array of " + std::to_string(rows) + " rows and " + std::to_string(columns) + " columns");
    if (element > VT_UINT || (CVariant::SizeOf(element) == 0 && (element != VT_EMPTY || count != 0))) {
      ThrowCorrupt("an array of type " + std::to_string(element));
    }
    array_owner_t array = safe_array_access_t::MakeShape(rows, columns, element);
    if ((features & kOwnershipFeatures) != (array->fFeatures & kOwnershipFeatures)) {
      ThrowCorrupt("features " + std::to_string(features) + " for an array of type " + std::to_string(element));
    }
    if (element == VT_BSTR) {
      ReadOwners<CBstr>(*array, count, [&](CBstr& text) { text.Attach(zorutil::ReadBstr(in)); });
    } else if (element == VT_VARIANT) {
      ReadOwners<CVariant>(*array, count, [&](CVariant& value) { value = ReadVariant(in, depth); });
    } else {
      ReadNumbers(*array, count, in);
    }
    return array;
  }

 private:
  static void WriteHead(VARTYPE element, std::uint32_t rows, std::uint32_t columns, std::uint16_t features,
                        ISerializer& out) {
    WriteLittle(out, element);
    WriteLittle(out, rows);
    WriteLittle(out, columns);
    WriteLittle(out, features);
  }

  // A null array is written as an array of no elements of its type; one without a type of its own has the value's.
  static void WriteArrayOf(const tagVARIANT& value, ISerializer& out, int depth) {
    const VARTYPE element = vartype::ElementOf(value.vt);
    if (value.parray != nullptr) {
      const auto& array = static_cast<const CSafeArray&>(*value.parray);
      const VARTYPE own = array.GetVarType();
      if (own != element && own != VT_EMPTY) ThrowUnwritable("an array in a value", own);
      return WriteArray(array, element, out, depth);
    }
    WriteArray(*array_owner_t(new CSafeArray(0, element, nullptr)), element, out, depth);
  }

  // Reads elements that own something, and only then makes room for all of them in the shaped, still empty array.
  template <class Owner, class ReadOne>
  static void ReadOwners(CSafeArray& array, std::uint32_t count, ReadOne readOne) {
    std::vector<Owner> owners;
    owners.reserve(std::min<std::size_t>(count, kFirstElements));
    for (std::size_t i = 0; i < count; ++i) readOne(owners.emplace_back());
    safe_array_access_t::Alloc(array);
    std::move(owners.begin(), owners.end(), static_cast<Owner*>(array.pvData));
  }

  static void ReadNumbers(CSafeArray& array, std::uint32_t count, ISerializer& in) {
    if (count == 0) return safe_array_access_t::Alloc(array);
    std::size_t have = 0;
    const std::uint64_t bytes = std::uint64_t{count} * array.cbElements;
    zorutil::primitives::ReadGrowing(in, bytes, [&](std::size_t want) {
      void* const grown = SafeArrayAllocData(want, false);
      if (grown == nullptr) CException::Throw(CException::kAllocation, "no memory for an array");
      if (have != 0) std::memcpy(grown, array.pvData, have);
      SafeArrayFreeData(std::exchange(array.pvData, grown));
      have = want;
      return grown;
    });
    SwapValues(array.pvData, count, array.GetVarType());
    if (array.GetVarType() == VT_DECIMAL)
      std::for_each_n(static_cast<const DECIMAL*>(array.pvData), count, RequireDecimal);
  }
};
static_assert(sizeof(CBstr) == sizeof(BSTR));

namespace zorutil {

void Serialize(const tagVARIANT& value, ISerializer& out) { value_io_t::WriteVariant(value, out, 0); }

void Deserialize(tagVARIANT& value, ISerializer& in) {
  CVariant target;
  target.AttachData(value);
  target.Clear();
  target = value_io_t::ReadVariant(in, 0);
  value = target;
  target.DetachData();
}

void Serialize(const tagSAFEARRAY& array, ISerializer& out) {
  const auto& source = static_cast<const CSafeArray&>(array);
  value_io_t::WriteArray(source, source.GetVarType(), out, 1);
}

void Deserialize(tagSAFEARRAY& array, ISerializer& in) {
  const array_owner_t read = value_io_t::ReadArray(in, 1);
  safe_array_access_t::Swap(static_cast<CSafeArray&>(array), *read);
}

}  // namespace zorutil
