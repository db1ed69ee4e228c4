// The texts of an INI document: its encodings, its quoted values, its names without letter case.
//
// Inside, a document is UTF-8. What was UTF-16 may hold unpaired surrogates; they stand there as the three bytes that
// UTF-8 would have for them, so that they can be written back as they came.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/framework/cstring.h"
#include "platform/text/uint128_internal.h"

namespace zorplatform::ini {

constexpr std::size_t kNowhere = std::string_view::npos;

enum class encoding_t : std::uint8_t { kUtf8, kUtf8Marked, kUtf16Le, kUtf16Be };

constexpr bool IsUtf16(encoding_t encoding) { return encoding >= encoding_t::kUtf16Le; }

constexpr std::string_view MarkOf(encoding_t encoding) {
  constexpr std::string_view kMarks[] = {"", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"};
  return kMarks[static_cast<std::size_t>(encoding)];
}

/// The encoding that the first bytes tell.
encoding_t EncodingOf(std::string_view bytes) noexcept;
/// UTF-16 bytes, an even number, into the inner form.
std::string FromUtf16(std::string_view bytes, bool bigEndian);
/// The inner form into UTF-16 bytes, which are appended.
void AppendUtf16(std::string_view text, bool bigEndian, std::string& bytes);

/// What becomes of an encoded surrogate on the way to units: a malformed sequence like any other (text that came as
/// UTF-8), one U+FFFD, or itself (text that came as UTF-16).
enum class surrogates_t : std::uint8_t { kMalformed, kReplaced, kKept };
/// Writes the units, at most as many as there are bytes, and returns their number.
std::size_t ToUnits(std::string_view text, surrogates_t surrogates, char16_t* out) noexcept;
/// The place of the first byte that is not well-formed UTF-8, or kNowhere.
std::size_t FindMalformed(std::string_view text) noexcept;

// --- values ---------------------------------------------------------------------------------------------------------

/// Whether a value must be quoted to be read back.
bool NeedsQuotes(std::u16string_view value) noexcept;
/// The value as it stands in a line, quoted if need be.
void AppendValue(std::u16string_view value, std::string& line);
/// The place of the quotation mark that ends the value beginning with one, or kNowhere.
std::size_t FindClosingQuote(std::string_view value) noexcept;
/// The value of the text between the quotation marks, at most as many units as there are bytes.
std::size_t Unescape(std::string_view inner, surrogates_t surrogates, char16_t* out) noexcept;

// --- names ----------------------------------------------------------------------------------------------------------
// A folded name is UTF-8 without upper-case letters: two names are the same when their folded forms are.

/// Lower-case the ASCII letters of eight bytes; other bytes stay.
inline std::uint64_t FoldEight(std::uint64_t bytes) noexcept {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  const std::uint64_t low = bytes & 0x7F * kEach;
  const std::uint64_t fromA = low + (0x80 - 'A') * kEach;
  const std::uint64_t behindZ = low + (0x7F - 'Z') * kEach;
  return bytes | ((fromA ^ behindZ) & ~bytes & 0x80 * kEach) >> 2;
}

template <class Word>
std::uint64_t LoadWord(const char* at) noexcept {
  Word word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

/// Up to eight bytes as a number; of texts of one length, different ones give different numbers.
inline std::uint64_t LoadUpToEight(const char* at, std::size_t size) noexcept {
  if (size == 8) return LoadWord<std::uint64_t>(at);
  if (size >= 4) return LoadWord<std::uint32_t>(at) | LoadWord<std::uint32_t>(at + size - 4) << 32;
  if (size == 0) return 0;
  const auto byte = [at](std::size_t i) { return std::uint64_t{static_cast<unsigned char>(at[i])}; };
  return byte(0) | byte(size / 2) << 8 | byte(size - 1) << 16;
}

/// Whether an ASCII name, folded, is `folded`.
inline bool IsSameAscii(std::string_view name, std::string_view folded) noexcept {
  const std::size_t size = name.size();
  if (size != folded.size()) return false;
  if (size < 8) return FoldEight(LoadUpToEight(name.data(), size)) == LoadUpToEight(folded.data(), size);
  const auto same = [&](std::size_t i) {
    return FoldEight(LoadWord<std::uint64_t>(name.data() + i)) == LoadWord<std::uint64_t>(folded.data() + i);
  };
  for (std::size_t i = 0; i + 8 < size; i += 8) {
    if (!same(i)) return false;
  }
  return same(size - 8);
}

/// The folded form of a name that is not plain ASCII.
std::string FoldName(std::u16string_view name);
std::string FoldName(std::string_view text, surrogates_t surrogates);

/// The name that a caller asks for, folded. Short ASCII ones take no memory.
class CFoldedName {
 public:
  explicit CFoldedName(const char16_t* name) {
    std::size_t size = 0;
    if (name != nullptr) {
      for (; name[size] != 0; ++size) {
        if (name[size] >= 0x80 || size == short_.size()) {
          long_ = FoldName(std::u16string_view(name));
          view_ = long_;
          return;
        }
        const auto letter = static_cast<unsigned>(name[size]);
        short_[size] = static_cast<char>(letter | (letter - 'A' < 26 ? 0x20U : 0U));
      }
    }
    view_ = {short_.data(), size};
  }
  CFoldedName(const CFoldedName&) = delete;
  CFoldedName& operator=(const CFoldedName&) = delete;

  std::string_view View() const noexcept { return view_; }

 private:
  std::array<char, 64> short_;
  std::string long_;
  std::string_view view_;
};

/// Keyed by two random numbers, so that no file can be made whose names collide.
class CNameHash {
 public:
  CNameHash();

  /// Of a folded name, or of an ASCII one in any case. `scope` tells equal names of different sections apart.
  std::uint32_t operator()(std::string_view name, std::uint32_t scope) const noexcept {
    const char* const at = name.data();
    const std::size_t size = name.size();
    std::uint64_t head = LoadUpToEight(at, std::min<std::size_t>(size, 8)), tail = size;
    std::uint64_t hash = first_ ^ scope;
    if (size > 8) {
      head = LoadWord<std::uint64_t>(at);
      tail = LoadWord<std::uint64_t>(at + size - 8);
      for (std::size_t i = 8; i + 8 < size; i += 8)
        hash = Mix(hash ^ FoldEight(LoadWord<std::uint64_t>(at + i)), second_);
    }
    hash = Mix(hash ^ FoldEight(head), second_ ^ FoldEight(tail) ^ std::uint64_t{size} << 56);
    return static_cast<std::uint32_t>(Mix(hash, first_) >> 32);
  }

 private:
  static std::uint64_t Mix(std::uint64_t a, std::uint64_t b) noexcept {
    const wide::uint128_t product = wide::uint128_t{a} * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
  }

  std::uint64_t first_;
  std::uint64_t second_;
};

}  // namespace zorplatform::ini
