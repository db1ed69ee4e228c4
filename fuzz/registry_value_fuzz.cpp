// Any bytes as the data of a value of any type: each reader takes what it takes, the others refuse it, and what was
// taken is written as it was.
#include "fuzz/value_fuzz_internal.h"
#include "platform/registry/registry_text.h"

using namespace value_fuzz;
using namespace registry;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const value_t value{static_cast<type_t>(data[0] % 8), {data + 1, data + size}};
  std::uint32_t number = 0;
  CString text;
  std::vector<CString> list;
  int taken = 0;
  if (value.ToDword(number)) {
    ++taken;
    Require(value == value_t::FromDword(number));
  }
  if (value.ToText(text)) {
    ++taken;
    Require(value.data.empty() ? text.IsEmpty() : value == value_t::FromText(text, value.type));
  }
  if (value.ToList(list)) {
    ++taken;
    Require(value.data.empty() ? list.empty() : value == value_t::FromList(list));
  }
  Require(taken <= 1);
  if (GetTypeName(value.type) == nullptr) return 0;
  // And as text, where nothing is lost whether it could be read or not.
  const key_values_t key{HKEY_USERS, u"a", {{u"v", value}}};
  std::vector<text_problem_t> problems;
  const std::vector<key_values_t> read = ParseText(PrintText({&key, 1}), problems);
  Require(problems.empty() && read.size() == 1 && read[0] == key);
  return 0;
}
