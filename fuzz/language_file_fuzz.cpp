// Any bytes as the language file of a module: its numbers rise, and every text that it gives has a number.
#include <algorithm>

#include "fuzz/value_fuzz_internal.h"
#include "util/i18n/language_module.h"

using namespace value_fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view content(reinterpret_cast<const char*>(data), size);
  const auto module = i18n::CLanguageModule::Register(u"fuzz", content, nullptr);
  const std::vector<unsigned> ids = module->GetIds();
  Require(std::adjacent_find(ids.begin(), ids.end(), std::greater_equal<>()) == ids.end());
  for (const unsigned id : ids) {
    const CString text = module->GetText(id, i18n::kLanguageGerman);
    Require(text == module->GetText(id, 0) && text.View().size() <= size);
    if (!std::binary_search(ids.begin(), ids.end(), id + 1)) Require(module->GetText(id + 1, 0).IsEmpty());
  }
  for (const i18n::language_problem_t& problem : module->GetProblems(0)) Require(!problem.what.empty());
  return 0;
}
