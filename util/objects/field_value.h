// A value on its way into or out of a field of a described object, and the forms that it takes on the way: the value of
// a property, the bytes of a record, the text of a document.
//
//   field_value_t value;
//   if (FieldFromText(field, u"100", value) == field_result_t::TAKEN && field.set(tag, value)) ...
//
// Which member of the value counts is said by the kind of the field (type_description.h). One value may serve many
// fields, one after another, and keeps its memory. One thread at a time uses a value; the functions have no state.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/i18n/localized_message.h"
#include "util/values/variant.h"

namespace zorutil {

struct field_t;
class ISerializer;

/// How a field holds its value, and with that how records and documents hold it.
enum class field_kind_t : std::uint8_t {
  BOOL,
  INT8,
  UINT8,
  INT16,
  UINT16,
  INT32,
  UINT32,
  INT64,
  UINT64,
  REAL4,
  REAL8,
  TEXT,
  /// A text that stands encrypted in the object and wherever it is written (properties/password.h).
  PASSWORD,
  /// A variant of any type, which is kept.
  VALUE,
};

/// What became of a value that was meant for a field.
enum class field_result_t : std::uint8_t {
  TAKEN,
  WRONG_TYPE,    ///< no number for a number, a number with a fraction for an integer, and the like
  OUT_OF_RANGE,  ///< of the right kind, but too large or too small for the field's width
  REFUSED,       ///< the object's own setter said no
};

/// Room for a value of any kind; only the member of the field's kind counts, and the rest is anything.
struct field_value_t {
  /// Of all integers and truth values, the unsigned 64-bit ones as the same bits.
  std::int64_t integer = 0;
  double real = 0;  ///< of both reals
  CString text;     ///< of TEXT and PASSWORD
  CVariant value;   ///< of VALUE

  /// Puts a value where its type belongs.
  template <class T>
  void Set(const T& from) {
    if constexpr (std::is_enum_v<T>) {
      integer = static_cast<std::int64_t>(static_cast<std::underlying_type_t<T>>(from));
    } else if constexpr (std::integral<T>) {
      integer = static_cast<std::int64_t>(from);
    } else if constexpr (std::floating_point<T>) {
      real = static_cast<double>(from);
    } else if constexpr (std::is_same_v<T, CString>) {
      text = from;
    } else {
      value = from;
    }
  }
  /// A text or variant is handed over: the value is then anything.
  template <class T>
  T Take() {
    if constexpr (std::is_same_v<T, bool>) {
      return integer != 0;
    } else if constexpr (std::is_enum_v<T> || std::integral<T>) {
      return static_cast<T>(integer);
    } else if constexpr (std::floating_point<T>) {
      return static_cast<T>(real);
    } else if constexpr (std::is_same_v<T, CString>) {
      return std::move(text);
    } else {
      return std::move(value);
    }
  }
};

/// The value as a property has it: of the type that validation expects of the field's property type.
ZORUTIL_API CVariant FieldToVariant(const field_t& field, const field_value_t& value);
/// Takes a value that means the same for the field: an integer of any width and a real without fraction for an integer,
/// a number for a real (rounded to its width), 0 and 1 for a truth value, a text that is such a value from its first
/// character to its last, any number for a text. VALUE takes everything. A plain password is encrypted. Otherwise `out`
/// is anything.
ZORUTIL_API field_result_t FieldFromVariant(const field_t& field, const CVariant& from, field_value_t& out);

/// The value as documents have it: integers in decimal, reals as the shortest text that reads as the same bits ("NaN",
/// "INF" and "-INF" for what is no number), "true" or "false", texts as they are. VALUE gives a text that names the
/// type as well, such as "R8:0.5", and is exact for every type.
ZORUTIL_API void FieldToText(const field_t& field, const field_value_t& value, CString& out);
/// The value of a whole text as FieldToText writes it; white space around a number or truth value does not count, and
/// "1" and "0" are truth values too. CException of a damaged record of a VALUE comes back as WRONG_TYPE.
ZORUTIL_API field_result_t FieldFromText(const field_t& field, const CString& text, field_value_t& out);

/// Whether a field has the same value, bit for bit; but of reals that are no number there is one, for neither records
/// nor documents tell them apart.
ZORUTIL_API bool AreSame(const field_t& field, const field_value_t& a, const field_value_t& b);

/// Why a value was not taken, with the name of the field, and its range; for results other than TAKEN.
ZORUTIL_API std::unique_ptr<i18n::ILocalizedMessage> MakeFieldMessage(const field_t& field, field_result_t result);

/// A text that a document may not hold, as base64 of its UTF-16 units, little-endian; and back, false for what is none.
/// @{
ZORUTIL_API CString UnitsToBase64(const CString& text);
ZORUTIL_API bool UnitsFromBase64(const CString& base64, CString& text);
/// @}

/// The bytes that the value of a kind has in a record; 0 for texts and variants, which say their size themselves.
ZORUTIL_API std::size_t FieldWidth(field_kind_t kind) noexcept;
/// To and from those bytes, little-endian. For kinds with a width.
/// @{
ZORUTIL_API void PackField(field_kind_t kind, const field_value_t& value, std::uint8_t* out) noexcept;
ZORUTIL_API void UnpackField(field_kind_t kind, const std::uint8_t* bytes, field_value_t& out) noexcept;
/// @}
/// The record of the other kinds: a text as in string_serialization.h, a variant in its own form. Exceptions of the
/// serializer and the value pass through.
/// @{
ZORUTIL_API void WriteField(field_kind_t kind, const field_value_t& value, ISerializer& out);
ZORUTIL_API void ReadField(field_kind_t kind, ISerializer& in, field_value_t& out);
/// @}

}  // namespace zorutil
