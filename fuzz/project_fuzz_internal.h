// What holds of every project that any form gives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "util/i18n/message_exception.h"
#include "util/objects/plant_types_testing.h"
#include "util/objects/tree_invariants_testing.h"
#include "util/project/project_file.h"

namespace project_fuzz {

using zorutil::owned_obj_ptr;
using namespace zorutil::project;

inline void Require(bool holds) {
  if (!holds) std::abort();
}

inline int Test(const std::uint8_t* data, std::size_t size, form_t form) {
  static const plant_testing::CTypes types;
  const auto bytes = std::as_bytes(std::span(data, size));
  load_report_t report;
  {
    load_options_t lenient;
    lenient.form = form;
    lenient.isLenient = true;
    const owned_obj_ptr parts = LoadProject(bytes, report, lenient);
    if (parts != nullptr) Require(tree_testing::FindBroken(*parts).empty());
    report.ToString();
  }
  load_options_t options;
  options.form = form;
  const owned_obj_ptr project = LoadProject(bytes, report, options);
  Require((project == nullptr) == report.HasErrors());
  if (project == nullptr) return 0;
  Require(tree_testing::FindBroken(*project).empty());
  for (const form_t other : {form_t::BINARY, form_t::XML, form_t::JSON}) {
    std::vector<std::byte> written;
    try {
      written = WriteProject(*project, other);
    } catch (const i18n::message_exception_t&) {
      Require(other != form_t::BINARY);  // XML holds no control characters in names, JSON nests less deep
      continue;
    }
    load_report_t again;
    const owned_obj_ptr back = LoadProject(written, again);
    Require(back != nullptr);
    Require(AreTreesEqual(*project, *back));
    Require(tree_testing::FindBroken(*back).empty());
  }
  return 0;
}

}  // namespace project_fuzz
