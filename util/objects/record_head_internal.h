// The beginning of an object's record, which tells its type.
#pragma once

#include <cstdint>

class CFile;

namespace zorutil {

/// How records are written; the highest that is read.
inline constexpr std::uint16_t kRecordFormat = 4;

struct record_type_t {
  std::uint16_t format;
  std::int32_t fullType;
};
/// CException -1 for a format above kRecordFormat, -3 at the end of the file.
record_type_t ReadRecordType(CFile& file);

}  // namespace zorutil
