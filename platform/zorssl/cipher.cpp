#include "platform/zorssl/cipher.h"

#include <openssl/evp.h>

#include <algorithm>
#include <memory>

#include "platform/zorssl/error_internal.h"

namespace zorssl {

void ApplyAes256Ctr(std::span<const std::uint8_t, kAes256KeySize> key,
                    std::span<const std::uint8_t, kAesCounterSize> counter, std::span<std::uint8_t> data) {
  // Frees, and wipes, the expanded key as well.
  const auto freeContext = [](EVP_CIPHER_CTX* used) { EVP_CIPHER_CTX_free(used); };
  const std::unique_ptr<EVP_CIPHER_CTX, decltype(freeContext)> context(EVP_CIPHER_CTX_new(), freeContext);
  bool works = context != nullptr &&
               EVP_EncryptInit_ex(context.get(), EVP_aes_256_ctr(), nullptr, key.data(), counter.data()) == 1;
  // The library counts in int.
  constexpr std::size_t kLargestStep = std::size_t{1} << 30;
  for (std::size_t done = 0; works && done < data.size();) {
    const std::size_t step = std::min(data.size() - done, kLargestStep);
    int written = 0;
    works =
        EVP_EncryptUpdate(context.get(), data.data() + done, &written, data.data() + done, static_cast<int>(step)) == 1;
    done += step;
  }
  if (!works) ThrowError("AES-256-CTR");
}

}  // namespace zorssl
