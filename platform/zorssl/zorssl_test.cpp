#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/zorssl/cipher.h"
#include "platform/zorssl/hash.h"

using zorssl::secure_bytes_t;

namespace {

std::string Hex(std::span<const std::uint8_t> bytes) {
  std::string hex;
  for (const std::uint8_t byte : bytes) hex.append({"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]});
  return hex;
}

std::vector<std::uint8_t> Bytes(std::string_view hex) {
  std::vector<std::uint8_t> bytes;
  for (; !hex.empty(); hex.remove_prefix(2)) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(hex.substr(0, 2)), nullptr, 16)));
  }
  return bytes;
}

// The vectors of RFC 1321.
TEST(Hash, Md5OfTextsInOneAndInTwoParts) {
  zorssl::CHashMd5 md5;
  EXPECT_EQ(Hex(md5.GetHash()), "d41d8cd98f00b204e9800998ecf8427e");
  md5.AddData("message", 7);
  md5.GetHash();
  md5.AddData(" digest", 7);
  EXPECT_EQ(Hex(md5.GetHash()), "f96b697d7cb7938d525a2f31aaf161d0");
  struct CUnknown : zorssl::CHash {
    CUnknown() : CHash("no such digest") {}
  };
  EXPECT_THROW(CUnknown(), std::runtime_error);
}

// RFC 4231, case 1.
TEST(Hash, HmacProvesTheKey) {
  EXPECT_EQ(Hex(zorssl::HmacSha256(secure_bytes_t(20, 0x0b), Bytes("4869205468657265"))),
            "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7");
}

// NIST SP 800-38A, F.5.5, the first two blocks: the counter carries on.
TEST(Cipher, Aes256CounterModeIsItsOwnInverse) {
  const auto key = Bytes("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4");
  const auto counter = Bytes("f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff");
  const std::string plain = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51";
  auto data = Bytes(plain);
  const auto apply = [&] { zorssl::ApplyAes256Ctr(std::span(key).first<32>(), std::span(counter).first<16>(), data); };
  apply();
  EXPECT_EQ(Hex(data), "601ec313775789a5b7a7f504bbf3d228f443e3ca4d62b59aca84e990cacaf5c5");
  apply();
  EXPECT_EQ(Hex(data), plain);
}

}  // namespace
