#include "util/serialization/stream_serializers.h"

#include <string>

#include "platform/zorplatform/exception.h"

namespace zorutil {

using zorplatform::CException;

file_serializer_t::~file_serializer_t() = default;
memory_serializer_t::~memory_serializer_t() = default;

void file_serializer_t::Read(void* dst, unsigned n) {
  const unsigned got = file_->Read(dst, n);
  if (got == n) return;
  const CString& path = file_->GetFilePath();
  CException::Throw(CException::kShortRead, (path.IsEmpty() ? std::string("memory") : path.ToUtf8()) +
                                                ": end of data at byte " + std::to_string(file_->GetPosition()) + ", " +
                                                std::to_string(n - got) + " more expected");
}

void file_serializer_t::Write(const void* src, unsigned n) { file_->Write(src, n); }

bool file_serializer_t::Peek(void* dst, unsigned n) {
  try {
    file_->Seek(0, CFile::current);
  } catch (const CFileException&) {
    if (!file_->IsOpen()) throw;
    return false;  // a pipe cannot give back what was looked at
  }
  const unsigned got = file_->Read(dst, n);
  file_->Seek(-static_cast<std::int64_t>(got), CFile::current);
  return got == n;
}

}  // namespace zorutil
