#include "platform/framework/mem_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace {

// The same furthest position as on disk.
constexpr std::uint64_t kMaxPosition = std::uint64_t{1} << 62;

void CheckSize(std::uint64_t size) {
  if (size > CMemFile::kMaxSize) throw std::length_error("CMemFile: larger than 4 GiB");
}

}  // namespace

CMemFile::CMemFile(std::span<const std::byte> content) {
  CheckSize(content.size());
  content_.assign(content.begin(), content.end());
}

CMemFile::~CMemFile() = default;

const CString& CMemFile::GetFilePath() const noexcept {
  static const CString none;
  return none;
}

unsigned CMemFile::Read(void* buffer, unsigned count) {
  if (position_ >= content_.size()) return 0;
  const std::size_t got = std::min<std::size_t>(count, content_.size() - position_);
  if (got != 0) std::memcpy(buffer, content_.data() + position_, got);
  position_ += got;
  return static_cast<unsigned>(got);
}

void CMemFile::Write(const void* buffer, unsigned count) {
  if (count == 0) return;
  const auto* const bytes = static_cast<const std::byte*>(buffer);
  CheckSize(position_ + count);
  // Room first: it is what can fail.
  const std::uint64_t needed = position_ + count;
  if (needed > content_.capacity()) content_.reserve(std::max<std::size_t>(needed, content_.capacity() * 3 / 2));
  if (position_ > content_.size()) content_.resize(position_);
  const std::size_t replaced = std::min<std::size_t>(count, content_.size() - position_);
  content_.insert(content_.end(), bytes + replaced, bytes + count);
  std::copy_n(bytes, replaced, content_.data() + position_);
  position_ += count;
}

std::uint64_t CMemFile::Seek(std::int64_t offset, seek_t from) {
  const std::uint64_t base = from == begin ? 0 : from == current ? position_ : content_.size();
  const std::uint64_t target = base + static_cast<std::uint64_t>(offset);
  if (target > kMaxPosition) throw CFileException(GetFilePath(), "seek", EINVAL);
  return position_ = target;
}

void CMemFile::SetLength(std::uint64_t length) {
  CheckSize(length);
  content_.resize(length);
}

void CMemFile::Close() {
  content_ = {};
  position_ = 0;
}
