// The binary form of CBstr (util/values/bstr.h) for a BSTR that somebody else owns.
#pragma once

#include "platform/ole/ole_types.h"
#include "util/serialization/serializer.h"

namespace zorutil {

void WriteBstr(const char16_t* text, ISerializer& out);
/// The caller owns the result.
[[nodiscard]] BSTR ReadBstr(ISerializer& in);

}  // namespace zorutil
