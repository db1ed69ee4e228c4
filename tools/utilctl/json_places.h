// Where the values of a JSON text stand: for messages about a text that was read without error.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/utilctl/report.h"
#include "util/json/value.h"

namespace utilctl {

/// The way from the outermost value to one inside: at each level, which member or element, counted from 0.
using json_path_t = std::vector<std::uint32_t>;

/// A remark on a value; `isName`: on the name of the member.
struct json_remark_t {
  json_path_t path;
  std::string cause;
  bool isName = false;
};

/// The remarks with their lines, columns and pointers, in the order of the text. It was read as `document`.
std::vector<problem_t> LocateRemarks(const std::string& file, std::string_view text,
                                     const std::shared_ptr<zorutil::json::IValue>& document,
                                     std::vector<json_remark_t> remarks);

}  // namespace utilctl
