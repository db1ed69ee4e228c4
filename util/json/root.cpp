#include "util/json/root.h"

#include <string>
#include <utility>

#include "platform/zorplatform/exception.h"
#include "util/json/json_serializer.h"
#include "util/json/json_text.h"
#include "util/json/text_writer_internal.h"
#include "util/serialization/string_serialization.h"

namespace zorutil::json {
namespace {

void ReadOrThrow(std::string_view utf8, root_t& document) {
  const text_error_t error = ReadText(utf8, document);
  if (error) zorplatform::CException::Throw(zorplatform::CException::kEndOfStream, "JSON: " + error.ToString());
}

}  // namespace

root_t::~root_t() = default;

void root_t::Serialize(ISerializer& out) const { SerializeDocument(*this, false, out); }

void root_t::SerializeAsArray(ISerializer& out) const { SerializeDocument(*this, true, out); }

void root_t::Deserialize(ISerializer& in) {
  if (const auto* const own = dynamic_cast<const json_serializer_t*>(&in)) return ReadOrThrow(own->GetUtf8(), *this);
  if (in.IsText()) return ReadOrThrow(in.GetText().ToUtf8(), *this);
  CString text;
  zorutil::Deserialize(text, in);
  ReadOrThrow(text.ToUtf8(), *this);
}

object_t root_t::DetachObject() {
  if (objects.size() != 1) return {};
  object_t detached = std::move(objects.front());
  objects.clear();
  return detached;
}

array_t root_t::DetachObjArray() {
  array_t detached;
  detached.elements.reserve(objects.size());
  for (object_t& object : objects) detached.AddObject(std::move(object));
  objects.clear();
  return detached;
}

void root_t::AdjustLineNumbers(int delta) {
  for (object_t& object : objects) object.AdjustLineNumbers(delta);
}

}  // namespace zorutil::json
