// A JSON document: the top-level objects of a text, of which there may be several.
//
//   zorutil::json::root_t project;
//   if (const auto error = zorutil::json::ReadText(text, project)) return Report(error.ToString());
//   project.objects.front().FindMember(u"title").line;                // 2
//   std::string copy = zorutil::json::WriteText(project);
//
// Copies share the values below the top-level objects; moving leaves the source empty. One thread at a time.
#pragma once

#include <list>

#include "platform/export.h"
#include "util/json/object.h"
#include "util/serialization/serializer.h"

namespace zorutil::json {

class ZORUTIL_API root_t : public ISerializable {
 public:
  /// A document without objects.
  root_t() = default;
  ~root_t() override;
  root_t(const root_t&) = default;
  root_t(root_t&&) noexcept = default;
  root_t& operator=(const root_t&) = default;
  root_t& operator=(root_t&&) noexcept = default;

  /// The objects one after another, a line break between them; errors and serializers as IValue::Serialize.
  void Serialize(ISerializer& out) const override;
  /// The objects as one JSON array.
  void SerializeAsArray(ISerializer& out) const;
  /// Reads either form from the text of a text serializer, or from the record of a binary one. CException -1 with line,
  /// column and cause for a malformed text, the serializer's own at the end of data: then the document is as it was.
  void Deserialize(ISerializer& in) override;

  /// Moves the only top-level object out and leaves the root empty. With none or several: an empty object, and the
  /// root as it was.
  object_t DetachObject();
  /// Moves all top-level objects out, in their order, and leaves the root empty.
  array_t DetachObjArray();
  /// Adds `delta` to the line of every member of all objects.
  void AdjustLineNumbers(int delta);

  /// The top-level objects, in the order of the text.
  std::list<object_t> objects;
};

}  // namespace zorutil::json
