// The binary form of wide text, on which every other record builds.
//
// All words are 32 bits, little-endian. Empty text: the word 0. Otherwise whichever is shorter (a tie goes to
// UTF-16, and so does a text with half a surrogate pair, which UTF-8 cannot hold):
//   UTF-8:   byte count | 0x80000000, the bytes
//   UTF-16:  unit count; above 0xFFFF also the complement of the count, as a check; the units, little-endian
// The strings inside values have another form (util/values/bstr.h): each is read with its own reader.
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/serialization/serializer.h"

class CFile;

namespace zorutil {

/// Writes the shorter of the two forms. Exceptions are the serializer's.
ZORUTIL_API void Serialize(const CString& text, ISerializer& out);

/// CException -1 when the check word is wrong; the serializer's own exception at the end of data. Then `text` is as
/// it was. Memory grows with the bytes that really arrive, whatever the header claims. Embedded NULs are kept.
ZORUTIL_API void Deserialize(CString& text, ISerializer& in);

/// The same form at a file's position.
/// @{
ZORUTIL_API void WriteCString(CFile* file, const CString& text);
ZORUTIL_API void ReadCString(CFile* file, CString& text);
/// @}

}  // namespace zorutil
