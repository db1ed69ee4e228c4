#include "platform/framework/mem_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace {

// The same furthest position as on disk.
constexpr std::uint64_t kMaxPosition = std::uint64_t{1} << 62;

void CheckSize(std::uint64_t size) {
  if (size > CMemFile::kMaxSize) throw std::length_error("CMemFile: larger than it can be");
}

// What to have room for when `capacity` is too little.
std::size_t GrowingFrom(std::size_t capacity) {
  return static_cast<std::size_t>(std::min<std::uint64_t>(std::uint64_t{capacity} * 3 / 2, CMemFile::kMaxSize));
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
  const auto at = static_cast<std::size_t>(position_);
  const std::size_t got = std::min<std::size_t>(count, content_.size() - at);
  if (got != 0) std::memcpy(buffer, content_.data() + at, got);
  position_ += got;
  return static_cast<unsigned>(got);
}

void CMemFile::Write(const void* buffer, unsigned count) {
  if (count == 0) return;
  const auto* const bytes = static_cast<const std::byte*>(buffer);
  CheckSize(position_ + count);
  // Room first: it is what can fail.
  const auto at = static_cast<std::size_t>(position_);
  const std::size_t needed = at + count;
  if (needed > content_.capacity()) content_.reserve(std::max(needed, GrowingFrom(content_.capacity())));
  if (at > content_.size()) content_.resize(at);
  const std::size_t replaced = std::min<std::size_t>(count, content_.size() - at);
  content_.insert(content_.end(), bytes + replaced, bytes + count);
  std::copy_n(bytes, replaced, content_.data() + at);
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
  content_.resize(static_cast<std::size_t>(length));
}

void CMemFile::Close() {
  content_ = {};
  position_ = 0;
}
