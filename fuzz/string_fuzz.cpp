// The two binary forms of text from any bytes, told apart by the first: what is read, written again, reads back equal,
// and both forms carry the same text.
#include "fuzz/value_fuzz_internal.h"
#include "util/serialization/string_serialization.h"
#include "util/values/bstr.h"

using namespace value_fuzz;

namespace {

std::u16string_view ViewOf(const CString& text) { return text.View(); }
std::u16string_view ViewOf(const CBstr& text) { return text.View(); }

template <class Text, class Other>
void Check(std::span<const std::byte> bytes) {
  Text text(u"before");
  if (!TryRead(bytes, text)) {
    Require(ViewOf(text) == u"before");
    return;
  }
  const auto written = Write(text);
  Text again;
  Require(TryRead(written, again));
  Require(ViewOf(again) == ViewOf(text));
  Other other;
  Require(TryRead(Write(Other(ViewOf(again))), other) && ViewOf(other) == ViewOf(again));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto bytes = BytesOf(data, size).subspan(1);
  if (data[0] % 2 == 0) {
    Check<CString, CBstr>(bytes);
  } else {
    Check<CBstr, CString>(bytes);
  }
  return 0;
}
