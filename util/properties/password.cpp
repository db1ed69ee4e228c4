#include "util/properties/password.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <string_view>

#include "platform/framework/invalid_arg.h"
#include "platform/text/utf.h"
#include "platform/zorplatform/growable_buffer.h"
#include "platform/zorssl/cipher.h"
#include "platform/zorssl/hash.h"
#include "platform/zorssl/secure_memory.h"
#include "util/values/base64.h"

namespace zorutil::properties {

namespace {

using zorssl::secure_bytes_t;

constexpr std::u16string_view kCurrentPrefix = u"$zpw$";
constexpr std::u16string_view kOlderPrefix = u"$zpo$";

// The record behind the prefix; password.h describes it.
constexpr std::uint8_t kVersionMask = 0xF0;
constexpr std::uint8_t kVersion = 0x10;
enum key_slot_t : std::uint8_t { kBuiltInKey = 0, kOwnKey = 1 };
constexpr std::size_t kCounterAt = 1;
constexpr std::size_t kTextAt = kCounterAt + zorssl::kAesCounterSize;

// Stored texts depend on it: it never changes.
constexpr std::uint8_t kBuiltIn[kPasswordKeySize] = {0x8E, 0x41, 0xD7, 0x2C, 0x93, 0x5B, 0xE0, 0x16, 0x7A, 0xCF, 0x08,
                                                     0xB4, 0x62, 0xFD, 0x39, 0xA5, 0x11, 0xC8, 0x5E, 0xF3, 0x84, 0x2A,
                                                     0xB9, 0x6D, 0x07, 0xDA, 0x90, 0x4F, 0xE6, 0x3B, 0x72, 0xAC};

// Behind the prefix of the older format, as base64: four bytes of check sum, the UTF-8 text, each byte masked.
constexpr std::uint8_t kMask[16] = {0x5A, 0xC3, 0x19, 0x8D, 0x76, 0xE2, 0x3F, 0xA8,
                                    0x91, 0x4C, 0xD5, 0x0B, 0xB7, 0x6E, 0x28, 0xF4};
constexpr std::size_t kCheckSize = 4;

class CKeys {
 public:
  static CKeys& Get() {
    static CKeys keys;
    return keys;
  }

  void SetOwn(secure_bytes_t key) {
    const std::lock_guard guard(mutex_);
    own_.swap(key);
  }
  /// The key to write with, and its slot.
  secure_bytes_t GetCurrent(key_slot_t& slot) const {
    {
      const std::lock_guard guard(mutex_);
      slot = own_.empty() ? kBuiltInKey : kOwnKey;
      if (slot == kOwnKey) return own_;
    }
    return GetBuiltIn();
  }
  /// The key of a slot; empty when there is none.
  secure_bytes_t GetOf(unsigned slot) const {
    if (slot == kBuiltInKey) return GetBuiltIn();
    if (slot != kOwnKey) return {};
    const std::lock_guard guard(mutex_);
    return own_;
  }

 private:
  static secure_bytes_t GetBuiltIn() { return secure_bytes_t(std::begin(kBuiltIn), std::end(kBuiltIn)); }

  mutable std::mutex mutex_;
  secure_bytes_t own_;
};

// The bytes of a text, behind room for `front` further ones.
secure_bytes_t Utf8Of(const CString& text, std::size_t front) {
  secure_bytes_t bytes(front + utf::Utf8Length(text));
  utf::Utf16ToUtf8(text, reinterpret_cast<char*>(bytes.data()) + front);
  return bytes;
}

// False, and `text` as it was, for bytes that Utf8Of does not give. They were read from a CString, so that they are not
// too many for one. No constructor of CString is used, for it may copy and leave the first one behind.
bool TakeText(std::span<const std::uint8_t> utf8, CString& text) {
  const std::string_view bytes(reinterpret_cast<const char*>(utf8.data()), utf8.size());
  CString taken;
  char16_t* const units = taken.GetBuffer(static_cast<int>(utf::MaxUtf16Units(bytes.size())));
  taken.ReleaseBuffer(static_cast<int>(utf::Utf8ToUtf16(bytes, units)));
  const bool isWhole = std::ranges::equal(Utf8Of(taken, 0), utf8);
  if (isWhole) text.Swap(taken);
  // What was taken from malformed bytes, or a plain text that stood there before.
  WipeText(taken);
  return isWhole;
}

CString Armour(std::u16string_view prefix, const secure_bytes_t& bytes) {
  CString base64;
  base64_encode(bytes.data(), static_cast<unsigned>(bytes.size()), base64);
  return prefix + base64;
}

// The bytes behind a prefix, at least `least`; none for a text that Armour does not give.
secure_bytes_t Unarmour(std::u16string_view prefix, const CString& text, std::size_t least) {
  if (!text.View().starts_with(prefix)) return {};
  zorplatform::CGrowableBuffer decoded;
  base64_decode(text.Mid(static_cast<int>(prefix.size())), decoded);
  secure_bytes_t bytes(decoded.GetData(), decoded.GetData() + decoded.GetSize());
  zorssl::Wipe(decoded.GetData(), decoded.GetSize());
  if (bytes.size() < least || Armour(prefix, bytes) != text) return {};
  return bytes;
}

// The initial counter of a text, which also proves it.
secure_bytes_t CounterOf(std::span<const std::uint8_t> key, std::span<const std::uint8_t> utf8) {
  zorssl::CHashMd5 md5;
  md5.AddData(utf8.data(), utf8.size());
  secure_bytes_t mac = zorssl::HmacSha256(key, md5.GetHash());
  mac.resize(zorssl::kAesCounterSize);
  return mac;
}

void ApplyCipher(const secure_bytes_t& key, secure_bytes_t& record) {
  zorssl::ApplyAes256Ctr(std::span(key).first<kPasswordKeySize>(),
                         std::span(record).subspan<kCounterAt, zorssl::kAesCounterSize>(),
                         std::span(record).subspan(kTextAt));
}

CString EncryptCurrent(const CString& plainText) {
  key_slot_t slot = kBuiltInKey;
  const secure_bytes_t key = CKeys::Get().GetCurrent(slot);
  secure_bytes_t record = Utf8Of(plainText, kTextAt);
  record[0] = static_cast<std::uint8_t>(kVersion | slot);
  std::ranges::copy(CounterOf(key, std::span(record).subspan(kTextAt)), record.begin() + kCounterAt);
  ApplyCipher(key, record);
  return Armour(kCurrentPrefix, record);
}

bool DecryptCurrent(const CString& text, CString& plainText) {
  secure_bytes_t record = Unarmour(kCurrentPrefix, text, kTextAt);
  if (record.empty() || (record[0] & kVersionMask) != kVersion) return false;
  const secure_bytes_t key = CKeys::Get().GetOf(record[0] & ~kVersionMask);
  if (key.empty()) return false;
  ApplyCipher(key, record);
  const std::span<const std::uint8_t> utf8 = std::span(record).subspan(kTextAt);
  const auto counter = std::span(record).subspan<kCounterAt, zorssl::kAesCounterSize>();
  if (!zorssl::EqualInConstantTime(CounterOf(key, utf8), counter)) return false;
  return TakeText(utf8, plainText);
}

// Masks the record, or takes the mask off.
void ApplyMask(secure_bytes_t& record) {
  for (std::size_t i = 0; i < record.size(); ++i) {
    record[i] = static_cast<std::uint8_t>(record[i] ^ kMask[i % sizeof kMask] ^ (i / sizeof kMask));
  }
}

// Adler-32 (RFC 1950), little-endian: the order of the bytes counts.
std::array<std::uint8_t, kCheckSize> CheckSum(std::span<const std::uint8_t> utf8) {
  std::uint32_t sum = 1, sumOfSums = 0;
  for (const std::uint8_t byte : utf8) {
    sum = (sum + byte) % 65521;
    sumOfSums = (sumOfSums + sum) % 65521;
  }
  return {static_cast<std::uint8_t>(sum), static_cast<std::uint8_t>(sum >> 8), static_cast<std::uint8_t>(sumOfSums),
          static_cast<std::uint8_t>(sumOfSums >> 8)};
}

CString EncryptOlder(const CString& plainText) {
  secure_bytes_t record = Utf8Of(plainText, kCheckSize);
  std::ranges::copy(CheckSum(std::span(record).subspan(kCheckSize)), record.begin());
  ApplyMask(record);
  return Armour(kOlderPrefix, record);
}

bool DecryptOlder(const CString& text, CString& plainText) {
  secure_bytes_t record = Unarmour(kOlderPrefix, text, kCheckSize);
  if (record.empty()) return false;
  ApplyMask(record);
  const std::span<const std::uint8_t> utf8 = std::span(record).subspan(kCheckSize);
  if (!std::ranges::equal(CheckSum(utf8), std::span(record).first<kCheckSize>())) return false;
  return TakeText(utf8, plainText);
}

}  // namespace

CString EncryptPassword(const CString& plainText, password_format_t format) {
  return format == PASSWORD_OLDER ? EncryptOlder(plainText) : EncryptCurrent(plainText);
}

bool DecryptPassword(const CString& text, CString& plainText) {
  return DecryptCurrent(text, plainText) || DecryptOlder(text, plainText);
}

void SetPasswordKey(std::span<const std::uint8_t> key) {
  if (!key.empty() && key.size() != kPasswordKeySize) throw CInvalidArgException("a password key has 32 bytes");
  CKeys::Get().SetOwn(secure_bytes_t(key.begin(), key.end()));
}

void WipeText(CString& text) noexcept {
  const int capacity = text.GetCapacity();
  if (capacity == 0) return;
  try {
    // Of a text that is shared GetBuffer makes a copy first.
    zorssl::Wipe(text.GetBuffer(capacity), static_cast<std::size_t>(capacity) * sizeof(char16_t));
    text.ReleaseBuffer(0);
  } catch (...) {
    // Memory for that copy was short, and there is nothing to wipe.
  }
  text.Empty();
}

}  // namespace zorutil::properties
