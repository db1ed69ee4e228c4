// What can be wrong with definitions that can be read: for a source that is compiled, and for files that are there.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tools/utilctl/definition_source.h"

namespace utilctl {

struct definition_fault_t {
  std::size_t index;       ///< of the definition
  const char16_t* member;  ///< which part, by its name in a source; empty: the whole
  std::string cause;
};

/// A definition by its id, of any namespace; null when there is none.
using find_by_id_t = std::function<definition_ptr_t(int id)>;

/// Names and numbers that are there twice, limits that exclude each other or the default, conditions that watch what
/// is not there or lead back to themselves. Of the definitions of one namespace, in their order.
std::vector<definition_fault_t> CheckDefinitions(const std::vector<definition_ptr_t>& definitions, int namespaceNumber,
                                                 const find_by_id_t& find, unsigned short language);

}  // namespace utilctl
