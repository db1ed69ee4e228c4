// References on the objects of the configuration tree, and owning a whole tree.
//
//   zorutil::ref_counted_obj_ptr pump = plant.FindObject(u"Channel 1.Pump 7", kPump, -1);
//   if (pump) pump->SetDescription(u"checked");                    // stays alive, whoever deletes it meanwhile
//
//   zorutil::owned_obj_ptr project(CTableObj::CreateObject(kProject, 0));      // Delete()s it at the end
//
// A reference keeps an object, its tables and all its ancestors in memory, wherever it moves and whoever deletes it. It
// does not own: an object that nobody deletes outlives its references. Taking a further reference from one that is held
// is safe on any thread; taking the first one is safe where nobody can delete the object meanwhile, such as under the
// lock of its table (see table_obj.h). The pointers are values; one thread at a time changes one of them.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "platform/export.h"

class CTableObj;

namespace zorutil {

/// A counted reference on an object; may be empty.
class ZORUTIL_API ref_counted_obj_ptr {
 public:
  /// Empty.
  ref_counted_obj_ptr() noexcept = default;
  ref_counted_obj_ptr(std::nullptr_t) noexcept {}
  /// Takes a reference of its own; null is allowed.
  ref_counted_obj_ptr(CTableObj* object) noexcept : object_(object) { AddRef(); }
  ref_counted_obj_ptr(const ref_counted_obj_ptr& other) noexcept : object_(other.object_) { AddRef(); }
  ref_counted_obj_ptr(ref_counted_obj_ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  /// Gives back what was held, after the other was taken: the two may be of one object.
  ref_counted_obj_ptr& operator=(ref_counted_obj_ptr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  /// Gives the reference back, which may destroy the object, and the tree that was waiting for it.
  ~ref_counted_obj_ptr() {
    if (object_ != nullptr) RemoveRef();
  }

  /// The object, or null; valid as long as the reference.
  CTableObj* get() const noexcept { return object_; }
  /// Not of an empty reference.
  /// @{
  CTableObj& operator*() const noexcept { return *object_; }
  CTableObj* operator->() const noexcept { return object_; }
  /// @}
  /// Whether there is an object.
  explicit operator bool() const noexcept { return object_ != nullptr; }
  /// The same object.
  friend bool operator==(const ref_counted_obj_ptr& a, const ref_counted_obj_ptr& b) noexcept = default;
  friend bool operator==(const ref_counted_obj_ptr& a, const CTableObj* b) noexcept { return a.object_ == b; }

 private:
  void AddRef() const noexcept;
  void RemoveRef() const noexcept;

  CTableObj* object_ = nullptr;
};

/// Many references, each of its own.
using ref_counted_obj_ptr_vec_t = std::vector<ref_counted_obj_ptr>;

/// Calls CTableObj::Delete.
struct ZORUTIL_API obj_deleter_t {
  /// `object` is not null.
  void operator()(CTableObj* object) const noexcept;
};
/// The one owner of an object and everything below it. At its end the object is destroyed, or stays until the last
/// reference goes.
using owned_obj_ptr = std::unique_ptr<CTableObj, obj_deleter_t>;

/// What a search asks about each object that it finds.
class ZORUTIL_API ITableObjVisitor {
 public:
  virtual ~ITableObjVisitor();
  /// True: this is the one, the search ends here. Called without a lock held; the object cannot go meanwhile.
  virtual bool Visit(CTableObj& object) = 0;
};

}  // namespace zorutil
