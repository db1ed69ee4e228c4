// An IPv4 address as configuration holds it: read from text, checked, printed.
//
//   std::uint32_t raw = 0;
//   if (CIpAddr::FromDottedQuad(u"10.0.0.5", raw)) Show(CIpAddr(raw).ToString());
//   CIpAddr device(u"plc-4");                        // asks the resolver, and may wait
//
// The raw value is in network byte order: its bytes in memory are the octets, first octet first. 0 is no address.
//
// A dotted text has four octets of one to three decimal digits, each 255 at most, read as decimal with leading zeros or
// without. It begins with a digit; blanks may stand before the other octets and behind the last one, and are skipped
// inside the first three: "1 2.3.4.5" is 12.3.4.5. Digits are '0' to '9'; blanks are Unicode white space, letters those
// of any script; the C locale has no say. A null pointer is an empty text, which is no address; so is a text with a NUL
// inside.
//
// A plain value of four bytes: copy it freely, any number of threads may read one. Only what says so asks the resolver
// (platform/zorplatform/host_resolver.h).
#pragma once

#include <concepts>
#include <cstdint>
#include <string_view>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/zorplatform/text_parse.h"

class ZORUTIL_API CIpAddr {
 public:
  /// No address, 0.
  constexpr CIpAddr() noexcept = default;
  /// The raw value as it is.
  constexpr CIpAddr(std::uint32_t address) noexcept : address_(address) {}
  /// A dotted text, or else a host name: its first address, which the resolver is asked for and which may take its
  /// time. A text with an octet above 255 is no host name. Throws zorplatform::CException -4 when that gives no
  /// address.
  explicit CIpAddr(const CString& text);

  /// The raw value, to be read or, through the reference, set.
  /// @{
  constexpr std::uint32_t GetAddr() const noexcept { return address_; }
  constexpr operator std::uint32_t&() noexcept { return address_; }
  constexpr operator const std::uint32_t&() const noexcept { return address_; }
  /// @}

  /// "10.0.0.5".
  CString ToString() const;
  /// Neither 0.0.0.0 nor 255.255.255.255.
  constexpr bool IsValid() const noexcept { return address_ != 0 && address_ != UINT32_MAX; }
  /// Any address 127.x.x.x.
  bool IsLocalHost() const noexcept;

  /// With `resolve`: the text is, or its host has, a valid address; the resolver may be asked. Without: a dotted text
  /// tells whether its address is valid, and any other text whether it is a host name by its form. Never throws.
  static bool IsValid(std::u16string_view text, bool resolve) noexcept;
  static bool IsValid(const char16_t* text, bool resolve) noexcept {
    return IsValid(zorplatform::TextOrEmpty(text), resolve);
  }
  static bool IsValid(const std::same_as<CString> auto& text, bool resolve) noexcept {
    return IsValid(text.View(), resolve);
  }

  /// The form of a host name: a letter or digit, then letters, digits, '_', '-' and '.', 63 units at most. A unit of a
  /// surrogate pair is neither letter nor digit.
  static bool IsValidHostName(std::u16string_view text) noexcept;
  static bool IsValidHostName(const char16_t* text) noexcept { return IsValidHostName(zorplatform::TextOrEmpty(text)); }
  static bool IsValidHostName(const std::same_as<CString> auto& text) noexcept { return IsValidHostName(text.View()); }

  /// The raw value of a dotted text, 0.0.0.0 and 255.255.255.255 included. False, and `out` untouched, for any other.
  static bool FromDottedQuad(std::u16string_view text, std::uint32_t& out) noexcept;
  static bool FromDottedQuad(const char16_t* text, std::uint32_t& out) noexcept {
    return FromDottedQuad(zorplatform::TextOrEmpty(text), out);
  }
  static bool FromDottedQuad(const std::same_as<CString> auto& text, std::uint32_t& out) noexcept {
    return FromDottedQuad(text.View(), out);
  }

 private:
  friend class CTcpAddr;
  static std::uint32_t Resolve(std::u16string_view text);

  std::uint32_t address_ = 0;
};
static_assert(sizeof(CIpAddr) == 4);
