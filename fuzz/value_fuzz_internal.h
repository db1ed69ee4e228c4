// What the fuzz targets of binary forms share: reading hostile bytes, and writing what was read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <span>
#include <vector>

#include "platform/zorplatform/exception.h"
#include "util/serialization/stream_serializers.h"

namespace value_fuzz {

inline void Require(bool claim) {
  if (!claim) std::abort();
}

/// True when the bytes are a record; nothing but a CException may come of others.
template <class T>
bool TryRead(std::span<const std::byte> bytes, T& value) {
  zorutil::memory_serializer_t in(bytes);
  try {
    Deserialize(value, in);
  } catch (const zorplatform::CException& error) {
    Require(error.GetCode() == -1 || error.GetCode() == -3);
    return false;
  }
  return true;
}

template <class T>
std::vector<std::byte> Write(const T& value) {
  zorutil::memory_serializer_t out;
  Serialize(value, out);
  return {out.GetContent().begin(), out.GetContent().end()};
}

inline std::span<const std::byte> BytesOf(const std::uint8_t* data, std::size_t size) {
  return std::as_bytes(std::span(data, size));
}

}  // namespace value_fuzz
