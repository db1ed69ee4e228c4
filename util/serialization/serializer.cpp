#include "util/serialization/serializer.h"

namespace zorutil {

ISerializer::~ISerializer() = default;
ISerializable::~ISerializable() = default;

bool ISerializer::Peek(void*, unsigned) { return false; }

CString ISerializer::MakeIndent(unsigned) const { return CString(); }

void ISerializer::WriteText(const CString&) {}

const CString& ISerializer::GetText() const {
  static const CString empty;
  return empty;
}

}  // namespace zorutil
