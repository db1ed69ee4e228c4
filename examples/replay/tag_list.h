// The tags of a plant: how the raw readings of each become the values it reports.
//
//   CTagList tags;
//   if (!tags.Read(reader, "plant_tags.csv", log)) return;       // no header to go by
//   if (!tags.ReadXml("plant_tags.xml", log)) return;            // the same list as a document
//   int tag = tags.Find("FT101");                                // -1: unknown
//
// The list is an XML document or CSV. A document holds one element for each tag under its top element:
//   <Tag> <Name>FT101</Name> <RawType>Short</RawType> <Unit>m3/h</Unit> <Scaling>...</Scaling> <Deadband>...</Deadband>
//   </Tag>
// with what CScaling and CDeadband write into a document inside the last two. RawType, Scaling and Deadband may be
// missing: Double, none and none; without Unit, it is that of the scaling.
// CSV has a header that names its columns, in any order: name (needed), unit, raw type, scaling type,
// raw low, raw high, scaled type, scaled low, scaled high, clamp low, clamp high, negate, deadband type, deadband,
// deadband low, deadband high. What a cell or a missing column leaves open:
//   raw type       Double
//   scaling type   none
//   raw and scaled ranges   0 to 1000
//   scaled type    the raw type without scaling, clamp and negation; else Double
//   deadband type  Absolute where a deadband is given, else None
//   deadband range the scaled range
// A value object: read once, then any number of threads may look things up.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "examples/readings/csv_reader.h"
#include "examples/readings/problem_log.h"
#include "util/tagproc/deadband.h"
#include "util/tagproc/scaling.h"
#include "util/values/data_type.h"

namespace replay {

using readings::CCsvReader;
using readings::CProblemLog;
using readings::Quoted;
using readings::text_position_t;
using readings::Trimmed;

struct tag_t {
  std::string name;
  std::string unit;
  DATATYPE rawType = DT_DOUBLE;
  CScaling scaling;
  CDeadband deadband;
  /// False when a raw value is reported as it is: no scaling, clamp or negation, and the scaled type is the raw one.
  bool isScaled = false;
  /// A row with a problem keeps its name, so that its readings can be told from those of unknown tags.
  bool isRefused = false;
  std::uint64_t line = 0;
};

class CTagList {
 public:
  /// Reads the rows and reports every bad cell. False, with the reason reported, when there is no header with a name
  /// column. `fileName` stands in the messages.
  bool Read(CCsvReader& reader, std::string_view fileName, CProblemLog& log);
  /// The same for a document. False, with the reason reported, when it cannot be loaded.
  bool ReadXml(const std::string& path, CProblemLog& log);
  /// Writes the tags that were not refused as such a document, which replaces the file whole. Reports those whose
  /// settings it does not hold: clamps, negation or another type without scaling. The scaling types are written by
  /// their names in the product's language; English ones load under every language. std::runtime_error with the cause.
  void WriteXml(const std::string& path, CProblemLog& log) const;

  /// In the order of the file, refused ones included.
  std::span<const tag_t> GetTags() const { return tags_; }
  /// The number of a tag in GetTags, letter for letter; -1 when there is none.
  int Find(std::string_view name) const {
    const auto found = numbers_.find(name);
    return found == numbers_.end() ? -1 : found->second;
  }

 private:
  /// What is wrong with adding it: that its name is there already. Empty when it was added.
  std::string Add(tag_t tag);

  struct hash_t : std::hash<std::string_view> {
    using is_transparent = void;
  };

  std::vector<tag_t> tags_;
  std::unordered_map<std::string, int, hash_t, std::equal_to<>> numbers_;
};

}  // namespace replay
