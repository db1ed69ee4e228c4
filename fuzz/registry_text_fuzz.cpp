// Any bytes as an export of the registry: problems that name a line, or keys whose text reads back as the same keys.
#include <algorithm>

#include "fuzz/value_fuzz_internal.h"
#include "platform/registry/registry_text.h"

using namespace value_fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
  std::vector<registry::text_problem_t> problems;
  const std::vector<registry::key_values_t> keys = registry::ParseText(text, problems);
  for (const registry::text_problem_t& problem : problems) {
    Require(problem.line >= 1 && problem.line <= lines && !problem.cause.empty());
  }
  if (!problems.empty()) {
    Require(keys.empty() && problems.size() <= 100);
    return 0;
  }
  const std::string printed = registry::PrintText(keys);
  Require(registry::ParseText(printed, problems) == keys && problems.empty());
  Require(registry::PrintText(keys) == printed);
  return 0;
}
