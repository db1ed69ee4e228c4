// The array inside an array-typed CVariant: an OLE SAFEARRAY descriptor of one or two dimensions with owned elements.
//
//   const std::int32_t levels[] = {1, 2, 3, 4, 5, 6};
//   auto* array = new CSafeArray(2, 3, VT_I4, levels);        // rows, columns, element type
//   CString text;
//   array->Format(text, false);                               // "1\t2\t3\r\n4\t5\t6\r\n"
//   array->Destroy();
//
// Elements lie row after row: (r, c) has index r * columns + c. Strings and variants inside are owned and deep-copied
// wherever elements are copied. Always made with new, because the element VARTYPE stands in front of the descriptor,
// and ended with Destroy. Arrays inside arrays are freed, copied and compared by recursion, so nest them by the
// hundred, not by the hundred thousand. One thread at a time changes an array, any number may read it.
// zorplatform::CException -2 when memory is short.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/export.h"
#include "platform/ole/ole_types.h"
#include "platform/ole/safe_array_descriptor.h"

class CString;
class CVariant;
namespace zorutil {
class ISerializer;
}

class ZORUTIL_API CSafeArray final : public tagSAFEARRAY {
 public:
  /// No elements of type VT_EMPTY.
  CSafeArray() : CSafeArray(0, VT_EMPTY, nullptr) {}
  /// One dimension. `data` holds `count` elements in the type's C form (a BSTR is a pointer, a VARIANT 16 bytes), or
  /// is null: then numbers are 0, strings null and variants empty.
  CSafeArray(std::uint32_t count, VARTYPE element, const void* data);
  /// Two dimensions when `rows` is above 1; one row is stored as one dimension, no rows as an array of no elements.
  CSafeArray(std::uint16_t rows, std::uint16_t columns, VARTYPE element, const void* data);
  CSafeArray(const CSafeArray& other);
  CSafeArray& operator=(const CSafeArray& other);

  /// Room for the descriptor and the VARTYPE in front of it. std::bad_alloc.
  /// @{
  static void* operator new(std::size_t);
  static void* operator new[](std::size_t) = delete;
  static void operator delete(void* descriptor) noexcept;
  /// @}
  /// Frees elements and descriptor.
  void Destroy() { delete this; }

  // --- what it knows ---------------------------------------------------------------------------------------------

  /// The element type.
  VARTYPE GetVarType() const noexcept { return SafeArrayGetVartype(*this); }
  /// Restamps the elements, which stay as they are: a type of the same size that owns nothing, or VT_EMPTY.
  void SetVarType(VARTYPE vt) noexcept { SafeArraySetVartype(*this, vt); }
  /// False when the type has been set to one that the elements are not stored as; they cannot be read then.
  bool HoldsItsType() const noexcept;
  /// Of all dimensions together; 0 without data.
  std::uint32_t GetNumElements() const noexcept {
    if (pvData == nullptr) return 0;
    return cDims == 2 ? rgsabound[0].cElements * rgsabound[1].cElements : rgsabound[0].cElements;
  }
  /// 1 for an array of one dimension.
  std::uint32_t GetNumRows() const noexcept { return cDims == 2 ? rgsabound[0].cElements : 1; }
  /// Elements of a row; all of them for an array of one dimension.
  std::uint32_t GetNumCols() const noexcept { return rgsabound[cDims == 2 ? 1 : 0].cElements; }
  /// Element size times element count. The size of a string is reported as 4, whatever the width of a pointer.
  std::size_t GetByteLength() const noexcept { return std::size_t{cbElements} * GetNumElements(); }

  // --- elements --------------------------------------------------------------------------------------------------

  /// Empties `out`, then copies the element into it. False for an index outside the array and for an array of a type
  /// without fixed size.
  bool GetElement(std::uint32_t index, CVariant& out) const;
  /// Converts the value to the element type if need be. False, and the array as it was, for an index outside and for
  /// a value that does not convert.
  bool SetElement(std::uint32_t index, const CVariant& value);
  /// The text of a string element without a copy; empty for null, and for an array of another type.
  std::u16string_view GetText(std::uint32_t index) const noexcept;
  bool SetText(std::uint32_t index, std::u16string_view text);

  /// The normal (or full-precision) text of each element, tabs between them, "\r\n" behind every row.
  void Format(CString& out, bool full) const;
  /// Format with full precision.
  void FormatEx(CString& out) const { Format(out, true); }

 private:
  friend struct safe_array_access_t;

  // Not for the stack, nor for a member: there is no room for the VARTYPE in front.
  ~CSafeArray();

  struct no_data_t {};
  explicit CSafeArray(no_data_t) noexcept { _Shape(1, 0, 0); }
  void _Shape(std::uint32_t rows, std::uint32_t columns, VARTYPE element) noexcept;
  void _Alloc(bool zeroed);
  void _Release() noexcept;
  void _CopyElements(const void* data);
  bool _CopyElement(std::uint32_t index, CVariant& empty) const;
  void _Swap(CSafeArray& other) noexcept;
  bool _OwnsElements() const noexcept { return (fFeatures & (FADF_BSTR | FADF_VARIANT)) != 0; }
};

/// Shapes count only through dimension and element count; numbers are compared byte for byte, strings and variants by
/// their own equality. Arrays without data are equal to each other alone.
ZORUTIL_API bool operator==(const tagSAFEARRAY& a, const tagSAFEARRAY& b);

namespace zorutil {

/// Little-endian: element VARTYPE (2 bytes), rows (4), columns (4), features (2), then the elements: strings in the
/// form of CBstr, variants in the form of CVariant, anything else as raw bytes.
ZORUTIL_API void Serialize(const tagSAFEARRAY& array, ISerializer& out);
/// `array` is a CSafeArray. CException -1 for an unknown element type, features that contradict it, a size beyond
/// 2^32 - 1 elements or arrays nested deeper than 128; the serializer's own at the end of data. Memory grows with the
/// bytes that really arrive; after a failure `array` is as it was.
ZORUTIL_API void Deserialize(tagSAFEARRAY& array, ISerializer& in);

}  // namespace zorutil
