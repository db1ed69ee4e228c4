// A typed value of the registry: a type and bytes, and what the bytes mean.
//
//   registry::value_t port = registry::value_t::FromDword(49320);
//   std::uint32_t number = 0;
//   if (port.ToDword(number)) ...                                  // 49320; false for any other type or size
//
// Types have the numbers, and data the layout, that programs of this family have always stored: texts are UTF-16LE and
// end in a NUL that is part of the data, a number is 4 bytes, least significant first. The registry stores any bytes
// under any type, an odd number of bytes of text included; the functions below are the readers that refuse them.
//
// A value: copied freely; one thread at a time may change it, any number may read it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace registry {

/// Stored: the numbers never change.
enum type_t : std::uint32_t {
  REG_SZ = 1,         ///< text
  REG_EXPAND_SZ = 2,  ///< text with names of environment variables in it, which nothing here expands
  REG_BINARY = 3,
  REG_DWORD = 4,
  REG_MULTI_SZ = 7,  ///< texts, none of them empty
};

/// "REG_SZ"; null for a number that is no type.
ZORPLATFORM_API const char* GetTypeName(std::uint32_t type) noexcept;
/// The type of a name, whose letter case counts.
ZORPLATFORM_API std::optional<type_t> FindType(std::string_view name) noexcept;

struct ZORPLATFORM_API value_t {
  /// Any number may be stored, not only those of type_t.
  type_t type = REG_BINARY;
  /// At most kMaxDataSize bytes (registry.h).
  std::vector<std::uint8_t> data;

  /// REG_DWORD of 4 bytes.
  static value_t FromDword(std::uint32_t number);
  /// REG_BINARY of these bytes, which may be none.
  static value_t FromBinary(std::span<const std::uint8_t> bytes);
  /// The text and its terminating NUL. NULs inside the text are kept. `textType` is REG_SZ or REG_EXPAND_SZ.
  static value_t FromText(std::u16string_view text, type_t textType = REG_SZ);
  /// Each text with its NUL, then one NUL more. Nothing when a text is empty or holds a NUL, which this form cannot
  /// tell from its end.
  static std::optional<value_t> FromList(std::span<const CString> texts);

  // Each gives what the value holds; false, with the output untouched, when it is of another type or malformed.

  /// REG_DWORD of 4 bytes.
  bool ToDword(std::uint32_t& number) const noexcept;
  /// REG_SZ or REG_EXPAND_SZ of an even number of bytes whose last unit is NUL, or of no bytes, which is the empty
  /// text.
  bool ToText(CString& text) const;
  /// REG_MULTI_SZ exactly as FromList writes it, or of no bytes, which is the empty list.
  bool ToList(std::vector<CString>& texts) const;

  bool operator==(const value_t&) const = default;
};

}  // namespace registry
