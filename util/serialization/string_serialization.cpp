#include "util/serialization/string_serialization.h"

#include <string>

#include "platform/text/surrogates_internal.h"
#include "platform/text/utf.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/utf8_string.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"

namespace zorutil {

using primitives::ReadLittle;
using primitives::WriteLittle;
using zorplatform::CException;

namespace {

constexpr std::uint32_t kUtf8Flag = 0x80000000;
constexpr std::uint32_t kLargestUncheckedCount = 0xFFFF;
constexpr std::uint32_t kStackBytes = 1024;

void ReadUtf8(CString& text, ISerializer& in, std::uint32_t bytes) {
  if (bytes < kStackBytes) {
    char stack[kStackBytes];
    in.Read(stack, bytes);
    text = zorplatform::CStringFromUtf8String(stack, bytes);
    return;
  }
  std::string heap;
  primitives::ReadGrowing(in, bytes, [&](std::size_t total) {
    heap.resize(total);
    return heap.data();
  });
  if (utf::Utf16Length(heap) > static_cast<std::size_t>(CString::kMaxLength)) {
    CException::Throw(CException::kEndOfStream, "corrupt text: longer than 2^30 units");
  }
  text = zorplatform::CStringFromUtf8String(heap);
}

void ReadUtf16(CString& text, ISerializer& in, std::uint32_t units) {
  if (units > kLargestUncheckedCount && ReadLittle<std::uint32_t>(in) != ~units) {
    CException::Throw(CException::kEndOfStream,
                      "corrupt text: the length " + std::to_string(units) + " does not agree with its check word");
  }
  if (units > static_cast<std::uint32_t>(CString::kMaxLength)) {
    CException::Throw(CException::kEndOfStream, "corrupt text: a length of " + std::to_string(units) + " units");
  }
  if (units * 2 <= primitives::kReadChunk) {
    CString read;
    in.Read(read.GetBuffer(static_cast<int>(units)), units * 2);
    read.ReleaseBuffer(static_cast<int>(units));
    text = std::move(read);
  } else {
    std::u16string read;
    primitives::ReadGrowing(in, units * 2, [&](std::size_t total) {
      read.resize(total / 2);
      return read.data();
    });
    text = read;
  }
  if constexpr (std::endian::native == std::endian::big) {
    const int length = text.GetLength();
    primitives::SwapElements(text.GetBuffer(length), units, sizeof(char16_t));
    text.ReleaseBuffer(length);
  }
}

}  // namespace

void Serialize(const CString& text, ISerializer& out) {
  const auto units = static_cast<std::uint32_t>(text.GetLength());
  if (units == 0) return WriteLittle<std::uint32_t>(out, 0);
  const zorplatform::CUtf8String utf8(text);
  const bool isAscii = utf8.GetLength() == units;
  if (utf8.GetLength() < std::size_t{units} * 2 && (isAscii || !utf::HasUnpairedSurrogate(text))) {
    WriteLittle(out, static_cast<std::uint32_t>(utf8.GetLength()) | kUtf8Flag);
    out.Write(utf8.GetString(), static_cast<unsigned>(utf8.GetLength()));
    return;
  }
  WriteLittle(out, units);
  if (units > kLargestUncheckedCount) WriteLittle(out, ~units);
  primitives::WriteUnits(out, text);
}

void Deserialize(CString& text, ISerializer& in) {
  const auto header = ReadLittle<std::uint32_t>(in);
  if (header & kUtf8Flag) return ReadUtf8(text, in, header & ~kUtf8Flag);
  ReadUtf16(text, in, header);
}

void WriteCString(CFile* file, const CString& text) {
  file_serializer_t out(file);
  Serialize(text, out);
}

void ReadCString(CFile* file, CString& text) {
  file_serializer_t in(file);
  Deserialize(text, in);
}

}  // namespace zorutil
