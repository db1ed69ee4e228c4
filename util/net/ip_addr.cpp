#include "util/net/ip_addr.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

#include "platform/text/ascii_internal.h"
#include "platform/text/collation.h"
#include "platform/text/utf.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/host_resolver.h"
#include "util/net/address_text_internal.h"

using address_text::octets_t;

namespace address_text {
namespace {

// An octet's digits with the dot behind them, so that each is written in one piece.
struct octet_text_t {
  char16_t units[4];
  std::uint8_t length;
};

constexpr auto kOctetTexts = [] {
  std::array<octet_text_t, 256> texts{};
  for (unsigned octet = 0; octet != texts.size(); ++octet) {
    octet_text_t& text = texts[octet];
    for (const unsigned power : {100u, 10u, 1u}) {
      if (octet >= power || power == 1) text.units[text.length++] = static_cast<char16_t>(u'0' + octet / power % 10);
    }
    text.units[text.length++] = u'.';
  }
  return texts;
}();

}  // namespace

char16_t* WriteQuad(std::uint32_t address, char16_t* out) noexcept {
  for (const std::uint8_t octet : std::bit_cast<octets_t>(address)) {
    const octet_text_t& text = kOctetTexts[octet];
    std::memcpy(out, text.units, sizeof text.units);
    out += text.length;
  }
  return out - 1;
}

void Fail(std::u16string_view text, const char* why) {
  constexpr std::size_t kMaxShown = 80;
  std::string message = '"' + utf::ToUtf8(text.substr(0, kMaxShown)) + (text.size() > kMaxShown ? "...\"" : "\"");
  zorplatform::CException::Throw(zorplatform::CException::kBadAddress, message + why);
}

}  // namespace address_text

namespace {

enum class reading_t { good, octetTooLarge, other };

// Any text that begins with a digit. `address` is written when it is good.
reading_t ReadQuadWithBlanks(std::u16string_view text, std::uint32_t& address) noexcept {
  unsigned values[4] = {};
  unsigned octet = 0, digits = 0;
  bool hasEnded = false;  // a blank behind the last octet
  for (const char16_t unit : text) {
    if (ascii::IsDigit(unit)) {
      if (digits == 3 || hasEnded) return reading_t::other;
      values[octet] = values[octet] * 10 + (unit - u'0');
      ++digits;
    } else if (unit == u'.') {
      if (digits == 0 || octet == 3) return reading_t::other;
      ++octet;
      digits = 0;
    } else if (collation::IsSpace(unit)) {
      hasEnded = octet == 3 && digits != 0;
    } else {
      return reading_t::other;
    }
  }
  if (octet != 3 || digits == 0) return reading_t::other;
  octets_t octets;
  for (unsigned i = 0; i != octets.size(); ++i) {
    if (values[i] > 255) return reading_t::octetTooLarge;
    octets[i] = static_cast<std::uint8_t>(values[i]);
  }
  address = std::bit_cast<std::uint32_t>(octets);
  return reading_t::good;
}

// The same for any text. Texts without blanks, and most that are none, are decided here, in half the time.
reading_t ReadQuad(std::u16string_view text, std::uint32_t& address) noexcept {
  const char16_t* at = text.data();
  const char16_t* const end = at + text.size();
  const auto isDigit = [&] { return at != end && ascii::IsDigit(*at); };
  const auto atStop = [&] {
    return at != end && at != text.data() && collation::IsSpace(*at) ? ReadQuadWithBlanks(text, address)
                                                                     : reading_t::other;
  };
  octets_t octets;
  for (unsigned i = 0; i != octets.size(); ++i) {
    if (i != 0) {
      if (at == end || *at != u'.') return atStop();
      ++at;
    }
    if (!isDigit()) return atStop();
    unsigned value = *at++ - u'0';
    if (isDigit()) value = value * 10 + (*at++ - u'0');
    if (isDigit()) value = value * 10 + (*at++ - u'0');
    if (value > 255) return ReadQuadWithBlanks(text, address);
    octets[i] = static_cast<std::uint8_t>(value);
  }
  if (at != end) return atStop();
  address = std::bit_cast<std::uint32_t>(octets);
  return reading_t::good;
}

}  // namespace

CIpAddr::CIpAddr(const CString& text) : address_(Resolve(text)) {}

CString CIpAddr::ToString() const {
  char16_t text[address_text::kMaxQuadUnits + 1];
  const char16_t* const end = address_text::WriteQuad(address_, text);
  return CString(std::u16string_view(text, static_cast<std::size_t>(end - text)));
}

bool CIpAddr::IsLocalHost() const noexcept { return std::bit_cast<octets_t>(address_)[0] == 127; }

bool CIpAddr::IsValid(std::u16string_view text, bool resolve) noexcept {
  if (!resolve) {
    std::uint32_t address = 0;
    return FromDottedQuad(text, address) ? CIpAddr(address).IsValid() : IsValidHostName(text);
  }
  try {
    return CIpAddr(Resolve(text)).IsValid();
  } catch (...) {
    return false;
  }
}

bool CIpAddr::IsValidHostName(std::u16string_view text) noexcept {
  constexpr std::size_t kMaxUnits = 63;
  return !text.empty() && text.size() <= kMaxUnits && collation::IsAlphaNumeric(text.front()) &&
         std::all_of(text.begin(), text.end(), [](char16_t unit) {
           return collation::IsAlphaNumeric(unit) || unit == u'_' || unit == u'-' || unit == u'.';
         });
}

bool CIpAddr::FromDottedQuad(std::u16string_view text, std::uint32_t& out) noexcept {
  return ReadQuad(text, out) == reading_t::good;
}

std::uint32_t CIpAddr::Resolve(std::u16string_view text) {
  std::uint32_t address = 0;
  switch (ReadQuad(text, address)) {
    case reading_t::good: return address;
    case reading_t::octetTooLarge: address_text::Fail(text, " is no IPv4 address: an octet is above 255");
    case reading_t::other: break;
  }
  if (text.empty() || !collation::IsAlphaNumeric(text.front())) {
    address_text::Fail(text, " is neither an IPv4 address nor a host name");
  }
  const auto found = zorplatform::FindHostAddress(text);
  if (!found) address_text::Fail(text, " is no IPv4 address, and no host of that name has one");
  return *found;
}
