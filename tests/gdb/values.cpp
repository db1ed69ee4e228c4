// What the printers of gdb are shown: a value of each kind, and some that are none.
#include <cstring>

#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/i18n/zor_error.h"
#include "util/net/tcp_addr.h"
#include "util/objects/object_ref.h"
#include "util/objects/table.h"
#include "util/objects/table_obj.h"
#include "util/properties/property.h"
#include "util/properties/property_list.h"
#include "util/values/bstr.h"
#include "util/values/safe_array.h"
#include "util/values/variant.h"

namespace properties = zorutil::properties;

[[gnu::noinline]] void Stop(const void* const* all) { asm volatile("" : : "r"(all) : "memory"); }

BSTR plain = nullptr;

int main() {
  const CString empty, text = u"Pump \"7\"\n\u00DC";
  const CBstr owned(u"level"), none;
  plain = SysAllocStringByteLen("a\0b\0c", 5);
  const CVariant integer = CVariant::FromInt16(-5), truth = CVariant::FromBool(true), real = CVariant::FromDouble(0.1);
  const CVariant word(u"on"), date = CVariant::FromDate(-1.25), price = CVariant::FromCurrency({-12500});
  const CVariant error = CVariant::FromError(DISP_E_OVERFLOW), nothing, longest = CVariant::FromUInt64(~0ULL);
  const CVariant decimal = CVariant::FromDecimal({0, 3, DECIMAL::kNegative, 0, 1250});
  const std::int32_t levels[] = {1, 2, 3, 4, 5, 6};
  const CVariant grid(2, 3, VT_I4, levels), numbers = CVariant::FromArray(std::vector<double>{0.5, 1});
  const CVariant nested = CVariant::FromArray(std::vector<CVariant>{word, numbers, grid});
  const zorplatform::CTimeStamp time = zorplatform::CTimeStamp::FromFields(2023, 3, 15, 6, 30, 0, 250);
  const CTcpAddr device(u"10.0.0.5:502");
  properties::property_list_t list;
  list.push_back(properties::CProperty::Create(zorutil::kObjectName, u"P1"));
  list.push_back(properties::CProperty::Create(200 << 21 | 768, CVariant::FromUInt(900)));
  list.push_back(nullptr);
  CTableObjNp plant(1);
  plant.SetName(u"Plant");
  CTable table(2, true, 16);
  table.SetOwner(&plant);
  for (const char16_t* name : {u"Tag2", u"Tag1"}) {
    auto* const tag = new CTableObjNp(2);
    tag->SetName(name);
    table.Insert(tag);
  }
  const zorutil::ref_counted_obj_ptr reference = table.GetRecord(0), noReference;
  const i18n::zor_error_t failure(
      -5, i18n::MakeLocalizedMessage(i18n::IDS_VALUE_OUT_OF_RANGE, {u"0", CVariant::FromInt32(100)}));
  const i18n::CLocalizedMessage message{i18n::CLocalizedResource(i18n::IDS_SCALING_NONE)};
  // Not values: bytes that nobody wrote sensibly, a pointer to nowhere, a list that does not end.
  alignas(16) unsigned char bytes[256];
  std::memset(bytes, 0xEE, sizeof bytes);
  alignas(8) std::uintptr_t pointers[32] = {0x10, 0x20};
  pointers[9] = pointers[12] = reinterpret_cast<std::uintptr_t>(&pointers[12]);
  const void* const all[] = {&empty,       &text,    &owned,   &none,   &plain,   &integer, &truth,   &real,
                             &word,        &date,    &price,   &error,  &nothing, &longest, &decimal, &grid,
                             &nested,      &numbers, &time,    &device, &list,    &plant,   &table,   &reference,
                             &noReference, &failure, &message, bytes,   pointers};
  Stop(all);
  table.SetOwner(nullptr);
  SysFreeString(plain);
}
