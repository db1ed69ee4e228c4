// What an options object remembers of its values: numbers and texts, by the address of their name.
//
// Any number of threads. Whoever has to read a value elsewhere takes the generation before it does, and the value is
// remembered only if nobody has cleared the cache since: it may be what was there before.
#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>

#include "platform/framework/cstring.h"
#include "platform/framework/sync.h"
#include "platform/text/surrogates_internal.h"
#include "util/options/number_cache_internal.h"

namespace zorutil::options {

class CValueCache {
 public:
  static constexpr int kMostOfText = 255;

  /// What is remembered; else what `read` gives, which runs without the lock.
  template <class Read>
  std::uint32_t GetNumber(const char16_t* key, Read read) {
    std::uint32_t number = 0;
    if (numbers_.Find(key, number)) return number;
    const std::uint32_t generation = numbers_.GetGeneration();
    number = read();
    const std::lock_guard guard(lock_);
    if (generation == numbers_.GetGeneration()) numbers_.Store(key, number);
    return number;
  }
  /// The same; a long text is whole when it was read, and cut when it was remembered.
  template <class Read>
  CString GetText(const char16_t* key, Read read) {
    if (CString text; FindText(key, text)) return text;
    const std::uint32_t generation = numbers_.GetGeneration();
    CString text = read();
    const CString remembered = Cut(text);
    const std::lock_guard guard(lock_);
    if (generation == numbers_.GetGeneration() && texts_.size() < CNumberCache::kMostNames) {
      texts_.insert_or_assign(key, remembered);
    }
    return text;
  }

  void Clear() noexcept {
    const std::lock_guard guard(lock_);
    numbers_.Clear();
    texts_.clear();
  }

 private:
  bool FindText(const char16_t* key, CString& text) {
    const std::lock_guard guard(lock_);
    const auto found = texts_.find(key);
    if (found == texts_.end()) return false;
    text = found->second;
    return true;
  }
  static CString Cut(const CString& text) {
    return text.GetLength() <= kMostOfText ? text : CString(utf::CutBetweenCharacters(text, kMostOfText));
  }

  CCriticalSection lock_{4000};
  CNumberCache numbers_;
  std::unordered_map<const char16_t*, CString> texts_;
};

}  // namespace zorutil::options
