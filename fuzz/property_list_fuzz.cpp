// Property lists from any bytes: what was read, up to an error too, is written and read again to the same bytes, and
// its copies say the same.
#include "fuzz/value_fuzz_internal.h"
#include "util/properties/property_list.h"

using namespace value_fuzz;
using namespace zorutil::properties;

namespace {

template <class List>
bool TryReadList(std::span<const std::byte> bytes, List& list) {
  zorutil::memory_serializer_t in(bytes);
  try {
    list.Deserialize(in);
  } catch (const zorplatform::CException& error) {
    Require(error.GetCode() == -1 || error.GetCode() == -3);
    return false;
  }
  return true;
}

template <class List>
std::vector<std::byte> WriteList(const List& list) {
  zorutil::memory_serializer_t out;
  list.Serialize(out);
  return {out.GetContent().begin(), out.GetContent().end()};
}

template <class List>
void Check(std::span<const std::byte> bytes, List& list) {
  TryReadList(bytes, list);
  const auto written = WriteList(list);
  List again;
  Require(TryReadList(written, again) && again.size() == list.size() && WriteList(again) == written);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  object_list_t objects;
  Check(BytesOf(data, size), objects);
  property_list_t list{CProperty::Create(1)};
  Check(BytesOf(data, size), list);

  property_list_t copy;
  CopyPropertyList(list, copy);
  Require(WriteList(copy) == WriteList(list));
  for (const auto& property : list) {
    const auto found = FindProperty(property->GetId(), copy);
    Require((found == property) == (property == found));
    Require(RemoveProperty(property->GetId(), copy).get() == found.get());
    property->GetDecryptedString();
  }
  Require(copy.empty());
  return 0;
}
