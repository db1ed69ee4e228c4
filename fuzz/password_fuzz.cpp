// Any text as an encrypted password: what is accepted is what encryption gives, what is refused leaves the output
// alone. And any text encrypted: it comes back, and no text with one other character does.
#include "fuzz/value_fuzz_internal.h"
#include "util/properties/password.h"
#include "util/values/base64.h"

using namespace value_fuzz;
using namespace zorutil::properties;

namespace {

void CheckDecoding(const CString& text) {
  CString plain(u"before");
  if (DecryptPassword(text, plain)) {
    Require(EncryptPassword(plain) == text || EncryptPassword(plain, PASSWORD_OLDER) == text);
  } else {
    Require(plain == u"before");
  }
}

void CheckRoundTrip(const CString& plain, password_format_t format, std::size_t at, char16_t unit) {
  CString text = EncryptPassword(plain, format), back;
  Require(DecryptPassword(text, back) && back == plain);
  const int index = static_cast<int>(at % static_cast<std::size_t>(text.GetLength()));
  Require(!DecryptPassword(text.Left(index), back));
  if (text[index] == unit) return;
  text.SetAt(index, unit);
  Require(!DecryptPassword(text, back));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4 || size > 4096) return 0;
  const std::size_t at = data[0] | data[1] << 8;
  const auto unit = static_cast<char16_t>(data[2] | data[3] << 8);
  data += 4;
  size -= 4;
  const CString text(std::string_view(reinterpret_cast<const char*>(data), size));
  CString base64;
  zorutil::base64_encode(data, static_cast<unsigned>(size), base64);
  for (const char16_t* const prefix : {u"", u"$zpw$", u"$zpo$"}) {
    CheckDecoding(prefix + text);
    CheckDecoding(prefix + base64);
  }
  CheckRoundTrip(text, PASSWORD_CURRENT, at, unit);
  CheckRoundTrip(text, PASSWORD_OLDER, at, unit);
  return 0;
}
