// Generated names.
#include <algorithm>
#include <charconv>
#include <mutex>

#include "platform/text/ascii_internal.h"
#include "platform/text/surrogates_internal.h"
#include "util/objects/table_internal.h"

namespace {

constexpr unsigned kMaxAttempts = 10'000'000;
constexpr std::uint64_t kLargestNumber = 0x7FFFFFFF;

// A name that is counted up: a text and a number, which has a least number of digits.
class CCountedName {
 public:
  // Splits the digits off the end of a name, and stands behind their number.
  CCountedName(std::u16string_view name, unsigned maxLength) : base_(name), maxLength_(maxLength) {
    base_ = base_.substr(0, maxLength == 0 ? 0 : maxLength - 1);
    CutHalfPair();
    std::uint64_t value = 0;
    const auto lastOther = std::find_if_not(base_.rbegin(), base_.rend(), ascii::IsDigit);
    const auto digits = static_cast<std::size_t>(lastOther - base_.rbegin());
    for (const char16_t digit : base_.substr(base_.size() - digits))
      value = std::min(value * 10 + (digit - u'0'), kLargestNumber);
    base_.remove_suffix(digits);
    width_ = static_cast<unsigned>(digits);
    position = value < kLargestNumber ? value + 1 : 1;
  }

  // Where in the run it stands. Numbers begin again at 1 behind the largest one, positions count on, so that no place
  // is met twice.
  std::uint64_t position;

  std::uint32_t GetNumber() const { return static_cast<std::uint32_t>((position - 1) % kLargestNumber + 1); }
  std::u16string_view GetBase() const { return base_; }
  unsigned GetWidth() const { return width_; }

  // The text is shortened until both fit, and stays so. False when nothing of it would remain.
  bool Write(CString& name) {
    char digits[16];
    const std::string_view number(digits, std::to_chars(digits, digits + sizeof digits, GetNumber()).ptr);
    const std::size_t zeros = width_ > number.size() ? width_ - number.size() : 0;
    const std::size_t length = base_.size() + zeros + number.size();
    if (length > maxLength_) {
      const std::size_t excess = length - maxLength_;
      if (excess >= base_.size()) return false;
      base_.remove_suffix(excess);
      CutHalfPair();
      if (base_.empty()) return false;
    }
    name.Assign(base_);
    for (std::size_t i = 0; i < zeros; ++i) name += u'0';
    name.AppendAscii(number);
    return true;
  }

 private:
  void CutHalfPair() {
    if (!base_.empty() && utf::IsHighSurrogate(base_.back())) base_.remove_suffix(1);
  }

  std::u16string_view base_;
  unsigned maxLength_;
  unsigned width_ = 0;
};

}  // namespace

int CTable::GenerateName(CString& name, unsigned maxLength) const {
  const std::lock_guard lock(lock_);
  if (FindRecord(name) == nullptr) return 1;
  if (generated_ == nullptr) generated_ = std::make_unique<CGeneratedNames>(*this);
  const CString original(name.GetString());
  CCountedName counted(original, maxLength);
  CString candidate;
  bool isFirst = true;
  std::size_t knownLength = CString::kMaxLength;  // of the text whose run was looked up
  for (unsigned attempt = 0; attempt < kMaxAttempts;) {
    if (!counted.Write(candidate)) return 0;
    if (loading_ && !isFirst && counted.GetBase().size() != knownLength) {
      knownLength = counted.GetBase().size();
      const std::uint64_t reached = generated_->GetRun(counted.GetBase(), counted.GetWidth());
      if (reached >= counted.position) {
        counted.position = reached + 1;
        continue;
      }
    }
    ++attempt;
    if (FindRecord(candidate) == nullptr) {
      CString base = counted.GetBase();
      if (loading_ && !isFirst) generated_->SetRun(base, counted.GetWidth(), counted.position);
      generated_->lastBase = std::move(base);
      generated_->lastNumber = counted.GetNumber();
      name = std::move(candidate);
      return 1;
    }
    if (isFirst && generated_->lastBase == counted.GetBase() && generated_->lastNumber != 0)
      counted.position = generated_->lastNumber;
    isFirst = false;
    ++counted.position;
  }
  return 0;
}
