// A handle to an element of a document, given back in the end, whatever is thrown meanwhile. One thread at a time.
#pragma once

#include <utility>

#include "util/docs/structured_doc.h"

class CElement {
 public:
  /// Takes the handle over; null is allowed. The document outlives it.
  CElement(CStructuredDoc& document, void* element) noexcept : document_(document), element_(element) {}
  CElement(const CElement&) = delete;
  CElement& operator=(const CElement&) = delete;
  ~CElement() { document_.ReleaseElement(element_); }

  /// The handle stays this object's.
  void* Get() const noexcept { return element_; }
  /// Whether there is an element.
  explicit operator bool() const noexcept { return element_ != nullptr; }
  /// To the next sibling; there is no element behind the last one.
  void GoToNext() { element_ = document_.FindNext(std::exchange(element_, nullptr), true); }
  /// To the next sibling of the same name.
  void GoToNextOfName() { element_ = document_.GetNextElementByName(std::exchange(element_, nullptr), true); }

 private:
  CStructuredDoc& document_;
  void* element_;
};
