// An array from any bytes: shape and elements survive being written, copied and taken apart element by element.
#include "fuzz/value_fuzz_internal.h"
#include "platform/framework/cstring.h"
#include "util/values/safe_array_internal.h"
#include "util/values/variant.h"

using namespace value_fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const array_owner_t array(new CSafeArray(3, VT_BSTR, nullptr));
  if (!TryRead<tagSAFEARRAY>(BytesOf(data, size), *array)) {
    Require(array->GetVarType() == VT_BSTR && array->GetNumElements() == 3);
    return 0;
  }
  const std::uint64_t count = std::uint64_t{array->GetNumRows()} * array->GetNumCols();
  Require(array->GetNumElements() == count && count <= size);
  const auto written = Write<tagSAFEARRAY>(*array);
  const array_owner_t again(new CSafeArray);
  Require(TryRead<tagSAFEARRAY>(written, *again) && Write<tagSAFEARRAY>(*again) == written);
  const array_owner_t rebuilt(new CSafeArray(*array)), copy(new CSafeArray);
  *copy = *array;
  CVariant element;
  for (std::uint32_t i = 0; i < count; ++i) {
    Require(array->GetElement(i, element) && rebuilt->SetElement(i, element));
  }
  Require(!array->GetElement(static_cast<std::uint32_t>(count), element) || count > UINT32_MAX);
  Require(Write<tagSAFEARRAY>(*copy) == written);
  // The reserved word of a decimal is not part of its value.
  Require(Write<tagSAFEARRAY>(*rebuilt) == written || array->GetVarType() == VT_DECIMAL);
  CString text;
  array->Format(text, size % 2 == 0);
  Require(text.IsEmpty() == (count == 0));
  return 0;
}
