#include <gtest/gtest.h>

#include <string>

#include "platform/zorssl/cipher.h"
#include "platform/zorssl/hash.h"

namespace {

zorssl::secure_bytes_t Bytes(const std::string& hex) {
  zorssl::secure_bytes_t bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

// The vectors of RFC 1321, RFC 4231 (case 1) and NIST SP 800-38A (F.5.5, two blocks, so that the counter carries on).
TEST(Zorssl, GivesTheResultsThatTheStandardsPrint) {
  zorssl::CHashMd5 md5;
  EXPECT_EQ(md5.GetHash(), Bytes("d41d8cd98f00b204e9800998ecf8427e"));
  md5.AddData("message", 7);
  md5.AddData(" digest", 7);
  EXPECT_EQ(md5.GetHash(), Bytes("f96b697d7cb7938d525a2f31aaf161d0"));

  EXPECT_EQ(zorssl::HmacSha256(zorssl::secure_bytes_t(20, 0x0b), Bytes("4869205468657265")),
            Bytes("b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7"));

  const auto key = Bytes("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4");
  const auto counter = Bytes("f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff");
  auto data = Bytes("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51");
  zorssl::ApplyAes256Ctr(std::span(key).first<32>(), std::span(counter).first<16>(), data);
  EXPECT_EQ(data, Bytes("601ec313775789a5b7a7f504bbf3d228f443e3ca4d62b59aca84e990cacaf5c5"));
}

}  // namespace
