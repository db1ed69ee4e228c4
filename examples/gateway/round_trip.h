// Saving a project in all three forms, loading each again, and whether nothing was lost.
//
//   for (const round_trip_t& trip : SaveAndReload(project, "out/plant")) trip.isEqual;      // plant.bin, .xml, .json
//
// The project may run meanwhile; what is compared with is then a copy of the moment.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "util/objects/table_obj.h"
#include "util/project/project_file.h"

namespace gateway {

struct round_trip_t {
  zorutil::project::form_t form;
  std::string file;  ///< empty: in memory
  std::uint64_t bytes = 0;
  double saveMs = 0;
  double loadMs = 0;
  bool isEqual = false;
  std::string fault;  ///< why it was not loaded
};

/// `path` is without ending; empty: nothing is written to disk. What saving throws passes through.
std::vector<round_trip_t> SaveAndReload(const CTableObj& project, const std::string& path, unsigned short languageId);

}  // namespace gateway
