#include "platform/zorssl/hash.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <climits>
#include <stdexcept>

#include "platform/zorssl/error_internal.h"

namespace zorssl {

namespace {

struct free_context_t {
  void operator()(EVP_MD_CTX* context) const noexcept { EVP_MD_CTX_free(context); }
};
using context_t = std::unique_ptr<EVP_MD_CTX, free_context_t>;

}  // namespace

struct CHash::state_t {
  const char* algorithm;
  context_t context{EVP_MD_CTX_new()};
};

CHash::CHash(const char* algorithm) : state_(new state_t{algorithm}) {
  const EVP_MD* const digest = EVP_get_digestbyname(algorithm);
  if (state_->context == nullptr || digest == nullptr ||
      EVP_DigestInit_ex(state_->context.get(), digest, nullptr) != 1) {
    ThrowError(algorithm);
  }
}

CHash::~CHash() = default;

void CHash::AddData(const void* data, std::size_t size) {
  if (EVP_DigestUpdate(state_->context.get(), data, size) != 1) ThrowError(state_->algorithm);
}

secure_bytes_t CHash::GetHash() const {
  const context_t copy(EVP_MD_CTX_new());
  secure_bytes_t digest(static_cast<std::size_t>(EVP_MD_CTX_get_size(state_->context.get())));
  if (copy == nullptr || EVP_MD_CTX_copy_ex(copy.get(), state_->context.get()) != 1 ||
      EVP_DigestFinal_ex(copy.get(), digest.data(), nullptr) != 1) {
    ThrowError(state_->algorithm);
  }
  return digest;
}

CHashMd5::CHashMd5() : CHash("MD5") {}

CHashMd5::~CHashMd5() = default;

secure_bytes_t HmacSha256(std::span<const std::uint8_t> key, std::span<const std::uint8_t> data) {
  if (key.size() > INT_MAX) throw std::length_error("HMAC key too long");
  secure_bytes_t mac(32);
  if (HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), data.data(), data.size(), mac.data(), nullptr) ==
      nullptr) {
    ThrowError("HMAC-SHA256");
  }
  return mac;
}

}  // namespace zorssl
