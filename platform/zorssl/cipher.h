// AES-256 in counter mode.
//
//   zorssl::ApplyAes256Ctr(key, counter, bytes);      // encrypts
//   zorssl::ApplyAes256Ctr(key, counter, bytes);      // and back
//
// A function without state; any number of threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/export.h"

namespace zorssl {

/// Bytes.
/// @{
inline constexpr std::size_t kAes256KeySize = 32;
inline constexpr std::size_t kAesCounterSize = 16;
/// @}

/// Encrypts or decrypts `data` in place, which is one operation. Whoever encrypts two different texts under one key and
/// one initial counter gives both away; and nothing tells a text that was changed. std::runtime_error when the
/// cryptographic library refuses; `data` is then of no use.
ZORPLATFORM_API void ApplyAes256Ctr(std::span<const std::uint8_t, kAes256KeySize> key,
                                    std::span<const std::uint8_t, kAesCounterSize> counter,
                                    std::span<std::uint8_t> data);

}  // namespace zorssl
