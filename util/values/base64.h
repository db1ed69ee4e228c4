// Base64 in the standard alphabet of RFC 4648, "=" padding, no line breaks. No state; any number of threads.
//
//   CString text;
//   zorutil::base64_encode(bytes, sizeof bytes, text);
//   CGrowableBuffer back;
//   zorutil::base64_decode(text, back);
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/zorplatform/growable_buffer.h"

namespace zorutil {

/// Replaces `out`. True; false, with an empty `out`, only for a null pointer with a size other than 0.
/// std::length_error beyond 768 MiB, whose text would exceed CString::kMaxLength.
ZORUTIL_API bool base64_encode(const unsigned char* data, unsigned size, CString& out);

/// Replaces `out` by the bytes of the text up to its first "=" or other character outside the alphabet, blanks and line
/// breaks included (a letter or digit of another script counts as 64 and does not end it). A last group of two or three
/// characters gives one or two bytes, of one character none. Always true: malformed text gives a shorter result.
ZORUTIL_API bool base64_decode(const CString& text, zorplatform::CGrowableBuffer& out);

}  // namespace zorutil
