// The identity of the product with its directories and files, and where each comes from: for people who look for a
// setting that has no effect.
//
//   for (const zorutil::product_item_t& item : zorutil::DescribeProduct()) Print(item.name, item.value, item.source);
//
// No folder is made. Nothing is worked out that was not yet: what is shown is what the functions of product_identity.h
// would give now, had each been the first to be called. Any number of threads.
#pragma once

#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorutil {

/// One thing that is known of the product.
struct product_item_t {
  /// What `value` is: a text, a path text that ends in "\", or one of a file.
  enum class kind_t { name, directory, file };
  const char* name;    ///< what it is: "shared application profile directory"
  kind_t kind;         ///< how to show it
  CString value;       ///< what the function of product_identity.h gives
  std::string source;  ///< "product.ini, [Product] Name"
};

/// In the order of product_identity.h, each thing once.
ZORUTIL_API std::vector<product_item_t> DescribeProduct();

}  // namespace zorutil
