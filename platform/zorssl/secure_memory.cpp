#include "platform/zorssl/secure_memory.h"

#include <openssl/crypto.h>

namespace zorssl {

void Wipe(void* data, std::size_t size) noexcept {
  if (size != 0) OPENSSL_cleanse(data, size);
}

bool EqualInConstantTime(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) noexcept {
  return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace zorssl
