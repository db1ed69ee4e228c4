// For the tests of binary forms: bytes as hexadecimal text, and the bytes that no reader may trip over.
//
//   EXPECT_EQ(Written(text), "03000080616263");
//   ExpectRefusesDamage("03000080616263", [](zorutil::ISerializer& in) { CString text; Deserialize(text, in); });
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/framework/mem_file.h"
#include "platform/zorplatform/exception.h"
#include "util/serialization/stream_serializers.h"

namespace stream_testing {

using bytes_t = std::vector<std::byte>;

inline std::string Hex(std::span<const std::byte> bytes) {
  std::string hex;
  for (const std::byte byte : bytes) {
    for (const int shift : {4, 0}) hex += "0123456789ABCDEF"[(std::to_integer<unsigned>(byte) >> shift) & 15];
  }
  return hex;
}

/// Blanks may stand anywhere.
inline bytes_t Bytes(std::string_view hex) {
  std::string digits(hex);
  std::erase(digits, ' ');
  bytes_t bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::byte>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

/// What Serialize writes of a value.
template <class T>
std::string Written(const T& value) {
  zorutil::memory_serializer_t out;
  Serialize(value, out);
  return Hex(out.GetContent());
}

/// Reads from bytes, and remembers the most that was asked for at once.
class CCountingReader : public zorutil::ISerializer {
 public:
  explicit CCountingReader(std::span<const std::byte> bytes) : bytes_(bytes) {}
  void Read(void* dst, unsigned n) override {
    largest_ = std::max(largest_, n);
    if (n > bytes_.size()) zorplatform::CException::Throw(zorplatform::CException::kShortRead);
    if (n != 0) std::memcpy(dst, bytes_.data(), n);
    bytes_ = bytes_.subspan(n);
  }
  void Write(const void*, unsigned) override {}
  unsigned GetLargest() const { return largest_; }

 private:
  std::span<const std::byte> bytes_;
  unsigned largest_ = 0;
};

using reader_t = std::function<void(zorutil::ISerializer&)>;

/// The code of the CException that reading ends with; 0 when it succeeds.
inline int CodeOf(std::span<const std::byte> bytes, const reader_t& read) {
  CCountingReader in(bytes);
  try {
    read(in);
  } catch (const zorplatform::CException& error) {
    return error.GetCode();
  }
  return 0;
}

/// The same for what loads from a file.
inline int FileCodeOf(std::span<const std::byte> bytes, const std::function<void(CFile*)>& load) {
  return CodeOf(bytes, [&](zorutil::ISerializer&) {
    CMemFile file(bytes);
    load(&file);
  });
}

/// `hex` is read to its end, every shorter prefix is refused as the end of data, and with any one bit flipped the
/// reader takes the bytes or refuses them as corrupt. `codeOf` gives the code that reading some bytes ends with.
inline void ExpectRefusesDamageBy(std::string_view hex, const std::function<int(std::span<const std::byte>)>& codeOf) {
  SCOPED_TRACE(hex);
  bytes_t bytes = Bytes(hex);
  EXPECT_EQ(codeOf(bytes), 0);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_EQ(codeOf(std::span(bytes).first(length)), zorplatform::CException::kShortRead) << length << " bytes";
  }
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    const std::byte mask{static_cast<unsigned char>(1U << bit % 8)};
    bytes[bit / 8] ^= mask;
    const int code = codeOf(bytes);
    EXPECT_TRUE(code == 0 || code == -1 || code == -3) << "bit " << bit << ": " << code;
    bytes[bit / 8] ^= mask;
  }
}

inline void ExpectRefusesDamage(std::string_view hex, const reader_t& read) {
  ExpectRefusesDamageBy(hex, [&](std::span<const std::byte> bytes) { return CodeOf(bytes, read); });
}

inline void ExpectFileRefusesDamage(std::string_view hex, const std::function<void(CFile*)>& load) {
  ExpectRefusesDamageBy(hex, [&](std::span<const std::byte> bytes) { return FileCodeOf(bytes, load); });
}

}  // namespace stream_testing
