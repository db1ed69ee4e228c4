// What a CXmlDocument holds.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "util/docs/xml_parse_internal.h"

namespace xml {

/// A tree and how many handles to its elements are out. The tree's private pointer leads back here.
struct tree_t {
  explicit tree_t(doc_t tree);

  doc_t doc;
  std::size_t handles = 0;
};

std::unique_ptr<tree_t> MakeTree();

struct document_state_t {
  xmlNode* Root() const { return xmlDocGetRootElement(current->doc.get()); }

  std::unique_ptr<tree_t> current = MakeTree();
  std::vector<std::unique_ptr<tree_t>> earlier;  // those that were replaced while handles were out
};

}  // namespace xml
