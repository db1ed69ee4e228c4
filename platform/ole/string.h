// The OLE string allocator: UTF-16 text with its byte length in the 4 bytes before it and a NUL behind it.
//
//   BSTR text = SysAllocString(u"pump 1");
//   SysStringLen(text);                                // 6
//   SysFreeString(text);
//
// A null BSTR is a legal string of length 0 everywhere. The allocator may be called from any thread, and a string
// may be freed on another thread than it was made on. Every string that the values of this library own comes from
// here. Allocating functions return null when memory is short or the length exceeds 2^31 - 1 bytes.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/export.h"
#include "platform/ole/ole_types.h"

/// A copy of a NUL-terminated text; null gives null.
ZORPLATFORM_API BSTR SysAllocString(const char16_t* text) noexcept;
/// `length` units copied from `text`, or left unset (but for the NUL behind them) when `text` is null.
ZORPLATFORM_API BSTR SysAllocStringLen(const char16_t* text, std::uint32_t length) noexcept;
/// `length` bytes, which may be odd, copied or, when `bytes` is null, left unset. The NUL stands behind the last unit
/// that the bytes begin.
ZORPLATFORM_API BSTR SysAllocStringByteLen(const char* bytes, std::uint32_t length) noexcept;
/// A copy of a BSTR, byte for byte; null gives null.
ZORPLATFORM_API BSTR SysCopyString(const char16_t* text) noexcept;
/// Gives `*text` a new content, in its own memory where that is large enough. `source` may lie inside `*text`;
/// null keeps what is there and leaves what is added unset. False when memory is short or the length too large: then
/// `*text` is as it was.
ZORPLATFORM_API bool SysReAllocStringLen(BSTR* text, const char16_t* source, std::uint32_t length) noexcept;
/// Null is allowed. The text must not be used afterwards.
ZORPLATFORM_API void SysFreeString(BSTR text) noexcept;

/// The length in bytes; 0 for null.
inline std::uint32_t SysStringByteLen(const char16_t* text) noexcept {
  if (text == nullptr) return 0;
  std::uint32_t bytes;
  __builtin_memcpy(&bytes, reinterpret_cast<const char*>(text) - sizeof bytes, sizeof bytes);
  return bytes;
}

/// The length in UTF-16 units; 0 for null. The odd byte of an odd length does not count.
inline std::uint32_t SysStringLen(const char16_t* text) noexcept { return SysStringByteLen(text) / 2; }

/// The text of a BSTR as a view; empty for null.
inline std::u16string_view SysStringView(const char16_t* text) noexcept {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text, SysStringLen(text));
}
