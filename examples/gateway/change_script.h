// Changes of a project while it runs, each at its time: what people at a configuration client would do.
//
//   CChangeScript script;
//   if (!script.Read(text, "changes.json", log)) return;
//   for (const auto& done : script.ApplyDue(project, 600'000, languageId, definitions)) log << done.text << '\n';
//
// A script is a JSON array; "at" is in seconds since the first reading:
//
//   [{"at": 300, "rename": "Boiler 1.Drum.PT102", "to": "PT102S"},
//    {"at": 310, "delete": "Boiler 3.Soot blowers"},
//    {"at": 320, "copy": "Boiler 1.Drum.FT101", "to": "FT101 checked"},                   // beside it
//    {"at": 330, "add": {"FT109": {"Type": "Tag", "Address": "40009"}}, "to": "Boiler 1.Drum"},
//    {"at": 340, "set": {"ScanRate": 1000}, "of": "Boiler 1.Drum.FT101"},
//    {"at": 350, "patch": [{"op": "replace", "path": "/Channels/Boiler 1/Devices/Drum/Collects", "value": false}]},
//    {"at": 360, "save": "plant.xml"}]                              // in the form that the end of the name tells
//
// Paths are names below the project, joined by ".". Every change is made under the locks of the objects that it
// concerns, so that the project may run meanwhile; new values are validated against the definitions first. A change
// that cannot be made changes nothing, and says why.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "examples/readings/problem_log.h"
#include "util/json/value.h"
#include "util/objects/table_obj.h"

namespace zorutil::properties {
class CDefinitionStore;
}

namespace gateway {

struct change_report_t {
  std::int64_t atMs;  ///< since the start
  std::string text;   ///< "rename Boiler 1.Drum.PT102 to PT102S", and why it was not done
};

class CChangeScript {
 public:
  /// False, with every fault reported, when the script is not good. `name` stands in messages.
  bool Read(std::string_view text, const std::string& name, readings::CProblemLog& log);

  /// Makes the changes that are due within so many milliseconds of the start and were not made yet. Reasons are in the
  /// language.
  std::vector<change_report_t> ApplyDue(CTableObj& project, std::int64_t elapsedMs, unsigned short languageId,
                                        zorutil::properties::CDefinitionStore& definitions);

  std::size_t GetCount() const { return changes_.size(); }
  /// Of those that were due.
  std::size_t GetFailed() const { return failed_; }
  std::size_t GetDone() const { return next_ - failed_; }

 private:
  enum class kind_t { rename, remove, copy, add, set, patch, save };
  struct change_t {
    std::int64_t atMs = 0;
    int line = 0;
    kind_t kind{};
    CString path;  // of what is changed; of a file
    CString name;  // a new one
    std::shared_ptr<zorutil::json::IValue> value;
  };

  bool ReadChange(const zorutil::json::IValue& entry, change_t& change, std::string& fault) const;
  static std::string Describe(const change_t& change);
  /// Why it could not be made; empty when it was.
  static std::string Apply(CTableObj& project, const change_t& change, unsigned short languageId,
                           zorutil::properties::CDefinitionStore& definitions);

  std::vector<change_t> changes_;  // in the order of time
  std::size_t next_ = 0;
  std::size_t failed_ = 0;
};

}  // namespace gateway
