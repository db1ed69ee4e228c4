// A variant from any bytes: what was read is written, and read again to the same bytes; every conversion of it keeps
// its promises.
#include <cstring>

#include "fuzz/value_fuzz_internal.h"
#include "util/values/variant.h"
#include "util/values/variant_compare.h"

using namespace value_fuzz;

namespace {

// A failure leaves nothing in one mode and everything in the other; both modes and both calls agree.
void CheckConversions(const CVariant& value) {
  for (VARTYPE scalar = VT_EMPTY; scalar <= VT_UINT; ++scalar) {
    const auto target = static_cast<VARTYPE>(value.IsArray() ? scalar | VT_ARRAY : scalar);
    CVariant byCode(value), cleared(value), kept(value);
    tagVARIANT before = kept;
    const bool converts = byCode.ConvertTypeEx(target, 0, true) >= 0;
    Require(cleared.ConvertType(target, CVariant::CONVERT_OR_CLEAR) == converts);
    Require(kept.ConvertType(target, CVariant::CONVERT_OR_KEEP) == converts);
    if (converts) {
      Require(byCode.vt == target && Write(byCode) == Write(cleared) && Write(cleared) == Write(kept));
      Require(kept.GetNumElements() == value.GetNumElements());
    } else {
      Require(byCode.IsEmpty() && cleared.IsEmpty() && std::memcmp(&kept, &before, sizeof before) == 0);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CVariant value(u"before");
  if (!TryRead(BytesOf(data, size), value)) {
    Require(value.IsEmpty());
    return 0;
  }
  // Malformed UTF-16 may be written as repaired UTF-8, which then stays.
  const auto written = Write(value);
  CVariant again;
  Require(TryRead(written, again));
  Require(again.vt == value.vt && Write(again) == written);
  const CVariant copy(again);
  Require(Write(copy) == written);
  Require(CVariantCompare::IsValueChanged(again, copy) == !(again == copy));
  Require(copy.ToString() == again.ToString());
  if (size < 4096) CheckConversions(value);
  return 0;
}
