#include "util/objects/object_serialization.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "platform/framework/mem_file.h"
#include "util/objects/copying_internal.h"
#include "util/objects/table_obj.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/serialization_buffer.h"

namespace zorutil {
namespace {

bool WriteRecord(const CTableObj& object, ISerializer& out, bool single) {
  CMemFile record;
  {
    const copying_t copying;
    if (object.Save(&record, single) == 0) return false;
  }
  const auto content = record.GetContent();
  if (content.size() > UINT32_MAX) throw std::length_error("an object is too long to be copied");
  primitives::WriteLittle(out, static_cast<std::uint32_t>(content.size()));
  primitives::WriteBytes(out, content.data(), content.size());
  return true;
}

bool ReadRecord(CTableObj& object, ISerializer& in, bool single) {
  auto left = primitives::ReadLittle<std::uint32_t>(in);
  CMemFile record;
  std::array<std::byte, 16 * 1024> chunk;
  while (left > 0) {
    const auto count = std::min(left, static_cast<std::uint32_t>(chunk.size()));
    in.Read(chunk.data(), count);
    record.Write(chunk.data(), count);
    left -= count;
  }
  record.SeekToBegin();
  return object.Load(&record, single) != 0;
}

}  // namespace

bool Serialize(const CTableObj& object, ISerializer& out) { return WriteRecord(object, out, true); }
bool Deserialize(CTableObj& object, ISerializer& in) { return ReadRecord(object, in, true); }
bool SerializeHierarchy(const CTableObj& object, ISerializer& out) { return WriteRecord(object, out, false); }
bool DeserializeHierarchy(CTableObj& object, ISerializer& in) { return ReadRecord(object, in, false); }

}  // namespace zorutil

bool CTableObj::CopyObject(const CTableObj& source, CTableObj& target, copy_how_t how) {
  if (source.GetType() != target.GetType()) return false;
  const bool wasModified = source.IsModified();
  const bool alone = how == kCopyObject;
  zorutil::CSerializationBuffer buffer;
  if (!(alone ? zorutil::Serialize(source, buffer) : zorutil::SerializeHierarchy(source, buffer))) return false;
  if (!(alone ? zorutil::Deserialize(target, buffer) : zorutil::DeserializeHierarchy(target, buffer))) return false;
  target.SetModified(wasModified);
  return true;
}

CTableObj* CTableObj::CopyObject(const CTableObj& source, copy_how_t how) {
  zorutil::owned_obj_ptr copy(CreateObject(source.GetFullType()));
  return CopyObject(source, copy.get(), how) ? copy.release() : nullptr;
}
