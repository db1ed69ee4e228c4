// Digests: bytes in, a short fingerprint of them out.
//
//   zorssl::CHashMd5 md5;
//   md5.AddData(text.data(), text.size());
//   const zorssl::secure_bytes_t digest = md5.GetHash();       // 16 bytes
//
// A resource, not copied; one thread at a time uses a digest. std::runtime_error, which names the algorithm, when the
// cryptographic library refuses it, as where the machine's policy forbids MD5.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/export.h"
#include "platform/zorssl/secure_memory.h"

namespace zorssl {

class ZORPLATFORM_API CHash {
 public:
  CHash(const CHash&) = delete;
  CHash& operator=(const CHash&) = delete;
  /// What all digests can do.
  virtual ~CHash();

  /// Appends `size` bytes to what is digested; `size` may be 0.
  void AddData(const void* data, std::size_t size);
  /// The digest of all that was added so far; more may be added afterwards.
  secure_bytes_t GetHash() const;

 protected:
  /// `algorithm` as the cryptographic library names it.
  explicit CHash(const char* algorithm);

 private:
  struct state_t;
  std::unique_ptr<state_t> state_;
};

/// 16 bytes. Tells texts apart, but proves nothing: two of one digest can be made at will.
class ZORPLATFORM_API CHashMd5 : public CHash {
 public:
  CHashMd5();
  ~CHashMd5() override;
};

/// HMAC with SHA-256: 32 bytes that only who has the key can make.
ZORPLATFORM_API secure_bytes_t HmacSha256(std::span<const std::uint8_t> key, std::span<const std::uint8_t> data);

}  // namespace zorssl
